// The voices that each service offers by itself, in the form of its own answer. MIT licence.
#include "azure.h"
#include "google.h"
#include "polly.h"

namespace loopback
{
namespace
{

struct PollyVoice {
    const char* id;
    const char* name;
    const char* gender;
    const char* language;
    const char* languageName;
    const char* engines; // a JSON array
};
const PollyVoice kPolly[] = {
    {"Joanna", "Joanna", "Female", "en-US", "US English", R"(["neural","standard"])"},
    {"Matthew", "Matthew", "Male", "en-US", "US English", R"(["neural","standard"])"},
    {"Vicki", "Vicki", "Female", "de-DE", "German", R"(["neural","standard"])"},
    {"Celine", "Céline", "Female", "fr-FR", "French", R"(["standard"])"},
    {"Zhiyu", "Zhiyu", "Female", "cmn-CN", "Chinese Mandarin", R"(["neural","standard"])"},
};

struct AzureVoice {
    const char* name; // within the short name
    const char* localName;
    const char* gender;
    const char* locale;
    const char* localeName;
};
const AzureVoice kAzure[] = {
    {"Jenny", "Jenny", "Female", "en-US", "English (United States)"},
    {"Guy", "Guy", "Male", "en-US", "English (United States)"},
    {"Katja", "Katja", "Female", "de-DE", "German (Germany)"},
    {"Xiaoxiao", "晓晓", "Female", "zh-CN", "Chinese (Mandarin, Simplified)"},
};

struct GoogleVoice {
    const char* language;
    const char* name;
    const char* gender;
};
const GoogleVoice kGoogle[] = {
    {"en-US", "en-US-Standard-C", "FEMALE"},
    {"en-US", "en-US-Standard-B", "MALE"},
    {"de-DE", "de-DE-Standard-A", "FEMALE"},
    {"cmn-CN", "cmn-CN-Standard-A", "FEMALE"},
};

std::string Pair(const char* name, const std::string& value)
{
    return JsonText(name) + ":" + JsonText(value);
}

std::string Joined(const std::vector<std::string>& items)
{
    std::string text;
    for (const std::string& item : items)
        text += (text.empty() ? "" : ",\n") + item;
    return text;
}

} // namespace

std::string PollyVoices()
{
    std::vector<std::string> items;
    for (const PollyVoice& voice : kPolly)
        items.push_back("{\"AdditionalLanguageCodes\":[]," + Pair("Gender", voice.gender) + "," + Pair("Id", voice.id) +
                        "," + Pair("LanguageCode", voice.language) + "," + Pair("LanguageName", voice.languageName) +
                        "," + Pair("Name", voice.name) + ",\"SupportedEngines\":" + voice.engines + "}");
    return "{\"NextToken\":null,\"Voices\":[" + Joined(items) + "]}";
}

std::string AzureVoices()
{
    std::vector<std::string> items;
    for (const AzureVoice& voice : kAzure) {
        const std::string neural = std::string(voice.name) + "Neural";
        const std::string locale = voice.locale;
        items.push_back(
            "{" + Pair("Name", "Microsoft Server Speech Text to Speech Voice (" + locale + ", " + neural + ")") + "," +
            Pair("DisplayName", voice.name) + "," + Pair("LocalName", voice.localName) + "," +
            Pair("ShortName", locale + "-" + neural) + "," + Pair("Gender", voice.gender) + "," +
            Pair("Locale", locale) + "," + Pair("LocaleName", voice.localeName) + "," +
            Pair("SampleRateHertz", "48000") + "," + Pair("VoiceType", "Neural") + "," + Pair("Status", "GA") + "}");
    }
    return "[" + Joined(items) + "]";
}

std::string GoogleVoices()
{
    std::vector<std::string> items;
    for (const GoogleVoice& voice : kGoogle)
        items.push_back("{\"languageCodes\":[" + JsonText(voice.language) + "]," + Pair("name", voice.name) + "," +
                        Pair("ssmlGender", voice.gender) + ",\"naturalSampleRateHertz\":24000}");
    return "{\"voices\":[" + Joined(items) + "]}";
}

} // namespace loopback
