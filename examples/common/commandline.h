// What the programs' command lines have in common, on wxCmdLineParser. MIT licence.
#ifndef QXSPEECH_EXAMPLES_COMMON_COMMANDLINE_H
#define QXSPEECH_EXAMPLES_COMMON_COMMANDLINE_H

#include <string>
#include <vector>
#include <wx/cmdline.h>
#include <wx/string.h>

namespace tool
{

// Arguments are bytes, mostly UTF-8; any other byte takes a round trip through a private character.
wxString FromBytes(const std::string& bytes);
std::string ToBytes(const wxString& text);

// Throws Failure (kExitUsage).
[[noreturn]] void RefuseUsage(const wxString& text);

// Splits the arguments, which come without the program's name, by the entries, which outlive the parser. Throws Failure
// (kExitUsage) with the parser's own words.
void ParseCommandLine(wxCmdLineParser& parser, const wxCmdLineEntryDesc* entries,
                      const std::vector<wxString>& arguments);

// One line for each option, for --help.
wxString DescribeOptions(const wxCmdLineEntryDesc* entries);

} // namespace tool

#endif
