// wxCmdLineParser does the splitting; commands and their arguments are checked here. MIT licence.
#include "options.h"

#include "../common/commandline.h"

namespace dictionary
{
namespace
{

const wxCmdLineEntryDesc kEntries[] = {
    {wxCMD_LINE_SWITCH, "h", "help", "show this text", wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_SWITCH, nullptr, "version", "show the version", wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_PARAM, nullptr, nullptr, "argument", wxCMD_LINE_VAL_STRING,
     wxCMD_LINE_PARAM_OPTIONAL | wxCMD_LINE_PARAM_MULTIPLE},
    wxCMD_LINE_DESC_END};

const struct {
    const char* name;
    Command command;
    size_t arguments;
    const char* form;
} kCommands[] = {
    {"list", Command::kList, 0, "list"},
    {"find", Command::kFind, 1, "find WORD"},
    {"add", Command::kAdd, 2, "add WORD REPLACEMENT"},
    {"remove", Command::kRemove, 1, "remove WORD"},
    {"check", Command::kCheck, 0, "check"},
};

Options Collect(const wxCmdLineParser& parser)
{
    Options options;
    if (parser.Found("help"))
        return options;
    if (parser.Found("version")) {
        options.command = Command::kVersion;
        return options;
    }
    const size_t count = parser.GetParamCount();
    if (count < 2)
        tool::RefuseUsage("give a file and a command (see --help)");
    options.file = parser.GetParam(0);
    if (options.file.empty())
        tool::RefuseUsage("the file's name is empty");
    const wxString name = parser.GetParam(1);
    for (const auto& row : kCommands) {
        if (name != row.name)
            continue;
        if (count != 2 + row.arguments)
            tool::RefuseUsage(wxString("the command is: FILE ") + row.form + " (quote what holds blanks)");
        options.command = row.command;
        options.word = row.arguments > 0 ? parser.GetParam(2) : wxString();
        options.replacement = row.arguments > 1 ? parser.GetParam(3) : wxString();
        return options;
    }
    tool::RefuseUsage(name + ": no command; it is list, find, add, remove or check (see --help)");
}

} // namespace

Options ParseOptions(const std::vector<std::string>& arguments)
{
    std::vector<wxString> texts;
    for (const std::string& argument : arguments) {
        texts.push_back(wxString::FromUTF8(argument.c_str()));
        if (texts.back().empty() && !argument.empty())
            tool::RefuseUsage("an argument is not valid UTF-8");
    }
    wxCmdLineParser parser;
    tool::ParseCommandLine(parser, kEntries, texts);
    return Collect(parser);
}

wxString UsageText()
{
    return "Usage: qxspeech-dictionary [--] FILE COMMAND\n"
           "Works on a substitution file: one \"word,what is spoken in its place\" a line.\n\n"
           "  list                  show the entries as a load takes them\n"
           "  find WORD             show what is spoken in place of the word\n"
           "  add WORD REPLACEMENT  add an entry, or give the word's entry a new replacement; makes the file\n"
           "  remove WORD           remove every entry of the word\n"
           "  check                 tell lines that a load passes over, entries that a later one overrides, and\n"
           "                        words that can never match\n"
           "  -h, --help            show this text\n"
           "      --version         show the version\n\n"
           "Words count in lower case, and a word is letters and digits only. add and remove leave every other\n"
           "line as it is, and change only UTF-8 files. -- goes before a FILE or WORD that begins with -.\n"
           "Exit status: 0 done, 1 the word is not there or check found something, 2 usage, 4 a file cannot be\n"
           "read or written.\n";
}

} // namespace dictionary
