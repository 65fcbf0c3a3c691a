// The proxy that a host chose for each scheme, put into the HTTP library's terms. MIT licence.
#ifndef QXSPEECH_CORE_QXPROXYSETTINGS_H
#define QXSPEECH_CORE_QXPROXYSETTINGS_H

#include <wx/string.h>

#include "../common/export.h"
#include "../json/jsonvalue.h"

namespace web
{
class web_proxy;
}

// The settings are a JSON object with the members "http" and "https", each an object of these keys, all optional:
//
//   "proxytype"      integer  0 no proxy, 1 the system's (also if absent), 2 the values below
//   "useproxy"       bool     with type 1: whether there is one; filled from the system
//   "proxyhost"      string   name or address
//   "proxyport"      integer  -1: the system named none
//   "proxyusername"  string   none if empty
//   "proxypassword"  string   plain text, here and wherever the host stores it
//
// Made and deleted by the host, which hands it to QXTextToSpeech::SetProxySettings and keeps it alive until it takes it
// back there. No lock: the thread that speaks reads and, at the first look at the system, writes it. Until it is
// filled the HTTP library's own default is in force.
class QXSPEECH_API QXProxySettings
{
public:
    QXProxySettings();
    virtual ~QXProxySettings();

    // Sets the proxy for a request to the address. Called for every request of a cloud engine. Null settings, and
    // system settings without a proxy, leave it as it was. Never throws: a value that makes no address is logged, and
    // the request goes on with what the proxy then holds.
    void ApplySettings(web::web_proxy& proxy, const wxString& url);

    // Asks the system once: the first answer holds for the life of the object, and a query that failed is repeated by
    // the next call. Replaces every configuration of type 1 or of none; what it held is lost.
    void LoadSystemProxy();

    // The member for the scheme, created if absent. Lives until the settings change.
    wxJSONValue& GetConfiguration(bool https);

    // The whole object, for a host that stores it as text. Null at first.
    const wxJSONValue& GetSettings() const { return m_settings; }
    void SetSettings(const wxJSONValue& settings) { m_settings = settings; }

private:
    bool TakesSystemProxy(bool https);
    void QuerySystemProxy(bool http, bool https);
    void SetSystemServers(const wxString& servers, bool http, bool https);

    wxJSONValue m_settings;
    bool m_systemProxyLoaded;
};

#endif
