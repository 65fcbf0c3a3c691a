// The generator is a plain linear congruence, so that every standard library makes the same book. MIT licence.
#include "support/book_html.h"

namespace
{

const char* const kWords[] = {"the",   "a",    "of",     "and",    "river",   "evening", "house", "window", "she",
                              "he",    "said", "walked", "slowly", "through", "garden",  "light", "under",  "old",
                              "table", "when", "never",  "again",  "letter",  "morning", "quiet", "voice",  "along"};
const char* const kWideWords[] = {"caf\xc3\xa9",
                                  "na\xc3\xafve",
                                  "Stra\xc3\x9f"
                                  "e",
                                  "\xd0\xbc\xd0\xb8\xd1\x80",
                                  "\xe8\xaa\x9e",
                                  "\xf0\x9f\x93\x96"};
const char* const kEntities[] = {"&amp;", "&nbsp;", "&mdash;", "&eacute;", "&#8217;", "&quot;", "&lt;", "&hellip;"};
const char* const kInline[] = {"b", "i", "em", "strong", "span"};
const char* const kMalformed[] = {
    "<p class=\"open>",       "<b><i>never closed", "a < b and c > d ", "</p junk>", "<td 12 \"x\" width=5>",
    "<!-- one <!-- two --> ", "<a href='x y'>",     "AT&T & Co ",       "</>",       "<1 2>",
    "<![CDATA[x]]>"};

template <size_t N>
const char* Pick(const char* const (&list)[N], size_t number)
{
    return list[number % N];
}

class Book
{
public:
    explicit Book(const BookHtml& book) : m_book(book), m_state(book.seed) {}

    std::string Make()
    {
        m_text.reserve(m_book.bytes + 4096);
        m_text = "<?xml version=\"1.0\"?>\n<!DOCTYPE html>\n<html lang=\"en\">\n<head><title>A Book</title>\n"
                 "<style>p { margin: 0 1em; } h1 > b { color: red; }</style></head>\n<body>\n";
        while (m_text.size() < m_book.bytes)
            Element();
        return m_text + "</body>\n</html>\n";
    }

private:
    size_t Random(size_t below)
    {
        m_state = m_state * 1664525U + 1013904223U;
        return (m_state >> 8) % below;
    }

    void Element()
    {
        const size_t kind = Random(40);
        if (kind == 0)
            Chapter();
        else if (kind < 2)
            List(1 + Random(3));
        else if (kind < 3)
            Table();
        else if (kind < 5)
            Aside();
        else if (kind == 5 && m_book.malformed)
            m_text += std::string(Pick(kMalformed, Random(100))) + "\n";
        else
            Paragraph();
    }

    void Words(size_t count)
    {
        for (size_t i = 0; i < count; ++i) {
            const size_t chance = Random(100);
            if (chance < 2)
                m_text += Pick(kEntities, Random(100));
            else if (chance < 4 && !m_book.ascii)
                m_text += Pick(kWideWords, Random(100));
            else
                m_text += Pick(kWords, Random(100));
            m_text += i + 1 < count ? (chance > 95 ? ", " : " ") : "";
        }
    }

    void Chapter()
    {
        const std::string number = std::to_string(++m_chapter);
        m_text += "<h1 id=\"chapter" + number + "\" class=\"chapter\">Chapter " + number + ": ";
        Words(4);
        m_text += "</h1>\n<hr/>\n";
    }

    void Sentence()
    {
        Words(7 + Random(14));
        if (Random(12) == 0) {
            const std::string name = Pick(kInline, Random(100));
            m_text += " <" + name + ">";
            Words(1 + Random(3));
            m_text += "</" + name + ">";
        }
        if (Random(40) == 0)
            m_text += " <a href=\"notes.html#n" + std::to_string(Random(1000)) + "\" title=\"A > B\">note</a>";
        m_text += ". ";
    }

    void Paragraph()
    {
        m_text += Random(4) == 0 ? "<p class=\"first\" align=left>" : "<p>";
        for (size_t i = 2 + Random(8); i > 0; --i)
            Sentence();
        m_text += Random(6) == 0 ? "<br>\n&nbsp;</p>\n" : "</p>\n";
    }

    void List(size_t depth)
    {
        m_text += Random(2) ? "<ul>\n" : "<ol start=\"3\">\n";
        const size_t items = 2 + Random(4);
        for (size_t i = 0; i < items; ++i) {
            m_text += "  <li>";
            Words(3 + Random(6));
            if (depth > 1 && i == 0)
                List(depth - 1);
            m_text += "</li>\n";
        }
        m_text += "</ul>\n";
    }

    void Table()
    {
        m_text += "<table border=1 summary=\"figures\">\n";
        for (size_t row = 2 + Random(4); row > 0; --row) {
            m_text += "<tr>";
            for (size_t cell = 0; cell < 4; ++cell) {
                m_text += "<td>";
                Words(1 + Random(2));
                m_text += "</td>";
            }
            m_text += "</tr>\n";
        }
        m_text += "</table>\n";
    }

    void Aside()
    {
        switch (Random(3)) {
        case 0:
            m_text += "<script type=\"text/javascript\">if (a && b > 2) { say(\"page " + std::to_string(Random(500)) +
                      "\"); }</script>\n";
            break;
        case 1:
            m_text += "<!-- page " + std::to_string(Random(500)) + ": -- checked > twice -->\n";
            break;
        default:
            m_text += "<blockquote>";
            Words(30);
            m_text += "</blockquote>\n<img src=\"plate.png\" alt=\"a plate\"/>\n";
            break;
        }
    }

    const BookHtml m_book;
    std::uint32_t m_state;
    size_t m_chapter = 0;
    std::string m_text;
};

} // namespace

std::string MakeBookHtml(const BookHtml& book)
{
    return Book(book).Make();
}
