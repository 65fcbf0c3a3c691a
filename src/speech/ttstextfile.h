// Reads whole text files, once, and finds lines as wxTextFile does, but refuses what does not convert. MIT licence.
#ifndef QXSPEECH_SPEECH_TTSTEXTFILE_H
#define QXSPEECH_SPEECH_TTSTEXTFILE_H

#include <string>
#include <wx/strconv.h>
#include <wx/string.h>

// A file that cannot be read (a folder is none) gives false; a system error is logged by wxWidgets. A pipe has been
// emptied.
bool qxReadBytes(const wxString& filename, std::string& bytes);

// Every line end, be it of Unix, DOS or Macintosh, as wxTextFile finds them, becomes "\n". False, with text untouched,
// for what does not convert; an unknown encoding converts nothing.
bool qxDecodeLines(const std::string& bytes, const wxMBConv& converter, wxString& text);

// Both steps; the second drops the line end behind the last line.
bool qxReadLines(const wxString& filename, const wxMBConv& converter, wxString& text);
bool qxReadTextFile(const wxString& filename, const wxMBConv& converter, wxString& text);
void qxDropLastLineEnd(wxString& text);

#endif
