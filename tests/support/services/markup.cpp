// One pass with a stack of names. MIT licence.
#include "markup.h"

#include <cstdint>
#include <cstdlib>

namespace loopback
{
namespace
{

bool IsWhite(char letter)
{
    return letter == ' ' || letter == '\t' || letter == '\n' || letter == '\r';
}

bool IsNameLetter(char letter, bool first)
{
    const auto code = static_cast<unsigned char>(letter);
    const bool isLetter = (code >= 'a' && code <= 'z') || (code >= 'A' && code <= 'Z') || code >= 0x80;
    if (isLetter || letter == '_' || letter == ':')
        return true;
    return !first && ((code >= '0' && code <= '9') || letter == '-' || letter == '.');
}

void AppendUtf8(std::string& text, unsigned long code)
{
    if (code < 0x80) {
        text += static_cast<char>(code);
        return;
    }
    const int tail = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
    static const unsigned kLead[] = {0, 0xc0, 0xe0, 0xf0};
    text += static_cast<char>(kLead[tail] | code >> (6 * tail));
    for (int at = tail - 1; at >= 0; --at)
        text += static_cast<char>(0x80 | (code >> (6 * at) & 0x3f));
}

bool IsXmlCharacter(unsigned long code)
{
    return code == 9 || code == 10 || code == 13 || (code >= 0x20 && code < 0xd800) ||
           (code >= 0xe000 && code <= 0x10ffff && code != 0xfffe && code != 0xffff);
}

class Reader
{
public:
    explicit Reader(const std::string& text) : m_text(text) {}

