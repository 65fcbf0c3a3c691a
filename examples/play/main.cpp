// Order of things: console, options, device, files, and all of it back again. MIT licence.
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <vector>
#include <wx/filename.h>
#include <wx/init.h>

#include "../common/audiosession.h"
#include "../common/commandline.h"
#include "../common/console.h"
#include "../common/exitstatus.h"
#include "../common/interrupt.h"
#include "application.h"
#include "common/version.h"
#include "devices.h"
#include "options.h"
#include "playback.h"
#include "recording.h"

namespace play
{
namespace
{

using tool::AudioSession;
using tool::Failure;

constexpr size_t kLabelLength = 40; // characters, so that the progress line stays one line

wxString Label(const Options& options, size_t index)
{
    wxString name = wxFileName(tool::FromBytes(options.files[index])).GetFullName();
    if (name.length() > kLabelLength)
        name = name.Left(kLabelLength - 3) + "...";
    if (options.files.size() == 1)
        return name;
    return wxString::Format("[%zu/%zu] ", index + 1, options.files.size()) + name;
}

// The status: that of the last file that could not be played, which keeps no other from being played.
int PlayAll(const Options& options)
{
    const AudioSession audio(AudioSession::Needs::kOutput);
    const std::string device = FindDevice(LoadDevices(), options.device, Direction::kOutput);
    tool::ProgressLine progress(true);
    const auto tell = [&progress](const wxString& text) {
        progress.Show(wxString());
        tool::PrintError(text);
    };
    std::optional<Screen> screen; // this outlives the player
    if (!options.noVideo)
        screen.emplace(tell);
    MKMediaPlayer player;
    player.SetAudioDevice(device);
    player.SetPlayTail(true);
    tool::TerminalKeys keys;
    int status = tool::kExitDone;
    for (size_t i = 0; i < options.files.size(); ++i) {
        try {
            const Stage stage{player, device, screen ? &*screen : nullptr, keys, progress};
            Playback(stage, options.files[i], Label(options, i)).Run(i == 0 ? options.fromUs : 0);
        } catch (const Failure& failure) {
            if (failure.status != tool::kExitFile)
                throw;
            tell(failure.text);
            status = failure.status;
        }
    }
    return status;
}

void List(const Options& options)
{
    const AudioSession audio(AudioSession::Needs::kNothing);
    const std::vector<Device> devices = LoadDevices();
    tool::PrintOutput(options.json ? DeviceListJson(devices) : DeviceListText(devices));
    if (devices.empty())
        tool::PrintError("no audio devices");
}

void RecordFile(const Options& options)
{
    const AudioSession audio(AudioSession::Needs::kInput);
    Record(FindDevice(LoadDevices(), options.device, Direction::kInput), options.record, options.recordUs);
}

int Run(const std::vector<std::string>& arguments)
{
    const Options options = ParseOptions(arguments);
    tool::SetUpLog(options.verbose);
    if (options.help || options.version) {
        tool::PrintOutput(options.help ? UsageText() : wxString("qxspeech-play " QXSPEECH_VERSION_STRING "\n"));
        return tool::kExitDone;
    }
    if (!options.verbose)
        tool::SilenceStandardError(); // sound libraries, decoders and the toolkit print there
    if (options.listDevices)
        List(options);
    else if (!options.record.empty())
        RecordFile(options);
    else
        return PlayAll(options);
    return tool::kExitDone;
}

int RunGuarded(const std::vector<std::string>& arguments)
{
    try {
        return Run(arguments);
    } catch (const Failure& failure) {
        if (!failure.text.empty())
            tool::PrintError(failure.text);
        return failure.status;
    } catch (const std::exception& error) {
        tool::PrintError(wxString::FromUTF8(error.what()));
        return tool::kExitRefused;
    }
}

} // namespace
} // namespace play

int main(int argc, char** argv)
{
    tool::SecureStandardFiles();
    tool::InstallSignalHandlers();
    wxApp::SetInstance(new play::Application); // wxWidgets deletes it
    const wxInitializer wx;
    if (!wx.IsOk()) {
        tool::PrintError("wxWidgets does not start");
        return tool::kExitRefused;
    }
    return play::RunGuarded(std::vector<std::string>(argv + 1, argv + (argc > 0 ? argc : 1)));
}
