// Any text is parsed, written and parsed again; the tree is flat and holds nothing that the text does not. MIT licence.
#include "speech/ttshtmlparser.h"

#include <cstdint>
#include <cstdlib>

#include <wx/mstream.h>
#include <wx/strconv.h>

namespace
{

// The program stops here, so that the fuzzer keeps the input.
void Require(bool holds)
{
    if (!holds)
        std::abort();
}

// UTF-8 where it is; else each byte a character, the high ones spread over and beyond the range.
wxString ToText(const uint8_t* data, size_t size)
{
    const wxString text = wxString::FromUTF8(reinterpret_cast<const char*>(data), size);
    if (!text.empty())
        return text;
    std::wstring wide;
    for (size_t i = 0; i < size; ++i)
        wide += static_cast<wchar_t>(data[i] < 0x80 ? data[i] : (data[i] & 0x7FU) << (data[i] % 25U));
    return wide;
}

wxString Written(const wxTTSSimpleHtmlParser& parser)
{
    wxMemoryOutputStream stream;
    parser.Write(stream);
    const wxStreamBuffer& buffer = *stream.GetOutputStreamBuffer();
    const unsigned char* const bytes = static_cast<const unsigned char*>(buffer.GetBufferStart());
    std::wstring text;
    for (size_t i = 0; i + 1 < stream.GetSize(); i += 2)
        text += static_cast<wchar_t>(bytes[i] | (bytes[i + 1] << 8));
    return text;
}

// Every character of the chain is one of the document's (the name of a text run is not).
void CheckChain(const wxTTSSimpleHtmlTag& top, size_t documentLength)
{
    size_t length = 0;
    for (const wxTTSSimpleHtmlTag* tag = top.GetChildren(); tag; tag = tag->GetNext()) {
        Require(tag->GetParent() == &top && !tag->GetChildren());
        const bool isText = tag->GetType() == wxTTSTagText;
        Require(!isText || (tag->GetName() == "TEXT" && !tag->GetFirstAttribute()));
        Require(isText || tag->GetText().empty());
        length += isText ? tag->GetText().length() : tag->GetName().length();
        for (const auto* attribute = tag->GetFirstAttribute(); attribute; attribute = attribute->GetNextAttribute())
            length += attribute->GetName().length() + attribute->GetValue().length();
    }
    Require(length <= documentLength);
}

// Each step from each position: within the document, and without a tag of the caller left behind.
void TryStepsEverywhere(wxTTSSimpleHtmlParser& parser, int length)
{
    for (int position = -1; position <= length + 1; ++position) {
        wxString text;
        parser.SetPosition(position);
        parser.ReadWord(text, false);
        parser.ReadNumber(text, false);
        parser.ReadString(text, false);
        parser.ReadLiteral(text, false);
        parser.Matches("<!--", false);
        parser.EatWhitespace(false);
        delete parser.ParseTagClose();
        parser.SetPosition(position);
        delete parser.ParseTagHeader();
        parser.SetPosition(position);
        delete parser.ParseDirective();
        parser.SetPosition(position);
        parser.ParseComment();
        Require(parser.Eof() || position < length);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const wxString document = ToText(data, size);
    wxTTSSimpleHtmlParser parser;
    Require(parser.ParseString(document) && parser.Eof());
    CheckChain(*parser.GetTopLevelTag(), document.length());
    if (document.length() < 40)
        TryStepsEverywhere(parser, static_cast<int>(document.length()));
    const wxString once = Written(parser);
    Require(parser.ParseString(once) && parser.Eof());
    CheckChain(*parser.GetTopLevelTag(), once.length());
    Written(parser);
    return 0;
}
