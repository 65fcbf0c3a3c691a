// Speech is always asynchronous and polled, so that keys and signals act at once. MIT licence.
#include "speaker.h"

#include <algorithm>
#include <chrono>
#include <wx/app.h>

#include "../common/audiosession.h"
#include "../common/interrupt.h"
#include "../common/terminal.h"
#include "console.h"
#include "exitstatus.h"
#include "failures.h"
#include "longspeech.h"
#include "progress.h"
#include "speech/ttshandler.h"
#include "temporaryfiles.h"
#include "textinput.h"
#include "values.h"
#include "voices.h"
#include "voicesource.h"

namespace say
{
namespace
{

constexpr int kSpeechPollMs = 10;
// The native speed from which Google Cloud's engine makes its rate of 1.0.
constexpr int kGoogleNormalSpeed = 213;
// Characters that may be more than 37 hours at a low speed.
constexpr size_t kLongMarkup = 1000000;
// Of a file at the limit of its size, what may have been written after the last look at it.
constexpr uint64_t kLastBlocks = uint64_t{1} << 28;

struct Range {
    const char* name;
    const Quantity Options::*given;
    wxTTSCapability capability;
    int (wxTTSHandler::*minimum)() const;
    int (wxTTSHandler::*maximum)() const;
    void (wxTextToSpeech::*set)(int, wxTTSQuantityType);
};

const Range kRanges[] = {
    {"rate", &Options::rate, wxTTS_CAP_SPEED, &wxTTSHandler::GetMinSpeed, &wxTTSHandler::GetMaxSpeed,
     &wxTextToSpeech::SetSpeed},
    {"pitch", &Options::pitch, wxTTS_CAP_PITCH, &wxTTSHandler::GetMinPitch, &wxTTSHandler::GetMaxPitch,
     &wxTextToSpeech::SetPitch},
    {"volume", &Options::volume, wxTTS_CAP_VOLUME, &wxTTSHandler::GetMinVolume, &wxTTSHandler::GetMaxVolume,
     &wxTextToSpeech::SetVolume},
};

void Apply(wxTextToSpeech& engine, const Options& options, const Range& range)
{
    const Quantity& given = options.*range.given;
    if (!given.given)
        return;
    const wxTTSHandler* const handler = engine.GetCurrentHandler();
    const int minimum = (handler->*range.minimum)();
    const int maximum = (handler->*range.maximum)();
    if (!given.percent && (given.value < minimum || given.value > maximum))
        throw Failure{kExitUsage, wxString::Format("--%s %d: %s takes %d to %d", range.name, given.value,
                                                   handler->GetId(), minimum, maximum)};
    if (!engine.HasCapability(range.capability))
        PrintError(wxString("warning: ") + handler->GetId() + " does not apply --" + range.name);
    (engine.*range.set)(given.value, given.percent ? wxTTS_QUANTITY_PERCENT : wxTTS_QUANTITY_NATIVE);
}

// In markup, Azure's voice is what the markup says.
bool TakesVoice(const WebSession& session, const Options& options)
{
    const bool isMarkup = options.inputForm == InputForm::kSsml || options.inputForm == InputForm::kNative;
    if (session.EngineId() != "Microsoft Azure" || !isMarkup)
        return session.IsWeb() || !options.voice.empty() || !options.language.empty();
    if (!options.voice.empty() || !options.language.empty())
        PrintError(
            "warning: Microsoft Azure takes the voice of SSML from its voice elements; -v and --lang do nothing");
    return false;
}

// One speech under way: keys, signals, notices of the engine, progress.
class Speech
{
public:
    Speech(wxTextToSpeech& engine, WebSession& session, const Options& options, const OutputTarget* output)
        : m_engine(engine), m_session(session), m_output(output), m_progress(options.progress, output)
    {
    }

    void Run(const Spoken& spoken) { Speak(spoken, m_output ? m_output->SpeechFile() : wxString()); }

    // The local engine's WAV files end at 4 GiB, so a long text is spoken by pieces into a temporary one.
    void RunByPieces(const Spoken& spoken)
    {
        const wxString file = TemporaryFiles::Make();
        JoinedWav joined(std::string(m_output->SpeechFile().utf8_str()), m_output->Name());
        for (const wxString& piece : PiecesOf(spoken.input, kPieceCharacters)) {
            if (piece.Strip(wxString::both).empty())
                continue;
            Speak({ProtectPlainText(piece), false, spoken.form, spoken.isPrepared}, file);
            joined.Append(std::string(file.utf8_str()));
        }
    }

private:
    void Speak(const Spoken& spoken, const wxString& file)
    {
        if (!(m_session.IsWeb() ? m_session.Speak(spoken.input, m_output, m_keys) : StartLocal(spoken, file)))
            Refuse();
        m_progress.Started();
        while (IsUnderWay()) {
            Obey(m_keys.Wait(kSpeechPollMs));
            if (TakeHaltRequest())
                Halt();
            if (IsInterrupted())
                Stop();
            m_progress.Update();
            if (m_output)
                m_largest = std::max(m_largest, m_output->SpeechBytes());
        }
        // The speech may end between a signal and the look at its flag.
        ThrowIfInterrupted();
        if (m_output && m_largest > kMaxRiffBytes - kLastBlocks && m_output->SpeechBytes() == 0)
            throw Failure{kExitFile, m_output->Name() + ": the speech is longer than a WAV file of markup can be "
                                                        "(4 GiB, 37 hours); plain text may be of any length"};
        // What fails ends the speech as its last word does.
        if (m_output)
            m_output->RequireRoom();
        RequireNoFailure();
    }

