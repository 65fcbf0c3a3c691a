// The SAPI XML dialect. MIT licence.
#include "platform/posix/scriptbuilder.h"

#include "platform/posix/scripttext.h"

namespace qxvoice
{
namespace
{

constexpr double kStepsPerOctave = 24;
constexpr double kLongestSilenceMs = 65535;

// Tag and attribute names without regard to case. A tag without content acts to the end of the text, except emph and
// spell, which only enclose. A value that cannot be read acts like none.
class SapiBuilder : public ScriptBuilder
{
public:
    SapiBuilder(const ScriptContext& context, SpeechScript& script)
        : ScriptBuilder(context, script), m_characters(m_writer.SayAs("interpret-as=\"characters\""))
    {
    }

private:
    bool SameName(std::wstring_view a, std::wstring_view b) const override { return EqualNoCase(a, b); }
    void Open(const Tag& tag) override;

    void Rate(const Tag& tag);
    void Pitch(const Tag& tag);
    void Volume(const Tag& tag);
    void Silence(const Tag& tag);
    void Bookmark(const Tag& tag);
    void Emphasis(const Tag& tag);
    void Spell(const Tag& tag);
    void Voice(const Tag& tag);
    void Language(const Tag& tag);
    void UseVoice(const std::string& name, const Tag& tag);
    void AddTo(double SpeechState::*member, double& shift, double amount, const Tag& tag);
    void Replace(double SpeechState::*member, RestField field, double value, const Tag& tag);

    static bool Has(const Tag& tag, std::wstring_view name, std::wstring_view& value);
    static bool Number(const Tag& tag, std::wstring_view name, double& value);
    std::wstring Value(const Tag& tag, std::wstring_view name);

    const uint32_t m_characters;
};

void SapiBuilder::Open(const Tag& tag)
{
    static const struct {
        std::wstring_view name;
        void (SapiBuilder::*act)(const Tag& tag);
    } tags[] = {
        {L"rate", &SapiBuilder::Rate},       {L"pitch", &SapiBuilder::Pitch},   {L"volume", &SapiBuilder::Volume},
        {L"silence", &SapiBuilder::Silence}, {L"emph", &SapiBuilder::Emphasis}, {L"spell", &SapiBuilder::Spell},
        {L"voice", &SapiBuilder::Voice},     {L"lang", &SapiBuilder::Language}, {L"bookmark", &SapiBuilder::Bookmark}};
    for (const auto& known : tags)
        if (EqualNoCase(known.name, tag.name))
            return (this->*known.act)(tag);
}

void SapiBuilder::Rate(const Tag& tag)
{
    double value = 0;
    if (Number(tag, L"absspeed", value))
        Replace(&SpeechState::rate, RestRate, value - m_rateShift, tag);
    else if (Number(tag, L"speed", value))
        AddTo(&SpeechState::rate, m_rateShift, value, tag);
}

void SapiBuilder::Pitch(const Tag& tag)
{
    double value = 0;
    if (Number(tag, L"absmiddle", value))
        Replace(&SpeechState::pitch, RestPitch, value / kStepsPerOctave - m_pitchShift, tag);
    else if (Number(tag, L"middle", value))
        AddTo(&SpeechState::pitch, m_pitchShift, value / kStepsPerOctave, tag);
}

void SapiBuilder::Volume(const Tag& tag)
{
    double value = 0;
    if (Number(tag, L"level", value))
        Replace(&SpeechState::volume, RestVolume, value < 0 ? 0.0 : value > 100 ? 100.0 : value, tag);
}

void SapiBuilder::Silence(const Tag& tag)
{
    double value = 0;
    if (Number(tag, L"msec", value) && value > 0)
        m_writer.Silence(value > kLongestSilenceMs ? kLongestSilenceMs : value);
}

void SapiBuilder::Bookmark(const Tag& tag)
{
    m_writer.Mark(Value(tag, L"mark"), tag.begin);
}

void SapiBuilder::Emphasis(const Tag& tag)
{
    if (!tag.empty)
        Change(&SpeechState::emphasis, SpeechState::Strong);
}

void SapiBuilder::Spell(const Tag& tag)
{
    if (!tag.empty)
        Change(&SpeechState::sayAs, m_characters);
}

void SapiBuilder::Voice(const Tag& tag)
{
    const std::wstring required = Value(tag, L"required");
    const std::wstring optional = Value(tag, L"optional");
    if (required.empty() && optional.empty())
        return;
    const std::string name = m_context.findVoice ? m_context.findVoice(required, optional) : std::string();
    if (name.empty() && !required.empty())
        m_voiceMissing = true;
    UseVoice(name, tag);
}

void SapiBuilder::Language(const Tag& tag)
{
    std::wstring_view value;
    if (!Has(tag, L"langid", value) || !m_context.findLanguage)
        return;
    value = TrimBlanks(value);
    if (value.size() > 2 && EqualNoCase(value.substr(0, 2), L"0x"))
        value.remove_prefix(2);
    uint32_t id = 0;
    for (const wchar_t digit : value) {
        const int number = HexDigit(digit);
        if (number < 0 || id > 0xFFFF)
            return;
        id = id * 16 + static_cast<uint32_t>(number);
    }
    UseVoice(id ? m_context.findLanguage(id) : std::string(), tag);
}

void SapiBuilder::UseVoice(const std::string& name, const Tag& tag)
{
    if (!IsSafeName(name))
        return;
    const uint32_t voice = m_writer.Voice("name=\"" + name + '"');
    if (tag.empty)
        ChangeRest(RestVoice, &SpeechState::voice, voice);
    else
        Change(&SpeechState::voice, voice);
}

void SapiBuilder::AddTo(double SpeechState::*member, double& shift, double amount, const Tag& tag)
{
    if (tag.empty)
        shift += amount;
    else
        Change(member, m_state.*member + amount);
}

void SapiBuilder::Replace(double SpeechState::*member, RestField field, double value, const Tag& tag)
{
    if (tag.empty)
        ChangeRest(field, member, value);
    else
        Change(member, value);
}

bool SapiBuilder::Has(const Tag& tag, std::wstring_view name, std::wstring_view& value)
{
    for (const ScriptAttribute& attribute : tag.attributes) {
        if (EqualNoCase(attribute.name, name)) {
            value = attribute.value;
            return true;
        }
    }
    return false;
}

bool SapiBuilder::Number(const Tag& tag, std::wstring_view name, double& value)
{
    std::wstring_view text;
    bool hasSign = false;
    if (!Has(tag, name, text))
        return false;
    text = TrimBlanks(text);
    return TakeNumber(text, value, hasSign) && text.empty();
}

std::wstring SapiBuilder::Value(const Tag& tag, std::wstring_view name)
{
    std::wstring_view value;
    return Has(tag, name, value) ? m_writer.Entities().Decode(value) : std::wstring();
}

} // namespace

std::unique_ptr<ScriptBuilder> MakeSapiBuilder(const ScriptContext& context, SpeechScript& script)
{
    return std::make_unique<SapiBuilder>(context, script);
}

} // namespace qxvoice
