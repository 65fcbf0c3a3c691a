// Starts the services, tells how to reach them, and waits for the end. MIT licence.
#include <csignal>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "../common/console.h"
#include "../common/exitstatus.h"
#include "common/version.h"
#include "options.h"
#include "requestlog.h"

namespace loopbacktool
{
namespace
{

using loopback::Services;

// Blocked before the first thread starts, so that only the wait below meets them. One that the parent ignores (nohup)
// stays ignored.
sigset_t BlockEndSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&signals, number);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

// In single quotes, for a shell.
std::string Quoted(const std::string& text)
{
    std::string result = "'";
    for (const char letter : text)
        result += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
    return result + "'";
}

std::string Introduction(const Services& services)
{
    std::string text = "# The environment, for the shell in which the host runs:\n";
    for (const auto& [name, value] : services.Environment())
        text += "export " + name + "=" + Quoted(value) + "\n";
    const struct {
        const char* engine;
        const char* voice;
    } rows[] = {{"polly", "Joanna"}, {"azure", "en-US-JennyNeural"}, {"google", "en-US-Standard-C"}};
    text += "# Then, for example:\n";
    for (const auto& row : rows)
        text += std::string("#   qxspeech-say -e ") + row.engine + " --proxy " + services.ProxyUrl() + " -v " +
                row.voice + " \"Hello there\"\n";
    text += "#   qxspeech-say -e azure --proxy " + services.ProxyUrl() + " -L\n";
    return text + "# Ctrl-C ends the services, and the certificate goes with them.\n";
}

std::unique_ptr<Services> Start(const Options& options)
{
    loopback::Options wanted;
    wanted.port = options.port;
    return std::make_unique<Services>(wanted);
}

void Run(const std::vector<std::string>& arguments)
{
    const Options options = ParseOptions(arguments);
    if (options.help) {
        tool::PrintOutput(UsageText());
        return;
    }
    if (options.version) {
        tool::PrintOutput(QX_PROGRAM_NAME " " QXSPEECH_VERSION_STRING "\n");
        return;
    }
    const sigset_t signals = BlockEndSignals();
    const std::unique_ptr<Services> services = Start(options);
    if (options.verbose)
        services->SetObserver([](const loopback::Request& request) {
            const std::string text = Describe(request);
            const wxString clean = wxString::FromUTF8(text.c_str());
            tool::PrintProgress(clean.empty() ? wxString::From8BitData(text.c_str()) : clean);
        });
    tool::PrintOutput(wxString::FromUTF8(Introduction(*services).c_str()));
    int number = 0;
    sigwait(&signals, &number);
    throw tool::Failure{tool::kExitInterrupted, wxString()};
}

int RunGuarded(const std::vector<std::string>& arguments)
{
    try {
        Run(arguments);
        return tool::kExitDone;
    } catch (const tool::Failure& failure) {
        if (!failure.text.empty())
            tool::PrintError(failure.text);
        return failure.status;
    } catch (const std::exception& error) {
        tool::PrintError(wxString::FromUTF8(error.what()));
        return tool::kExitRefused;
    }
}

} // namespace
} // namespace loopbacktool

int main(int argc, char** argv)
{
    tool::SecureStandardFiles();
    return loopbacktool::RunGuarded(std::vector<std::string>(argv + 1, argv + (argc > 0 ? argc : 1)));
}
