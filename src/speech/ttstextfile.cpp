// wxTextFile answers true for a file that it cannot convert, and holds it three times over; so the bytes are read here.
// MIT licence.
#include "speech/ttstextfile.h"

#include <wx/file.h>

namespace
{

constexpr size_t kBlockBytes = 64 * 1024;

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

void UnifyLineEnds(wxString& text)
{
    if (text.find('\r') == wxString::npos)
        return;
    std::wstring unified;
    unified.reserve(text.length());
    wchar_t before = 0;
    for (const wchar_t ch : text.ToStdWstring()) {
        if (ch != L'\n' || before != L'\r')
            unified += ch == L'\r' ? L'\n' : ch;
        before = ch;
    }
    text = unified;
}

} // namespace

// Some files that can be read have no length beforehand, so that only reading tells the end.
bool qxReadBytes(const wxString& filename, std::string& bytes)
{
    wxFile file;
    if (filename.empty() || !file.Open(filename))
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

bool qxDecodeLines(const std::string& bytes, const wxMBConv& converter, wxString& text)
{
    wxString decoded;
    if (!IsUsable(converter) || !Convert(bytes, converter, decoded))
        return false;
    UnifyLineEnds(decoded);
    text.swap(decoded);
    return true;
}

bool qxReadLines(const wxString& filename, const wxMBConv& converter, wxString& text)
{
    std::string bytes;
    return qxReadBytes(filename, bytes) && qxDecodeLines(bytes, converter, text);
}

bool qxReadTextFile(const wxString& filename, const wxMBConv& converter, wxString& text)
{
    const bool read = qxReadLines(filename, converter, text);
    if (read)
        qxDropLastLineEnd(text);
    return read;
}

void qxDropLastLineEnd(wxString& text)
{
    if (!text.empty() && text.Last() == '\n')
        text.RemoveLast();
}
