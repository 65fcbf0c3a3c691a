// What a browser sets apart becomes paragraphs, lines or commas; inline elements leave no trace. MIT licence.
#include "htmltext.h"
#include "htmltokens.h"

#include <cwchar>

namespace say
{
namespace
{

enum class Element { Inline, Object, Block, Cell, Line, Item, OrderedList, BulletList, Heading, Preformatted };

Element FindElement(const std::wstring& name)
{
    static const struct {
        const wchar_t* names; // each between blanks
        Element element;
    } kElements[] = {
        {L" address article aside blockquote body button caption center col colgroup datalist dd details dialog div dl "
         L"dt fieldset figcaption figure footer form frame frameset h6 head header hgroup hr html legend link main "
         L"meta "
         L"nav noframes optgroup option p search section select summary table tbody tfoot thead title tr ",
         Element::Block},
        {L" audio canvas embed iframe img input math noscript object script style svg template textarea video ",
         Element::Object},
        {L" td th ", Element::Cell},
        {L" br ", Element::Line},
        {L" li ", Element::Item},
        {L" ol ", Element::OrderedList},
        {L" dir menu ul ", Element::BulletList},
        {L" h1 h2 h3 h4 h5 ", Element::Heading},
        {L" listing plaintext pre xmp ", Element::Preformatted},
    };
    const std::wstring word = L' ' + name + L' ';
    for (const auto& row : kElements)
        if (std::wcsstr(row.names, word.c_str()))
            return row.element;
    return Element::Inline;
}

bool IsSpokenBlank(wchar_t c)
{
    return c == L' ' || (c >= L'\t' && c <= L'\r') || c == L'\u00A0';
}

// Behind these a voice pauses by itself, or is to go on.
bool NeedsNoComma(wchar_t c)
{
    static const std::wstring kSigns = L".,:;!?-/|\u2013\u2014\u2026\u060C\u061B\u061F\u0964\u3001\u3002\uFF01\uFF0C"
                                       L"\uFF0E\uFF1A\uFF1B\uFF1F";
    return kSigns.find(c) != std::wstring::npos;
}

// Walks along a document and writes a paragraph at a time.
class Tidier
{
public:
    explicit Tidier(const WordFilter& filter) : m_filter(filter) {}

    wxString Run(const std::wstring& html)
    {
        HtmlTokens tokens(html);
        HtmlToken token = tokens.Next();
        for (; token.kind != HtmlToken::Kind::kDone; token = tokens.Next()) {
            if (token.kind == HtmlToken::Kind::kText)
                AddText(token.text);
            else
                AddTag(token.text, token.kind == HtmlToken::Kind::kStart);
        }
        EndItem();
        return wxString(m_out);
    }

private:
    // What stands between two words, the strongest last.
    enum class Gap { None, Blank, Cell, PlainLine, Line };

    void AddText(const std::wstring& text);
    void AddTag(const std::wstring& name, bool isStart);
    void AddList(const wchar_t* name, bool isStart);
    void AddLine(Gap gap);
    void Widen(Gap gap) { m_gap = m_gap < gap ? gap : m_gap; }
    void WriteGap();
    void EndItem();
    void EndParagraph();
    void WriteWords();

