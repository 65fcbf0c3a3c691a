// wxCmdLineParser does the splitting; what the values mean is checked here. MIT licence.
#include "options.h"

#include <wx/filename.h>

#include "../common/commandline.h"
#include "exitstatus.h"

namespace say
{
namespace
{

const wxCmdLineEntryDesc kEntries[] = {
    {wxCMD_LINE_OPTION, "f", "file", "read the text from this file (- is standard input)", wxCMD_LINE_VAL_STRING, 0},
    {wxCMD_LINE_OPTION, "o", "output", "write a sound file instead of playing (- is standard output)",
     wxCMD_LINE_VAL_STRING, 0},
    {wxCMD_LINE_OPTION, "e", "engine", "speak with this engine: sapi (or local), polly, azure, google, or a full id",
     wxCMD_LINE_VAL_STRING, 0},
    {wxCMD_LINE_OPTION, "v", "voice", "speak with the voice of this id or name, or the first of this language",
     wxCMD_LINE_VAL_STRING, 0},
    {wxCMD_LINE_SWITCH, "L", "list-voices", "list the engine's voices; of a web engine, those asked for last",
     wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_OPTION, nullptr, "lang", "only voices of this language (en, en-US); without -v, the first of them",
     wxCMD_LINE_VAL_STRING, 0},
    {wxCMD_LINE_SWITCH, nullptr, "json", "with -L, as JSON", wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_SWITCH, nullptr, "list-engines", "list the engines", wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_SWITCH, nullptr, "refresh", "ask a web engine for its voices anew", wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_SWITCH, nullptr, "test-auth", "test the credentials for a web engine: prints ok, or why not",
     wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_OPTION, nullptr, "config", "read credentials from this file, which must be yours alone (chmod 600)",
     wxCMD_LINE_VAL_STRING, 0},
    {wxCMD_LINE_OPTION, nullptr, "proxy", "the way to a web engine: system, none or http://[user:password@]host:port",
     wxCMD_LINE_VAL_STRING, 0},
    {wxCMD_LINE_OPTION, nullptr, "rate", "speed: a number of the engine's range, or 0% to 100%", wxCMD_LINE_VAL_STRING,
     0},
    {wxCMD_LINE_OPTION, nullptr, "pitch", "pitch, as for --rate", wxCMD_LINE_VAL_STRING, 0},
    {wxCMD_LINE_OPTION, nullptr, "volume", "volume, as for --rate", wxCMD_LINE_VAL_STRING, 0},
    {wxCMD_LINE_OPTION, nullptr, "input",
     "text, html, ssml or native (the engine's own markup); guessed from a file's name, without one from its beginning",
     wxCMD_LINE_VAL_STRING, 0},
    {wxCMD_LINE_OPTION, nullptr, "dict", "replace words by this dictionary's, one line WORD,REPLACEMENT each",
     wxCMD_LINE_VAL_STRING, 0},
    {wxCMD_LINE_SWITCH, nullptr, "no-dict", "use no dictionary, --dict or not", wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_SWITCH, nullptr, "simplify-punctuation", "typographic quotes, dashes and dots become plain ones",
     wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_SWITCH, nullptr, "headings", "with HTML, announce headings with their level", wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_OPTION, nullptr, "save-text", "write the prepared text instead of speaking (- is standard output)",
     wxCMD_LINE_VAL_STRING, 0},
    {wxCMD_LINE_SWITCH, nullptr, "progress", "show what goes on; without a terminal, what a web engine is waited for",
     wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_SWITCH, nullptr, "verbose", "show the log on standard error", wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_SWITCH, "h", "help", "show this text", wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_SWITCH, nullptr, "version", "show the version", wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_PARAM, nullptr, nullptr, "text", wxCMD_LINE_VAL_STRING,
     wxCMD_LINE_PARAM_OPTIONAL | wxCMD_LINE_PARAM_MULTIPLE},
    wxCMD_LINE_DESC_END};

void ReadQuantity(const wxCmdLineParser& parser, const char* name, Quantity& quantity)
{
    wxString text;
    if (!parser.Found(name, &text) || ParseQuantity(text, quantity))
        return;
    if (text.EndsWith("%"))
        RefuseUsage(wxString("--") + name + " " + text + ": a percentage goes from 0% to 100%");
    RefuseUsage(wxString("--") + name + " " + text + ": not a number; give one of the engine's range, or 0% to 100%");
}

std::string ReadBytes(const wxCmdLineParser& parser, const char* name, bool* found = nullptr)
{
    wxString text;
    const bool isFound = parser.Found(name, &text);
    if (found)
        *found = isFound;
    if (isFound && text.empty())
        RefuseUsage(wxString(name[1] ? "--" : "-") + name + ": the name is empty");
    return ToBytes(text);
}

void ReadPreparation(const wxCmdLineParser& parser, Options& options)
{
    options.dictionary = ReadBytes(parser, "dict");
    options.noDictionary = parser.Found("no-dict");
    options.simplifyPunctuation = parser.Found("simplify-punctuation");
    options.headings = parser.Found("headings");
    options.saveText = ReadBytes(parser, "save-text", &options.hasSaveText);
    if (options.hasSaveText && options.hasOutput)
        RefuseUsage("--save-text does not speak; give it without -o");
}

void ReadWeb(const wxCmdLineParser& parser, Options& options)
{
    options.testAuth = parser.Found("test-auth");
    options.refresh = parser.Found("refresh");
    options.config = ReadBytes(parser, "config");
    wxString proxy;
    options.hasProxy = parser.Found("proxy", &proxy);
    // The value may hold a password.
    if (options.hasProxy && !ParseProxy(proxy, options.proxy))
        RefuseUsage("--proxy is system, none or http://[user:password@]host:port");
}

void ReadInputForm(const wxCmdLineParser& parser, Options& options)
{
    wxString name;
    options.hasInputForm = parser.Found("input", &name);
    if (options.hasInputForm && !ParseInputForm(name, options.inputForm))
        RefuseUsage("--input " + name + ": it is text, html, ssml or native");
    if (options.hasInputForm)
        return;
    const wxString file = FromBytes(options.file);
    if (options.source == TextSource::kFile)
        options.inputForm = GuessInputForm(file);
    options.isFormOpen = options.source == TextSource::kStandardInput ||
                         (options.source == TextSource::kFile && wxFileName(file).GetExt().empty());
}

void ReadSource(const wxCmdLineParser& parser, Options& options, bool inputIsTerminal)
{
    bool hasFile = false;
    options.file = ReadBytes(parser, "f", &hasFile);
    const size_t count = parser.GetParamCount();
    if (hasFile && count > 0)
        RefuseUsage("give the text as arguments or with -f, not both");
    const bool dash = hasFile ? options.file == "-" : count == 1 && parser.GetParam(0) == "-";
    if (!hasFile && count == 0 && inputIsTerminal)
        RefuseUsage("no text; give it as arguments, with -f FILE, or on standard input (see --help)");
    if (dash || (!hasFile && count == 0)) {
        options.source = TextSource::kStandardInput;
        return;
    }
    if (hasFile) {
        options.source = TextSource::kFile;
        return;
    }
    for (size_t i = 0; i < count; ++i)
        options.text += (i > 0 ? " " : "") + ToBytes(parser.GetParam(i));
}

Options Collect(const wxCmdLineParser& parser, bool inputIsTerminal)
{
    Options options;
    options.help = parser.Found("help");
    options.version = parser.Found("version");
    if (options.help || options.version)
        return options;
    options.verbose = parser.Found("verbose");
    options.progress = parser.Found("progress");
    options.listVoices = parser.Found("L");
    options.listEngines = parser.Found("list-engines");
    options.json = parser.Found("json");
    parser.Found("e", &options.engine);
    parser.Found("v", &options.voice);
    parser.Found("lang", &options.language);
    if (!options.listVoices && options.json)
        RefuseUsage("--json goes with -L");
    ReadWeb(parser, options);
    ReadQuantity(parser, "rate", options.rate);
    ReadQuantity(parser, "pitch", options.pitch);
    ReadQuantity(parser, "volume", options.volume);
    options.output = ReadBytes(parser, "o", &options.hasOutput);
    ReadPreparation(parser, options);
    const bool lists = options.listVoices || options.listEngines || options.testAuth;
    if (lists && parser.GetParamCount() > 0)
        RefuseUsage(options.testAuth ? "--test-auth takes no text" : "a list takes no text");
    if (!lists)
        ReadSource(parser, options, inputIsTerminal);
    ReadInputForm(parser, options);
    if (!lists && !options.isFormOpen)
        RequireHtmlForHeadings(options);
    return options;
}

const char* const kWebText =
    "\nWeb engines send the text to a service and need credentials, from the environment or a file of lines "
    "NAME=VALUE\n"
    "(--config; its values count before those of the environment), never from the command line:\n"
    "  polly   AWS_ACCESS_KEY_ID, AWS_SECRET_ACCESS_KEY, AWS_REGION\n"
    "  azure   AZURE_SPEECH_KEY, AZURE_SPEECH_REGION\n"
    "  google  GOOGLE_API_KEY\n"
    "The file may hold PROXY, too, a --proxy whose password nobody sees in the list of processes; --proxy counts\n"
    "before it. Without both, the system's proxy is taken.\n"
    "Without -v they speak with the first voice of --lang or of the locale, else with the first of all. Voice lists\n"
    "are kept in ~/.cache/qxspeech (XDG_CACHE_HOME) for a month, and longer while the service cannot be reached.\n"
    "SSML goes out as it is; what else there is, is made plain text here.\n";

} // namespace

void RequireHtmlForHeadings(const Options& options)
{
    if (options.headings && options.inputForm != InputForm::kHtml)
        RefuseUsage("--headings goes with HTML (--input html)");
}

Options ParseOptions(const std::vector<std::string>& arguments, bool inputIsTerminal)
{
    std::vector<wxString> texts;
    texts.reserve(arguments.size());
    for (const std::string& argument : arguments)
        texts.push_back(FromBytes(argument));
    wxCmdLineParser parser;
    ParseCommandLine(parser, kEntries, texts);
    return Collect(parser, inputIsTerminal);
}

wxString UsageText()
{
    wxString text = "Usage: qxspeech-say [options] [--] TEXT...\n"
                    "       qxspeech-say [options] -f FILE\n"
                    "       ... | qxspeech-say [options]\n"
                    "Speaks text on the default audio device, or writes it to a file: WAV, from Amazon Polly MP3.\n\n";
    text += DescribeOptions(kEntries);
    text += kWebText;
    text += "\nOn a terminal: space pauses and goes on, n skips a sentence (sapi), q or Ctrl-C stops.\n"
            "Exit status: 0 done, 1 the engine refused, 2 usage, 3 no audio device, or it went away, 4 a file\n"
            "cannot be read or written, 130 interrupted.\n";
    return text;
}

} // namespace say
