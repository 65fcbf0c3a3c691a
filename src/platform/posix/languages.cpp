// The table of languages, and what is derived from it. MIT licence.
#include "platform/posix/languages.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace qxplatform
{

namespace
{

struct LanguageRow {
    LANGID id;
    const char* name;
    const char* tags; // further tags with this id, separated by blanks
};

// clang-format off
const LanguageRow kLanguages[] = {
    {0x0436, "af-ZA", "af"},
    {0x045E, "am-ET", "am"},
    {0x0401, "ar-SA", "ar"},
    {0x0801, "ar-IQ", ""},
    {0x0C01, "ar-EG", ""},
    {0x044D, "as-IN", "as"},
    {0x042C, "az-Latn-AZ", "az az-AZ az-Latn"},
    {0x046D, "ba-RU", "ba"},
    {0x0423, "be-BY", "be"},
    {0x0402, "bg-BG", "bg"},
    {0x0445, "bn-IN", "bn"},
    {0x0845, "bn-BD", ""},
    {0x0451, "bo-CN", "bo"},
    {0x047E, "br-FR", "br"},
    {0x141A, "bs-Latn-BA", "bs bs-BA bs-Latn"},
    {0x0403, "ca-ES", "ca"},
    {0x045C, "chr-Cher-US", "chr chr-US chr-Cher"},
    {0x0405, "cs-CZ", "cs"},
    {0x0452, "cy-GB", "cy"},
    {0x0406, "da-DK", "da"},
    {0x0407, "de-DE", "de"},
    {0x0807, "de-CH", ""},
    {0x0C07, "de-AT", ""},
    {0x1007, "de-LU", ""},
    {0x1407, "de-LI", ""},
    {0x0408, "el-GR", "el"},
    {0x0409, "en-US", "en"},
    {0x0809, "en-GB", ""},
    {0x0C09, "en-AU", ""},
    {0x1009, "en-CA", ""},
    {0x1409, "en-NZ", ""},
    {0x1809, "en-IE", ""},
    {0x1C09, "en-ZA", ""},
    {0x2409, "en-029", ""},
    {0x4009, "en-IN", ""},
    {0x4809, "en-SG", ""},
    {0x0C0A, "es-ES", "es"},
    {0x080A, "es-MX", ""},
    {0x2C0A, "es-AR", ""},
    {0x340A, "es-CL", ""},
    {0x240A, "es-CO", ""},
    {0x280A, "es-PE", ""},
    {0x540A, "es-US", ""},
    {0x580A, "es-419", ""},
    {0x0425, "et-EE", "et"},
    {0x042D, "eu-ES", "eu"},
    {0x0429, "fa-IR", "fa"},
    {0x040B, "fi-FI", "fi"},
    {0x0464, "fil-PH", "fil"},
    {0x0438, "fo-FO", "fo"},
    {0x040C, "fr-FR", "fr"},
    {0x080C, "fr-BE", ""},
    {0x0C0C, "fr-CA", ""},
    {0x100C, "fr-CH", ""},
    {0x140C, "fr-LU", ""},
    {0x0462, "fy-NL", "fy"},
    {0x083C, "ga-IE", "ga"},
    {0x0491, "gd-GB", "gd"},
    {0x0456, "gl-ES", "gl"},
    {0x0474, "gn-PY", "gn"},
    {0x0447, "gu-IN", "gu"},
    {0x0468, "ha-Latn-NG", "ha ha-NG ha-Latn"},
    {0x0475, "haw-US", "haw"},
    {0x040D, "he-IL", "he iw"},
    {0x0439, "hi-IN", "hi"},
    {0x041A, "hr-HR", "hr"},
    {0x101A, "hr-BA", ""},
    {0x040E, "hu-HU", "hu"},
    {0x042B, "hy-AM", "hy"},
    {0x0421, "id-ID", "id in"},
    {0x0470, "ig-NG", "ig"},
    {0x040F, "is-IS", "is"},
    {0x0410, "it-IT", "it"},
    {0x0810, "it-CH", ""},
    {0x0411, "ja-JP", "ja"},
    {0x0437, "ka-GE", "ka"},
    {0x043F, "kk-KZ", "kk"},
    {0x046F, "kl-GL", "kl"},
    {0x0453, "km-KH", "km"},
    {0x044B, "kn-IN", "kn"},
    {0x0412, "ko-KR", "ko"},
    {0x0457, "kok-IN", "kok"},
    {0x0492, "ku-Arab-IQ", "ku-IQ ku-Arab"},
    {0x0440, "ky-KG", "ky"},
    {0x0476, "la-VA", "la"},
    {0x046E, "lb-LU", "lb"},
    {0x0454, "lo-LA", "lo"},
    {0x0427, "lt-LT", "lt"},
    {0x0426, "lv-LV", "lv"},
    {0x0481, "mi-NZ", "mi"},
    {0x042F, "mk-MK", "mk"},
    {0x044C, "ml-IN", "ml"},
    {0x0450, "mn-MN", "mn"},
    {0x044E, "mr-IN", "mr"},
    {0x043E, "ms-MY", "ms"},
    {0x043A, "mt-MT", "mt"},
    {0x0455, "my-MM", "my"},
    {0x0414, "nb-NO", "nb no no-NO"},
    {0x0814, "nn-NO", "nn"},
    {0x0461, "ne-NP", "ne"},
    {0x0413, "nl-NL", "nl"},
    {0x0813, "nl-BE", ""},
    {0x0482, "oc-FR", "oc"},
    {0x0472, "om-ET", "om"},
    {0x0448, "or-IN", "or"},
    {0x0446, "pa-IN", "pa"},
    {0x0479, "pap-029", "pap"},
    {0x0415, "pl-PL", "pl"},
    {0x0463, "ps-AF", "ps"},
    {0x0416, "pt-BR", ""},
    {0x0816, "pt-PT", "pt"},
    {0x046B, "quz-BO", "qu quz"},
    {0x0486, "quc-Latn-GT", "quc quc-GT quc-Latn"},
    {0x0487, "rw-RW", "rw"},
    {0x0418, "ro-RO", "ro"},
    {0x0419, "ru-RU", "ru"},
    {0x0859, "sd-Arab-PK", "sd sd-PK sd-Arab"},
    {0x043B, "se-NO", "se"},
    {0x045B, "si-LK", "si"},
    {0x041B, "sk-SK", "sk"},
    {0x0424, "sl-SI", "sl"},
    {0x143B, "smj-SE", "smj"},
    {0x103B, "smj-NO", ""},
    {0x041C, "sq-AL", "sq"},
    {0x241A, "sr-Latn-RS", "sr sr-RS sr-Latn"},
    {0x281A, "sr-Cyrl-RS", "sr-Cyrl"},
    {0x041D, "sv-SE", "sv"},
    {0x081D, "sv-FI", ""},
    {0x0441, "sw-KE", "sw"},
    {0x0449, "ta-IN", "ta"},
    {0x044A, "te-IN", "te"},
    {0x0428, "tg-Cyrl-TJ", "tg tg-TJ tg-Cyrl"},
    {0x041E, "th-TH", "th"},
    {0x0442, "tk-TM", "tk"},
    {0x0432, "tn-ZA", "tn"},
    {0x041F, "tr-TR", "tr"},
    {0x0444, "tt-RU", "tt"},
    {0x0480, "ug-CN", "ug"},
    {0x0422, "uk-UA", "uk"},
    {0x0420, "ur-PK", "ur"},
    {0x0443, "uz-Latn-UZ", "uz uz-UZ uz-Latn"},
    {0x042A, "vi-VN", "vi"},
    {0x0434, "xh-ZA", "xh"},
    {0x046A, "yo-NG", "yo"},
    {0x0804, "zh-CN", "zh zh-Hans zh-Hans-CN cmn cmn-CN cmn-Hans"},
    {0x0C04, "zh-HK", "yue yue-HK zh-Hant-HK"},
    {0x0404, "zh-TW", "zh-Hant zh-Hant-TW cmn-TW cmn-Hant"},
    {0x0435, "zu-ZA", "zu"},
};

// Languages of the synthesizer that Windows has no id for. New ones are added at the end only: the place is the id.
const char* const kUserLanguages[] = {
    "an", "bpy", "cmn-Latn", "cv", "eo", "fa-Latn", "grc", "hak", "ht", "hyw", "ia", "io",
    "jbo", "ku", "lfn", "ltg", "nci", "nog", "piqd", "py", "qdb", "qya", "ru-LV", "shn",
    "sjn", "yue-Latn"};
// clang-format on

constexpr LANGID kFirstUserId = 0x0600; // primary language 0x200, sublanguage 1
constexpr size_t kUserIds = 0x200;
constexpr LANGID kEnglishUS = 0x0409;

bool IsLetters(const std::string& text)
{
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); });
}

