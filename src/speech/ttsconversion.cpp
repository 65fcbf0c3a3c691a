// HTML and plain text as an engine reads them aloud, in their XML envelopes. MIT licence.
#include <algorithm>
#include <string>
#include <vector>

#include <wx/convauto.h>
#include <wx/html/htmlpars.h>
#include <wx/log.h>
#include <wx/txtstrm.h>

#include "common/letters.h"
#include "speech/ttsfilework.h"
#include "speech/ttshtmlparser.h"
#include "speech/ttstextfile.h"
#include "speech/ttstransformer.h"

using namespace qxspeech;

namespace
{

// Gathers small pieces for a text stream. Text that is not ASCII goes to the stream by itself: if the stream's encoding
// lacks one of its characters, only that piece is lost.
class PieceWriter
{
public:
    explicit PieceWriter(wxTextOutputStream& stream) : m_stream(stream) {}
    ~PieceWriter() { Flush(); }
    PieceWriter(const PieceWriter&) = delete;
    PieceWriter& operator=(const PieceWriter&) = delete;

    void Write(const wchar_t* ascii) { m_pieces += ascii; }
    void Write(const wxString& text)
    {
        if (!IsAscii(text)) {
            Flush();
            m_stream.WriteString(text);
            return;
        }
        m_pieces += text;
        if (m_pieces.length() >= kPieceLength)
            Flush();
    }

private:
    static constexpr size_t kPieceLength = 32768; // characters

    void Flush()
    {
        if (m_pieces.empty())
            return;
        m_stream.WriteString(m_pieces);
        m_pieces.clear();
    }

    wxTextOutputStream& m_stream;
    wxString m_pieces;
};

enum class Envelope { None, Sapi, Ssml };

Envelope ChooseEnvelope(int options, int sapi, int ssml)
{
    if (options & sapi)
        return Envelope::Sapi;
    return options & ssml ? Envelope::Ssml : Envelope::None;
}

void WriteHead(PieceWriter& out, Envelope envelope)
{
    if (envelope == Envelope::None)
        return;
    out.Write(L"<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n");
    if (envelope == Envelope::Sapi)
        out.Write(L"<sapi>\n");
    else
        out.Write(L"<speak xmlns=\"http://www.w3.org/2001/10/synthesis\" "
                  L"xmlns:dc=\"http://purl.org/dc/elements/1.1/\" version=\"1.0\">\n");
}

void WriteTail(PieceWriter& out, Envelope envelope)
{
    if (envelope != Envelope::None)
        out.Write(envelope == Envelope::Sapi ? L"\n</sapi>\n" : L"\n</speak>\n");
}

enum class Element { Other, OrderedList, BulletList, Item, Paragraph, Break, Title, Heading };

Element FindElement(const wxString& name)
{
    static const struct {
        const wchar_t* name;
        Element element;
    } kElements[] = {{L"p", Element::Paragraph},    {L"li", Element::Item},       {L"br", Element::Break},
                     {L"ol", Element::OrderedList}, {L"ul", Element::BulletList}, {L"h1", Element::Heading},
                     {L"h2", Element::Heading},     {L"h3", Element::Heading},    {L"h4", Element::Heading},
                     {L"h5", Element::Heading},     {L"title", Element::Title}};
    const size_t length = name.length();
    if (length == 0 || length > 5)
        return Element::Other;
    const wchar_t* const characters = name.wx_str();
    for (const auto& row : kElements)
        if (std::char_traits<wchar_t>::length(row.name) == length && qxSameNoCase(characters, row.name, length))
            return row.element;
    return Element::Other;
}

// A numeric entity may name what is no character; no encoding has it.
bool IsEncodable(wchar_t character)
{
    if (sizeof(wchar_t) == 2)
        return true;
    return character >= 0 && character <= 0x10FFFF && (character < 0xD800 || character > 0xDFFF);
}

// One walk along a document's tags.
class SpeechWalk
{
public:
    SpeechWalk(PieceWriter& out, int options) : m_out(out), m_options(options) {}

    void Visit(const wxTTSSimpleHtmlTag& tag);

private:
    void OpenList(bool ordered);
    void OpenItem();
    void OpenHeading(wchar_t level);
    void CloseHeading();
    void SpeakText(const wxString& text);
    void SpeakEntity(const wxString& name);

    struct List {
        int items = 0; // seen so far
        bool ordered = false;
    };

