// The scanner, and the entities that it decodes. MIT licence.
#include "htmltokens.h"

#include <algorithm>
#include <cstdint>
#include <cwchar>
#include <wx/html/htmlpars.h>

namespace say
{
namespace
{

constexpr size_t kNone = std::wstring::npos;
constexpr size_t kLongestEntity = 32;
constexpr size_t kLongestOldName = 6; // of those without a semicolon

bool IsLetter(wchar_t c)
{
    return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z');
}

bool IsDigit(wchar_t c)
{
    return c >= L'0' && c <= L'9';
}

bool IsMarkupBlank(wchar_t c)
{
    return c == L' ' || c == L'\t' || c == L'\n' || c == L'\r' || c == L'\f';
}

wchar_t Lower(wchar_t c)
{
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
}

bool IsNameEnd(wchar_t c)
{
    return IsMarkupBlank(c) || c == L'/' || c == L'>';
}

// The name of the tag whose name begins here, in lower case.
std::wstring NameAt(const std::wstring& text, size_t at)
{
    std::wstring name;
    for (; at < text.size() && !IsNameEnd(text[at]); ++at)
        name += Lower(text[at]);
    return name;
}

bool IsNameAt(const std::wstring& text, size_t at, const std::wstring& name)
{
    if (at + name.size() >= text.size() || !IsNameEnd(text[at + name.size()]))
        return false;
    return std::equal(name.begin(), name.end(), text.begin() + static_cast<std::ptrdiff_t>(at),
                      [](wchar_t a, wchar_t b) { return a == Lower(b); });
}

// Windows' characters stand where Latin-1 has none, as authors mean it. What is no character is a blank.
wchar_t CharacterOf(std::uint32_t code)
{
    static const wchar_t kWindows[] =
        L"\u20AC \u201A\u0192\u201E\u2026\u2020\u2021\u02C6\u2030\u0160\u2039\u0152 \u017D "
        L" \u2018\u2019\u201C\u201D\u2022\u2013\u2014\u02DC\u2122\u0161\u203A\u0153 "
        L"\u017E\u0178";
    if (code >= 0x80 && code < 0xA0)
        return kWindows[code - 0x80];
    const bool valid = code >= 0x20 && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF) && code != 0x7F;
    return valid ? static_cast<wchar_t>(code) : L' ';
}

// The number behind "&#"; 0 characters long without a digit.
size_t NumberAt(const std::wstring& text, size_t at, wchar_t& character)
{
    const bool isHex = at + 2 < text.size() && Lower(text[at + 2]) == L'x';
    const size_t begin = at + (isHex ? 3 : 2);
    size_t end = begin;
    std::uint32_t code = 0;
    for (; end < text.size(); ++end) {
        const wchar_t c = Lower(text[end]);
        if (!IsDigit(c) && !(isHex && c >= L'a' && c <= L'f'))
            break;
        const auto digit = static_cast<std::uint32_t>(IsDigit(c) ? c - L'0' : c - L'a' + 10);
        code = std::min<std::uint32_t>(code * (isHex ? 16 : 10) + digit, 0x110000);
    }
    if (end == begin)
        return 0;
    character = CharacterOf(code);
    return end + (end < text.size() && text[end] == L';') - at;
}

wchar_t CharacterNamed(const std::wstring& name)
{
    static const wxHtmlEntitiesParser kEntities;
    static const struct {
        const wchar_t* name;
        wchar_t character;
    } kNewer[] = {{L"apos", L'\''}, {L"AMP", L'&'},       {L"LT", L'<'},
                  {L"GT", L'>'},    {L"COPY", L'\u00A9'}, {L"QUOT", L'"'}}; // than the table of wxWidgets
    for (const auto& row : kNewer)
        if (name == row.name)
            return row.character;
    return kEntities.GetEntityChar(name);
}

// Characters of the entity that begins at an "&", 0 for none.
size_t EntityAt(const std::wstring& text, size_t at, wchar_t& character)
{
    if (at + 1 < text.size() && text[at + 1] == L'#')
        return NumberAt(text, at, character);
    size_t end = at + 1;
    while (end < text.size() && end - at < kLongestEntity && (IsLetter(text[end]) || IsDigit(text[end])))
        ++end;
    std::wstring name = text.substr(at + 1, end - at - 1);
    if (end < text.size() && text[end] == L';' && (character = CharacterNamed(name)) != 0)
        return name.size() + 2;
    for (name.resize(std::min(name.size(), kLongestOldName)); name.size() > 1; name.pop_back()) {
        character = CharacterNamed(name);
        if (character && character <= 0xFF)
            return name.size() + 1;
    }
    return 0;
}

} // namespace

bool IsTagAt(const std::wstring& text, size_t at, size_t lastBracket)
{
    if (lastBracket == kNone || at + 1 >= lastBracket)
        return false;
    const wchar_t next = text[at + 1];
    return IsLetter(next) || next == L'!' || next == L'?' || (next == L'/' && IsLetter(text[at + 2]));
}

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

