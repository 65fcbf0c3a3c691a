// One pass each over a document. MIT licence.
#include "htmltext.h"

#include <algorithm>
#include <wx/html/htmlpars.h>

namespace say
{
namespace
{

constexpr size_t kProbeBytes = 1024;
constexpr size_t kLongestEntity = 32;

bool IsLetter(wchar_t c)
{
    return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z');
}

bool IsDigit(wchar_t c)
{
    return c >= L'0' && c <= L'9';
}

std::string Lower(std::string bytes)
{
    std::transform(bytes.begin(), bytes.end(), bytes.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return bytes;
}

// The word behind `name`, "=" and perhaps a quote.
std::string ValueOf(const std::string& text, const std::string& name)
{
    for (size_t at = text.find(name); at != std::string::npos; at = text.find(name, at + 1)) {
        size_t begin = text.find_first_not_of(" \t\r\n", at + name.size());
        if (begin == std::string::npos || text[begin] != '=')
            continue;
        begin = text.find_first_not_of(" \t\r\n\"'", begin + 1);
        if (begin == std::string::npos)
            continue;
        const size_t end = text.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-_.:", begin);
        return text.substr(begin, end - begin);
    }
    return std::string();
}

// A "<" in front of the last ">" that a name, a slash with a name, "!" or "?" follows.
bool IsTagAt(const std::wstring& text, size_t at, size_t lastBracket)
{
    if (lastBracket == std::wstring::npos || at + 1 >= lastBracket)
        return false;
    const wchar_t next = text[at + 1];
    return IsLetter(next) || next == L'!' || next == L'?' || (next == L'/' && IsLetter(text[at + 2]));
}

// Characters of the entity that begins here; 0 for none.
size_t EntityLength(const std::wstring& text, size_t at)
{
    size_t end = at + 1;
    if (end < text.size() && text[end] == L'#')
        ++end;
    const size_t name = end;
    while (end < text.size() && end - at < kLongestEntity && (IsLetter(text[end]) || IsDigit(text[end])))
        ++end;
    return end > name && end < text.size() && text[end] == L';' ? end + 1 - at : 0;
}

// Whether an element of that lower-case name begins or, with "/" in front, ends at a "<".
bool IsElementAt(const std::wstring& text, size_t at, const std::wstring& name)
{
    for (size_t i = 0; i < name.size(); ++i) {
        const size_t position = at + 1 + i;
        if (position >= text.size() || (text[position] | 0x20) != (name[i] | 0x20))
            return false;
    }
    const size_t end = at + 1 + name.size();
    return end < text.size() && !IsLetter(text[end]) && !IsDigit(text[end]);
}

// Elements whose text does not belong to what stands in front. The conversion parts only paragraphs, headings, line
// breaks and whole lists; before one of the others a line has to be begun.
struct BlockElement {
    const wchar_t* name;
    bool needsLine;
};
const BlockElement kBlockElements[] = {
    {L"li", true},      {L"td", true},      {L"th", true},         {L"tr", true},      {L"dt", true},
    {L"dd", true},      {L"div", true},     {L"section", true},    {L"article", true}, {L"h6", true},
    {L"hr", true},      {L"pre", true},     {L"blockquote", true}, {L"p", false},      {L"br", false},
    {L"ul", false},     {L"ol", false},     {L"dl", false},        {L"table", false},  {L"tbody", false},
    {L"thead", false},  {L"tfoot", false},  {L"caption", false},   {L"h1", false},     {L"h2", false},
    {L"h3", false},     {L"h4", false},     {L"h5", false},        {L"html", false},   {L"head", false},
    {L"body", false},   {L"title", false},  {L"meta", false},      {L"link", false},   {L"main", false},
    {L"header", false}, {L"footer", false}, {L"nav", false},       {L"aside", false},  {L"figure", false},
    {L"form", false},   {L"script", false}, {L"style", false},
};

const BlockElement* BlockElementAt(const std::wstring& text, size_t at)
{
    const size_t name = at + 1 < text.size() && text[at + 1] == L'/' ? at + 1 : at;
    for (const BlockElement& element : kBlockElements) {
        if (IsElementAt(text, name, element.name))
            return &element;
    }
    return nullptr;
}

bool IsBlank(wchar_t c)
{
    return c == L' ' || c == L'\t' || c == L'\n' || c == L'\r';
}

// The position behind a script or style element that begins at a "<", or `at`. One that is never closed reaches to the
// end, as browsers have it.
size_t BehindProgramText(const std::wstring& text, size_t at)
{
    for (const wchar_t* name : {L"script", L"style"}) {
        if (!IsElementAt(text, at, name))
            continue;
        size_t end = text.find(L"</", at);
        while (end != std::wstring::npos && !IsElementAt(text, end, std::wstring(L"/") + name))
            end = text.find(L"</", end + 2);
        const size_t close = end == std::wstring::npos ? end : text.find(L'>', end);
        return close == std::wstring::npos ? text.size() : close + 1;
    }
    return at;
}

// One pass over a document.
class Tidier
{
public:
    explicit Tidier(const std::wstring& text) : m_text(text), m_lastBracket(text.rfind(L'>')) {}

    wxString Run()
    {
        m_out.reserve(m_text.size() + m_text.size() / 16);
        for (size_t at = 0; at < m_text.size();)
            at = Step(at);
        return wxString(m_out);
    }

private:
    // Copies or replaces what stands at a position; the next position.
    size_t Step(size_t at)
    {
        const wchar_t c = m_text[at];
        if (c == L'<')
            return Bracket(at);
        if (c == L'&' && EntityLength(m_text, at) == 0) {
            m_out += L"&amp;";
            m_lineHasText = true;
            return at + 1;
        }
        if (c == L'&' && m_text.compare(at, 6, L"&apos;") == 0) { // newer than the library's table of entities
            m_out += L"&#39;";
            return at + 6;
        }
        if (IsBlank(c) && at > 0 && m_text[at - 1] == L'>')
            return BlanksBehindTag(at);
        m_out += c;
        if (c == L'>')
            m_inTag = false;
        else
            m_lineHasText = m_lineHasText || (!m_inTag && !IsBlank(c));
        return at + 1;
    }

    size_t Bracket(size_t at)
    {
        if (!IsTagAt(m_text, at, m_lastBracket)) {
            m_out += L"&lt;";
            return at + 1;
        }
        const BlockElement* const block = BlockElementAt(m_text, at);
        m_behindBlock = block != nullptr;
        const size_t behind = BehindProgramText(m_text, at);
        if (behind != at)
            return behind;
        if (block && block->needsLine && m_text[at + 1] != L'/' && m_lineHasText)
            m_out += L"<br>";
        m_lineHasText = m_lineHasText && !block;
        m_inTag = true;
        m_out += L'<';
        return at + 1;
    }

    // The conversion drops blanks ahead of a tag, and those with a line end last: between words they have to stay.
    size_t BlanksBehindTag(size_t at)
    {
        size_t end = at;
        while (end < m_text.size() && IsBlank(m_text[end]))
            ++end;
        const bool tagFollows = end < m_text.size() && m_text[end] == L'<';
        if (m_behindBlock || end == m_text.size() || (tagFollows && BlockElementAt(m_text, end)))
            m_out.append(m_text, at, end - at);
        else
            m_out += tagFollows ? L"&nbsp;" : L" ";
        return end;
    }

    const std::wstring& m_text;
    const size_t m_lastBracket;
    bool m_behindBlock = true; // the latest tag is a block element's
    bool m_lineHasText = false;
    bool m_inTag = false;
    std::wstring m_out;
};

} // namespace

std::string FindDeclaredCharset(const std::string& bytes)
{
    const std::string probe = Lower(bytes.substr(0, kProbeBytes));
    const size_t declarationEnd = probe.compare(0, 5, "<?xml") == 0 ? probe.find("?>") : std::string::npos;
    const std::string declared =
        declarationEnd == std::string::npos ? std::string() : ValueOf(probe.substr(0, declarationEnd), "encoding");
    return declared.empty() ? ValueOf(probe, "charset") : declared;
}

bool HasMarkup(const wxString& text)
{
    const std::wstring& characters = text.ToStdWstring();
    const size_t lastBracket = characters.rfind(L'>');
    for (size_t at = characters.find_first_of(L"<&"); at != std::wstring::npos;
         at = characters.find_first_of(L"<&", at + 1))
        if (characters[at] == L'<' ? IsTagAt(characters, at, lastBracket) : EntityLength(characters, at) > 0)
            return true;
    return false;
}

wxString TidyHtml(const wxString& html)
{
    return Tidier(html.ToStdWstring()).Run();
}

bool TextOfSapi(const wxString& xml, wxString& text)
{
    const wxString head = "<sapi>\n";
    const wxString tail = "\n</sapi>\n";
    const size_t begin = xml.find(head);
    wxString body;
    if (begin == wxString::npos || !xml.substr(begin + head.length()).EndsWith(tail, &body))
        return false;
    text = wxHtmlEntitiesParser().Parse(body).Trim(true).Trim(false);
    return true;
}

} // namespace say
