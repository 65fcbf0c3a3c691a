// The scanner: runs of characters are found first and copied once, so that every document takes time by its length.
// MIT licence.
#include "speech/ttshtmlparser.h"

#include <algorithm>
#include <climits>
#include <cwchar>

#include <wx/strconv.h>
#include <wx/wfstream.h>

#include "common/letters.h"
#include "common/logging.h"
#include "speech/ttstagslab.h"
#include "speech/ttstextfile.h"

wxIMPLEMENT_CLASS(wxTTSSimpleHtmlParser, wxObject);

struct QXSPEECH_HIDDEN wxTTSSimpleHtmlParser::Run {
    bool found;
    size_t begin;
    size_t end;  // behind the last character that is read
    size_t next; // where reading goes on
};

namespace
{

// The first such character from begin on, else end.
size_t FindChar(const wchar_t* chars, wchar_t wanted, size_t begin, size_t end)
{
    const wchar_t* const found = wmemchr(chars + begin, wanted, end - begin);
    return found ? static_cast<size_t>(found - chars) : end;
}

size_t FindCommentEnd(const wchar_t* chars, size_t begin, size_t end)
{
    size_t bracket = FindChar(chars, L'>', begin, end);
    while (bracket < end && (bracket < begin + 2 || chars[bracket - 1] != L'-' || chars[bracket - 2] != L'-'))
        bracket = FindChar(chars, L'>', bracket + 1, end);
    return bracket < end ? bracket + 1 : end;
}

bool ReadDocument(const wxString& filename, const wxString& encoding, wxString& text)
{
    const wxLogNull noLog;
    return encoding.empty() ? qxReadTextFile(filename, wxConvUTF8, text)
                            : qxReadTextFile(filename, wxCSConv(encoding), text);
}

bool WriteQuietly(const wxTTSSimpleHtmlParser& parser, const wxString& filename)
{
    const wxLogNull noLog;
    wxFileOutputStream stream(filename);
    if (stream.IsOk())
        parser.Write(stream);
    return stream.IsOk();
}

} // namespace

wxTTSSimpleHtmlParser::wxTTSSimpleHtmlParser() : m_topLevel(nullptr), m_position(0), m_length(0), m_slabs(new TagSlabs)
{
}

wxTTSSimpleHtmlParser::~wxTTSSimpleHtmlParser()
{
    Clear();
    delete m_slabs;
}

bool wxTTSSimpleHtmlParser::ParseString(const wxString& str)
{
    wxString text(str); // str may be part of the tree that goes now
    ParseDocument(text);
    return true;
}

bool wxTTSSimpleHtmlParser::ParseFile(const wxString& filename, const wxString& encoding)
{
    wxString text;
    if (!ReadDocument(filename, encoding, text)) {
        QX_LOG("Could not read file: %s", filename);
        return false;
    }
    ParseDocument(text);
    return true;
}

// Takes the text over without a copy.
void wxTTSSimpleHtmlParser::ParseDocument(wxString& text)
{
    Clear();
    m_text.swap(text);
    m_length = static_cast<int>(std::min<size_t>(m_text.length(), INT_MAX));
    m_topLevel = new wxTTSSimpleHtmlTag(L"TOPLEVEL", wxTTSTagTopLevel);
    ParseHtml(m_topLevel);
}

void wxTTSSimpleHtmlParser::Clear()
{
    delete m_topLevel;
    m_slabs->Release();
    m_topLevel = nullptr;
    wxString().swap(m_text); // gives the memory back too
    m_position = 0;
    m_length = 0;
}

void wxTTSSimpleHtmlParser::Write(wxOutputStream& stream) const
{
    if (m_topLevel)
        m_topLevel->Write(stream);
}

bool wxTTSSimpleHtmlParser::WriteFile(wxString& filename) const
{
    if (WriteQuietly(*this, filename))
        return true;
    QX_LOG("Could not write file: %s", filename);
    return false;
}

const wchar_t* wxTTSSimpleHtmlParser::Chars() const
{
    return m_text.wc_str();
}

// The position as an index into the document: its length for everything that is not in it.
size_t wxTTSSimpleHtmlParser::Here() const
{
    return static_cast<size_t>(m_position < 0 || m_position > m_length ? m_length : m_position);
}

int wxTTSSimpleHtmlParser::GetChar(size_t pos) const
{
    return pos < static_cast<size_t>(m_length) ? static_cast<int>(Chars()[pos]) : -1;
}

// Behind the end of the longest document there is no number left to count with.
void wxTTSSimpleHtmlParser::Step(int count)
{
    m_position = std::min(m_position, INT_MAX - count) + count;
}

