// Azure's token and speech services. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_SERVICES_AZURE_H
#define QXSPEECH_TESTS_SUPPORT_SERVICES_AZURE_H

#include <map>
#include <mutex>

#include "backend.h"

namespace loopback
{

// The tokens given out, each valid for ten minutes in its region. Any thread.
class TokenStore
{
public:
    std::string Issue(const std::string& region);
    bool IsValid(const std::string& token, const std::string& region) const;
    void Expire();

private:
    struct Grant {
        std::string region;
        std::chrono::steady_clock::time_point end;
    };
    mutable std::mutex m_lock;
    std::map<std::string, Grant> m_grants; // guarded by m_lock
    unsigned m_count = 0;                  // guarded by m_lock
};

Answer AzureTokenAnswer(const Request& request, const std::string& region, const Settings& settings,
                        TokenStore& tokens);
Answer AzureSpeechAnswer(const Request& request, const std::string& region, const Settings& settings,
                         const TokenStore& tokens);
Answer AzureTokenError(int status, const std::string& message);
// Without a body: the speech service puts its message into the reason phrase.
Answer AzureSpeechError(int status, const std::string& message);
std::string AzureVoices(); // JSON

} // namespace loopback

#endif
