// What is wrong with the lines of a substitution file. Values in, values out. MIT licence.
#ifndef QXSPEECH_EXAMPLES_DICTIONARY_FINDINGS_H
#define QXSPEECH_EXAMPLES_DICTIONARY_FINDINGS_H

#include <vector>
#include <wx/arrstr.h>
#include <wx/string.h>

namespace dictionary
{

struct Finding {
    size_t line; // the first is 1
    wxString text;
};

// In the order of the lines: lines that a load passes over, keys that can never match, entries that a later one of the
// same key overrides.
std::vector<Finding> CheckLines(const wxArrayString& lines);

} // namespace dictionary

#endif
