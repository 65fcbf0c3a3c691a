// Checks in the order in which the service makes them: signature, path, values, text. MIT licence.
#include "polly.h"

#include <algorithm>
#include <ctime>

#include "audio.h"
#include "httpmessage.h"
#include "jsonreader.h"
#include "markup.h"
#include "signature.h"

namespace loopback
{
namespace
{

constexpr std::size_t kMaxCharacters = 3000;
constexpr std::size_t kMaxWithMarkup = 6000;

Answer Refuse(const std::string& type, const std::string& message)
{
    return PollyError(400, type, message);
}

Answer RefuseValue(const std::string& value, const std::string& field)
{
    return Refuse("ValidationException", "1 validation error detected: Value '" + value + "' at '" + field +
                                             "' failed to satisfy constraint: Member must satisfy enum value set");
}

bool IsOneOf(const std::string& value, std::initializer_list<const char*> values)
{
    return std::find(values.begin(), values.end(), value) != values.end();
}

struct Voice {
    bool isListed = false;
    std::string language;
    std::vector<std::string> engines;
};

// Nothing is checked against a list that is none.
std::optional<Voice> FindVoice(const std::string& list, const std::string& id)
{
    rapidjson::Document document;
    const rapidjson::Value* voices = ParseJson(list, document) ? Member(document, "Voices") : nullptr;
    if (!voices || !voices->IsArray())
        return std::nullopt;
    Voice found;
    for (const rapidjson::Value& voice : voices->GetArray()) {
        if (StringMember(voice, "Id") != id)
            continue;
        found.isListed = true;
        found.language = StringMember(voice, "LanguageCode");
        const rapidjson::Value* engines = Member(voice, "SupportedEngines");
        for (rapidjson::SizeType at = 0; engines && engines->IsArray() && at < engines->Size(); ++at)
            if ((*engines)[at].IsString())
                found.engines.emplace_back((*engines)[at].GetString());
    }
    return found;
}

std::optional<Answer> CheckVoice(const rapidjson::Value& body, const std::string& list)
{
    const std::string id = StringMember(body, "VoiceId");
    const std::string engine = StringMember(body, "Engine");
    const std::string language = StringMember(body, "LanguageCode");
    if (Member(body, "Engine") && !IsOneOf(engine, {"standard", "neural", "long-form", "generative"}))
        return RefuseValue(engine, "engine");
    const std::optional<Voice> voice = FindVoice(list, id);
    if (!voice)
        return std::nullopt;
    if (!voice->isListed)
        return RefuseValue(id, "voiceId");
    if (Member(body, "LanguageCode") && language.empty())
        return RefuseValue(language, "languageCode");
    if (!language.empty() && language != voice->language)
        return Refuse("LanguageNotSupportedException", "This voice does not speak the language requested.");
    const std::string wanted = engine.empty() ? "standard" : engine;
    if (std::find(voice->engines.begin(), voice->engines.end(), wanted) == voice->engines.end())
        return Refuse("EngineNotSupportedException", "This voice does not support the selected engine: " + wanted);
    return std::nullopt;
}

// The text to speak goes into `spoken`.
std::optional<Answer> CheckText(const rapidjson::Value& body, std::string& spoken)
{
    const std::string text = StringMember(body, "Text");
    const std::string type = Member(body, "TextType") ? StringMember(body, "TextType") : "text";
    if (!IsOneOf(type, {"text", "ssml"}))
        return RefuseValue(type, "textType");
    spoken = text;
    if (type == "ssml") {
        const Markup markup = ReadMarkup(text);
        if (!markup.error.empty() || markup.root != "speak")
            return Refuse("InvalidSsmlException", "Invalid SSML request");
        spoken = markup.text;
    }
    if (CountCharacters(text) > kMaxWithMarkup || CountCharacters(spoken) > kMaxCharacters)
        return Refuse("TextLengthExceededException", "Maximum text length has been exceeded");
    return std::nullopt;
}

std::optional<Answer> CheckFormat(const rapidjson::Value& body)
{
    const std::string format = StringMember(body, "OutputFormat");
    if (format != "mp3") // the one that is made here
        return RefuseValue(format, "outputFormat");
    if (Member(body, "SampleRate") && !IsOneOf(StringMember(body, "SampleRate"), {"8000", "16000", "22050", "24000"}))
        return Refuse("InvalidSampleRateException", "Invalid sample rate for audio format mp3");
    return std::nullopt;
}

Answer Synthesize(const Request& request, const Settings& settings)
{
    rapidjson::Document body;
    if (!ParseJson(request.body, body) || !body.IsObject())
        return Refuse("SerializationException", "The request body is not a JSON object.");
    std::string spoken;
    if (const std::optional<Answer> refusal = CheckVoice(body, settings.pollyVoices))
        return *refusal;
    if (const std::optional<Answer> refusal = CheckFormat(body))
        return *refusal;
    if (const std::optional<Answer> refusal = CheckText(body, spoken))
        return *refusal;
    ToneWish wish;
    const std::string sampleRate = StringMember(body, "SampleRate");
    wish.sampleRate = sampleRate.empty() ? 22050 : static_cast<unsigned>(std::stoul(sampleRate));
    wish.msPerCharacter = settings.msPerCharacter;
    Answer answer;
    answer.SetHeader("Content-Type", "audio/mpeg");
    answer.SetHeader("x-amzn-RequestCharacters", std::to_string(CountCharacters(spoken)));
    answer.body.Set(Mp3Of(ToneOf(spoken, wish), wish.sampleRate));
    return answer;
}

} // namespace

Answer PollyError(int status, const std::string& type, const std::string& message)
{
    Answer answer = JsonAnswer(status, "application/json", "{\"message\":" + JsonText(message) + "}");
    answer.SetHeader("x-amzn-ErrorType", type + ":http://internal.amazon.com/coral/com.amazonaws.polly/");
    return answer;
}

std::string PollyErrorTypeOf(int status)
{
    if (status == 429)
        return "ThrottlingException";
    if (status >= 500)
        return "ServiceFailureException";
    return status == 401 || status == 403 ? "UnrecognizedClientException" : "ValidationException";
}

Answer PollyAnswer(const Request& request, const std::string& region, const Settings& settings)
{
    const SignatureFault fault = CheckSignature(request, region, "polly", settings.credentials, std::time(nullptr));
    if (!fault.type.empty())
        return PollyError(403, fault.type, fault.message);
    if (request.path == "/v1/speech" && request.method == "POST")
        return Synthesize(request, settings);
    if (request.path == "/v1/voices" && request.method == "GET")
        return JsonAnswer(200, "application/json", settings.pollyVoices);
    return PollyError(404, "UnknownOperationException", "There is no such operation.");
}

} // namespace loopback
