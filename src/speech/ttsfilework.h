// Text files as the transformer writes, compares and replaces them. MIT licence.
#pragma once

#include <string>
#include <wx/stream.h>
#include <wx/string.h>

class wxTextFile;

namespace qxspeech
{

bool IsAscii(const wxString& text);

// Adds a line and its end: UTF-8, every "\n" as the platform's line end.
void AppendLine(std::string& bytes, const wxString& line);

// None of these logs.
bool OpenTextFile(wxTextFile& file, const wxString& filename);
bool IsReadable(const wxString& filename);
// The lines of a file joined by "\n"; none of a file that does not hold what its byte-order mark says. False if it
// cannot be read.
bool ReadLines(const wxString& filename, wxString& text);
void CopyTextFile(const wxString& from, const wxString& to);
bool IsSameFile(const wxString& left, const wxString& right);
// Both answer whether all bytes arrived. The first writes the file anew, and a failure leaves part of it. The second
// writes beside the file and renames, and a failure leaves the file as it was.
bool WriteTextFile(const wxString& filename, const std::string& bytes);
bool ReplaceTextFile(const wxString& filename, const std::string& bytes);

// Keeps in memory what is written to it.
class BytesOutputStream : public wxOutputStream
{
public:
    std::string bytes;

protected:
    size_t OnSysWrite(const void* buffer, size_t size) override;
};

} // namespace qxspeech
