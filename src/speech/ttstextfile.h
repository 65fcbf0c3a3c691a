// Reads a whole text file as wxTextFile does, but refuses what does not convert. MIT licence.
#ifndef QXSPEECH_SPEECH_TTSTEXTFILE_H
#define QXSPEECH_SPEECH_TTSTEXTFILE_H

#include <wx/strconv.h>
#include <wx/string.h>

// The lines of the file joined by "\n", none behind the last. False, with text untouched, for a file that cannot be
// read or that the converter cannot convert (an unknown encoding converts nothing); a system error is logged by
// wxWidgets.
bool qxReadTextFile(const wxString& filename, const wxMBConv& converter, wxString& text);

// Every line end, be it of Unix, DOS or Macintosh, as wxTextFile finds them, becomes "\n"; one at the end is dropped.
void qxJoinLines(wxString& text);

#endif
