// Four options, split by hand. MIT licence.
#include "options.h"

#include "../common/exitstatus.h"

namespace loopbacktool
{
namespace
{

[[noreturn]] void Refuse(const wxString& text)
{
    throw tool::Failure{tool::kExitUsage, text + " (see --help)"};
}

std::uint16_t ParsePort(const std::string& text)
{
    const bool isNumber =
        !text.empty() && text.size() <= 5 && text.find_first_not_of("0123456789") == std::string::npos;
    const int port = isNumber ? std::stoi(text) : 0;
    if (port < 1 || port > 65535)
        Refuse("--port " + wxString::FromUTF8(text.c_str()) + ": a port goes from 1 to 65535");
    return static_cast<std::uint16_t>(port);
}

} // namespace

Options ParseOptions(const std::vector<std::string>& arguments)
{
    Options options;
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        const std::string& argument = arguments[at];
        if (argument == "-h" || argument == "--help")
            options.help = true;
        else if (argument == "--version")
            options.version = true;
        else if (argument == "--verbose")
            options.verbose = true;
        else if (argument.compare(0, 7, "--port=") == 0)
            options.port = ParsePort(argument.substr(7));
        else if (argument == "--port" && at + 1 < arguments.size())
            options.port = ParsePort(arguments[++at]);
        else if (argument == "--port")
            Refuse("--port needs a number");
        else
            Refuse(wxString::FromUTF8(argument.c_str()) + ": no such option");
    }
    return options;
}

wxString UsageText()
{
    return "Usage: " QX_PROGRAM_NAME " [options]\n"
           "Runs stand-ins of Amazon Polly, Microsoft Azure and Google Cloud speech on this machine, behind a proxy\n"
           "on 127.0.0.1, until Ctrl-C. What they speak is a tone as long as the text. It prints the environment and\n"
           "the options with which qxspeech-say, or another host of the library, reaches them. The keys are invented\n"
           "and open nothing else; nothing leaves this machine.\n\n"
           "      --port VALUE      listen on this port instead of one that is free\n"
           "      --verbose         show each request on standard error, keys and signatures masked\n"
           "  -h, --help            show this text\n"
           "      --version         show the version\n\n"
           "Exit status: 1 the services do not start, 2 usage, 4 standard output cannot be written, 130 Ctrl-C.\n";
}

} // namespace loopbacktool