bool IsDigits(const std::string& text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

char Lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

char Upper(char c)
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

std::vector<std::string> Split(const std::string& text, char separator)
{
    std::vector<std::string> parts(1);
    for (const char c : text) {
        if (c == separator)
            parts.emplace_back();
        else
            parts.back() += c;
    }
    return parts;
}

// Language, script and region in their usual cases, without the rest; empty for what is no tag.
std::string CanonicalTag(const std::string& tag)
{
    std::vector<std::string> parts = Split(tag, '-');
    std::string& language = parts[0];
    if (language.size() < 2 || language.size() > 8 || !IsLetters(language))
        return {};
    std::transform(language.begin(), language.end(), language.begin(), Lower);
    std::string canonical = language;
    size_t next = 1;
    if (next < parts.size() && parts[next].size() == 4 && IsLetters(parts[next])) {
        std::string& script = parts[next++];
        std::transform(script.begin(), script.end(), script.begin(), Lower);
        script[0] = Upper(script[0]);
        canonical += "-" + script;
    }
    if (next < parts.size()) {
        std::string& region = parts[next];
        if ((region.size() == 2 && IsLetters(region)) || (region.size() == 3 && IsDigits(region))) {
            std::transform(region.begin(), region.end(), region.begin(), Upper);
            canonical += "-" + region;
        }
    }
    return canonical;
}

// Never destroyed: voices answer while the process ends.
struct LanguageIndex {
    LanguageIndex()
    {
        for (const LanguageRow& row : kLanguages) {
            names.emplace(row.id, row.name);
            ids.emplace(row.name, row.id);
            for (const std::string& tag : Split(row.tags, ' ')) {
                if (!tag.empty())
                    ids.emplace(tag, row.id);
            }
        }
        for (const char* tag : kUserLanguages)
            AddUserLanguage(tag);
    }

    // 0 when the user range is full.
    LANGID AddUserLanguage(const std::string& tag)
    {
        if (userLanguages == kUserIds)
            return 0;
        const LANGID id = static_cast<LANGID>(kFirstUserId + userLanguages++);
        names.emplace(id, tag);
        ids.emplace(tag, id);
        return id;
    }

    // 0 for a tag that has no id yet. The lock is held.
    LANGID Find(const std::string& canonical) const
    {
        const auto found = ids.find(canonical);
        return found == ids.end() ? static_cast<LANGID>(0) : found->second;
    }

    std::mutex lock;
    std::unordered_map<LANGID, std::string> names;
    std::unordered_map<std::string, LANGID> ids; // by canonical tag
    size_t userLanguages = 0;
};

LanguageIndex& Index()
{
    static LanguageIndex* const index = new LanguageIndex;
    return *index;
}

// "de_DE.UTF-8@euro" as a tag.
std::string TagOfLocale(std::string locale)
{
    locale.erase(std::min(locale.find_first_of(".@"), locale.size()));
    std::replace(locale.begin(), locale.end(), '_', '-');
    return CanonicalTag(locale);
}

} // namespace

