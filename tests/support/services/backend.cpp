// Hosts by role, as their providers publish them. MIT licence.
#include "backend.h"

#include <cstdio>

#include "azure.h"
#include "google.h"
#include "httpmessage.h"
#include "polly.h"

namespace loopback
{
namespace
{

bool StartsWith(const std::string& text, const std::string& start)
{
    return text.compare(0, start.size(), start) == 0;
}

// The one label between the ends; empty if the host has another shape.
std::string LabelBetween(const std::string& host, const std::string& start, const std::string& end)
{
    if (host.size() <= start.size() + end.size() || !StartsWith(host, start) ||
        host.compare(host.size() - end.size(), end.size(), end) != 0)
        return {};
    const std::string label = host.substr(start.size(), host.size() - start.size() - end.size());
    return label.find('.') == std::string::npos ? label : std::string();
}

enum class Cloud { kCommercial, kChina, kGovernment };

Cloud AzureCloudOf(const std::string& region)
{
    if (StartsWith(region, "china"))
        return Cloud::kChina;
    return StartsWith(region, "usgov") || StartsWith(region, "usdod") ? Cloud::kGovernment : Cloud::kCommercial;
}

std::optional<Site> PollySite(const std::string& host)
{
    const std::string world = LabelBetween(host, "polly.", ".amazonaws.com");
    if (!world.empty() && !StartsWith(world, "cn-"))
        return Site{Role::kPolly, world};
    const std::string china = LabelBetween(host, "polly.", ".amazonaws.com.cn");
    if (StartsWith(china, "cn-"))
        return Site{Role::kPolly, china};
    return std::nullopt;
}

std::optional<Site> AzureSite(const std::string& host)
{
    const std::string token = LabelBetween(host, "", ".api.cognitive.microsoft.com");
    if (!token.empty())
        return Site{Role::kAzureToken, token};
    static const std::pair<const char*, Cloud> kSpeech[] = {
        {".tts.speech.microsoft.com", Cloud::kCommercial},
        {".tts.speech.azure.cn", Cloud::kChina},
        {".tts.speech.azure.us", Cloud::kGovernment},
    };
    for (const auto& [end, cloud] : kSpeech) {
        const std::string region = LabelBetween(host, "", end);
        if (!region.empty() && AzureCloudOf(region) == cloud)
            return Site{Role::kAzureSpeech, region};
    }
    return std::nullopt;
}

} // namespace

std::optional<Site> SiteOf(const std::string& host)
{
    if (host == "texttospeech.googleapis.com")
        return Site{Role::kGoogle, {}};
    const std::optional<Site> polly = PollySite(host);
    return polly ? polly : AzureSite(host);
}

Settings DefaultSettings()
{
    Settings settings;
    settings.tokenType = "application/jwt; charset=us-ascii";
    settings.pollyVoices = PollyVoices();
    settings.azureVoices = AzureVoices();
    settings.googleVoices = GoogleVoices();
    return settings;
}

Answer Serve(const Request& request, const Settings& settings, TokenStore& tokens)
{
    const std::optional<Site> site = SiteOf(request.host);
    Answer answer;
    if (!site)
        answer = JsonAnswer(404, "application/json", "{}");
    else if (site->role == Role::kPolly)
        answer = PollyAnswer(request, site->region, settings);
    else if (site->role == Role::kGoogle)
        answer = GoogleAnswer(request, settings);
    else if (site->role == Role::kAzureToken)
        answer = AzureTokenAnswer(request, site->region, settings, tokens);
    else
        answer = AzureSpeechAnswer(request, site->region, settings, tokens);
    answer.chunked = settings.chunked;
    return answer;
}

Answer ServiceError(const Request& request, int status, const std::string& message)
{
    const std::optional<Site> site = SiteOf(request.host);
    if (site && site->role == Role::kPolly)
        return PollyError(status, PollyErrorTypeOf(status), message);
    if (site && site->role == Role::kGoogle)
        return GoogleError(status, message);
    if (site && site->role == Role::kAzureToken)
        return AzureTokenError(status, message);
    return AzureSpeechError(status, message);
}

std::string JsonText(const std::string& text)
{
    std::string json = "\"";
    for (const char letter : text) {
        char escape[8];
        const auto code = static_cast<unsigned char>(letter);
        if (letter == '"' || letter == '\\') {
            json += '\\';
            json += letter;
        } else if (code < 0x20) {
            std::snprintf(escape, sizeof(escape), "\\u%04x", static_cast<unsigned>(code));
            json += escape;
        } else {
            json += letter;
        }
    }
    return json + "\"";
}

Answer JsonAnswer(int status, const std::string& type, const std::string& json)
{
    Answer answer;
    answer.status = status;
    answer.reason = ReasonOf(status);
    answer.SetHeader("Content-Type", type);
    answer.body.Set(json);
    return answer;
}

} // namespace loopback
