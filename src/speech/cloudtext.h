// Text on its way to and from the web services, alike for all engines there. Private. MIT licence.
#ifndef QXSPEECH_SPEECH_CLOUDTEXT_H
#define QXSPEECH_SPEECH_CLOUDTEXT_H

#include <wx/string.h>

// The member "message" of the member "error" of a JSON text; "" if there is no such string.
wxString ParseErrorMessage(const wxString& body);

namespace qxspeech
{

// The text of a file to be spoken: by its byte-order mark, else UTF-8, else the fallback 8-bit encoding of wxWidgets.
// Lines are joined by "\n", none behind the last. False, with text untouched, if the file cannot be read so; nothing is
// logged. A caller's last error is then the translation of kCannotReadFile.
bool ReadSpeechFile(const wxString& filename, wxString& text);

constexpr char kCannotReadFile[] = "Could not read file.";

} // namespace qxspeech

#endif
