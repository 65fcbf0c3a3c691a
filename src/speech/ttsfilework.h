// Text files as the transformer writes, compares and replaces them. MIT licence.
#pragma once

#include <string>
#include <wx/stream.h>
#include <wx/string.h>

namespace qxspeech
{

bool IsAscii(const wxString& text);

// Adds a line and its end: UTF-8, every "\n" as the platform's line end.
void AppendLine(std::string& bytes, const wxString& line);

// Adds lines that are joined by "\n" in the same way; one with a number that is no character is left empty.
void AppendLines(std::string& bytes, const wxString& lines);

// None of these logs.
// Whether a regular file can be read. A pipe may not be asked: what has been read of it is gone.
bool IsReadable(const wxString& filename);
// Whether a name stands for what gives its bytes but once: a pipe, a device.
bool IsPipe(const wxString& filename);
void CopyTextFile(const wxString& from, const wxString& to);
bool IsSameFile(const wxString& left, const wxString& right);
// Both answer whether all bytes arrived. The first writes the file anew, and a failure leaves part of it. The second
// writes beside the file and renames, and a failure leaves the file as it was; where nothing can be made beside it, it
// does as the first.
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
