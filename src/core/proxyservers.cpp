// Splits the proxy-server string. MIT licence.
#include "core/proxyservers.h"

#include <wx/tokenzr.h>

namespace qxspeech
{
namespace
{

// The longest name of a scheme with its "=".
constexpr size_t kPrefixLength = 11;

ProxyServer MakeServer(bool http, bool https, const wxString& address)
{
    ProxyServer server = {http, https, address.BeforeLast(':'), -1};
    if (!address.AfterLast(':').ToLong(&server.port, 10))
        server.port = -1;
    return server;
}

} // namespace

std::vector<ProxyServer> SplitProxyServers(const wxString& servers)
{
    std::vector<ProxyServer> result;
    wxStringTokenizer tokens(servers, ";", wxTOKEN_STRTOK);
    while (tokens.HasMoreTokens()) {
        const wxString token = tokens.GetNextToken();
        wxString address;
        if (token.StartsWith("http=", &address))
            result.push_back(MakeServer(true, false, address));
        else if (token.StartsWith("https=", &address))
            result.push_back(MakeServer(false, true, address));
        else if (token.Left(kPrefixLength).find('=') == wxString::npos)
            result.push_back(MakeServer(true, true, token));
    }
    return result;
}

} // namespace qxspeech