LANGID LanguageIdOfTag(const std::string& tag)
{
    const std::string canonical = CanonicalTag(tag);
    if (canonical.empty())
        return 0;
    LanguageIndex& index = Index();
    const std::lock_guard<std::mutex> guard(index.lock);
    const LANGID id = index.Find(canonical);
    return id ? id : index.AddUserLanguage(canonical);
}

std::wstring LanguageName(LANGID language)
{
    LanguageIndex& index = Index();
    const std::lock_guard<std::mutex> guard(index.lock);
    const auto found = index.names.find(language);
    if (found == index.names.end())
        return {};
    return {found->second.begin(), found->second.end()}; // a tag is ASCII
}

std::wstring LanguageHex(LANGID language)
{
    std::wstring text;
    for (unsigned rest = language; rest > 0 || text.empty(); rest /= 16)
        text.insert(text.begin(), L"0123456789abcdef"[rest % 16]);
    return text;
}

LANGID EnvironmentLanguage()
{
    for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* const value = std::getenv(variable);
        if (!value || !*value)
            continue;
        const std::string tag = TagOfLocale(value);
        LanguageIndex& index = Index();
        const std::lock_guard<std::mutex> guard(index.lock);
        LANGID id = index.Find(tag);
        if (!id)
            id = index.Find(tag.substr(0, tag.find('-')));
        return id ? id : kEnglishUS;
    }
    return kEnglishUS;
}

} // namespace qxplatform
