// A substitution file as the library loads it, and changes to it that a load confirms. MIT licence.
#ifndef QXSPEECH_EXAMPLES_DICTIONARY_DICTIONARYFILE_H
#define QXSPEECH_EXAMPLES_DICTIONARY_DICTIONARYFILE_H

#include <wx/arrstr.h>
#include <wx/string.h>

#include "speech/ttstransformer.h"

namespace dictionary
{

// All of these throw Failure (kExitFile) if a file cannot be read or written.

void Load(const wxString& file, wxTTSTransformer& transformer);
// As a load splits them.
wxArrayString ReadLines(const wxString& file);

// A missing file is made.
void AddEntry(const wxString& file, const wxString& word, const wxString& replacement);
// False, with the file untouched, if it has no entry of the word.
bool RemoveEntry(const wxString& file, const wxString& word);

} // namespace dictionary

#endif
