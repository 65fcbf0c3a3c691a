// The SSML dialect. MIT licence.
#include "platform/posix/scriptbuilder.h"

#include <algorithm>

#include "platform/posix/scripttext.h"
#include "platform/posix/ssmlprosody.h"

namespace qxvoice
{
namespace
{

bool IsToken(const std::wstring& text)
{
    constexpr size_t longest = 40;
    return !text.empty() && text.size() <= longest && std::all_of(text.begin(), text.end(), [](wchar_t c) {
        return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || (c >= L'0' && c <= L'9') || c == L'-' ||
               c == L':';
    });
}

// Names as XML has them: case counts. Elements of any prefix are taken by what stands behind it. Exactly one root, and
// no text beside it.
class SsmlBuilder : public ScriptBuilder
{
public:
    SsmlBuilder(const ScriptContext& context, SpeechScript& script) : ScriptBuilder(context, script)
    {
        m_voices.push_back({context.voice, {}, {}, {}});
    }

private:
    // The voice by its resolved name and what chooses among its variants.
    struct Voice {
        std::string name, gender, age, variant;
    };

    bool SameName(std::wstring_view a, std::wstring_view b) const override { return a == b; }
    bool MayHoldText() const override { return Depth() > 0; }
    bool MayOpen(std::wstring_view name) override;
    bool IsComplete() const override { return m_hasRoot; }
    void Open(const Tag& tag) override;
    void Closed(std::wstring_view name) override { Boundary(name); }

    void Boundary(std::wstring_view name);
    void Break(const Tag& tag);
    void SetMark(const Tag& tag);
    void Prosody(const Tag& tag);
    void Emphasis(const Tag& tag);
    void SayAs(const Tag& tag);
    void Alias(const Tag& tag);
    void NamedVoice(const Tag& tag);
    void Unspoken(const Tag& tag);
    void Language(const Tag& tag);
    bool IsOwnLanguage(const std::string& language) const;
    void UseVoice(const Voice& voice);
    std::wstring Value(const Tag& tag, std::wstring_view name);

