// Answers for the system's proxy configuration out of libproxy. MIT licence.
#include "platform/posix/systemproxy.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <proxy.h>
#include <wininet.h>
#include <wx/string.h>

namespace qxplatform
{
namespace
{

// Of one scheme each; the hosts are reserved names that are never asked.
constexpr char kHttpProbe[] = "http://example.com/";
constexpr char kHttpsProbe[] = "https://example.com/";

ProxySource& Source()
{
    static ProxySource* const source = new ProxySource;
    return *source;
}

struct FactoryDeleter {
    void operator()(pxProxyFactory* factory) const { px_proxy_factory_free(factory); }
};

std::optional<std::vector<std::string>> AskLibrary(const std::string& url)
{
    const std::unique_ptr<pxProxyFactory, FactoryDeleter> factory(px_proxy_factory_new());
    char** const proxies = factory ? px_proxy_factory_get_proxies(factory.get(), url.c_str()) : nullptr;
    if (!proxies)
        return std::nullopt;
    std::vector<std::string> answers;
    for (char** proxy = proxies; *proxy; ++proxy)
        answers.emplace_back(*proxy);
    px_proxy_factory_free_proxies(proxies);
    return answers;
}

std::optional<std::vector<std::string>> Ask(const std::string& url)
{
    return Source() ? Source()(url) : AskLibrary(url);
}

struct Answer {
    DWORD flags = PROXY_TYPE_DIRECT;
    std::string servers;
};

// The proxy flag is about https alone: that is what the library's requests go by.
std::optional<Answer> QueryProxies()
{
    const auto http = Ask(kHttpProbe);
    const auto https = Ask(kHttpsProbe);
    if (!http && !https)
        return std::nullopt;
    const std::string httpServer = UsableProxy(http.value_or(std::vector<std::string>()));
    const std::string httpsServer = UsableProxy(https.value_or(std::vector<std::string>()));
    Answer answer;
    if (!httpServer.empty())
        answer.servers = "http=" + httpServer;
    if (!httpsServer.empty()) {
        answer.flags |= PROXY_TYPE_PROXY;
        answer.servers += (answer.servers.empty() ? "https=" : ";https=") + httpsServer;
    }
    return answer;
}

// To be freed with GlobalFree; null for no text.
LPWSTR AllocateText(const std::string& utf8)
{
    if (utf8.empty())
        return nullptr;
    const std::wstring wide = wxString::FromUTF8(utf8).ToStdWstring();
    const size_t bytes = (wide.size() + 1) * sizeof(WCHAR);
    void* const text = std::malloc(bytes);
    if (!text)
        throw std::bad_alloc();
    return static_cast<LPWSTR>(std::memcpy(text, wide.c_str(), bytes));
}

bool IsSupported(const INTERNET_PER_CONN_OPTION_LISTW* list)
{
    if (!list || list->dwSize != sizeof(*list) || list->pszConnection || !list->pOptions)
        return false;
    for (DWORD i = 0; i < list->dwOptionCount; ++i) {
        const DWORD option = list->pOptions[i].dwOption;
        if (option != INTERNET_PER_CONN_FLAGS && option != INTERNET_PER_CONN_PROXY_SERVER)
            return false;
    }
    return true;
}

// What stands before the address proper; "http" for a bare "host:port".
std::string SchemeOf(const std::string& proxy)
{
    const size_t end = proxy.find("://");
    return end == std::string::npos ? "http" : proxy.substr(0, end);
}

std::string AddressOf(const std::string& proxy)
{
    const size_t scheme = proxy.find("://");
    std::string address = scheme == std::string::npos ? proxy : proxy.substr(scheme + 3);
    const size_t user = address.rfind('@');
    if (user != std::string::npos)
        address.erase(0, user + 1);
    address.erase(std::min(address.find_first_of("/?#"), address.size()));
    if (address.empty())
        return address;
    const size_t hostEnd = address.front() == '[' ? address.find(']') : 0; // an IPv6 address holds colons
    const bool hasPort = address.find(':', hostEnd) != std::string::npos;
    return hasPort ? address : address + ":80";
}

} // namespace

void SetProxySource(ProxySource source)
{
    Source() = std::move(source);
}

std::string UsableProxy(const std::vector<std::string>& proxies)
{
    for (const std::string& proxy : proxies) {
        const std::string scheme = SchemeOf(proxy);
        std::string address = AddressOf(proxy);
        if ((scheme == "http" || scheme == "https") && !address.empty())
            return address;
    }
    return std::string();
}

} // namespace qxplatform

BOOL InternetQueryOptionW(HINTERNET internet, DWORD option, LPVOID buffer, LPDWORD bufferLength)
{
    auto* const list = static_cast<INTERNET_PER_CONN_OPTION_LISTW*>(buffer);
    const bool known = !internet && option == INTERNET_OPTION_PER_CONNECTION_OPTION && bufferLength &&
                       *bufferLength >= sizeof(*list) && qxplatform::IsSupported(list);
    if (!known) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    const auto answer = qxplatform::QueryProxies();
    if (!answer) {
        SetLastError(ERROR_NOT_FOUND);
        return FALSE;
    }
    for (DWORD i = 0; i < list->dwOptionCount; ++i) {
        INTERNET_PER_CONN_OPTIONW& wanted = list->pOptions[i];
        if (wanted.dwOption == INTERNET_PER_CONN_FLAGS)
            wanted.Value.dwValue = answer->flags;
        else
            wanted.Value.pszValue = qxplatform::AllocateText(answer->servers);
    }
    return TRUE;
}

HGLOBAL GlobalFree(HGLOBAL memory)
{
    std::free(memory);
    return nullptr;
}
