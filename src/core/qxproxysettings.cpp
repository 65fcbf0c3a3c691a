// Proxy settings of the host and of the system. MIT licence.
#include "core/qxproxysettings.h"

#include <cpprest/http_client.h>
#include <memory>
#include <windows.h>
#include <wininet.h>
#include <wx/translation.h>

#include "common/logging.h"
#include "common/utils.h"
#include "core/proxyservers.h"

namespace
{

enum ProxyType { kProxyNone = 0, kProxySystem = 1, kProxyGiven = 2 };

struct GlobalDeleter {
    void operator()(WCHAR* text) const { GlobalFree(text); }
};

struct SystemProxy {
    DWORD flags = 0; // PROXY_TYPE_...
    std::unique_ptr<WCHAR, GlobalDeleter> servers;
};

bool GetSystemProxy(SystemProxy& proxy)
{
    INTERNET_PER_CONN_OPTIONW options[2] = {};
    options[0].dwOption = INTERNET_PER_CONN_FLAGS;
    options[1].dwOption = INTERNET_PER_CONN_PROXY_SERVER;
    INTERNET_PER_CONN_OPTION_LISTW list = {};
    list.dwSize = sizeof(list);
    list.dwOptionCount = 2;
    list.pOptions = options;
    DWORD size = sizeof(list);
    if (!InternetQueryOptionW(nullptr, INTERNET_OPTION_PER_CONNECTION_OPTION, &list, &size))
        return false;
    proxy.flags = options[0].Value.dwValue;
    proxy.servers.reset(options[1].Value.pszValue);
    return true;
}

void LogQueryFailure()
{
    QX_LOG(_("Could not get system proxy settings! Error: %d"), static_cast<int>(GetLastError()));
}

wxString StringMember(wxJSONValue& configuration, const wxString& key)
{
    return configuration.HasMember(key) ? configuration[key].AsString() : wxString();
}

wxString ProxyAddress(wxJSONValue& configuration)
{
    wxString address = "//" + StringMember(configuration, "proxyhost");
    if (configuration.HasMember("proxyport"))
        address += wxString::Format(":%ld", static_cast<long>(configuration["proxyport"].AsInt()));
    return address;
}

utility::string_t ToNative(const wxString& text)
{
    return utility::conversions::to_string_t(std::string(text.utf8_str()));
}

void SetProxy(web::web_proxy& proxy, wxJSONValue& configuration)
{
    try {
        proxy = web::web_proxy(web::uri(ToNative(ProxyAddress(configuration))));
        proxy.set_credentials(web::credentials(ToNative(StringMember(configuration, "proxyusername")),
                                               ToNative(StringMember(configuration, "proxypassword"))));
    } catch (const std::exception& failure) {
        QX_LOG("Could not apply proxy settings! Error: %s", qxExceptionText(failure));
    }
}

bool HasType(wxJSONValue& configuration, ProxyType type)
{
    return configuration.HasMember("proxytype") && configuration["proxytype"].AsInt() == type;
}

} // namespace

QXProxySettings::QXProxySettings() : m_settings(wxJSONTYPE_NULL), m_systemProxyLoaded(false) {}

QXProxySettings::~QXProxySettings() {}

wxJSONValue& QXProxySettings::GetConfiguration(bool https)
{
    return m_settings[https ? "https" : "http"];
}

void QXProxySettings::ApplySettings(web::web_proxy& proxy, const wxString& url)
{
    if (!m_settings.IsValid() || m_settings.IsNull())
        return;
    const bool https = url.StartsWith("https:");
    if (HasType(GetConfiguration(https), kProxyNone)) {
        proxy = web::web_proxy(web::web_proxy::disabled);
        return;
    }
    if (!HasType(GetConfiguration(https), kProxyGiven)) {
        LoadSystemProxy();
        wxJSONValue& configuration = GetConfiguration(https);
        if (!configuration.HasMember("useproxy") || !configuration["useproxy"].AsBool())
            return;
    }
    SetProxy(proxy, GetConfiguration(https));
}

bool QXProxySettings::TakesSystemProxy(bool https)
{
    wxJSONValue& configuration = GetConfiguration(https);
    return !configuration.HasMember("proxytype") || HasType(configuration, kProxySystem);
}

void QXProxySettings::LoadSystemProxy()
{
    if (m_systemProxyLoaded)
        return;
    const bool http = TakesSystemProxy(false);
    const bool https = TakesSystemProxy(true);
    for (const bool scheme : {false, true}) {
        if (!(scheme ? https : http))
            continue;
        wxJSONValue fresh(wxJSONTYPE_OBJECT);
        fresh["proxytype"] = static_cast<int>(kProxySystem);
        fresh["useproxy"] = false;
        fresh["proxyusername"] = wxString();
        fresh["proxypassword"] = wxString();
        GetConfiguration(scheme) = fresh;
    }
    if (!http && !https)
        return;
    try {
        QuerySystemProxy(http, https);
    } catch (...) {
        LogQueryFailure();
    }
}

// An automatic configuration script, whatever flag tells of it, counts as no proxy.
void QXProxySettings::QuerySystemProxy(bool http, bool https)
{
    SystemProxy system;
    if (!GetSystemProxy(system)) {
        LogQueryFailure();
        return;
    }
    const bool useProxy = (system.flags & PROXY_TYPE_PROXY) != 0;
    if (http)
        GetConfiguration(false)["useproxy"] = useProxy;
    if (https)
        GetConfiguration(true)["useproxy"] = useProxy;
    if (system.servers)
        SetSystemServers(system.servers.get(), http, https);
    m_systemProxyLoaded = true;
}

void QXProxySettings::SetSystemServers(const wxString& servers, bool http, bool https)
{
    const auto set = [](wxJSONValue& configuration, const qxspeech::ProxyServer& server) {
        configuration["proxyhost"] = server.host;
        configuration["proxyport"] = static_cast<long long>(server.port);
    };
    for (const qxspeech::ProxyServer& server : qxspeech::SplitProxyServers(servers)) {
        if (http && server.http)
            set(GetConfiguration(false), server);
        if (https && server.https)
            set(GetConfiguration(true), server);
    }
}