    std::vector<Voice> m_voices; // by the writer's numbers
    bool m_hasRoot = false;
};

bool SsmlBuilder::MayOpen(std::wstring_view name)
{
    if (Depth() > 0)
        return true;
    const bool first = !m_hasRoot;
    m_hasRoot = true;
    return first && LocalName(name) == L"speak";
}

void SsmlBuilder::Open(const Tag& tag)
{
    static const struct {
        std::wstring_view name;
        void (SsmlBuilder::*act)(const Tag& tag);
        bool withoutContent; // acts as <tag/> too
    } tags[] = {{L"break", &SsmlBuilder::Break, true},        {L"mark", &SsmlBuilder::SetMark, true},
                {L"sub", &SsmlBuilder::Alias, true},          {L"prosody", &SsmlBuilder::Prosody, false},
                {L"emphasis", &SsmlBuilder::Emphasis, false}, {L"say-as", &SsmlBuilder::SayAs, false},
                {L"voice", &SsmlBuilder::NamedVoice, false},  {L"metadata", &SsmlBuilder::Unspoken, false},
                {L"desc", &SsmlBuilder::Unspoken, false}};
    Boundary(tag.name);
    if (!tag.empty)
        Language(tag);
    for (const auto& known : tags)
        if (known.name == tag.name && (known.withoutContent || !tag.empty))
            return (this->*known.act)(tag);
}

void SsmlBuilder::Boundary(std::wstring_view name)
{
    if (name == L"p" || name == L"paragraph")
        m_writer.BeginParagraph();
    else if (name == L"s" || name == L"sentence")
        m_writer.BeginSentence();
}

void SsmlBuilder::Break(const Tag& tag)
{
    if (m_muted > 0)
        return;
    const std::wstring time = Value(tag, L"time");
    std::wstring_view unit = TrimBlanks(time);
    double number = 0;
    bool hasSign = false;
    if (TakeNumber(unit, number, hasSign) && number >= 0 && (unit == L"s" || unit == L"ms"))
        return m_writer.Silence(unit == L"s" ? number * 1000 : number);
    static const wchar_t* const strengths[] = {L"none", L"x-weak", L"weak", L"medium", L"strong", L"x-strong"};
    const std::wstring strength = Value(tag, L"strength");
    const bool known = std::find(std::begin(strengths), std::end(strengths), strength) != std::end(strengths);
    m_writer.Break(known ? ToUtf8(strength) : std::string(), tag.begin);
}

void SsmlBuilder::SetMark(const Tag& tag)
{
    m_writer.Mark(Value(tag, L"name"), tag.begin);
}

void SsmlBuilder::Prosody(const Tag& tag)
{
    Change(&SpeechState::rate, ProsodyRate(Value(tag, L"rate"), m_state.rate));
    Change(&SpeechState::pitch, ProsodyPitch(Value(tag, L"pitch"), m_state.pitch));
    Change(&SpeechState::range, ProsodyRange(Value(tag, L"range"), m_state.range));
    Change(&SpeechState::volume, ProsodyVolume(Value(tag, L"volume"), m_state.volume));
}

void SsmlBuilder::Emphasis(const Tag& tag)
{
    const std::wstring level = Value(tag, L"level");
    SpeechState::Emphasis emphasis = SpeechState::Moderate;
    if (level == L"strong")
        emphasis = SpeechState::Strong;
    else if (level == L"reduced")
        emphasis = SpeechState::Reduced;
    else if (level == L"none")
        emphasis = SpeechState::Plain;
    Change(&SpeechState::emphasis, emphasis);
}

void SsmlBuilder::SayAs(const Tag& tag)
{
    static const struct {
        std::wstring_view name;
        const char* known;
    } others[] = {{L"spell-out", "characters"}, {L"verbatim", "characters"}, {L"digits", "tts:digits"}};
    const std::wstring kind = Value(tag, L"interpret-as");
    if (!IsToken(kind))
        return;
    std::string name = ToUtf8(kind);
    for (const auto& other : others)
        if (other.name == kind)
            name = other.known;
    std::string attributes = "interpret-as=\"" + name + '"';
    const std::wstring format = Value(tag, L"format");
    if (IsToken(format))
        attributes += " format=\"" + ToUtf8(format) + '"';
    Change(&SpeechState::sayAs, m_writer.SayAs(attributes));
}

// The synthesizer would give senseless positions for its own element.
void SsmlBuilder::Alias(const Tag& tag)
{
    const std::wstring alias = Value(tag, L"alias");
    if (!alias.empty())
        Substitute(alias, tag);
}

void SsmlBuilder::Unspoken(const Tag&)
{
    Mute();
}

void SsmlBuilder::NamedVoice(const Tag& tag)
{
    Voice voice = m_voices[m_state.voice];
    const std::wstring name = Value(tag, L"name");
    if (!name.empty() && name.find(L';') == std::wstring::npos && m_context.findVoice) {
        const std::string found = m_context.findVoice(L"Name=" + name, std::wstring());
        if (IsSafeName(found))
            voice = {found, {}, {}, {}};
    }
    const std::wstring gender = Value(tag, L"gender");
    if (gender == L"male" || gender == L"female" || gender == L"neutral")
        voice.gender = ToUtf8(gender);
    const auto isNumber = [](const std::wstring& text) {
        return !text.empty() && text.size() <= 3 && text.find_first_not_of(L"0123456789") == std::wstring::npos;
    };
    const std::wstring age = Value(tag, L"age");
    if (isNumber(age))
        voice.age = ToUtf8(age);
    const std::wstring variant = Value(tag, L"variant");
    if (isNumber(variant))
        voice.variant = ToUtf8(variant);
    UseVoice(voice);
}

void SsmlBuilder::Language(const Tag& tag)
{
    const std::string language = ToUtf8(TrimBlanks(Value(tag, L"xml:lang")));
    if (language.empty())
        return;
    Voice voice = m_voices[m_state.voice];
    if (IsOwnLanguage(language))
        voice.name = m_context.voice;
    else if (m_context.findLanguageTag) {
        const std::string found = m_context.findLanguageTag(language);
        if (IsSafeName(found))
            voice.name = found;
    }
    UseVoice(voice);
}

// "en" and "en-US" are a voice's own that speaks "en-us".
bool SsmlBuilder::IsOwnLanguage(const std::string& language) const
{
    const std::string& own = m_context.language;
    if (language.size() > own.size() || (language.size() < own.size() && own[language.size()] != '-'))
        return false;
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    return std::equal(language.begin(), language.end(), own.begin(),
                      [lower](char a, char b) { return lower(a) == lower(b); });
}

void SsmlBuilder::UseVoice(const Voice& voice)
{
    std::string attributes = IsSafeName(voice.name) ? "name=\"" + voice.name + '"' : std::string();
    const auto add = [&attributes](const char* name, const std::string& value) {
        if (!value.empty())
            attributes += std::string(attributes.empty() ? "" : " ") + name + "=\"" + value + '"';
    };
    add("gender", voice.gender);
    add("age", voice.age);
    add("variant", voice.variant);
    const uint32_t number = m_writer.Voice(attributes);
    if (number == m_voices.size())
        m_voices.push_back(voice);
    Change(&SpeechState::voice, number);
}

std::wstring SsmlBuilder::Value(const Tag& tag, std::wstring_view name)
{
    for (const ScriptAttribute& attribute : tag.attributes)
        if (attribute.name == name)
            return m_writer.Entities().Decode(attribute.value);
    return std::wstring();
}

} // namespace

std::unique_ptr<ScriptBuilder> MakeSsmlBuilder(const ScriptContext& context, SpeechScript& script)
{
    return std::make_unique<SsmlBuilder>(context, script);
}

} // namespace qxvoice
