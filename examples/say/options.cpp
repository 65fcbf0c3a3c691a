// wxCmdLineParser does the splitting; what the values mean is checked here. MIT licence.
#include "options.h"

#include <wx/cmdline.h>
#include <wx/msgout.h>
#include <wx/strconv.h>

#include "exitstatus.h"

namespace say
{
namespace
{

const wxCmdLineEntryDesc kEntries[] = {
    {wxCMD_LINE_OPTION, "f", "file", "read the text from this file (- is standard input)", wxCMD_LINE_VAL_STRING, 0},
    {wxCMD_LINE_OPTION, "o", "output", "write a WAV file instead of playing (- is standard output)",
     wxCMD_LINE_VAL_STRING, 0},
    {wxCMD_LINE_OPTION, "e", "engine", "speak with this engine: sapi (or local), polly, azure, google, or a full id",
     wxCMD_LINE_VAL_STRING, 0},
    {wxCMD_LINE_OPTION, "v", "voice", "speak with the voice of this id or name", wxCMD_LINE_VAL_STRING, 0},
    {wxCMD_LINE_SWITCH, "L", "list-voices", "list the engine's voices", wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_OPTION, nullptr, "lang", "with -L, only voices of this language (en, en-US)", wxCMD_LINE_VAL_STRING, 0},
    {wxCMD_LINE_SWITCH, nullptr, "json", "with -L, as JSON", wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_SWITCH, nullptr, "list-engines", "list the engines", wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_OPTION, nullptr, "rate", "speed: a number of the engine's range, or 0% to 100%", wxCMD_LINE_VAL_STRING,
     0},
    {wxCMD_LINE_OPTION, nullptr, "pitch", "pitch, as for --rate", wxCMD_LINE_VAL_STRING, 0},
    {wxCMD_LINE_OPTION, nullptr, "volume", "volume, as for --rate", wxCMD_LINE_VAL_STRING, 0},
    {wxCMD_LINE_OPTION, nullptr, "input",
     "text, html, ssml or native (the engine's own markup); guessed from a file's name", wxCMD_LINE_VAL_STRING, 0},
    {wxCMD_LINE_OPTION, nullptr, "dict", "replace words by this dictionary's, one line WORD,REPLACEMENT each",
     wxCMD_LINE_VAL_STRING, 0},
    {wxCMD_LINE_SWITCH, nullptr, "no-dict", "use no dictionary, --dict or not", wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_SWITCH, nullptr, "simplify-punctuation", "typographic quotes, dashes and dots become plain ones",
     wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_SWITCH, nullptr, "headings", "with HTML, announce headings with their level", wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_OPTION, nullptr, "save-text", "write the prepared text instead of speaking (- is standard output)",
     wxCMD_LINE_VAL_STRING, 0},
    {wxCMD_LINE_SWITCH, nullptr, "progress", "show what goes on, if standard error is a terminal", wxCMD_LINE_VAL_NONE,
     0},
    {wxCMD_LINE_SWITCH, nullptr, "verbose", "show the log on standard error", wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_SWITCH, "h", "help", "show this text", wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_SWITCH, nullptr, "version", "show the version", wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_PARAM, nullptr, nullptr, "text", wxCMD_LINE_VAL_STRING,
     wxCMD_LINE_PARAM_OPTIONAL | wxCMD_LINE_PARAM_MULTIPLE},
    wxCMD_LINE_DESC_END};

// Arguments are bytes, mostly UTF-8; any other byte takes a round trip through a private character.
const wxMBConvUTF8& ArgumentConversion()
{
    static const wxMBConvUTF8 conversion(wxMBConvUTF8::MAP_INVALID_UTF8_TO_PUA);
    return conversion;
}

wxString FromBytes(const std::string& bytes)
{
    return wxString(bytes.data(), ArgumentConversion(), bytes.size());
}

std::string ToBytes(const wxString& text)
{
    const wxScopedCharBuffer bytes = text.mb_str(ArgumentConversion());
    return std::string(bytes.data(), bytes.length());
}

// The parser reports through the one message output that there is; this one keeps the text.
class MessageCollector : public wxMessageOutput
{
public:
    MessageCollector() : m_previous(wxMessageOutput::Set(this)) {}
    ~MessageCollector() override { wxMessageOutput::Set(m_previous); }
    void Output(const wxString& text) override { m_text += text; }
    wxString FirstLine() const { return m_text.Strip(wxString::both).BeforeFirst('\n'); }

private:
    wxMessageOutput* const m_previous; // not owned
    wxString m_text;
};

[[noreturn]] void Refuse(const wxString& text)
{
    throw Failure{kExitUsage, text};
}

void ReadQuantity(const wxCmdLineParser& parser, const char* name, Quantity& quantity)
{
    wxString text;
    if (!parser.Found(name, &text) || ParseQuantity(text, quantity))
        return;
    if (text.EndsWith("%"))
        Refuse(wxString("--") + name + " " + text + ": a percentage goes from 0% to 100%");
    Refuse(wxString("--") + name + " " + text + ": not a number; give one of the engine's range, or 0% to 100%");
}

std::string ReadBytes(const wxCmdLineParser& parser, const char* name, bool* found = nullptr)
{
    wxString text;
    const bool isFound = parser.Found(name, &text);
    if (found)
        *found = isFound;
    if (isFound && text.empty())
        Refuse(wxString(name[1] ? "--" : "-") + name + ": the name is empty");
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
        Refuse("--save-text does not speak; give it without -o");
}

void ReadInputForm(const wxCmdLineParser& parser, Options& options)
{
    wxString name;
    options.hasInputForm = parser.Found("input", &name);
    if (options.hasInputForm && !ParseInputForm(name, options.inputForm))
        Refuse("--input " + name + ": it is text, html, ssml or native");
    if (!options.hasInputForm && options.source == TextSource::kFile)
        options.inputForm = GuessInputForm(FromBytes(options.file));
}

void ReadSource(const wxCmdLineParser& parser, Options& options, bool inputIsTerminal)
{
    bool hasFile = false;
    options.file = ReadBytes(parser, "f", &hasFile);
    const size_t count = parser.GetParamCount();
    if (hasFile && count > 0)
        Refuse("give the text as arguments or with -f, not both");
    const bool dash = hasFile ? options.file == "-" : count == 1 && parser.GetParam(0) == "-";
    if (!hasFile && count == 0 && inputIsTerminal)
        Refuse("no text; give it as arguments, with -f FILE, or on standard input (see --help)");
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
    if (!options.listVoices && (options.json || parser.Found("lang")))
        Refuse("--lang and --json go with -L");
    ReadQuantity(parser, "rate", options.rate);
    ReadQuantity(parser, "pitch", options.pitch);
    ReadQuantity(parser, "volume", options.volume);
    options.output = ReadBytes(parser, "o", &options.hasOutput);
    ReadPreparation(parser, options);
    const bool lists = options.listVoices || options.listEngines;
    if (lists && parser.GetParamCount() > 0)
        Refuse("a list takes no text");
    if (!lists)
        ReadSource(parser, options, inputIsTerminal);
    ReadInputForm(parser, options);
    if (!lists && options.headings && options.inputForm != InputForm::kHtml)
        Refuse("--headings goes with HTML (--input html)");
    return options;
}

} // namespace

Options ParseOptions(const std::vector<std::string>& arguments, bool inputIsTerminal)
{
    std::vector<wxString> texts{"qxspeech-say"};
    for (const std::string& argument : arguments)
        texts.push_back(FromBytes(argument));
    std::vector<wxChar*> pointers; // the parser copies the texts and changes nothing
    pointers.reserve(texts.size());
    for (wxString& text : texts)
        pointers.push_back(const_cast<wxChar*>(text.wc_str()));

    wxCmdLineParser parser(static_cast<int>(pointers.size()), pointers.data());
    parser.SetSwitchChars("-");
    parser.SetDesc(kEntries);
    MessageCollector messages;
    if (parser.Parse(false) != 0) {
        const wxString reason = messages.FirstLine();
        Refuse((reason.empty() ? wxString("the command line cannot be read") : reason) + " (see --help)");
    }
    return Collect(parser, inputIsTerminal);
}

wxString UsageText()
{
    wxString text = "Usage: qxspeech-say [options] [--] TEXT...\n"
                    "       qxspeech-say [options] -f FILE\n"
                    "       ... | qxspeech-say [options]\n"
                    "Speaks text on the default audio device, or writes it to a WAV file.\n\n";
    for (const wxCmdLineEntryDesc& entry : kEntries) {
        if (entry.kind != wxCMD_LINE_OPTION && entry.kind != wxCMD_LINE_SWITCH)
            continue;
        wxString names = entry.shortName ? wxString("-") + entry.shortName + ", --" : wxString("    --");
        names += entry.longName;
        if (entry.kind == wxCMD_LINE_OPTION)
            names += " VALUE";
        text += "  " + names.Pad(names.length() < 24 ? 24 - names.length() : 1) + wxString(entry.description) + "\n";
    }
    text += "\nOn a terminal: space pauses and goes on, n skips a sentence, q or Ctrl-C stops.\n"
            "Exit status: 0 done, 1 the engine refused, 2 usage, 3 no audio device, 4 a file cannot be read or\n"
            "written, 130 interrupted.\n";
    return text;
}

} // namespace say
