// A tool for substitution files: reads the command line, does the one thing, tells how it went. MIT licence.
#include <exception>
#include <string>
#include <vector>
#include <wx/init.h>

#include "../common/console.h"
#include "../common/exitstatus.h"
#include "common/version.h"
#include "dictionaryfile.h"
#include "dictionarytext.h"
#include "findings.h"
#include "options.h"

namespace dictionary
{
namespace
{

using tool::Failure;

wxString ListText(const wxString& file)
{
    wxTTSTransformer transformer;
    Load(file, transformer);
    wxString text;
    for (size_t i = 0; i < transformer.GetStrings().size(); ++i)
        text += transformer.GetStrings()[i] + "," + transformer.GetReplacements()[i] + "\n";
    return text;
}

[[noreturn]] void FailAbsent(const Options& options)
{
    throw Failure{tool::kExitRefused, options.word + ": not in " + options.file};
}

wxString FindText(const Options& options)
{
    wxTTSTransformer transformer;
    Load(options.file, transformer);
    if (!transformer.HasString(options.word))
        FailAbsent(options);
    return transformer.GetString(options.word) + "\n";
}

void Add(const Options& options)
{
    wxString refusal = RefusalOfWord(options.word);
    if (!refusal.empty())
        throw Failure{tool::kExitUsage, options.word + ": " + refusal};
    refusal = RefusalOfReplacement(options.replacement);
    if (!refusal.empty())
        throw Failure{tool::kExitUsage, options.word + ": " + refusal};
    AddEntry(options.file, options.word, options.replacement);
}

void Check(const wxString& file)
{
    const std::vector<Finding> findings = CheckLines(ReadLines(file));
    wxString text;
    for (const Finding& finding : findings)
        text += file + wxString::Format(":%zu: ", finding.line) + finding.text + "\n";
    tool::PrintOutput(text);
    if (!findings.empty())
        throw Failure{tool::kExitRefused, wxString()};
}

void Run(const Options& options)
{
    switch (options.command) {
    case Command::kHelp:
        tool::PrintOutput(UsageText());
        break;
    case Command::kVersion:
        tool::PrintOutput(QX_PROGRAM_NAME " " QXSPEECH_VERSION_STRING "\n");
        break;
    case Command::kList:
        tool::PrintOutput(ListText(options.file));
        break;
    case Command::kFind:
        tool::PrintOutput(FindText(options));
        break;
    case Command::kAdd:
        Add(options);
        break;
    case Command::kRemove:
        if (!RemoveEntry(options.file, options.word))
            FailAbsent(options);
        break;
    case Command::kCheck:
        Check(options.file);
        break;
    }
}

int RunGuarded(const std::vector<std::string>& arguments)
{
    try {
        Run(ParseOptions(arguments));
        return tool::kExitDone;
    } catch (const Failure& failure) {
        if (!failure.text.empty())
            tool::PrintError(failure.text);
        return failure.status;
    } catch (const std::exception& error) {
        tool::PrintError(wxString::FromUTF8(error.what()));
        return tool::kExitFile;
    }
}

} // namespace
} // namespace dictionary

int main(int argc, char** argv)
{
    tool::SecureStandardFiles();
    const wxInitializer wx;
    if (!wx.IsOk()) {
        tool::PrintError("wxWidgets does not start");
        return tool::kExitFile;
    }
    tool::SetUpLog(false);
    return dictionary::RunGuarded(std::vector<std::string>(argv + 1, argv + (argc > 0 ? argc : 1)));
}
