// Writes the synthesizer's SSML: text with positions, and wrappers only where the state of the voice changes.
// MIT licence.
#pragma once

#include "platform/posix/scripttext.h"
#include "platform/posix/speechscript.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace qxvoice
{

// What text is spoken with. Voices and say-as kinds are numbers of the writer; 0 is the speaking voice and no say-as.
struct SpeechState {
    enum Emphasis : uint8_t { Plain, Reduced, Moderate, Strong };

    double rate = 0;     // steps, factor 3^(rate/10), on top of the voice's own; together limited to -10..10
    double pitch = 0;    // octaves; the synthesizer reaches about +0.85 and -0.75
    double range = 1;    // factor on the melody's range
    double volume = 100; // percent of the voice's volume, 0..200
    uint32_t voice = 0;
    uint32_t sayAs = 0;
    Emphasis emphasis = Plain;
};

// One writer makes one script; both text and script outlive it. The synthesizer keeps only a few open elements, so at
// most one of each kind is open at a time, whatever the depth of the source.
class ScriptWriter
{
public:
    ScriptWriter(const ScriptContext& context, SpeechScript& script);

    // Text that stands in the source from `source` on; its entities are decoded if asked for.
    void Text(std::wstring_view text, size_t source, bool entities, const SpeechState& state);
    // Text that stands for a stretch of the source. The answer goes to EndSubstitute with the end of the stretch.
    size_t Substitute(std::wstring_view text, size_t source, const SpeechState& state);
    void EndSubstitute(size_t run, size_t sourceEnd) { m_script.map.ExtendSpan(run, sourceEnd); }

    void Mark(const std::wstring& name, size_t source);
    void Silence(double milliseconds);
    void Break(const std::string& strength, size_t source);
    // The next text begins a sentence or a paragraph.
    void BeginSentence();
    void BeginParagraph() { m_boundary = Boundary::Paragraph; }
    void Finish(size_t sourceLength);

    // Number of a voice or say-as kind by its attributes, which are ready for the tag (name="...").
    uint32_t Voice(const std::string& attributes) { return Number(m_voices, m_voiceNumbers, attributes); }
    uint32_t SayAs(const std::string& attributes) { return Number(m_sayAs, m_sayAsNumbers, attributes); }

    EntityDecoder& Entities() { return m_entities; }

private:
    enum class Boundary : uint8_t { None, Sentence, Paragraph };
    enum Level { VoiceLevel, ProsodyLevel, EmphasisLevel, SayAsLevel, Levels };
    // Whole numbers as the tags hold them, so that changes too small to be written change nothing.
    struct Wrappers {
        int rate = 100, volume = 100; // percent of the parameter that is set
        int pitch = 50, range = 50;   // the synthesizer's own scale, 0..100
        uint32_t voice = 0;
        uint32_t sayAs = 0;
        SpeechState::Emphasis emphasis = SpeechState::Plain;
        bool PlainProsody() const { return rate == 100 && volume == 100 && pitch == 50 && range == 50; }
    };
    using Numbers = std::unordered_map<std::string, uint32_t>;

    static uint32_t Number(std::vector<std::string>& strings, Numbers& numbers, const std::string& attributes);
    Wrappers Wanted(const SpeechState& state) const;
    static Level FirstDifference(const Wrappers& a, const Wrappers& b);
    void Begin(const SpeechState& state, size_t source);
    void CloseDownTo(Level level, size_t source);
    void Open(const Wrappers& wanted, size_t source);
    void WriteSilence(size_t source);
    void BeforeBreak(size_t source);
    void Markup(const std::string& markup, size_t source);
    void Character(char32_t character, size_t source, size_t sourceLength);
    void Escaped(char32_t character);

    const ScriptContext& m_context;
    SpeechScript& m_script;
    EntityDecoder m_entities;
    std::vector<std::string> m_voices;
    std::vector<std::string> m_sayAs;
    Numbers m_voiceNumbers;
    Numbers m_sayAsNumbers;
    Wrappers m_open;
    size_t m_spoken = 0;    // code points written
    double m_silenceMs = 0; // not written yet
    bool m_inText = false;
    bool m_anyWord = false; // something audible was written
    bool m_voiceOpen = false;
    Boundary m_boundary = Boundary::None;
};

} // namespace qxvoice
