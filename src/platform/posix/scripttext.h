// Characters on the way to the synthesizer: code points, what it may not see, UTF-8, entities. MIT licence.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

class wxHtmlEntitiesParser;

namespace qxvoice
{

// The code point at `position` of a text and the wchar_t units it takes, made fit for the synthesizer: control
// characters (it takes some as commands) become blanks, what is no character U+FFFD.
struct CodePoint {
    char32_t value;
    size_t units;
};
CodePoint ReadCodePoint(std::wstring_view text, size_t position);

void AppendUtf8(std::string& out, char32_t character);
std::string ToUtf8(std::wstring_view text);
size_t CountCodePoints(std::string_view utf8);

// Whether it is UTF-8 without control characters, at most 100 bytes, and needs no escape within quotes.
bool IsSafeName(const std::string& name);

// Without regard to the case of ASCII letters.
bool EqualNoCase(std::wstring_view a, std::wstring_view b);
int HexDigit(wchar_t digit); // its value, -1 for none
std::wstring_view TrimBlanks(std::wstring_view text);

// Decodes the named entities of HTML, the five of XML, and numeric ones, all with their semicolon.
class EntityDecoder
{
public:
    EntityDecoder();
    ~EntityDecoder();
    EntityDecoder(const EntityDecoder&) = delete;
    EntityDecoder& operator=(const EntityDecoder&) = delete;

    // The entity at `position`, which holds an '&'. 0 units: no entity begins here.
    CodePoint Read(std::wstring_view text, size_t position);
    // A text with all its entities decoded.
    std::wstring Decode(std::wstring_view text);

private:
    char32_t Named(std::wstring_view name);

    std::unique_ptr<wxHtmlEntitiesParser> m_html; // made for the first name that needs it
};

} // namespace qxvoice
