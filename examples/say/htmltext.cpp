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
    const std::wstring& text = html.ToStdWstring();
    const size_t lastBracket = text.rfind(L'>');
    std::wstring escaped;
    escaped.reserve(text.size() + text.size() / 16);
    for (size_t at = 0; at < text.size(); ++at) {
        const size_t behind = text[at] == L'<' ? BehindProgramText(text, at) : at;
        if (behind != at) {
            at = behind - 1;
        } else if (text[at] == L'<' && !IsTagAt(text, at, lastBracket)) {
            escaped += L"&lt;";
        } else if (text[at] == L'&' && EntityLength(text, at) == 0) {
            escaped += L"&amp;";
        } else if (text.compare(at, 6, L"&apos;") == 0) { // newer than the library's table of entities
            escaped += L"&#39;";
            at += 5;
        } else {
            escaped += text[at];
        }
    }
    return wxString(escaped);
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
