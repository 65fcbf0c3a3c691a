// Letters, digits and lower case as under a UTF-8 locale, whatever the host's C locale is. MIT licence.
#ifndef QXSPEECH_COMMON_LETTERS_H
#define QXSPEECH_COMMON_LETTERS_H

#include <wx/string.h>

// Any thread may call these; none reads or changes the process's locale.
bool qxIsAlpha(wchar_t ch);
bool qxIsDigit(wchar_t ch);
bool qxIsAlnum(wchar_t ch);
wchar_t qxToLower(wchar_t ch);
// In place of wxString::Lower.
wxString qxLower(const wxString& text);
// In place of CmpNoCase(...) == 0.
bool qxSameNoCase(const wxString& left, const wxString& right);
// The same for count characters at each pointer.
bool qxSameNoCase(const wchar_t* left, const wchar_t* right, size_t count);

#endif
