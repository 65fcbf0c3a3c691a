// Code points, UTF-8 and entities. MIT licence.
#include "platform/posix/scripttext.h"

#include <algorithm>
#include <cstdint>

#include <wx/html/htmlpars.h>

#include "platform/posix/scriptscanner.h"

namespace qxvoice
{
namespace
{

constexpr char32_t kReplacement = 0xFFFD;
constexpr size_t kLongestEntity = 32;

char32_t Fit(char32_t code)
{
    if (code < 0x20)
        return code == '\t' || code == '\n' || code == '\r' ? code : ' ';
    if (code >= 0x7F && code < 0xA0)
        return ' ';
    const bool surrogate = code >= 0xD800 && code < 0xE000;
    return surrogate || code > 0x10FFFF || (code & 0xFFFE) == 0xFFFE ? kReplacement : code;
}

wchar_t Lower(wchar_t character)
{
    return character >= L'A' && character <= L'Z' ? static_cast<wchar_t>(character + 32) : character;
}

// Digits of "#233" or "#xE9". False if it is no number.
bool ReadNumber(std::wstring_view name, char32_t& value)
{
    const bool hex = name.size() > 1 && Lower(name[1]) == L'x';
    const std::wstring_view digits = name.substr(hex ? 2 : 1);
    const int base = hex ? 16 : 10;
    uint32_t code = 0;
    for (const wchar_t digit : digits) {
        const int number = HexDigit(digit);
        if (number < 0 || number >= base)
            return false;
        code = std::min<uint32_t>(code * static_cast<uint32_t>(base) + static_cast<uint32_t>(number), 0x110000);
    }
    value = Fit(code);
    return !digits.empty();
}

} // namespace

CodePoint ReadCodePoint(std::wstring_view text, size_t position)
{
    const auto code = static_cast<char32_t>(text[position]);
    if (code >= 0xD800 && code < 0xDC00 && position + 1 < text.size()) {
        const auto low = static_cast<char32_t>(text[position + 1]);
        if (low >= 0xDC00 && low < 0xE000)
            return {Fit(0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00)), 2};
    }
    return {Fit(code), 1};
}

void AppendUtf8(std::string& out, char32_t character)
{
    const auto tail = [character](int shift) { return static_cast<char>(0x80 | ((character >> shift) & 0x3F)); };
    if (character < 0x80) {
        out += static_cast<char>(character);
    } else if (character < 0x800) {
        out += static_cast<char>(0xC0 | (character >> 6));
        out += tail(0);
    } else if (character < 0x10000) {
        out += static_cast<char>(0xE0 | (character >> 12));
        out += tail(6);
        out += tail(0);
    } else {
        out += static_cast<char>(0xF0 | (character >> 18));
        out += tail(12);
        out += tail(6);
        out += tail(0);
    }
}

std::string ToUtf8(std::wstring_view text)
{
    std::string out;
    for (size_t i = 0; i < text.size();) {
        const CodePoint point = ReadCodePoint(text, i);
        AppendUtf8(out, point.value);
        i += point.units;
    }
    return out;
}

size_t CountCodePoints(std::string_view utf8)
{
    const auto begins = [](char unit) { return (static_cast<unsigned char>(unit) & 0xC0) != 0x80; };
    return static_cast<size_t>(std::count_if(utf8.begin(), utf8.end(), begins));
}

bool IsSafeName(const std::string& name)
{
    constexpr size_t longest = 100;
    if (name.empty() || name.size() > longest || wxString::FromUTF8(name.data(), name.size()).empty())
        return false;
    return std::none_of(name.begin(), name.end(), [](char unit) {
        return (unit >= 0 && unit < 0x20) || unit == '"' || unit == '<' || unit == '>' || unit == '&';
    });
}

bool EqualNoCase(std::wstring_view a, std::wstring_view b)
{
    const auto same = [](wchar_t x, wchar_t y) { return Lower(x) == Lower(y); };
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), same);
}

int HexDigit(wchar_t digit)
{
    if (digit >= L'0' && digit <= L'9')
        return static_cast<int>(digit - L'0');
    const wchar_t lower = Lower(digit);
    return lower >= L'a' && lower <= L'f' ? static_cast<int>(lower - L'a') + 10 : -1;
}

std::wstring_view TrimBlanks(std::wstring_view text)
{
    while (!text.empty() && IsXmlBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsXmlBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

EntityDecoder::EntityDecoder() = default;
EntityDecoder::~EntityDecoder() = default;

CodePoint EntityDecoder::Read(std::wstring_view text, size_t position)
{
    const std::wstring_view rest = text.substr(position + 1, kLongestEntity);
    const size_t length = rest.find(L';');
    if (length == std::wstring_view::npos || length == 0)
        return {0, 0};
    const std::wstring_view name = rest.substr(0, length);
    char32_t value = 0;
    if (name.front() == L'#') {
        if (!ReadNumber(name, value))
            return {0, 0};
    } else {
        value = Named(name);
    }
    return {value, value ? length + 2 : 0};
}

char32_t EntityDecoder::Named(std::wstring_view name)
{
    static const struct {
        std::wstring_view name;
        char32_t value;
    } common[] = {{L"amp", '&'}, {L"lt", '<'}, {L"gt", '>'}, {L"quot", '"'}, {L"apos", '\''}};
    for (const auto& entity : common)
        if (entity.name == name)
            return entity.value;
    const auto isLetterOrDigit = [](wchar_t c) {
        return (c >= L'0' && c <= L'9') || (Lower(c) >= L'a' && Lower(c) <= L'z');
    };
    if (!std::all_of(name.begin(), name.end(), isLetterOrDigit))
        return 0;
    // The table counts itself at its first use, without a lock: let that happen here, once.
    static const wxChar counted = wxHtmlEntitiesParser().GetEntityChar("amp");
    if (!counted)
        return 0;
    if (!m_html)
        m_html = std::make_unique<wxHtmlEntitiesParser>();
    const wxChar found = m_html->GetEntityChar(wxString(name.data(), name.size()));
    return found ? Fit(static_cast<char32_t>(found)) : 0;
}

std::wstring EntityDecoder::Decode(std::wstring_view text)
{
    std::wstring out;
    for (size_t i = 0; i < text.size();) {
        const CodePoint entity = text[i] == L'&' ? Read(text, i) : CodePoint{0, 0};
        out += entity.units ? static_cast<wchar_t>(entity.value) : text[i];
        i += entity.units ? entity.units : 1;
    }
    return out;
}

} // namespace qxvoice
