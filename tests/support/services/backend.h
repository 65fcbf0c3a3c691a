// What the services have in common: which one a host belongs to, their settings, their way out. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_SERVICES_BACKEND_H
#define QXSPEECH_TESTS_SUPPORT_SERVICES_BACKEND_H

#include <optional>

#include "services.h"

namespace loopback
{

enum class Role { kPolly, kAzureToken, kAzureSpeech, kGoogle };

// A host name taken apart.
struct Site {
    Role role;
    std::string region; // empty for Google
};
std::optional<Site> SiteOf(const std::string& host);

// A copy is taken for each request, so that no service needs a lock.
struct Settings {
    Credentials credentials;
    std::string proxyUser;
    std::string proxyPassword;
    bool chunked = false;
    std::string tokenType;
    std::string pollyVoices; // JSON
    std::string azureVoices;
    std::string googleVoices;
    unsigned msPerCharacter = 60;
};
Settings DefaultSettings();

class TokenStore;

// The answer of the service to which the host belongs.
Answer Serve(const Request& request, const Settings& settings, TokenStore& tokens);
// An error as that service words it.
Answer ServiceError(const Request& request, int status, const std::string& message);

// A JSON string with its quotes.
std::string JsonText(const std::string& text);
Answer JsonAnswer(int status, const std::string& type, const std::string& json);

} // namespace loopback

#endif
