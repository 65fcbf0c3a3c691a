// Edits the bytes of a substitution file: what is not asked for stays as it is. Values in, values out. MIT licence.
#ifndef QXSPEECH_EXAMPLES_DICTIONARY_DICTIONARYTEXT_H
#define QXSPEECH_EXAMPLES_DICTIONARY_DICTIONARYTEXT_H

#include <string>
#include <wx/string.h>

namespace dictionary
{

// The form in which keys are compared.
wxString LowerKey(const wxString& word);
// Whether a text can hold this key as a word; if not, culprit is the first character that prevents it.
bool CanMatch(const wxString& key, wxUniChar& culprit);

// Why a word or a replacement makes no entry; "" if it does.
wxString RefusalOfWord(const wxString& word);
wxString RefusalOfReplacement(const wxString& replacement);
// Why a file's bytes are not edited; "" if they are. The functions below are for bytes that pass.
wxString RefusalToEdit(const std::string& bytes);

// The last entry of the word, which is the one that counts, gets the replacement and keeps its key as it is written;
// without one, a line is appended, with the line end of the line before it, or "\n" without any.
std::string WithEntry(const std::string& bytes, const wxString& word, const wxString& replacement);
// Without any entry of the word; lines that a load passes over stay.
std::string WithoutEntry(const std::string& bytes, const wxString& word);

} // namespace dictionary

#endif
