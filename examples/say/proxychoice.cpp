// A proxy's address, taken apart by hand: user and password are to come out as they are. MIT licence.
#include "proxychoice.h"

#include <wx/uri.h>

namespace say
{
namespace
{

constexpr unsigned long kMaxPort = 65535;

bool ParsePort(const wxString& text, int& port)
{
    unsigned long value = 0;
    if (text.empty() || text.length() > 5 || text.find_first_not_of("0123456789") != wxString::npos ||
        !text.ToULong(&value, 10) || value == 0 || value > kMaxPort)
        return false;
    port = static_cast<int>(value);
    return true;
}

bool IsHost(const wxString& host)
{
    const bool isBracketed = host.StartsWith("[") && host.EndsWith("]") && host.length() > 2;
    const wxString name = isBracketed ? host.substr(1, host.length() - 2) : host;
    return !name.empty() && name.find_first_of(" \t/?#@[]\\%\"<>") == wxString::npos &&
           (isBracketed || name.find(':') == wxString::npos);
}

bool ParseAddress(const wxString& address, ProxyChoice& choice)
{
    const size_t colon = address.rfind(':');
    if (colon == wxString::npos)
        return false;
    choice.host = address.substr(0, colon);
    return IsHost(choice.host) && ParsePort(address.substr(colon + 1), choice.port);
}

void ParseUser(const wxString& text, ProxyChoice& choice)
{
    const size_t colon = text.find(':');
    choice.user = wxURI::Unescape(text.substr(0, colon));
    choice.password = colon == wxString::npos ? wxString() : wxURI::Unescape(text.substr(colon + 1));
}

} // namespace

bool ParseProxy(const wxString& text, ProxyChoice& choice)
{
    choice = ProxyChoice();
    if (text == "none" || text == "system") {
        choice.kind = text == "none" ? ProxyChoice::Kind::kNone : ProxyChoice::Kind::kSystem;
        return true;
    }
    wxString rest = text;
    if (rest.Lower().StartsWith("http://"))
        rest = rest.substr(7);
    if (rest.EndsWith("/"))
        rest.RemoveLast();
    if (rest.find('/') != wxString::npos)
        return false; // a path, or another scheme
    choice.kind = ProxyChoice::Kind::kGiven;
    const size_t at = rest.rfind('@');
    if (at != wxString::npos) {
        ParseUser(rest.substr(0, at), choice);
        rest = rest.substr(at + 1);
        if (choice.user.empty())
            return false;
    }
    return ParseAddress(rest, choice);
}

void SetProxy(const ProxyChoice& choice, QXProxySettings& settings)
{
    for (const bool https : {false, true}) {
        wxJSONValue& configuration = settings.GetConfiguration(https);
        configuration["proxytype"] = static_cast<int>(choice.kind);
        if (choice.kind != ProxyChoice::Kind::kGiven)
            continue;
        configuration["proxyhost"] = choice.host;
        configuration["proxyport"] = choice.port;
        configuration["proxyusername"] = choice.user;
        configuration["proxypassword"] = choice.password;
    }
}

} // namespace say
