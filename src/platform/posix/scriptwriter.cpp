// Text and wrappers for the synthesizer. MIT licence.
#include "platform/posix/scriptwriter.h"

#include <algorithm>
#include <cmath>

#include "platform/posix/scriptscanner.h"

namespace qxvoice
{
namespace
{

// From this rate on the synthesizer speaks at its normal rate and shortens the sound afterwards, pauses included.
constexpr int kFirstShortenedRate = 450;
constexpr int kNormalRate = 175;
constexpr double kLongestPauseMs = 600000; // between two words
constexpr double kLongestBreakMs = 950000; // the synthesizer goes up to 988 s
constexpr int kNormalPitch = 50;

// Steps of the synthesizer's pitch scale to an octave, as its voices sound: not the same up and down.
constexpr double kStepsPerOctaveUp = 60;
constexpr double kStepsPerOctaveDown = 69;

int Whole(double value, double lowest, double highest)
{
    return static_cast<int>(std::lround(std::min(std::max(value, lowest), highest)));
}

bool IsBlankText(std::wstring_view text)
{
    return std::all_of(text.begin(), text.end(), IsXmlBlank);
}

bool IsAudible(char32_t character)
{
    return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'Z') ||
           (character >= 'a' && character <= 'z') || character > 0xA0;
}

} // namespace

ScriptWriter::ScriptWriter(const ScriptContext& context, SpeechScript& script) : m_context(context), m_script(script)
{
    Voice(IsSafeName(context.voice) ? "name=\"" + context.voice + '"' : std::string());
    SayAs(std::string());
}

void ScriptWriter::Text(std::wstring_view text, size_t source, bool entities, const SpeechState& state)
{
    m_inText = false;
    if (!IsBlankText(text))
        Begin(state, source);
    for (size_t i = 0; i < text.size();) {
        CodePoint point{0, 0};
        if (entities && text[i] == L'&')
            point = m_entities.Read(text, i);
        if (point.units == 0)
            point = ReadCodePoint(text, i);
        Character(point.value, source + i, point.units);
        i += point.units;
    }
}

size_t ScriptWriter::Substitute(std::wstring_view text, size_t source, const SpeechState& state)
{
    if (!IsBlankText(text))
        Begin(state, source);
    m_inText = false;
    const size_t run = m_script.map.AddSpan(m_spoken, source, source);
    for (size_t i = 0; i < text.size();) {
        const CodePoint point = ReadCodePoint(text, i);
        Escaped(point.value);
        i += point.units;
    }
    return run;
}

void ScriptWriter::Mark(const std::wstring& name, size_t source)
{
    WriteSilence(source);
    // Directly behind the end of a sentence a tag is read as its next character, and the mark gets lost.
    if (!m_script.text.empty() && std::string_view(".!?").find(m_script.text.back()) != std::string_view::npos)
        Markup("\n", source);
    Markup("<mark name=\"" + std::to_string(m_script.marks.size()) + "\"/>", source);
    m_script.marks.push_back(name);
}

// Of two breaks without a word or mark between them the synthesizer heeds one: they are summed up until then.
void ScriptWriter::Silence(double milliseconds)
{
    m_silenceMs = std::min(m_silenceMs + milliseconds, kLongestPauseMs);
}

void ScriptWriter::Break(const std::string& strength, size_t source)
{
    WriteSilence(source);
    BeforeBreak(source);
    Markup(strength.empty() ? std::string(" <break/>") : " <break strength=\"" + strength + "\"/>", source);
}

void ScriptWriter::WriteSilence(size_t source)
{
    if (m_silenceMs == 0)
        return;
    BeforeBreak(source);
    const int base = WordsPerMinute(m_context.rate);
    const double scale = base >= kFirstShortenedRate ? 1.0 * base / kNormalRate : 1.0;
    Markup(" <break time=\"" + std::to_string(Whole(m_silenceMs * scale, 0, kLongestBreakMs)) + "ms\"/>", source);
    m_silenceMs = 0;
}

// Within prosody a pause has the wrong length, and before the first word the synthesizer drops it: an inaudible
// character counts as a word there.
void ScriptWriter::BeforeBreak(size_t source)
{
    CloseDownTo(ProsodyLevel, source);
    if (!m_anyWord)
        Markup("\xC2\xA0", source);
    m_anyWord = true;
}

void ScriptWriter::BeginSentence()
{
    if (m_boundary == Boundary::None)
        m_boundary = Boundary::Sentence;
}

void ScriptWriter::Finish(size_t sourceLength)
{
    WriteSilence(sourceLength);
    CloseDownTo(VoiceLevel, sourceLength);
    m_script.map.Close(m_spoken, sourceLength);
}

uint32_t ScriptWriter::Number(std::vector<std::string>& strings, Numbers& numbers, const std::string& attributes)
{
    const auto known = numbers.try_emplace(attributes, static_cast<uint32_t>(strings.size()));
    if (known.second)
        strings.push_back(attributes);
    return known.first->second;
}

