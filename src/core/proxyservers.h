// The proxy-server string of a system, taken apart. Private. MIT licence.
#ifndef QXSPEECH_CORE_PROXYSERVERS_H
#define QXSPEECH_CORE_PROXYSERVERS_H

#include <vector>
#include <wx/string.h>

namespace qxspeech
{

struct ProxyServer {
    bool http; // which schemes it serves
    bool https;
    wxString host; // empty if the entry has no colon
    long port;     // -1 for none or no number
};

// The entries of "http=a:1;https=b:2" or "a:8080" in their order, so that a later one overrules. Entries for other
// schemes are left out.
std::vector<ProxyServer> SplitProxyServers(const wxString& servers);

} // namespace qxspeech

#endif
