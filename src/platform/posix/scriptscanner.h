// Cuts marked-up text into text runs and tags, and checks that it is well formed. MIT licence.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace qxvoice
{

struct ScriptAttribute {
    std::wstring_view name;  // as written, with its prefix
    std::wstring_view value; // between the quotes, entities as written
};

// One forward pass over a text that outlives the scanner; nothing is copied and nothing recurses. What is neither text
// nor a tag (comments, processing instructions, the document type) is passed over. The caller checks that tags match.
class ScriptScanner
{
public:
    enum class Token { Text, CData, StartTag, EmptyTag, EndTag, End, Malformed };

    ScriptScanner(std::wstring_view source, size_t start) : m_source(source), m_begin(start), m_next(start) {}
    Token Next();

    // Of the last token. A view into the source: text as written, or the tag's name with its prefix.
    std::wstring_view GetText() const { return m_text; }
    size_t GetBegin() const { return m_begin; }
    size_t GetEnd() const { return m_next; }
    // Of the last start or empty tag; valid until the next call.
    const std::vector<ScriptAttribute>& GetAttributes() const { return m_attributes; }

private:
    Token Tag();
    Token EndTag();
    Token Declaration(bool& skipped);
    bool SkipDocumentType();
    bool SkipInstruction();
    bool SkipTo(std::wstring_view end);
    bool Attribute();
    bool AttributesDiffer();
    std::wstring_view Name();
    bool SkipBlanks();
    bool At(std::wstring_view what) const { return m_source.compare(m_next, what.size(), what) == 0; }
    bool AtMarkup(size_t position) const;

    std::wstring_view m_source;
    std::wstring_view m_text;
    std::vector<ScriptAttribute> m_attributes;
    size_t m_begin = 0;
    size_t m_next = 0;
};

bool IsXmlBlank(wchar_t character);

// The part of a name behind its prefix.
std::wstring_view LocalName(std::wstring_view name);

} // namespace qxvoice
