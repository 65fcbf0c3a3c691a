// The command line. MIT licence.
#ifndef QXSPEECH_EXAMPLES_SAY_OPTIONS_H
#define QXSPEECH_EXAMPLES_SAY_OPTIONS_H

#include <string>
#include <vector>
#include <wx/arrstr.h>
#include <wx/string.h>

#include "proxychoice.h"
#include "values.h"

namespace say
{

// Where the text comes from: the arguments, a named file, or standard input.
enum class TextSource { kArguments, kFile, kStandardInput };

struct Options {
    bool help = false;
    bool version = false;
    bool verbose = false;
    bool progress = false;
    bool listVoices = false;
    bool listEngines = false;
    bool json = false;
    bool testAuth = false;
    bool refresh = false;
    bool hasProxy = false;
    bool hasInputForm = false;
    bool hasOutput = false;
    bool hasSaveText = false;
    bool noDictionary = false;
    bool simplifyPunctuation = false;
    bool headings = false;
    bool isFormOpen = false;                // neither an option nor a file's name tells the form: the text is to
    InputForm inputForm = InputForm::kText; // also when guessed from the file's extension
    TextSource source = TextSource::kArguments;
    std::string text;       // the arguments joined by blanks, bytes as they were given
    std::string file;       // of kFile, the path's bytes
    std::string output;     // the path's bytes; "-" is standard output
    std::string dictionary; // the path's bytes; empty: none
    std::string saveText;   // as output
    std::string config;     // the path's bytes; empty: none
    ProxyChoice proxy;      // if hasProxy
    wxString engine;        // empty: the library's choice
    wxString voice;         // empty: the engine's choice
    wxString language;      // empty: every language
    Quantity rate;
    Quantity pitch;
    Quantity volume;
};

// The arguments without the program's name, as bytes. Throws Failure (kExitUsage). inputIsTerminal: without any text
// that is a usage error, otherwise standard input is read.
Options ParseOptions(const std::vector<std::string>& arguments, bool inputIsTerminal);

// Throws Failure (kExitUsage) for headings of what is no HTML.
void RequireHtmlForHeadings(const Options& options);

// For --help.
wxString UsageText();

} // namespace say

#endif