    const WordFilter& m_filter;
    std::wstring m_out;
    std::wstring m_words; // of the paragraph, lines parted by "\n"
    Gap m_gap = Gap::None;
    wchar_t m_heading = L'\0'; // the level's digit
    bool m_isItem = false;     // the number of an item comes next
    int m_preformatted = 0;    // such elements that are open
};

void Tidier::AddText(const std::wstring& text)
{
    for (const wchar_t c : text) {
        if (c == L'\n' && m_preformatted > 0)
            AddLine(Gap::PlainLine);
        else if (IsSpokenBlank(c))
            Widen(Gap::Blank);
        else if (c != L'\u00AD') { // a place where a word may be cut, no character of it
            WriteGap();
            m_words += c;
        }
    }
}

void Tidier::WriteGap()
{
    const Gap gap = m_words.empty() ? Gap::None : m_gap;
    m_gap = Gap::None;
    if (gap == Gap::None)
        return;
    if ((gap == Gap::Cell || gap == Gap::Line) && !NeedsNoComma(m_words.back()))
        m_words += L',';
    m_words += gap < Gap::PlainLine ? L' ' : L'\n';
}

void Tidier::AddLine(Gap gap)
{
    if (m_gap < Gap::PlainLine)
        Widen(gap);
    else
        EndParagraph(); // an empty line
}

void Tidier::AddTag(const std::wstring& name, bool isStart)
{
    const Element element = FindElement(name);
    switch (element) {
    case Element::Inline:
        return;
    case Element::Object:
        return Widen(Gap::Blank);
    case Element::Cell:
        return Widen(Gap::Cell);
    case Element::Line:
        return AddLine(Gap::Line);
    case Element::OrderedList:
        return AddList(L"ol", isStart);
    case Element::BulletList:
        return AddList(L"ul", isStart);
    case Element::Block:
        return EndParagraph();
    case Element::Item:
        EndItem();
        m_isItem = isStart;
        return;
    case Element::Heading:
        EndParagraph();
        m_heading = isStart ? name[1] : L'\0';
        return;
    case Element::Preformatted:
        EndParagraph();
        m_preformatted += isStart ? 1 : m_preformatted > 0 ? -1 : 0;
        return;
    }
}

void Tidier::AddList(const wchar_t* name, bool isStart)
{
    EndItem();
    m_out += isStart ? L"<" : L"</";
    m_out += name;
    m_out += L'>';
}

// An item without words counts, too.
void Tidier::EndItem()
{
    EndParagraph();
    if (m_isItem)
        m_out += L"<p><li></p>";
    m_isItem = false;
}

// A heading goes on where nothing of it has come yet.
void Tidier::EndParagraph()
{
    m_gap = Gap::None;
    if (m_words.empty())
        return;
    const std::wstring name = m_heading ? std::wstring(L"h") + m_heading : std::wstring(L"p");
    m_out += L'<' + name + (m_isItem ? L"><li>" : L">");
    WriteWords();
    m_out += L"</" + name + L'>';
    m_words.clear();
    m_heading = L'\0';
    m_isItem = false;
}

void Tidier::WriteWords()
{
    for (const wchar_t c : m_filter ? m_filter(m_words) : m_words) {
        if (c == L'\n')
            m_out += L"<br>";
        else if (c == L'&' || c == L'<' || c == L'>')
            m_out += L"&#" + std::to_wstring(static_cast<int>(c)) + L';';
        else
            m_out += c;
    }
}

bool StartsWith(const std::wstring& text, const char* beginning)
{
    return wxString(text.substr(0, 16)).Lower().StartsWith(beginning);
}

} // namespace

wxString TidyHtml(const wxString& html, const WordFilter& filter)
{
    return Tidier(filter).Run(html.ToStdWstring());
}

InputForm FindInputForm(const wxString& text)
{
    const std::wstring document = wxString(text).Trim(false).ToStdWstring();
    HtmlTokens tokens(document);
    HtmlToken first = tokens.Next();
    if (document.empty() || document[0] != L'<')
        return InputForm::kText;
    while (first.kind == HtmlToken::Kind::kText && first.text.find_first_not_of(L" \t\r\n") == std::wstring::npos)
        first = tokens.Next();
    const bool isTag = first.kind == HtmlToken::Kind::kStart;
    if (isTag && first.text == L"speak")
        return InputForm::kSsml;
    if (StartsWith(document, "<!doctype html") || (isTag && FindElement(first.text) != Element::Inline))
        return InputForm::kHtml;
    return StartsWith(document, "<?xml") || (isTag && first.text == L"sapi") ? InputForm::kNative : InputForm::kText;
}

} // namespace say
