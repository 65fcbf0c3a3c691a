// Walks through marked-up text and tells the writer what to say and how; the dialects tell what their tags do.
// MIT licence.
#pragma once

#include "platform/posix/scriptscanner.h"
#include "platform/posix/scriptwriter.h"
#include "platform/posix/speechscript.h"

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qxvoice
{

// One builder makes one script. Open elements lie in a vector, so depth costs memory, never stack. The state of the
// voice is saved only by elements that change it, and comes back at their end.
class ScriptBuilder
{
public:
    ScriptBuilder(const ScriptContext& context, SpeechScript& script) : m_context(context), m_writer(context, script) {}
    virtual ~ScriptBuilder() = default;
    ScriptBuilder(const ScriptBuilder&) = delete;
    ScriptBuilder& operator=(const ScriptBuilder&) = delete;

    // On an error the script is unfinished.
    ScriptError Build(std::wstring_view source, size_t start);

protected:
    enum class FrameKind : uint8_t { Normal, Muted, Substituted };
    struct Frame {
        std::wstring_view name;
        FrameKind kind = FrameKind::Normal;
        bool saved = false;
    };
    struct Tag {
        std::wstring_view name; // without prefix
        bool empty;             // <tag/>
        size_t begin, end;      // in the source
        const std::vector<ScriptAttribute>& attributes;
    };
    // What a tag without content can set for the rest of the text.
    enum RestField { RestRate, RestPitch, RestVolume, RestVoice, RestFields };

    virtual bool SameName(std::wstring_view a, std::wstring_view b) const = 0;
    // Whether character data, or an element of this name, may stand here.
    virtual bool MayHoldText() const { return true; }
    virtual bool MayOpen(std::wstring_view) { return true; }
    virtual bool IsComplete() const { return true; }
    virtual void Open(const Tag& tag) = 0;
    virtual void Closed(std::wstring_view) {}

    size_t Depth() const { return m_frames.size(); }
    SpeechState Effective() const;

    // Sets a part of the state until the end of the element that was opened last.
    template <class T>
    void Change(T SpeechState::*member, T value)
    {
        if (m_state.*member == value)
            return;
        Save();
        m_state.*member = value;
    }
    // Sets it for the rest of the text, whatever ends meanwhile.
    template <class T>
    void ChangeRest(RestField field, T SpeechState::*member, T value)
    {
        m_state.*member = value;
        m_rest.*member = value;
        ++m_restEpochs[field];
    }

    // Keeps the content of the element that was opened last unspoken; with a text, that is spoken in its place.
    void Mute();
    void Substitute(std::wstring_view text, const Tag& tag);

    const ScriptContext& m_context;
    ScriptWriter m_writer;
    SpeechState m_state; // rate and pitch less the shifts
    double m_rateShift = 0;
    double m_pitchShift = 0;
    size_t m_muted = 0; // open elements that keep their content unspoken
    bool m_voiceMissing = false;

private:
    struct Saved {
        SpeechState state;
        std::array<uint32_t, RestFields> epochs;
    };
    bool OpenElement(const ScriptScanner& scanner, bool empty);
    bool CloseElement(const ScriptScanner& scanner);
    bool Character(const ScriptScanner& scanner, bool entities);
    void Save();
    void Restore();

    std::vector<Frame> m_frames;
    std::vector<Saved> m_saved;
    SpeechState m_rest;
    std::array<uint32_t, RestFields> m_restEpochs{};
    size_t m_substituteRun = 0;
};

std::unique_ptr<ScriptBuilder> MakeSapiBuilder(const ScriptContext& context, SpeechScript& script);
std::unique_ptr<ScriptBuilder> MakeSsmlBuilder(const ScriptContext& context, SpeechScript& script);

// A decimal number with or without sign at the start of `text`, which is moved behind it; the host's locale plays no
// part. False if there is none.
bool TakeNumber(std::wstring_view& text, double& value, bool& hasSign);

} // namespace qxvoice
