// What the options mean together is checked here. MIT licence.
#include "options.h"

#include "../common/commandline.h"
#include "times.h"

namespace play
{
namespace
{

using tool::RefuseUsage;
using tool::ToBytes;

const wxCmdLineEntryDesc kEntries[] = {
    {wxCMD_LINE_OPTION, "d", "device", "play on, or record from, the device of this id or name", wxCMD_LINE_VAL_STRING,
     0},
    {wxCMD_LINE_SWITCH, "L", "list-devices", "list the audio devices", wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_SWITCH, nullptr, "json", "with -L, as JSON", wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_OPTION, nullptr, "from", "begin the first file here: seconds, or minutes:seconds",
     wxCMD_LINE_VAL_STRING, 0},
    {wxCMD_LINE_SWITCH, nullptr, "no-video", "only the sound of a video file", wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_OPTION, nullptr, "record", "record into this WAV file for the SECONDS given", wxCMD_LINE_VAL_STRING, 0},
    {wxCMD_LINE_SWITCH, nullptr, "verbose", "show the log on standard error", wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_SWITCH, "h", "help", "show this text", wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_SWITCH, nullptr, "version", "show the version", wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_PARAM, nullptr, nullptr, "file", wxCMD_LINE_VAL_STRING,
     wxCMD_LINE_PARAM_OPTIONAL | wxCMD_LINE_PARAM_MULTIPLE},
    wxCMD_LINE_DESC_END};

std::string ReadBytes(const wxCmdLineParser& parser, const char* name)
{
    wxString text;
    if (!parser.Found(name, &text))
        return std::string();
    if (text.empty())
        RefuseUsage(wxString("--") + name + ": the value is empty");
    return ToBytes(text);
}

void ReadRecording(const wxCmdLineParser& parser, Options& options)
{
    if (parser.GetParamCount() != 1 || !ParseTime(parser.GetParam(0), options.recordUs) || options.recordUs == 0)
        RefuseUsage("--record takes a file and a length in seconds: --record OUT.wav 10");
    if (parser.Found("from"))
        RefuseUsage("--from goes with files to play");
}

void ReadFiles(const wxCmdLineParser& parser, Options& options)
{
    wxString from;
    if (parser.Found("from", &from) && !ParseTime(from, options.fromUs))
        RefuseUsage("--from " + from + ": not a time; give seconds, or minutes:seconds");
    for (size_t i = 0; i < parser.GetParamCount(); ++i) {
        if (parser.GetParam(i).empty())
            RefuseUsage("the name of a file is empty");
        options.files.push_back(ToBytes(parser.GetParam(i)));
    }
    if (options.files.empty())
        RefuseUsage("no file to play (see --help)");
}

Options Collect(const wxCmdLineParser& parser)
{
    Options options;
    options.help = parser.Found("help");
    options.version = parser.Found("version");
    if (options.help || options.version)
        return options;
    options.verbose = parser.Found("verbose");
    options.listDevices = parser.Found("L");
    options.json = parser.Found("json");
    options.noVideo = parser.Found("no-video");
    options.device = ReadBytes(parser, "device");
    options.record = ReadBytes(parser, "record");
    if (options.json && !options.listDevices)
        RefuseUsage("--json goes with -L");
    if (options.listDevices && (parser.GetParamCount() > 0 || !options.record.empty()))
        RefuseUsage("the list takes no file");
    if (!options.record.empty())
        ReadRecording(parser, options);
    else if (!options.listDevices)
        ReadFiles(parser, options);
    return options;
}

} // namespace

Options ParseOptions(const std::vector<std::string>& arguments)
{
    std::vector<wxString> texts;
    texts.reserve(arguments.size());
    for (const std::string& argument : arguments)
        texts.push_back(tool::FromBytes(argument));
    wxCmdLineParser parser;
    tool::ParseCommandLine(parser, kEntries, texts);
    return Collect(parser);
}

wxString UsageText()
{
    return "Usage: qxspeech-play [options] [--] FILE...\n"
           "       qxspeech-play [options] --record OUT.wav SECONDS\n"
           "       qxspeech-play --list-devices [--json]\n"
           "Plays media files one after the other, the picture of a video file in a window, or records a WAV "
           "file.\n\n" +
           tool::DescribeOptions(kEntries) +
           "\nOn a terminal and in the window: space pauses and goes on, left and right go 5 seconds back and\n"
           "forward, n goes to the next file, q or Ctrl-C stops.\n"
           "Exit status: 0 done, 2 usage, 3 no audio device, or it or the display went away, 4 a file cannot be\n"
           "read, written or shown, 130 interrupted.\n";
}

} // namespace play