    Markup Read()
    {
        if (!IsUtf8(m_text))
            Fail("the text is not UTF-8");
        if (Eat("<?xml"))
            SkipPast("?>");
        while (m_at < m_text.size() && m_result.error.empty())
            ReadPiece();
        if (m_result.error.empty() && (m_result.root.empty() || !m_open.empty()))
            Fail(m_open.empty() ? "there is no element" : "an element is not closed: " + m_open.back());
        return m_result;
    }

private:
    void Fail(const std::string& error)
    {
        if (m_result.error.empty())
            m_result.error = error + " (at byte " + std::to_string(m_at) + ")";
    }
    bool Eat(const std::string& token)
    {
        if (m_text.compare(m_at, token.size(), token) != 0)
            return false;
        m_at += token.size();
        return true;
    }
    std::string SkipPast(const std::string& mark)
    {
        const std::size_t end = m_text.find(mark, m_at);
        if (end == std::string::npos) {
            Fail("there is no " + mark);
            m_at = m_text.size();
            return {};
        }
        const std::string between = m_text.substr(m_at, end - m_at);
        m_at = end + mark.size();
        return between;
    }
    bool SkipWhite()
    {
        const std::size_t before = m_at;
        while (m_at < m_text.size() && IsWhite(m_text[m_at]))
            ++m_at;
        return m_at > before;
    }
    std::string ReadName()
    {
        const std::size_t start = m_at;
        while (m_at < m_text.size() && IsNameLetter(m_text[m_at], m_at == start))
            ++m_at;
        if (m_at == start)
            Fail("a name is missing");
        return m_text.substr(start, m_at - start);
    }
    void ReadPiece()
    {
        if (Eat("<!--"))
            SkipPast("-->");
        else if (Eat("<![CDATA["))
            AddText(SkipPast("]]>"));
        else if (Eat("<?"))
            SkipPast("?>");
        else if (Eat("</"))
            ReadEnd();
        else if (Eat("<"))
            ReadStart();
        else
            ReadText();
    }
    void AddText(const std::string& text)
    {
        if (m_open.empty())
            Fail("text outside of the root element");
        m_result.text += text;
    }
    void ReadText()
    {
        if (m_open.empty()) {
            if (!SkipWhite())
                Fail("text outside of the root element");
            return;
        }
        if (m_text[m_at] == '&')
            m_result.text += ReadEntity();
        else
            m_result.text += m_text[m_at++];
    }
    std::string ReadEntity()
    {
        static const std::pair<const char*, const char*> kEntities[] = {
            {"&amp;", "&"}, {"&lt;", "<"}, {"&gt;", ">"}, {"&apos;", "'"}, {"&quot;", "\""}};
        for (const auto& [name, value] : kEntities)
            if (Eat(name))
                return value;
        if (!Eat("&#")) {
            Fail("an & that begins no entity");
            return {};
        }
        const int base = Eat("x") ? 16 : 10;
        const std::string digits = SkipPast(";");
        char* end = nullptr;
        const unsigned long code = std::strtoul(digits.c_str(), &end, base);
        if (digits.empty() || digits.size() > 8 || *end != '\0' || !IsXmlCharacter(code))
            Fail("a wrong character number");
        std::string character;
        AppendUtf8(character, code);
        return character;
    }
    void ReadAttribute(Attributes& attributes)
    {
        const std::string name = ReadName();
        SkipWhite();
        if (!Eat("="))
            Fail("= is missing");
        SkipWhite();
        const char quote = m_at < m_text.size() ? m_text[m_at] : ' ';
        if (quote != '"' && quote != '\'') {
            Fail("a value without quotes");
            return;
        }
        std::string value;
        for (++m_at; m_result.error.empty() && !Eat(std::string(1, quote));) {
            if (m_at >= m_text.size() || m_text[m_at] == '<')
                Fail("a value that does not end");
            else if (m_text[m_at] == '&')
                value += ReadEntity();
            else
                value += m_text[m_at++];
        }
        if (!attributes.emplace(name, value).second)
            Fail("an attribute twice: " + name);
    }
    void ReadStart()
    {
        const std::string name = ReadName();
        Attributes attributes;
        bool separated = SkipWhite();
        while (m_result.error.empty() && !Eat(">")) {
            if (Eat("/>")) {
                StartElement(name, attributes);
                m_open.pop_back();
                return;
            }
            if (!separated)
                Fail("a blank is missing in " + name);
            ReadAttribute(attributes);
            separated = SkipWhite();
        }
        StartElement(name, attributes);
    }
    void StartElement(const std::string& name, const Attributes& attributes)
    {
        if (m_open.empty() && !m_result.root.empty())
            Fail("a second root element: " + name);
        if (m_result.root.empty()) {
            m_result.root = name;
            m_result.rootAttributes = attributes;
        }
        if (name == "voice")
            m_result.voices.push_back(attributes);
        m_open.push_back(name);
    }
    void ReadEnd()
    {
        const std::string name = ReadName();
        SkipWhite();
        if (!Eat(">"))
            Fail("> is missing");
        if (m_open.empty() || m_open.back() != name)
            Fail("the end of an element that is not open: " + name);
        else
            m_open.pop_back();
    }

    const std::string& m_text;
    std::size_t m_at = 0;
    std::vector<std::string> m_open;
    Markup m_result;
};

} // namespace

Markup ReadMarkup(const std::string& text)
{
    return Reader(text).Read();
}

bool IsUtf8(const std::string& text)
{
    for (std::size_t at = 0; at < text.size();) {
        const auto lead = static_cast<unsigned char>(text[at++]);
        const int tail = lead < 0x80 ? 0 : lead < 0xc2 ? -1 : lead < 0xe0 ? 1 : lead < 0xf0 ? 2 : lead < 0xf5 ? 3 : -1;
        if (tail < 0 || text.size() - at < static_cast<std::size_t>(tail))
            return false;
        std::uint32_t code = tail == 0 ? lead : lead & (0x3fu >> tail);
        for (int step = 0; step < tail; ++step) {
            const auto next = static_cast<unsigned char>(text[at++]);
            if ((next & 0xc0) != 0x80)
                return false;
            code = code << 6 | (next & 0x3fu);
        }
        static const std::uint32_t kLeast[] = {0, 0x80, 0x800, 0x10000};
        if (code < kLeast[tail] || code > 0x10ffff || (code >= 0xd800 && code < 0xe000))
            return false;
    }
    return true;
}

std::size_t CountCharacters(const std::string& text)
{
    std::size_t count = 0;
    for (const char letter : text)
        count += (static_cast<unsigned char>(letter) & 0xc0) != 0x80;
    return count;
}

} // namespace loopback
