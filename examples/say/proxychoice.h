// The way to the services: the value of --proxy. MIT licence.
#ifndef QXSPEECH_EXAMPLES_SAY_PROXYCHOICE_H
#define QXSPEECH_EXAMPLES_SAY_PROXYCHOICE_H

#include <wx/string.h>

#include "core/qxproxysettings.h"

namespace say
{

struct ProxyChoice {
    enum class Kind { kNone, kSystem, kGiven }; // with the numbers of "proxytype"

    Kind kind = Kind::kSystem;
    wxString host; // an IPv6 address in brackets; the rest only for kGiven
    int port = 0;
    wxString user;
    wxString password;
};

// "system", "none", or [http://][user:password@]host:port, with user and password percent-encoded where they hold a
// sign of an address. False for anything else.
bool ParseProxy(const wxString& text, ProxyChoice& choice);

// The same for both schemes.
void SetProxy(const ProxyChoice& choice, QXProxySettings& settings);

} // namespace say

#endif
