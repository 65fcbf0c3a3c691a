// wxTextFile answers true for a file that it cannot convert, and holds it three times over; so the bytes are read here.
// MIT licence.
#include "speech/ttstextfile.h"

#include <string>

#include <wx/file.h>

namespace
{

constexpr size_t kBlockBytes = 64 * 1024;

// Some files that can be read have no length beforehand, so that only reading tells the end.
bool ReadBytes(const wxString& filename, std::string& bytes)
{
    wxFile file;
    if (!file.Open(filename))
        return false;
    size_t used = 0;
    while (true) {
        bytes.resize(used + kBlockBytes);
        const ssize_t count = file.Read(&bytes[used], kBlockBytes);
        if (count < 0)
            return false;
        used += static_cast<size_t>(count);
        bytes.resize(used);
        if (count == 0)
            return true;
    }
}

// An unknown encoding would otherwise pass every byte as a character of its own.
bool IsUsable(const wxMBConv& converter)
{
    const wxCSConv* const named = dynamic_cast<const wxCSConv*>(&converter);
    return !named || named->IsOk();
}

bool Convert(const std::string& bytes, const wxMBConv& converter, wxString& text)
{
    if (bytes.empty())
        return true;
    const size_t length = converter.ToWChar(nullptr, 0, bytes.data(), bytes.size());
    if (length == wxCONV_FAILED)
        return false;
    wxStringBufferLength buffer(text, length);
    const size_t written = converter.ToWChar(buffer, length, bytes.data(), bytes.size());
    buffer.SetLength(written == wxCONV_FAILED ? 0 : written);
    return written != wxCONV_FAILED;
}

} // namespace

bool qxReadTextFile(const wxString& filename, const wxMBConv& converter, wxString& text)
{
    wxString read;
    {
        std::string bytes;
        if (!IsUsable(converter) || !ReadBytes(filename, bytes) || !Convert(bytes, converter, read))
            return false;
    }
    qxJoinLines(read);
    text.swap(read);
    return true;
}

void qxJoinLines(wxString& text)
{
    if (text.find('\r') != wxString::npos) {
        std::wstring joined;
        joined.reserve(text.length());
        wchar_t before = 0;
        for (const wchar_t ch : text.ToStdWstring()) {
            if (ch != L'\n' || before != L'\r')
                joined += ch == L'\r' ? L'\n' : ch;
            before = ch;
        }
        text = joined;
    }
    if (!text.empty() && text.Last() == '\n')
        text.RemoveLast();
}
