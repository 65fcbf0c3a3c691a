// The command line. MIT licence.
#ifndef QXSPEECH_EXAMPLES_DICTIONARY_OPTIONS_H
#define QXSPEECH_EXAMPLES_DICTIONARY_OPTIONS_H

#include <string>
#include <vector>
#include <wx/string.h>

namespace dictionary
{

enum class Command { kHelp, kVersion, kList, kAdd, kRemove, kFind, kCheck };

struct Options {
    Command command = Command::kHelp;
    wxString file;
    wxString word;        // of add, remove and find
    wxString replacement; // of add
};

// The arguments without the program's name, as bytes. Throws Failure (kExitUsage).
Options ParseOptions(const std::vector<std::string>& arguments);

// For --help.
wxString UsageText();

} // namespace dictionary

#endif
