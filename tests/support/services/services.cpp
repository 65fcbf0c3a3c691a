// Puts the parts together. MIT licence.
#include "services.h"

#include <algorithm>

#include "audio.h"
#include "azure.h"
#include "proxy.h"
#include "state.h"
#include "support/scratch_dir.h"
#include "tlsidentity.h"

namespace loopback
{
namespace
{

Settings SettingsOf(const Options& options)
{
    Settings settings = DefaultSettings();
    settings.credentials = options.credentials;
    settings.msPerCharacter = options.msPerCharacter;
    return settings;
}

} // namespace

class Services::Impl
{
public:
    explicit Impl(const Options& options)
        : certificateFile(scratch / "authority.pem"), state(SettingsOf(options)),
          proxy(options.port, state, identity, tokens)
    {
        RequireMp3Encoder();
        identity.WriteAuthority(certificateFile);
    }

    const ScratchDir scratch;
    const std::string certificateFile;
    State state;
    TlsIdentity identity;
    TokenStore tokens;
    Proxy proxy; // last: its threads use the others
};

Services::Services(const Options& options) : m_impl(std::make_unique<Impl>(options)) {}

Services::~Services()
{
    m_impl->state.Stop();
}

std::uint16_t Services::Port() const
{
    return m_impl->proxy.Port();
}

std::string Services::ProxyUrl() const
{
    return "http://127.0.0.1:" + std::to_string(Port());
}

const std::string& Services::CertificateFile() const
{
    return m_impl->certificateFile;
}

std::vector<std::pair<std::string, std::string>> Services::Environment() const
{
    const Credentials credentials = GetCredentials();
    return {{"SSL_CERT_FILE", CertificateFile()},
            {"AWS_ACCESS_KEY_ID", credentials.awsAccessKey},
            {"AWS_SECRET_ACCESS_KEY", credentials.awsSecretKey},
            {"AWS_REGION", credentials.awsRegion},
            {"AZURE_SPEECH_KEY", credentials.azureKey},
            {"AZURE_SPEECH_REGION", credentials.azureRegion},
            {"GOOGLE_API_KEY", credentials.googleKey}};
}

Credentials Services::GetCredentials() const
{
    return m_impl->state.GetSettings().credentials;
}

void Services::SetCredentials(const Credentials& credentials)
{
    m_impl->state.Edit([&](Settings& settings) { settings.credentials = credentials; });
}

void Services::SetProxyCredentials(const std::string& user, const std::string& password)
{
    m_impl->state.Edit([&](Settings& settings) {
        settings.proxyUser = user;
        settings.proxyPassword = password;
    });
}

void Services::SetChunked(bool chunked)
{
    m_impl->state.Edit([&](Settings& settings) { settings.chunked = chunked; });
}

void Services::SetTokenType(const std::string& contentType)
{
    m_impl->state.Edit([&](Settings& settings) { settings.tokenType = contentType; });
}

void Services::SetVoiceList(Service service, const std::string& json)
{
    m_impl->state.Edit([&](Settings& settings) {
        (service == Service::kPolly   ? settings.pollyVoices
         : service == Service::kAzure ? settings.azureVoices
                                      : settings.googleVoices) = json;
    });
}

void Services::ExpireAzureTokens()
{
    m_impl->tokens.Expire();
}

void Services::RefuseConnections(bool on)
{
    m_impl->proxy.RefuseConnections(on);
}

void Services::Inject(const std::string& host, const std::string& path, int times, const Fault& fault)
{
    m_impl->state.Inject(host, path, times, fault);
}

void Services::ClearFaults()
{
    m_impl->state.ClearFaults();
}

std::size_t Services::PendingFaults() const
{
    return m_impl->state.PendingFaults();
}

void Services::Release()
{
    m_impl->state.Release();
}

std::vector<Request> Services::Requests() const
{
    return m_impl->state.Entries(false);
}

std::vector<Request> Services::Requests(const std::string& host, const std::string& path) const
{
    std::vector<Request> entries = Requests();
    entries.erase(std::remove_if(entries.begin(), entries.end(),
                                 [&](const Request& entry) {
                                     return (!host.empty() && entry.host != host) ||
                                            (!path.empty() && entry.path != path);
                                 }),
                  entries.end());
    return entries;
}

std::vector<Request> Services::Connects() const
{
    return m_impl->state.Entries(true);
}

void Services::ClearRequests()
{
    m_impl->state.ClearLog();
}

bool Services::WaitForRequests(std::size_t count, std::chrono::milliseconds limit) const
{
    return m_impl->state.WaitForRequests(count, limit);
}

bool Services::WaitForStalls(std::size_t count, std::chrono::milliseconds limit) const
{
    return m_impl->state.WaitForStalls(count, limit);
}

void Services::SetObserver(std::function<void(const Request&)> observer)
{
    m_impl->state.SetObserver(std::move(observer));
}

} // namespace loopback
