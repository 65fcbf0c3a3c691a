// One host, one key, everything in JSON. MIT licence.
#include "google.h"

#include "audio.h"
#include "httpmessage.h"
#include "jsonreader.h"
#include "markup.h"

namespace loopback
{
namespace
{

constexpr unsigned kSampleRate = 24000;
constexpr std::size_t kMaxBytes = 5000;
const char* const kJson = "application/json; charset=UTF-8";

std::string StatusNameOf(int status)
{
    static const std::pair<int, const char*> kNames[] = {
        {400, "INVALID_ARGUMENT"}, {401, "UNAUTHENTICATED"},    {403, "PERMISSION_DENIED"},
        {404, "NOT_FOUND"},        {429, "RESOURCE_EXHAUSTED"}, {503, "UNAVAILABLE"},
    };
    for (const auto& [code, name] : kNames)
        if (code == status)
            return name;
    return "INTERNAL";
}

// A list that is none knows every voice.
bool IsListed(const std::string& list, const std::string& name)
{
    rapidjson::Document document;
    const rapidjson::Value* voices = ParseJson(list, document) ? Member(document, "voices") : nullptr;
    if (!voices || !voices->IsArray())
        return true;
    for (const rapidjson::Value& voice : voices->GetArray())
        if (StringMember(voice, "name") == name)
            return true;
    return false;
}

std::optional<Answer> CheckVoice(const rapidjson::Value& body, const std::string& list)
{
    const rapidjson::Value* voice = Member(body, "voice");
    if (!voice || StringMember(*voice, "languageCode").empty())
        return GoogleError(400, "Empty language code.");
    const std::string name = StringMember(*voice, "name");
    if (!name.empty() && !IsListed(list, name))
        return GoogleError(400, "Voice '" + name + "' does not exist. Is it misspelled?");
    return std::nullopt;
}

// The text to speak goes into `spoken`.
std::optional<Answer> CheckInput(const rapidjson::Value& body, std::string& spoken)
{
    const rapidjson::Value* input = Member(body, "input");
    const bool isText = input && Member(*input, "text");
    const bool isSsml = input && Member(*input, "ssml");
    if (isText == isSsml)
        return GoogleError(400, "Invalid input type. Type has to be text or SSML.");
    const std::string text = StringMember(*input, isText ? "text" : "ssml");
    if (text.size() > kMaxBytes)
        return GoogleError(400, "Either `input.text` or `input.ssml` is longer than the limit of 5000 bytes.");
    spoken = text;
    if (!isSsml)
        return std::nullopt;
    const Markup markup = ReadMarkup(text);
    if (!markup.error.empty() || markup.root != "speak")
        return GoogleError(400, "Invalid SSML. Newer voices like Neural2 require valid SSML.");
    spoken = markup.text;
    return std::nullopt;
}

std::optional<Answer> CheckAudio(const rapidjson::Value& body, ToneWish& wish)
{
    const rapidjson::Value* config = Member(body, "audioConfig");
    if (!config || StringMember(*config, "audioEncoding") != "LINEAR16") // the one that is made here
        return GoogleError(400, "Invalid encoding type.");
    wish.rate = NumberMember(*config, "speakingRate", 1.0);
    wish.semitones = NumberMember(*config, "pitch", 0.0);
    if (wish.rate < 0.25 || wish.rate > 4.0)
        return GoogleError(400, "Invalid speaking rate. It must be in the range [0.25, 4.0].");
    if (wish.semitones < -20.0 || wish.semitones > 20.0)
        return GoogleError(400, "Invalid pitch. It must be in the range [-20.0, 20.0].");
    return std::nullopt;
}

Answer Synthesize(const Request& request, const Settings& settings)
{
    rapidjson::Document body;
    if (!ParseJson(request.body, body) || !body.IsObject())
        return GoogleError(400, "Invalid JSON payload received.");
    ToneWish wish;
    std::string spoken;
    if (const std::optional<Answer> refusal = CheckInput(body, spoken))
        return *refusal;
    if (const std::optional<Answer> refusal = CheckVoice(body, settings.googleVoices))
        return *refusal;
    if (const std::optional<Answer> refusal = CheckAudio(body, wish))
        return *refusal;
    wish.sampleRate = kSampleRate;
    wish.msPerCharacter = settings.msPerCharacter;
    const std::string audio = Base64Of(WavOf(ToneOf(spoken, wish), kSampleRate));
    return JsonAnswer(200, kJson, "{\n  \"audioContent\": \"" + audio + "\"\n}\n");
}

} // namespace

Answer GoogleError(int status, const std::string& message)
{
    return JsonAnswer(status, kJson,
                      "{\n  \"error\": {\n    \"code\": " + std::to_string(status) + ",\n    \"message\": " +
                          JsonText(message) + ",\n    \"status\": \"" + StatusNameOf(status) + "\"\n  }\n}\n");
}

Answer GoogleAnswer(const Request& request, const Settings& settings)
{
    std::string key = request.Header("X-Goog-Api-Key");
    if (key.empty())
        key = QueryValue(request.query, "key");
    if (key.empty())
        return GoogleError(403, "Method doesn't allow unregistered callers (callers without established identity). "
                                "Please use API Key or other form of API consumer identity to call this API.");
    if (key != settings.credentials.googleKey)
        return GoogleError(400, "API key not valid. Please pass a valid API key.");
    if (request.path == "/v1/text:synthesize" && request.method == "POST")
        return Synthesize(request, settings);
    if (request.path == "/v1/voices" && request.method == "GET")
        return JsonAnswer(200, kJson, settings.googleVoices);
    return GoogleError(404, "Requested entity was not found.");
}

} // namespace loopback