std::wstring DecodeEntities(const std::wstring& text)
{
    std::wstring decoded;
    decoded.reserve(text.size());
    for (size_t at = 0; at < text.size();) {
        wchar_t character = text[at];
        const size_t length = character == L'&' ? EntityAt(text, at, character) : 0;
        decoded += length > 0 ? character : text[at];
        at += std::max<size_t>(length, 1);
    }
    return decoded;
}

HtmlToken HtmlTokens::Next()
{
    while (m_at < m_text.size()) {
        if (m_at < m_literalEnd)
            return Literal(m_literalEnd, true);
        if (m_text[m_at] != L'<' || !IsTagAt(m_text, m_at, m_lastBracket))
            return Text();
        if (m_text.compare(m_at, 9, L"<![CDATA[") == 0 && FindOnce(L"]]>", m_at) != kNone) {
            m_at += 9;
            const size_t end = m_text.find(L"]]>", m_at);
            HtmlToken token = Literal(end, false);
            m_at = end + 3;
            return token;
        }
        if (!SkipNoTag())
            return Tag();
    }
    return HtmlToken();
}

// Up to the next tag.
HtmlToken HtmlTokens::Text()
{
    size_t end = m_text.find(L'<', m_at + 1);
    while (end != kNone && !IsTagAt(m_text, end, m_lastBracket))
        end = m_text.find(L'<', end + 1);
    return Literal(std::min(end, m_text.size()), true);
}

HtmlToken HtmlTokens::Literal(size_t end, bool decoded)
{
    const std::wstring text = m_text.substr(m_at, end - m_at);
    m_at = end;
    return {HtmlToken::Kind::kText, decoded ? DecodeEntities(text) : text};
}

// The position of a mark from a place on, npos without one, which is remembered.
size_t HtmlTokens::FindOnce(const wchar_t* mark, size_t from)
{
    if (m_never.count(mark))
        return kNone;
    const size_t at = m_text.find(mark, from);
    if (at == kNone)
        m_never.insert(mark);
    return at;
}

// Moves behind a comment or a declaration; false at a tag.
bool HtmlTokens::SkipNoTag()
{
    const wchar_t next = m_text[m_at + 1];
    if (next != L'!' && next != L'?')
        return false;
    size_t end = kNone;
    if (m_text.compare(m_at, 4, L"<!--") == 0) {
        end = FindOnce(L"-->", m_at + 2);
        end = end == kNone ? end : end + 2;
    }
    m_at = (end == kNone ? m_text.find(L'>', m_at) : end) + 1;
    return true;
}

// The ">" that ends the tag of which a name begins here. Quotes count behind "=" alone.
size_t HtmlTokens::FindTagEnd(size_t at)
{
    const size_t first = m_text.find(L'>', at);
    if (at < m_quotesFrom)
        return first;
    wchar_t before = 0; // the last character that is no blank
    for (; at < m_text.size() && m_text[at] != L'>'; ++at) {
        const wchar_t c = m_text[at];
        if (before == L'=' && (c == L'"' || c == L'\'')) {
            const size_t close = m_text.find(c, at + 1);
            if (close == kNone) {
                m_quotesFrom = at + 1;
                return first;
            }
            at = close;
        }
        before = IsMarkupBlank(c) ? before : c;
    }
    if (at < m_text.size())
        return at;
    m_quotesFrom = at;
    return first;
}

HtmlToken HtmlTokens::Tag()
{
    const bool isEnd = m_text[m_at + 1] == L'/';
    const size_t begin = m_at + (isEnd ? 2 : 1);
    const size_t end = FindTagEnd(begin);
    HtmlToken token{isEnd ? HtmlToken::Kind::kEnd : HtmlToken::Kind::kStart, NameAt(m_text, begin)};
    m_at = end + 1;
    if (!isEnd && m_text[end - 1] != L'/')
        SkipContent(token.text);
    return token;
}

// The "<" of the closing tag, npos without one.
size_t HtmlTokens::FindClose(const std::wstring& name)
{
    if (m_never.count(name))
        return kNone;
    size_t at = m_text.find(L"</", m_at);
    while (at != kNone && !IsNameAt(m_text, at + 2, name))
        at = m_text.find(L"</", at + 2);
    if (at == kNone)
        m_never.insert(name);
    return at;
}

// Some elements hold text that is no markup: most of them nobody is to hear.
void HtmlTokens::SkipContent(const std::wstring& name)
{
    const bool isProgram = name == L"script" || name == L"style";
    if (!isProgram && name != L"iframe" && name != L"title" && name != L"textarea")
        return;
    const size_t close = FindClose(name);
    if (name == L"textarea")
        m_literalEnd = close == kNone ? 0 : close;
    else if (close != kNone || isProgram)
        m_at = std::min(close, m_text.size());
}

} // namespace say