    void RequireNoFailure()
    {
        const wxTTSFailure failure = m_engine.GetCurrentHandler()->GetLastFailure();
        if (failure.category == wxTTS_FAILURE_DEVICE)
            AudioSession::LeaveRunning();
        if (failure.category != wxTTS_FAILURE_NONE)
            throw ToFailure(failure, m_engine.GetEngine() + " broke off");
    }

    bool StartLocal(const Spoken& spoken, const wxString& file)
    {
        m_progress.Waiting(m_engine.GetEngine());
        ThrowIfInterrupted();
        return spoken.isFile ? m_engine.SpeakFile(spoken.input, wxTTS_SPEAK_ASYNC, file)
                             : m_engine.Speak(spoken.input, wxTTS_SPEAK_ASYNC, file);
    }

    bool IsUnderWay()
    {
        wxAppConsole::GetInstance()->Yield(true); // the end of the speech arrives as an event
        // A paused web engine does not count as speaking.
        return m_engine.IsSpeaking() || (m_session.IsWeb() && m_engine.IsPaused());
    }

    void Obey(char key)
    {
        switch (key) {
        case ' ':
            TogglePause();
            break;
        case 'n':
            m_engine.Skip(1, wxTTS_SKIP_SENTENCE);
            break;
        case 'q':
            RequestEnd();
            break;
        default:
            break;
        }
    }

    void TogglePause()
    {
        if (m_engine.IsPaused())
            m_engine.Resume();
        else
            m_engine.Pause();
        m_progress.SetPaused(m_engine.IsPaused());
    }

    void Halt()
    {
        const bool pauses = m_engine.CanPause() && m_engine.Pause();
        m_keys.Leave();
        HaltProcess();
        m_keys.Enter();
        if (pauses)
            m_engine.Resume();
    }

    [[noreturn]] void Stop()
    {
        m_engine.Stop();
        throw Failure{kExitInterrupted, wxString()};
    }

    [[noreturn]] void Refuse()
    {
        if (m_output)
            m_output->RequireRoom();
        if (!TemporaryFiles::LibraryError().empty())
            throw Failure{kExitFile, TemporaryFiles::LibraryError()};
        const wxTTSFailure failure = m_engine.GetCurrentHandler()->GetLastFailure();
        if (failure.category == wxTTS_FAILURE_STORAGE)
            throw Failure{kExitFile, failure.message};
        if (!m_output && !AudioSession::HasOutputDevice())
            throw Failure{kExitNoDevice, "no audio output device; use -o FILE to write a sound file"};
        RequireNoFailure();
        throw Failure{kExitRefused, m_engine.GetEngine() + " cannot speak this"};
    }

    wxTextToSpeech& m_engine;
    WebSession& m_session;
    const OutputTarget* const m_output; // null: it plays
    uint64_t m_largest = 0;             // bytes that the file once had: the engine empties one that it cannot finish
    TerminalKeys m_keys;
    Progress m_progress;
};

} // namespace

void SelectEngine(wxTextToSpeech& engine, const wxString& name)
{
    const wxArrayString ids = engine.GetEngineIds();
    if (ids.empty())
        throw Failure{kExitRefused, "this build of the library has no speech engine"};
    const wxString id = name.empty() ? engine.GetEngine() : FindEngineId(name, ids);
    if (id.empty())
        throw Failure{kExitUsage, "no engine \"" + name + "\"; there is " + DescribeEngines(ids)};
    if (engine.SetEngine(id))
        return;
    const wxString reason = engine.FindHandler(id)->GetLastErrorMessage();
    throw Failure{kExitRefused, reason.empty() ? id + " does not start: this system has no such speech" : reason};
}

void ApplyVoice(wxTextToSpeech& engine, WebSession& session, const Options& options)
{
    if (TakesVoice(session, options))
        engine.SetVoice(VoiceSource(engine, session, options).Choose());
}

void ApplySettings(wxTextToSpeech& engine, const Options& options)
{
    if (engine.GetEngine() == "Google Cloud" && !options.rate.given)
        engine.SetSpeed(kGoogleNormalSpeed, wxTTS_QUANTITY_NATIVE);
    for (const Range& range : kRanges)
        Apply(engine, options, range);
    engine.SetProperty("No pronunciation substitutions", options.noDictionary);
    engine.SetProperty("Simplify punctuation", options.simplifyPunctuation);
}

void SpeakToEnd(wxTextToSpeech& engine, WebSession& session, const Spoken& spoken, const Options& options,
                const OutputTarget* output)
{
    if (spoken.isPrepared)
        engine.SetTransformer(nullptr);
    engine.SetProperty("Input format", InputFormatProperty(spoken.form));
    Speech speech(engine, session, options, output);
    const bool isLong = output && !session.IsWeb() && spoken.input.length() > kLongText;
    if (isLong && spoken.form == InputForm::kText) {
        speech.RunByPieces(spoken);
    } else {
        if (isLong && spoken.input.length() > kLongMarkup)
            PrintError("warning: a WAV file of markup ends at 4 GiB, 37 hours; this may be longer");
        speech.Run(spoken);
    }
    if (session.IsWeb() && output)
        output->RequireAudio(session.EngineId());
}

} // namespace say
