// Cuts an HTML document into tags and the text between them, as browsers do. MIT licence.
#ifndef QXSPEECH_EXAMPLES_SAY_HTMLTOKENS_H
#define QXSPEECH_EXAMPLES_SAY_HTMLTOKENS_H

#include <cstddef>
#include <set>
#include <string>

namespace say
{

struct HtmlToken {
    enum class Kind { kText, kStart, kEnd, kDone };
    Kind kind = Kind::kDone;
    std::wstring text; // of kText, entities decoded; of the tags the name in lower case
};

// One forward pass, in time by the length of the document, which outlives this object. Comments, declarations,
// attributes and the text of scripts, styles, frames and titles are passed over. A "<" that begins no tag is text, and
// so is an "&" that begins no entity. Where an end is missing (of a quote, a comment, a title) the next ">" does, so
// that no slip of the author's makes the rest of a document vanish; a script that is never closed reaches to the end.
class HtmlTokens
{
public:
    explicit HtmlTokens(const std::wstring& text) : m_text(text), m_lastBracket(text.rfind(L'>')) {}

    HtmlToken Next();

private:
    HtmlToken Text();
    HtmlToken Literal(size_t end, bool decoded);
    HtmlToken Tag();
    bool SkipNoTag();
    size_t FindTagEnd(size_t at);
    size_t FindOnce(const wchar_t* mark, size_t from);
    size_t FindClose(const std::wstring& name);
    void SkipContent(const std::wstring& name);

    const std::wstring& m_text;
    const size_t m_lastBracket;
    size_t m_at = 0;
    size_t m_literalEnd = 0;        // up to here the text holds no tags
    size_t m_quotesFrom = 0;        // before it quotes of attributes are not looked at: one of them is never closed
    std::set<std::wstring> m_never; // what has been searched for in vain: it comes nowhere in the rest
};

// Whether a "<" begins a tag, a comment or a declaration. lastBracket: where the text's last ">" is.
bool IsTagAt(const std::wstring& text, size_t at, size_t lastBracket);

// Characters of what looks like a whole entity at an "&"; 0 for none.
size_t EntityLength(const std::wstring& text, size_t at);

// Named and numeric entities become characters; unknown ones stay as they are. Latin-1's names need no semicolon.
std::wstring DecodeEntities(const std::wstring& text);

} // namespace say

#endif
