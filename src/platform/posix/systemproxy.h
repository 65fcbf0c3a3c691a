// Where the system's proxy comes from, and the form that it is handed on in. MIT licence.
#ifndef QXSPEECH_PLATFORM_SYSTEMPROXY_H
#define QXSPEECH_PLATFORM_SYSTEMPROXY_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace qxplatform
{

// The proxies to try for an address, in order, as addresses ("http://h:3128", "direct://"); nothing: no answer.
using ProxySource = std::function<std::optional<std::vector<std::string>>(const std::string& url)>;

// An empty source: the system's own, which is the one at the start. Any thread, but not during a query.
void SetProxySource(ProxySource source);

// "host:port" of the first proxy that takes plain CONNECT or forwarding; "" if there is none. Direct connections, SOCKS
// and scripts are passed over. Scheme, user and path are left out; port 80 if none is named.
std::string UsableProxy(const std::vector<std::string>& proxies);

} // namespace qxplatform

#endif
