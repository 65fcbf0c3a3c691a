// Tags, attributes and what is passed over. MIT licence.
#include "platform/posix/scriptscanner.h"

#include <algorithm>

namespace qxvoice
{
namespace
{

// Beyond ASCII, what may begin a name. Arrows and other symbols may not, so "<-" and "<3" remain text.
bool IsNameStart(wchar_t character)
{
    struct Range {
        char32_t first, last;
    };
    static const Range ranges[] = {{0xC0, 0xD6},     {0xD8, 0xF6},     {0xF8, 0x2FF},    {0x370, 0x37D},
                                   {0x37F, 0x1FFF},  {0x200C, 0x200D}, {0x2070, 0x218F}, {0x2C00, 0x2FEF},
                                   {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF}};
    const auto code = static_cast<char32_t>(character);
    if (code < 0x80)
        return (code >= 'a' && code <= 'z') || (code >= 'A' && code <= 'Z');
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [code](const Range& range) { return code >= range.first && code <= range.last; });
}

bool IsNameCharacter(wchar_t character)
{
    return IsNameStart(character) || (character >= L'0' && character <= L'9') || character == L'-' ||
           character == L'_' || character == L'.' || character == L':' || character == 0xB7 ||
           (character >= 0x300 && character <= 0x36F) || character == 0x203F || character == 0x2040;
}

} // namespace

bool IsXmlBlank(wchar_t character)
{
    return character == L' ' || character == L'\t' || character == L'\n' || character == L'\r';
}

std::wstring_view LocalName(std::wstring_view name)
{
    const size_t colon = name.rfind(L':');
    return colon == std::wstring_view::npos ? name : name.substr(colon + 1);
}

ScriptScanner::Token ScriptScanner::Next()
{
    m_attributes.clear();
    for (;;) {
        m_begin = m_next;
        m_text = {};
        if (m_next >= m_source.size())
            return Token::End;
        if (!AtMarkup(m_next)) {
            do {
                m_next = std::min(m_source.find(L'<', m_next + 1), m_source.size());
            } while (m_next < m_source.size() && !AtMarkup(m_next));
            m_text = m_source.substr(m_begin, m_next - m_begin);
            return Token::Text;
        }
        const wchar_t kind = m_source[m_next + 1];
        if (kind == L'/')
            return EndTag();
        if (kind != L'!' && kind != L'?')
            return Tag();
        bool skipped = false;
        const Token token = kind == L'!' ? Declaration(skipped) : Token::Malformed;
        if (kind == L'?')
            skipped = SkipInstruction();
        if (!skipped)
            return token;
    }
}

bool ScriptScanner::AtMarkup(size_t position) const
{
    if (m_source[position] != L'<' || position + 1 >= m_source.size())
        return false;
    const wchar_t next = m_source[position + 1];
    return next == L'/' || next == L'!' || next == L'?' || IsNameStart(next);
}

ScriptScanner::Token ScriptScanner::Declaration(bool& skipped)
{
    static constexpr std::wstring_view cdata = L"<![CDATA[";
    if (At(L"<!--")) {
        m_next += 4;
        skipped = SkipTo(L"-->");
    } else if (At(cdata)) {
        const size_t start = m_next + cdata.size();
        m_next = start;
        if (!SkipTo(L"]]>"))
            return Token::Malformed;
        m_begin = start;
        m_text = m_source.substr(start, m_next - 3 - start);
        return Token::CData;
    } else if (At(L"<!DOCTYPE")) {
        skipped = SkipDocumentType();
    }
    return Token::Malformed;
}

// Brackets of the internal subset do not nest; quotes, comments and instructions in it may hold any bracket.
bool ScriptScanner::SkipDocumentType()
{
    bool subset = false;
    for (m_next += 2; m_next < m_source.size();) {
        const wchar_t character = m_source[m_next];
        if (character == L'"' || character == L'\'') {
            ++m_next;
            if (!SkipTo(m_source.substr(m_next - 1, 1)))
                return false;
        } else if (subset && At(L"<!--")) {
            m_next += 4;
            if (!SkipTo(L"-->"))
                return false;
        } else if (subset && At(L"<?")) {
            if (!SkipInstruction())
                return false;
        } else {
            ++m_next;
            if (character == L'[' || character == L']')
                subset = character == L'[';
            else if (character == L'>' && !subset)
                return true;
        }
    }
    return false;
}

bool ScriptScanner::SkipInstruction()
{
    m_next += 2;
    return SkipTo(L"?>");
}

bool ScriptScanner::SkipTo(std::wstring_view end)
{
    const size_t found = m_source.find(end, m_next);
    if (found == std::wstring_view::npos)
        return false;
    m_next = found + end.size();
    return true;
}

ScriptScanner::Token ScriptScanner::EndTag()
{
    m_next += 2;
    m_text = Name();
    SkipBlanks();
    if (m_text.empty() || !At(L">"))
        return Token::Malformed;
    ++m_next;
    return Token::EndTag;
}

ScriptScanner::Token ScriptScanner::Tag()
{
    ++m_next;
    m_text = Name();
    for (;;) {
        const bool blanks = SkipBlanks();
        const bool empty = At(L"/>");
        if (empty || At(L">")) {
            m_next += empty ? 2 : 1;
            if (!AttributesDiffer())
                return Token::Malformed;
            return empty ? Token::EmptyTag : Token::StartTag;
        }
        if (!blanks || !Attribute())
            return Token::Malformed;
    }
}

bool ScriptScanner::Attribute()
{
    const std::wstring_view name = Name();
    SkipBlanks();
    if (name.empty() || !At(L"="))
        return false;
    ++m_next;
    SkipBlanks();
    if (!At(L"\"") && !At(L"'"))
        return false;
    const size_t start = ++m_next;
    if (!SkipTo(m_source.substr(start - 1, 1)))
        return false;
    m_attributes.push_back({name, m_source.substr(start, m_next - 1 - start)});
    return true;
}

bool ScriptScanner::AttributesDiffer()
{
    if (m_attributes.size() < 2)
        return true;
    const auto less = [](const ScriptAttribute& a, const ScriptAttribute& b) { return a.name < b.name; };
    const auto same = [](const ScriptAttribute& a, const ScriptAttribute& b) { return a.name == b.name; };
    std::sort(m_attributes.begin(), m_attributes.end(), less);
    return std::adjacent_find(m_attributes.begin(), m_attributes.end(), same) == m_attributes.end();
}

std::wstring_view ScriptScanner::Name()
{
    const size_t start = m_next;
    if (m_next < m_source.size() && (IsNameStart(m_source[m_next]) || m_source[m_next] == L'_'))
        while (m_next < m_source.size() && IsNameCharacter(m_source[m_next]))
            ++m_next;
    return m_source.substr(start, m_next - start);
}

bool ScriptScanner::SkipBlanks()
{
    const size_t start = m_next;
    while (m_next < m_source.size() && IsXmlBlank(m_source[m_next]))
        ++m_next;
    return m_next > start;
}

} // namespace qxvoice