bool wxTTSSimpleHtmlParser::IsHere(const wchar_t* ascii) const
{
    const wchar_t* const chars = Chars();
    const size_t length = static_cast<size_t>(m_length);
    for (size_t at = Here(); *ascii; ++at, ++ascii)
        if (at >= length || chars[at] != *ascii)
            return false;
    return true;
}

bool wxTTSSimpleHtmlParser::Matches(const wxString& str, bool eatIt)
{
    if (static_cast<size_t>(m_length) - Here() < str.length() ||
        !qxSameNoCase(Chars() + Here(), str.wc_str(), str.length()))
        return false;
    if (eatIt)
        Step(static_cast<int>(str.length()));
    return true;
}

bool wxTTSSimpleHtmlParser::IsAlpha(int ch)
{
    return ch >= 0 && qxIsAlpha(static_cast<wchar_t>(ch));
}

bool wxTTSSimpleHtmlParser::IsNumeric(int ch)
{
    return ch == '-' || ch == '.' || (ch >= 0 && qxIsDigit(static_cast<wchar_t>(ch)));
}

bool wxTTSSimpleHtmlParser::IsWordChar(int ch)
{
    return IsAlpha(ch) || IsNumeric(ch) || ch == '_';
}

bool wxTTSSimpleHtmlParser::IsComment() const
{
    return IsHere(L"<!--");
}

bool wxTTSSimpleHtmlParser::IsDirective() const
{
    return IsHere(L"<!");
}

bool wxTTSSimpleHtmlParser::IsTagClose() const
{
    return IsHere(L"</");
}

bool wxTTSSimpleHtmlParser::IsString() const
{
    return GetChar(Here()) == '"';
}

bool wxTTSSimpleHtmlParser::IsWord() const
{
    return IsAlpha(GetChar(Here()));
}

bool wxTTSSimpleHtmlParser::EatWhitespace(int& pos)
{
    while (IsWhitespace(GetChar(static_cast<size_t>(pos))))
        ++pos;
    return true;
}

bool wxTTSSimpleHtmlParser::EatWhitespace(bool full)
{
    const int start = m_position;
    EatWhitespace(m_position);
    if (!full && m_position > start && !IsTagStartBracket(GetChar(Here())) && GetChar(Here() - 1) != '\n')
        --m_position;
    return true;
}

wxTTSSimpleHtmlParser::Run wxTTSSimpleHtmlParser::StringHere() const
{
    if (!IsString())
        return {false, 0, 0, 0};
    const size_t begin = Here() + 1;
    const size_t length = static_cast<size_t>(m_length);
    const size_t end = FindChar(Chars(), L'"', begin, length);
    return {true, begin, end, std::min(end + 1, length)};
}

wxTTSSimpleHtmlParser::Run wxTTSSimpleHtmlParser::WordHere() const
{
    const size_t begin = Here();
    size_t end = begin;
    if (IsWord())
        while (IsWordChar(GetChar(end)))
            ++end;
    return {end > begin, begin, end, end};
}

wxTTSSimpleHtmlParser::Run wxTTSSimpleHtmlParser::NumberHere() const
{
    const size_t begin = Here();
    size_t end = begin;
    while (IsNumeric(GetChar(end)))
        ++end;
    return {end > begin, begin, end, end};
}

wxTTSSimpleHtmlParser::Run wxTTSSimpleHtmlParser::LiteralHere() const
{
    const wchar_t* const chars = Chars();
    const size_t begin = Here();
    size_t end = begin;
    while (end < static_cast<size_t>(m_length) && !IsWhitespace(chars[end]) && chars[end] != L'>' && chars[end] != L'=')
        ++end;
    return {true, begin, end, end};
}

bool wxTTSSimpleHtmlParser::Take(const Run& run, bool eatIt, wxString& str)
{
    if (!run.found)
        return false;
    if (eatIt)
        m_position = static_cast<int>(run.next);
    str.append(Chars() + run.begin, run.end - run.begin);
    return true;
}

bool wxTTSSimpleHtmlParser::ReadString(wxString& str, bool eatIt)
{
    return Take(StringHere(), eatIt, str);
}

bool wxTTSSimpleHtmlParser::ReadWord(wxString& str, bool eatIt)
{
    return Take(WordHere(), eatIt, str);
}

bool wxTTSSimpleHtmlParser::ReadNumber(wxString& str, bool eatIt)
{
    return Take(NumberHere(), eatIt, str);
}

bool wxTTSSimpleHtmlParser::ReadLiteral(wxString& str, bool eatIt)
{
    return Take(LiteralHere(), eatIt, str);
}