    PieceWriter& m_out;
    const int m_options;
    std::vector<List> m_lists; // the open ones, innermost last
    bool m_inTitle = false;
    wchar_t m_lastCharacter = L'\0'; // of what was spoken last, for the full stop behind a heading
    bool m_lastWasEmpty = true;
    wxHtmlEntitiesParser m_entities;
};

void SpeechWalk::Visit(const wxTTSSimpleHtmlTag& tag)
{
    const int type = tag.GetType();
    if (type == wxTTSTagText)
        return SpeakText(tag.GetText());
    const Element element = FindElement(tag.GetName());
    switch (element) {
    case Element::OrderedList:
    case Element::BulletList:
        if (type == wxTTSTagOpen)
            OpenList(element == Element::OrderedList);
        else if (type == wxTTSTagClose && !m_lists.empty())
            m_lists.pop_back();
        break;
    case Element::Item:
        if (type == wxTTSTagOpen)
            OpenItem();
        break;
    case Element::Paragraph:
    case Element::Break:
        m_out.Write(L"\n");
        break;
    case Element::Title:
        m_inTitle = type == wxTTSTagOpen;
        break;
    case Element::Heading:
        if (type == wxTTSTagOpen)
            OpenHeading(tag.GetName()[1]);
        else
            CloseHeading();
        break;
    case Element::Other:
        if (type == wxTTSTagEntity)
            SpeakEntity(tag.GetName());
        break;
    }
}

void SpeechWalk::OpenList(bool ordered)
{
    m_out.Write(L"\n");
    m_lists.push_back({0, ordered});
}

void SpeechWalk::OpenItem()
{
    if (m_lists.empty())
        return;
    List& list = m_lists.back();
    ++list.items;
    if (list.ordered && (m_options & wxTTS_TRANSFORM_SPEAK_LIST_NUMBERS))
        m_out.Write(wxString::Format("%d. ", list.items));
}

void SpeechWalk::OpenHeading(wchar_t level)
{
    m_out.Write(L"\n");
    if (m_options & wxTTS_TRANSFORM_SPEAK_HEADINGS)
        m_out.Write(wxString("Heading ") + level + ": ");
}

void SpeechWalk::CloseHeading()
{
    static const std::wstring kEnds = L"!,.?";
    if (!m_lastWasEmpty && kEnds.find(m_lastCharacter) == std::wstring::npos)
        m_out.Write(L".");
    m_out.Write(L"\n");
}

void SpeechWalk::SpeakText(const wxString& text)
{
    if (m_inTitle)
        return;
    m_lastWasEmpty = text.empty();
    if (m_lastWasEmpty)
        return;
    m_lastCharacter = text.Last();
    m_out.Write(text);
}

void SpeechWalk::SpeakEntity(const wxString& name)
{
    const wchar_t character = m_inTitle ? L'\0' : m_entities.GetEntityChar(name);
    if (!character)
        return;
    wxString spoken(character == 160 ? L' ' : character, 1);
    const bool spelled = name == L"copy" || name == L"nbsp";
    if (spelled)
        spoken = name == L"copy" ? L"copyright" : L" ";
    m_lastWasEmpty = false;
    m_lastCharacter = spoken.Last();
    if (!spelled && (m_options & (wxTTS_TRANSFORM_HTML_TO_SAPI | wxTTS_TRANSFORM_HTML_TO_SSML)))
        m_out.Write(L'&' + name + L';');
    else if (IsEncodable(character))
        m_out.Write(spoken);
}

// A file that cannot be read has no lines.
void WriteLines(PieceWriter& out, const wxString& filename)
{
    wxString text;
    if (!qxReadLines(filename, wxConvAuto(), text))
        return;
    for (size_t start = 0, end = 0; start < text.length(); start = end + 1) {
        end = std::min(text.find(L'\n', start), text.length());
        out.Write(text.substr(start, end - start));
        out.Write(L"\n");
    }
}

} // namespace

bool wxTTSTransformer::ConvertHTMLToText(const wxString& source, wxOutputStream&, wxTextOutputStream& textStream,
                                         int options, bool isString)
{
    const wxLogNull noLog;
    const Envelope envelope = ChooseEnvelope(options, wxTTS_TRANSFORM_HTML_TO_SAPI, wxTTS_TRANSFORM_HTML_TO_SSML);
    PieceWriter out(textStream);
    WriteHead(out, envelope);
    wxTTSSimpleHtmlParser parser;
    if (!(isString ? parser.ParseString(source) : parser.ParseFile(source, wxString())))
        return false;
    SpeechWalk walk(out, options);
    for (const wxTTSSimpleHtmlTag* tag = parser.GetTopLevelTag()->GetChildren(); tag; tag = tag->GetNext())
        walk.Visit(*tag);
    WriteTail(out, envelope);
    return true;
}

bool wxTTSTransformer::ConvertTextToXML(const wxString& source, wxOutputStream&, wxTextOutputStream& textStream,
                                        int options, bool isString)
{
    const wxLogNull noLog;
    const Envelope envelope = ChooseEnvelope(options, wxTTS_TRANSFORM_TEXT_TO_SAPI, wxTTS_TRANSFORM_TEXT_TO_SSML);
    PieceWriter out(textStream);
    WriteHead(out, envelope);
    if (isString)
        out.Write(source);
    else
        WriteLines(out, source);
    WriteTail(out, envelope);
    return true;
}
