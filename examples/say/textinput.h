// Reads the text to speak and turns its bytes into characters. MIT licence.
#ifndef QXSPEECH_EXAMPLES_SAY_TEXTINPUT_H
#define QXSPEECH_EXAMPLES_SAY_TEXTINPUT_H

#include <string>
#include <wx/string.h>

#include "options.h"

namespace say
{

// UTF-8, UTF-16 or UTF-32 by byte-order mark, else UTF-8, else Latin-1. False, with the reason, for binary data: a zero
// character, or bytes that are not what their byte-order mark says.
bool DecodeText(const std::string& bytes, wxString& text, wxString& reason);

// The same for an HTML document, which may also name its encoding: by byte-order mark, else as declared, else as above.
bool DecodeHtml(const std::string& bytes, wxString& text, wxString& reason);

// The local engine takes a string whose first character is "<" for markup; behind a blank it is text.
wxString ProtectPlainText(const wxString& text);
// It takes a string for its own markup only with an XML declaration; one is put in front where there is none.
wxString DeclareXml(const wxString& text);

// The bytes of a file. Throws Failure: kExitFile if it cannot be read, kExitInterrupted as below.
std::string ReadFile(const std::string& path);

// The whole text, decoded; its form is found out if the options left it open. Throws Failure: kExitFile if it cannot be
// read or is binary, kExitUsage if there is nothing but white space or an option does not go with the form,
// kExitInterrupted if the program is to end while it waits for input.
wxString ReadText(Options& options);

} // namespace say

#endif
