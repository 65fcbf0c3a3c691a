// The key buys a token, the token buys speech. MIT licence.
#include "azure.h"

#include "audio.h"
#include "httpmessage.h"
#include "jsonreader.h"
#include "markup.h"

namespace loopback
{
namespace
{

constexpr std::chrono::minutes kTokenLife(10);
const char* const kSsmlNamespace = "http://www.w3.org/2001/10/synthesis";

const std::pair<const char*, unsigned> kFormats[] = {
    {"riff-8khz-16bit-mono-pcm", 8000},     {"riff-16khz-16bit-mono-pcm", 16000},
    {"riff-22050hz-16bit-mono-pcm", 22050}, {"riff-24khz-16bit-mono-pcm", 24000},
    {"riff-44100hz-16bit-mono-pcm", 44100}, {"riff-48khz-16bit-mono-pcm", 48000},
};

unsigned SampleRateOf(const std::string& format)
{
    for (const auto& [name, rate] : kFormats)
        if (format == name)
            return rate;
    return 0;
}

// A list that is none holds every voice.
bool IsListed(const std::string& list, const std::string& name)
{
    rapidjson::Document voices;
    if (!ParseJson(list, voices) || !voices.IsArray())
        return true;
    for (const rapidjson::Value& voice : voices.GetArray())
        if (StringMember(voice, "ShortName") == name || StringMember(voice, "Name") == name)
            return true;
    return false;
}

std::string ValueOf(const Attributes& attributes, const std::string& name)
{
    const auto found = attributes.find(name);
    return found == attributes.end() ? std::string() : found->second;
}

// Empty if the document will do.
std::string FaultOf(const Markup& ssml, const std::string& voices)
{
    if (!ssml.error.empty())
        return "Ssml is not well-formed: " + ssml.error;
    if (ssml.root != "speak" || ValueOf(ssml.rootAttributes, "version") != "1.0")
        return "Ssml must be a speak element of version 1.0";
    const std::string space = ValueOf(ssml.rootAttributes, "xmlns");
    if (!space.empty() && space != kSsmlNamespace)
        return "Ssml has a wrong namespace";
    if (ssml.voices.empty())
        return "Ssml should contain at least one voice tag";
    for (const Attributes& voice : ssml.voices)
        if (!IsListed(voices, ValueOf(voice, "name")))
            return "Unsupported voice " + ValueOf(voice, "name");
    return {};
}

bool IsAuthorized(const Request& request, const std::string& region, const TokenStore& tokens)
{
    const std::string value = request.Header("Authorization");
    return value.compare(0, 7, "Bearer ") == 0 && tokens.IsValid(value.substr(7), region);
}

Answer Synthesize(const Request& request, const Settings& settings)
{
    if (request.Header("Content-Type").compare(0, 20, "application/ssml+xml") != 0)
        return AzureSpeechError(415, {});
    const unsigned sampleRate = SampleRateOf(request.Header("X-Microsoft-OutputFormat"));
    if (sampleRate == 0)
        return AzureSpeechError(400, "Unsupported output format");
    const Markup ssml = ReadMarkup(request.body);
    const std::string fault = FaultOf(ssml, settings.azureVoices);
    if (!fault.empty())
        return AzureSpeechError(400, fault);
    ToneWish wish;
    wish.sampleRate = sampleRate;
    wish.msPerCharacter = settings.msPerCharacter;
    Answer answer;
    answer.SetHeader("Content-Type", "audio/x-wav");
    answer.body.Set(WavOf(ToneOf(ssml.text, wish), sampleRate));
    return answer;
}

} // namespace

std::string TokenStore::Issue(const std::string& region)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    const std::string claims = "{\"region\":\"" + region + "\",\"n\":" + std::to_string(++m_count) + "}";
    const std::string token = "eyJhbGciOiJub25lIn0." + Base64Of(claims) + ".bG9vcGJhY2s";
    m_grants[token] = {region, std::chrono::steady_clock::now() + kTokenLife};
    return token;
}

bool TokenStore::IsValid(const std::string& token, const std::string& region) const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    const auto found = m_grants.find(token);
    return found != m_grants.end() && found->second.region == region &&
           std::chrono::steady_clock::now() < found->second.end;
}

void TokenStore::Expire()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_grants.clear();
}

Answer AzureTokenError(int status, const std::string& message)
{
    return JsonAnswer(status, "application/json",
                      "{\"error\":{\"code\":\"" + std::to_string(status) + "\",\"message\":" + JsonText(message) +
                          "}}");
}

Answer AzureSpeechError(int status, const std::string& message)
{
    Answer answer;
    answer.status = status;
    answer.reason = ReasonOf(status);
    // No line end may get into the status line, nor letters that it cannot hold.
    if (!message.empty() && message.find_first_of("\r\n") == std::string::npos)
        answer.reason = message;
    return answer;
}

Answer AzureTokenAnswer(const Request& request, const std::string& region, const Settings& settings, TokenStore& tokens)
{
    if (request.path != "/sts/v1.0/issueToken")
        return AzureTokenError(404, "Resource not found");
    if (request.method != "POST")
        return AzureTokenError(405, "Method not allowed");
    if (request.Header("Ocp-Apim-Subscription-Key") != settings.credentials.azureKey ||
        region != settings.credentials.azureRegion)
        return AzureTokenError(401, "Access denied due to invalid subscription key or wrong API endpoint. Make sure to "
                                    "provide a valid key for an active subscription and use a correct regional API "
                                    "endpoint for your resource.");
    Answer answer;
    if (!settings.tokenType.empty())
        answer.SetHeader("Content-Type", settings.tokenType);
    answer.body.Set(tokens.Issue(region));
    return answer;
}

Answer AzureSpeechAnswer(const Request& request, const std::string& region, const Settings& settings,
                         const TokenStore& tokens)
{
    if (!IsAuthorized(request, region, tokens))
        return AzureSpeechError(401, {});
    if (request.path == "/cognitiveservices/v1")
        return request.method == "POST" ? Synthesize(request, settings) : AzureSpeechError(405, {});
    if (request.path == "/cognitiveservices/voices/list" && request.method == "GET")
        return JsonAnswer(200, "application/json; charset=utf-8", settings.azureVoices);
    return AzureSpeechError(404, {});
}

} // namespace loopback