ScriptWriter::Wrappers ScriptWriter::Wanted(const SpeechState& state) const
{
    Wrappers wanted;
    const double rate = m_context.rate + state.rate;
    wanted.rate = Whole(100.0 * WordsPerMinute(rate) / WordsPerMinute(m_context.rate), 1, 1000);
    wanted.volume = Whole(state.volume, 0, 200);
    const double steps = state.pitch > 0 ? kStepsPerOctaveUp : kStepsPerOctaveDown;
    wanted.pitch = Whole(kNormalPitch + state.pitch * steps, 0, 100);
    wanted.range = Whole(kNormalPitch * state.range * std::exp2(state.pitch), 0, 100);
    wanted.voice = state.voice;
    wanted.sayAs = state.sayAs;
    wanted.emphasis = state.emphasis;
    return wanted;
}

ScriptWriter::Level ScriptWriter::FirstDifference(const Wrappers& a, const Wrappers& b)
{
    if (a.voice != b.voice)
        return VoiceLevel;
    if (a.rate != b.rate || a.volume != b.volume || a.pitch != b.pitch || a.range != b.range)
        return ProsodyLevel;
    if (a.emphasis != b.emphasis)
        return EmphasisLevel;
    return a.sayAs != b.sayAs ? SayAsLevel : Levels;
}

void ScriptWriter::Begin(const SpeechState& state, size_t source)
{
    WriteSilence(source);
    const Wrappers wanted = Wanted(state);
    const Level level = FirstDifference(m_open, wanted);
    if (level != Levels)
        CloseDownTo(level, source);
    if (m_boundary != Boundary::None && m_anyWord)
        Markup(m_boundary == Boundary::Paragraph ? "</p> <p>" : "<s/>", source);
    m_boundary = Boundary::None;
    if (level != Levels)
        Open(wanted, source);
}

// Closes the elements of this level and those within. An end tag does not bring the former voice back: only the next
// start tag changes it.
void ScriptWriter::CloseDownTo(Level level, size_t source)
{
    if (m_open.sayAs != 0)
        Markup("</say-as>", source);
    m_open.sayAs = 0;
    if (level <= EmphasisLevel && m_open.emphasis != SpeechState::Plain) {
        Markup("</emphasis>", source);
        m_open.emphasis = SpeechState::Plain;
    }
    if (level <= ProsodyLevel && !m_open.PlainProsody()) {
        Markup("</prosody>", source);
        Wrappers plain;
        plain.voice = m_open.voice;
        plain.emphasis = m_open.emphasis;
        m_open = plain;
    }
    if (level == VoiceLevel && m_voiceOpen) {
        Markup("</voice>", source);
        m_voiceOpen = false;
    }
}

void ScriptWriter::Open(const Wrappers& wanted, size_t source)
{
    if (m_open.voice != wanted.voice && !m_voices[wanted.voice].empty()) {
        Markup("<voice " + m_voices[wanted.voice] + '>', source);
        m_voiceOpen = true;
    }
    if (m_open.PlainProsody() && !wanted.PlainProsody())
        Markup("<prosody rate=\"" + std::to_string(wanted.rate) + "%\" pitch=\"" + std::to_string(wanted.pitch) +
                   "\" range=\"" + std::to_string(wanted.range) + "\" volume=\"" + std::to_string(wanted.volume) +
                   "%\">",
               source);
    static const char* const emphases[] = {nullptr, "reduced", "moderate", "strong"};
    if (m_open.emphasis != wanted.emphasis && wanted.emphasis != SpeechState::Plain)
        Markup(std::string("<emphasis level=\"") + emphases[wanted.emphasis] + "\">", source);
    if (wanted.sayAs != 0)
        Markup("<say-as " + m_sayAs[wanted.sayAs] + '>', source);
    m_open = wanted;
}

void ScriptWriter::Markup(const std::string& markup, size_t source)
{
    m_inText = false;
    // A tag behind a sentence and a blank swallows marks and shifts the next position by one; behind a line end it
    // does not, and the two sound the same.
    if (markup.front() == '<' && !m_script.text.empty() && m_script.text.back() == ' ')
        m_script.text.back() = '\n';
    m_script.map.AddSpan(m_spoken, source, source);
    m_script.text += markup;
    m_spoken += CountCodePoints(markup);
}

void ScriptWriter::Character(char32_t character, size_t source, size_t sourceLength)
{
    const bool escaped = character == '&' || character == '<' || character == '>';
    if (escaped || sourceLength != 1) {
        m_script.map.AddSpan(m_spoken, source, source + sourceLength);
        m_inText = false;
    } else if (!m_inText) {
        m_script.map.AddText(m_spoken, source);
        m_inText = true;
    }
    Escaped(character);
}

void ScriptWriter::Escaped(char32_t character)
{
    const size_t before = m_script.text.size();
    if (character == '&')
        m_script.text += "&amp;";
    else if (character == '<')
        m_script.text += "&lt;";
    else if (character == '>')
        m_script.text += "&gt;";
    else
        AppendUtf8(m_script.text, character);
    const bool escaped = character < 0x80 && m_script.text.size() > before + 1;
    m_spoken += escaped ? m_script.text.size() - before : 1;
    m_anyWord = m_anyWord || IsAudible(character);
}

} // namespace qxvoice
