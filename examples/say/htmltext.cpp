// Encodings, and text out of the library's conversion. MIT licence.
#include "htmltext.h"
#include "htmltokens.h"

#include <algorithm>
#include <wx/html/htmlpars.h>

namespace say
{
namespace
{

constexpr size_t kProbeBytes = 1024;

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

bool TextOfSapi(const wxString& xml, wxString& text)
{
    const wxString head = "<sapi>\n";
    const wxString tail = "\n</sapi>\n";
    const size_t begin = xml.find(head);
    wxString body;
    if (begin == wxString::npos || !xml.substr(begin + head.length()).EndsWith(tail, &body))
        return false;
    text = wxHtmlEntitiesParser().Parse(body).Trim(true).Trim(false);
    while (text.Replace("\n\n\n", "\n\n") > 0)
        ;
    return true;
}

} // namespace say
