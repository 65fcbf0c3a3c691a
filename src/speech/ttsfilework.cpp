// Text files: encoding, comparing, writing and replacing. MIT licence.
#include "speech/ttsfilework.h"

#include <wx/file.h>
#include <wx/filefn.h>
#include <wx/filename.h>
#include <wx/log.h>
#include <wx/textfile.h>

namespace qxspeech
{

void AppendLine(std::string& bytes, const wxString& line)
{
    static const wxString lineEnd = wxTextFile::GetEOL();
    const auto append = [&bytes](const wxString& text) {
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

bool OpenTextFile(wxTextFile& file, const wxString& filename)
{
    const wxLogNull noLog;
    return !filename.empty() && file.Open(filename);
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
    return file.IsOpened() && file.Write(bytes.data(), bytes.size()) && file.Commit();
}

size_t BytesOutputStream::OnSysWrite(const void* buffer, size_t size)
{
    bytes.append(static_cast<const char*>(buffer), size);
    return size;
}

} // namespace qxspeech
