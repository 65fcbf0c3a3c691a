// Order of things: console, options, text and target, device, speech, and all of it back again. MIT licence.
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>
#include <wx/init.h>

#include "../common/audiosession.h"
#include "../common/interrupt.h"
#include "common/version.h"
#include "console.h"
#include "exitstatus.h"
#include "failures.h"
#include "options.h"
#include "output.h"
#include "preparation.h"
#include "speaker.h"
#include "speech/tts.h"
#include "temporaryfiles.h"
#include "textinput.h"
#include "voices.h"
#include "voicesource.h"
#include "websession.h"

namespace say
{
namespace
{

// The speech instance goes before the sound system does, and before wxWidgets ends.
class SpeechInstance
{
public:
    SpeechInstance() : m_engine(QXSingleton<QXTextToSpeech>::Get()->GetEngine()) {}
    ~SpeechInstance() { QXSingleton<QXTextToSpeech>::DestroyInstance(); }
    SpeechInstance(const SpeechInstance&) = delete;
    SpeechInstance& operator=(const SpeechInstance&) = delete;
    wxTextToSpeech& Engine() { return m_engine; }

private:
    wxTextToSpeech& m_engine;
};

void ListEngines()
{
    SpeechInstance instance;
    PrintOutput(EngineList(instance.Engine()));
}

void ListVoices(const Options& options)
{
    WebSession session(options);
    SpeechInstance instance;
    SelectEngine(instance.Engine(), options.engine);
    session.Use(instance.Engine());
    const VoiceSource source(instance.Engine(), session, options);
    const std::vector<QXTTSVoiceInfo> voices = OfLanguage(source.Voices(), options.language);
    PrintOutput(options.json ? VoiceListJson(voices) : VoiceListText(voices));
    if (voices.empty())
        PrintError(options.language.empty() ? wxString("no voices") : "no voice for language " + options.language);
}

void TestAuthentication(const Options& options)
{
    WebSession session(options);
    SpeechInstance instance;
    SelectEngine(instance.Engine(), options.engine);
    session.Use(instance.Engine());
    if (!session.IsWeb())
        throw Failure{kExitUsage, session.EngineId() + " needs no credentials; -e says which engine to test"};
    if (!session.TestAuthentication()) {
        throw ToFailure(instance.Engine().GetCurrentHandler()->GetLastFailure(),
                        session.EngineId() + " does not take the credentials");
    }
    PrintOutput("ok\n");
}

// Both complete the options by what the text says of itself.
void SaveText(Options options)
{
    OutputTarget output(options.saveText, OutputTarget::Content::kText);
    const TemporaryFiles files;
    Preparation preparation(options);
    const wxString text = ReadText(options);
    output.WriteText(std::string(preparation.ForReading(text).utf8_str()));
    output.Commit();
}

void Say(Options options)
{
    std::unique_ptr<OutputTarget> output;
    if (options.hasOutput)
        output = std::make_unique<OutputTarget>(options.output, OutputTarget::Content::kSpeech);
    const TemporaryFiles files; // these three outlive the instance
    Preparation preparation(options);
    const wxString text = ReadText(options);
    if (!options.verbose)
        SilenceStandardError(); // sound libraries print there, some when a file is written, too
    std::optional<AudioSession> audio;
    WebSession session(options);
    SpeechInstance instance;
    SelectEngine(instance.Engine(), options.engine);
    session.Use(instance.Engine());
    instance.Engine().SetTransformer(&preparation.Transformer());
    const Spoken spoken = session.IsWeb() ? preparation.ForWebEngine(text) : preparation.ForSpeech(text);
    // A wrong command line is told as such on a machine without sound, too; a service is asked only if there is sound.
    ApplySettings(instance.Engine(), options);
    if (!session.IsWeb())
        ApplyVoice(instance.Engine(), session, options);
    if (!output)
        audio.emplace(AudioSession::Needs::kOutput, "use -o FILE to write a sound file");
    if (session.IsWeb())
        ApplyVoice(instance.Engine(), session, options);
    SpeakToEnd(instance.Engine(), session, spoken, options, output.get());
    if (output)
        output->Commit();
}

void Run(const std::vector<std::string>& arguments)
{
    const Options options = ParseOptions(arguments, isatty(STDIN_FILENO) == 1);
    SetUpLog(options.verbose);
    if (options.help)
        PrintOutput(UsageText());
    else if (options.version)
        PrintOutput("qxspeech-say " QXSPEECH_VERSION_STRING "\n");
    else if (options.listEngines)
        ListEngines();
    else if (options.listVoices)
        ListVoices(options);
    else if (options.testAuth)
        TestAuthentication(options);
    else if (options.hasSaveText)
        SaveText(options);
    else
        Say(options);
}

int RunGuarded(const std::vector<std::string>& arguments)
{
    try {
        Run(arguments);
        return kExitDone;
    } catch (const Failure& failure) {
        if (!failure.text.empty())
            PrintError(failure.text);
        return failure.status;
    } catch (const std::exception& error) {
        PrintError(wxString::FromUTF8(error.what()));
        return kExitRefused;
    }
}

} // namespace
} // namespace say

int main(int argc, char** argv)
{
    say::SecureStandardFiles();
    say::InstallSignalHandlers();
    const wxInitializer wx;
    if (!wx.IsOk()) {
        say::PrintError("wxWidgets does not start");
        return say::kExitRefused;
    }
    return say::RunGuarded(std::vector<std::string>(argv + 1, argv + (argc > 0 ? argc : 1)));
}
