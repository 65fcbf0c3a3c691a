// Text files: encoding, comparing, writing and replacing. MIT licence.
#include "speech/ttsfilework.h"

#include <algorithm>

#include <wx/file.h>
#include <wx/filefn.h>
#include <wx/filename.h>
#include <wx/log.h>
#include <wx/textfile.h>

namespace qxspeech
{

bool IsAscii(const wxString& text)
{
    unsigned long bits = 0;
    for (const wchar_t c : text.ToStdWstring())
        bits |= static_cast<unsigned long>(c);
    return bits < 0x80;
}

void AppendLine(std::string& bytes, const wxString& line)
{
    static const wxString lineEnd = wxTextFile::GetEOL();
    const auto append = [&bytes](const wxString& text) {
        if (IsAscii(text)) {
            const std::wstring& characters = text.ToStdWstring();
            bytes.append(characters.begin(), characters.end());
            return;
        }
        const wxScopedCharBuffer utf8 = text.utf8_str();
        bytes.append(utf8.data(), utf8.length());
    };
    if (lineEnd == L"\n") {
        append(line);
    } else {
        wxString native = line;
        native.Replace(L"\n", lineEnd);
        append(native);
    }
    append(lineEnd);
}

void AppendLines(std::string& bytes, const wxString& lines)
{
    const size_t before = bytes.size();
    AppendLine(bytes, lines);
    if (bytes.size() - before >= lines.length())
        return;
    // A single number that is no character has kept all of them from being converted.
    bytes.resize(before);
    for (size_t start = 0, end = 0; start <= lines.length(); start = end + 1) {
        end = std::min(lines.find('\n', start), lines.length());
        AppendLine(bytes, lines.substr(start, end - start));
    }
}

bool IsReadable(const wxString& filename)
{
    const wxLogNull noLog;
    wxFile file;
    char byte = 0;
    return !filename.empty() && file.Open(filename) && file.Read(&byte, 1) != wxInvalidOffset;
}

bool IsPipe(const wxString& filename)
{
    return wxFileName::Exists(filename) && !wxFileExists(filename) && !wxDirExists(filename);
}

void CopyTextFile(const wxString& from, const wxString& to)
{
    // Copying a file onto itself would empty it.
    if (to.empty() || IsSameFile(from, to))
        return;
    const wxLogNull noLog;
    wxCopyFile(from, to, true);
}

bool IsSameFile(const wxString& left, const wxString& right)
{
    return left == right || (!left.empty() && !right.empty() && wxFileName(left).SameAs(wxFileName(right)));
}

bool WriteTextFile(const wxString& filename, const std::string& bytes)
{
    const wxLogNull noLog;
    wxFile file;
    return !filename.empty() && file.Create(filename, true) && file.Write(bytes.data(), bytes.size()) == bytes.size() &&
           file.Close();
}

bool ReplaceTextFile(const wxString& filename, const std::string& bytes)
{
    const wxLogNull noLog;
    if (filename.empty())
        return false;
    wxTempFile file(filename);
    if (!file.IsOpened())
        return WriteTextFile(filename, bytes);
    return file.Write(bytes.data(), bytes.size()) && file.Commit();
}

size_t BytesOutputStream::OnSysWrite(const void* buffer, size_t size)
{
    bytes.append(static_cast<const char*>(buffer), size);
    return size;
}

} // namespace qxspeech