bool wxTTSSimpleHtmlParser::ParseText(wxString& text)
{
    const size_t end = FindChar(Chars(), L'<', Here(), static_cast<size_t>(m_length));
    return Take({true, Here(), end, end}, true, text);
}

bool wxTTSSimpleHtmlParser::ParseComment()
{
    if (IsComment())
        Step(4);
    m_position = static_cast<int>(FindCommentEnd(Chars(), Here(), static_cast<size_t>(m_length)));
    return true;
}

wxTTSSimpleHtmlTag* wxTTSSimpleHtmlParser::ParseDirective()
{
    if (IsDirective())
        Step(2);
    return ParseNamed(wxTTSTagDirective);
}

wxTTSSimpleHtmlTag* wxTTSSimpleHtmlParser::ParseTagHeader()
{
    if (!IsTagStartBracket(GetChar(Here())))
        return nullptr;
    Step(1);
    return ParseNamed(wxTTSTagOpen);
}

// Without a name yet: it is read in place.
wxTTSSimpleHtmlTag* wxTTSSimpleHtmlParser::NewTag(int type)
{
    return new (*m_slabs) wxTTSSimpleHtmlTag(type);
}

// Name and attributes up to the bracket, which goes too.
wxTTSSimpleHtmlTag* wxTTSSimpleHtmlParser::ParseNamed(int type)
{
    wxTTSSimpleHtmlTag* const tag = NewTag(type);
    EatWhitespace(m_position);
    ReadWord(tag->m_name, true);
    EatWhitespace(m_position);
    ParseAttributes(tag);
    EatWhitespace(m_position);
    if (IsTagEndBracket(GetChar(Here())))
        Step(1);
    return tag;
}

// One character goes behind the name whatever it is, even where the document has none left.
wxTTSSimpleHtmlTag* wxTTSSimpleHtmlParser::ParseTagClose()
{
    wxTTSSimpleHtmlTag* const tag = NewTag(wxTTSTagClose);
    if (IsTagClose())
        Step(2);
    EatWhitespace(m_position);
    ReadWord(tag->m_name, true);
    EatWhitespace(m_position);
    Step(1);
    return tag;
}

bool wxTTSSimpleHtmlParser::ParseAttributes(wxTTSSimpleHtmlTag* tag)
{
    while (m_position < m_length && !IsTagEndBracket(GetChar(Here()))) {
        EatWhitespace(m_position);
        ParsePair(tag);
    }
    return true;
}

// A string or a number is a name without a value; a pair without a name is dropped.
void wxTTSSimpleHtmlParser::ParsePair(wxTTSSimpleHtmlTag* tag)
{
    wxString name, value;
    if (ReadString(name, true) || ReadNumber(name, true)) {
        tag->AppendAttribute(name, value);
        return;
    }
    ReadLiteral(name, true);
    EatWhitespace(m_position);
    if (GetChar(Here()) == '=') {
        Step(1);
        EatWhitespace(m_position);
        if (!ReadString(value, true))
            ReadLiteral(value, true);
    }
    if (!name.empty())
        tag->AppendAttribute(name, value);
}

wxTTSSimpleHtmlTag* wxTTSSimpleHtmlParser::ParseEntity()
{
    const size_t begin = Here() + 1;
    const size_t length = static_cast<size_t>(m_length);
    const size_t end = FindChar(Chars(), L';', begin, length);
    wxTTSSimpleHtmlTag* const tag = NewTag(wxTTSTagEntity);
    Take({true, begin, end, std::min(end + 1, length)}, true, tag->m_name);
    return tag;
}

wxTTSSimpleHtmlTag* wxTTSSimpleHtmlParser::ParseTextRun()
{
    wxTTSSimpleHtmlTag* const tag = NewTag(wxTTSTagText);
    tag->m_name.assign(L"TEXT", 4);
    ParseText(tag->m_text);
    return tag;
}

// Null for a comment.
wxTTSSimpleHtmlTag* wxTTSSimpleHtmlParser::ParseNext()
{
    const int ch = GetChar(Here());
    if (!IsTagStartBracket(ch))
        return ch == '&' ? ParseEntity() : ParseTextRun();
    if (IsTagClose())
        return ParseTagClose();
    if (!IsDirective())
        return ParseTagHeader();
    if (!IsComment())
        return ParseDirective();
    ParseComment();
    return nullptr;
}

bool wxTTSSimpleHtmlParser::ParseHtml(wxTTSSimpleHtmlTag* parent)
{
    while (m_position < m_length) {
        EatWhitespace(false);
        if (wxTTSSimpleHtmlTag* const tag = ParseNext())
            parent->AppendTag(tag);
    }
    return true;
}
