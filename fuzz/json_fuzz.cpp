// Any text through reader and writer: nothing crashes, and what was written reads back to the same text. MIT licence.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "json/jsondocument.h"
#include "json/jsonwriter.h"

namespace
{

wxString Written(const wxJSONValue& value)
{
    wxString text;
    wxJSONWriter(0, 0, 3).Write(value, text);
    return text;
}

// Members come in the order of the map, which depends on the order they went in: only the characters must be the same.
wxString InOrder(const wxString& text)
{
    std::wstring characters = text.ToStdWstring();
    std::sort(characters.begin(), characters.end());
    return characters;
}

void Require(bool isTrue, const char* what)
{
    if (isTrue)
        return;
    fprintf(stderr, "%s\n", what);
    abort();
}

// Shows the reader's error number.
class Document : public wxJSONDocument
{
public:
    explicit Document(const wxString& text) { Parse(text); }
    int ErrorCode() const { return m_errorCode; }
};

const int kNumberTooBig = 13;

void RoundTrip(const wxString& text)
{
    const Document document(text);
    if (!document.IsValid())
        return;
    const wxString first = Written(document);
    Require(wxString::FromUTF8(first.utf8_str()) == first, "what was written is not Unicode");
    const Document again(first);
    // The largest doubles round to a number that is none.
    if (again.ErrorCode() == kNumberTooBig && first.Contains("1.797693135e+308"))
        return;
    Require(again.ErrorCode() == 0, "what was written is not JSON");
    // Two keys that are not Unicode are written alike, so that one member replaces the other.
    if (first.Contains("<wxJSONWriter::WriteStringValue()"))
        return;
    Require(again.Size() == document.Size(), "reading back changed the root's size");
    // A double of minus zero reads back as an integer.
    Require(InOrder(Written(again)) == InOrder(first) || first.Contains("-0"), "reading back changed the text");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size)
{
    RoundTrip(wxString::FromUTF8(reinterpret_cast<const char*>(data), size));
    std::wstring wide(size / sizeof(wchar_t), L'\0');
    if (!wide.empty())
        memcpy(wide.data(), data, wide.size() * sizeof(wchar_t));
    RoundTrip(wide);
    // Each byte as a character, so that short inputs make text with units that are no characters.
    std::wstring spread;
    for (size_t i = 0; i < size; ++i)
        spread += data[i] < 0x80 ? static_cast<wchar_t>(data[i]) : static_cast<wchar_t>(0xD800 + 16 * (data[i] - 0x80));
    RoundTrip(spread);
    return 0;
}
