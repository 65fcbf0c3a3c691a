// The text front of the local voice: plain text, SAPI XML and SSML become text for the synthesizer, with positions.
// MIT licence.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace qxvoice
{

enum class ScriptError {
    None,
    Empty,        // no character at all
    MalformedXml, // mismatched or unclosed tags, broken attributes, unclosed comment, CDATA section or quote
    NoSuchVoice   // a voice element requires what no voice has
};

enum class ScriptForm {
    Auto,    // XML exactly if the first character is '<'
    Plain,   // never parsed
    Xml,     // the root decides: speak is SSML, everything else SAPI XML
    SapiXml, // also if the root is speak
    Ssml
};

// Leads from the synthesizer's text back to the text that the caller gave. A value object without references; any
// thread may ask a map that nobody changes. An empty map answers the index it is asked for.
// All indices are 0-based; spoken ones count code points, source ones count wchar_t units.
class PositionMap
{
public:
    // Source index of a spoken character. Never decreases, never exceeds the source length. Generated markup and
    // everything past the end answer the nearest source text.
    size_t ToSource(size_t spoken) const;

    // Source length that `length` spoken characters from `spoken` on cover: an entity counts in full. 0 for length 0.
    size_t ToSourceLength(size_t spoken, size_t length) const;

    // For the writer of the text. Runs come in rising order of both indices; a run lasts until the next one.
    void AddText(size_t spoken, size_t source); // one source unit for each spoken character
    // Every spoken character stands for the whole span; an empty span is generated markup. Answers the run's number,
    // by which a span whose end was not known yet gets it.
    size_t AddSpan(size_t spoken, size_t source, size_t sourceEnd);
    void ExtendSpan(size_t run, size_t sourceEnd) { m_runs[run].sourceEnd = sourceEnd; }
    void Close(size_t spoken, size_t source); // total lengths

private:
    struct Run {
        size_t spoken;
        size_t source;
        size_t sourceEnd; // of a span; kText for text
    };
    static constexpr size_t kText = static_cast<size_t>(-1);
    const Run* Find(size_t spoken) const;
    size_t SourceEnd(size_t spoken) const;

    std::vector<Run> m_runs;
    size_t m_spokenLength = 0;
    size_t m_sourceLength = 0;
    bool m_closed = false;
};

struct SpeechScript {
    std::string text;  // valid UTF-8 without NUL or other control characters than tab, LF, CR
    bool ssml = false; // text is to be spoken with espeakSSML
    PositionMap map;
    // Names of bookmarks and SSML marks in order. The text holds their numbers, because the synthesizer cuts and
    // changes long names: see MarkName.
    std::vector<std::wstring> marks;
};

struct ScriptContext {
    std::string voice;    // synthesizer's name of the speaking voice; spoken text returns to it after each voice change
    std::string language; // of that voice, as "en-us"
    int rate = 0;         // the voice's own rate, -10..10; the synthesizer's rate parameter is WordsPerMinute(rate)

    // Any of the functions may be missing: then nothing is found. What they give must be a name that the synthesizer
    // knows (it would keep the voice of the text before): at most 100 bytes, without quotes, '<', '>' and '&'.

    // Voice name by attribute strings ("Gender=Female;Language=409"); "" if none meets `required`. A voice that SSML
    // names is asked for with "Name=..." as required.
    std::function<std::string(const std::wstring& required, const std::wstring& optional)> findVoice;
    // Voice name by Windows language id; "" if there is none: the voice then stays.
    std::function<std::string(uint32_t langid)> findLanguage;
    // Voice name by language tag ("de-DE") as SSML has it; "" if there is none: the voice then stays. Not asked for
    // the speaking voice's own language.
    std::function<std::string(const std::string& tag)> findLanguageTag;
};

// Turns `source` into `out`. The whole text is checked first: on any error `out` is empty. Markup without text is no
// error. Calls the context's functions while it runs; may be called on any thread, keeps nothing.
ScriptError MakeSpeechScript(const std::wstring& source, ScriptForm form, const ScriptContext& context,
                             SpeechScript& out);

// Where a WORD event's word stands in the source: first unit and units. `textPosition` counts from 1 as the event does.
// False for an event without a word. Behind a full stop within a sentence the event points at the blank before the
// word, with a wrong length; the answer is the word all the same.
bool FindWord(const SpeechScript& script, const std::wstring& source, size_t textPosition, size_t length, size_t& start,
              size_t& count);

// The synthesizer's rate by steps: 175 words a minute times 3^(rate/10). Limits rate to -10..10.
int WordsPerMinute(double rate);

// Name of the mark in a MARK event of the synthesizer; empty for a name that is not in the script.
std::wstring MarkName(const SpeechScript& script, const char* eventName);

// Whether attributes meet a query of `;`-separated "Name=Value", "Name!=Value" and "Name" (is there at all), without
// regard to case. An attribute may hold several values, separated by `;`: one that equals is enough.
bool VoiceAttributesMatch(const std::wstring& query, const std::map<std::wstring, std::wstring>& attributes);

} // namespace qxvoice
