// The HTML parser: what documents become, tags by hand, writing, files. MIT licence.
#include "speech/ttshtmlparser.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <new>
#include <vector>

#include <wx/log.h>
#include <wx/mstream.h>

#include "support/book_html.h"
#include "support/log_capture.h"
#include "support/scratch_dir.h"

namespace
{

using Tag = wxTTSSimpleHtmlTag;

wxString Utf8(const char* text)
{
    return wxString::FromUTF8(text);
}

// One tag as a letter for its type, its name or text, and [name=value] for each attribute.
wxString Describe(const Tag& tag)
{
    static const char kTypes[] = "Ttocde";
    wxString text(kTypes[tag.GetType()], 1);
    text += ":" + (tag.GetType() == wxTTSTagText ? tag.GetText() : tag.GetName());
    for (const auto* attribute = tag.GetFirstAttribute(); attribute; attribute = attribute->GetNextAttribute())
        text += "[" + attribute->GetName() + "=" + attribute->GetValue() + "]";
    return text;
}

wxString Describe(const wxTTSSimpleHtmlParser& parser)
{
    wxString text;
    for (const Tag* tag = parser.GetTopLevelTag()->GetChildren(); tag; tag = tag->GetNext()) {
        text += (text.empty() ? "" : "|") + Describe(*tag);
        EXPECT_EQ(tag->GetParent(), parser.GetTopLevelTag());
        EXPECT_EQ(tag->GetChildren(), nullptr);
        EXPECT_EQ(tag->GetType() == wxTTSTagText, tag->GetName() == "TEXT");
    }
    return text;
}

wxString Parsed(const wxString& html)
{
    wxTTSSimpleHtmlParser parser;
    EXPECT_TRUE(parser.ParseString(html));
    return Describe(parser);
}

// What a tag or an attribute writes, as bytes.
template <class Written>
std::string Bytes(const Written& written)
{
    wxMemoryOutputStream stream;
    written.Write(stream);
    std::string bytes(stream.GetSize(), '\0');
    stream.CopyTo(&bytes[0], bytes.size());
    return bytes;
}

template <class Written>
wxString WrittenText(const Written& written)
{
    const std::string bytes = Bytes(written);
    return wxString(bytes.data(), wxMBConvUTF16LE(), bytes.size());
}

std::string FileBytes(const std::string& name)
{
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

int TopLevelTags(const wxString& html)
{
    wxTTSSimpleHtmlParser parser;
    EXPECT_TRUE(parser.ParseString(html));
    int count = 0;
    for (const wxTTSSimpleHtmlTag* tag = parser.GetTopLevelTag()->GetChildren(); tag; tag = tag->GetNext())
        ++count;
    return count;
}

wxString Repeated(const wxString& unit, size_t count)
{
    std::wstring text;
    for (size_t i = 0; i < count; ++i)
        text += unit.ToStdWstring();
    return text;
}

} // namespace

TEST(HtmlParser, DocumentsBecomeAFlatChain)
{
    struct Row {
        const char* label;
        const char* html;
        const char* chain;
    };
    const Row rows[] = {
        {"nothing", "", ""},
        {"nested tags stay siblings", "<ul><li>a</li></ul>", "o:ul|o:li|T:a|c:li|c:ul"},
        {"case of names is kept", "<P>Hi</p>", "o:P|T:Hi|c:p"},
        {"blanks ahead of text shrink to one", "<p>  Hello  </p>", "o:p|T: Hello  |c:p"},
        {"last blank behind a line feed", "<p>\n  Hello", "o:p|T: Hello"},
        {"line feed ends the blanks", "<p>  \nHello", "o:p|T:Hello"},
        {"tab and carriage return are blanks", "<p>\r\tHello", "o:p|T:\tHello"},
        {"form feed is none", "<p> \fHello", "o:p|T: \fHello"},
        {"blanks between tags go", "<b>   </b>", "o:b|c:b"},
        {"blanks alone", "   ", "T: "},
        {"line feed at the end", "<p>\n", "o:p|T:"},
        {"blank at the end", "<p> ", "o:p|T: "},
        {"ampersand within text", "Tom &amp; Jerry", "T:Tom &amp; Jerry"},
        {"ampersand behind a blank", "<p> &amp; Jerry", "o:p|T: &amp; Jerry"},
        {"entity behind a tag", "<p>&amp; Jerry", "o:p|e:amp|T: Jerry"},
        {"entity behind an entity, a comment, a line feed", "&a;&b;<!-- -->&c;\n&d;", "e:a|e:b|e:c|e:d"},
        {"entity at the end", "&copy", "e:copy"},
        {"entity without its semicolon", "&x <b>y", "e:x <b>y"},
        {"entity without a name", "&;", "e:"},
        {"lone ampersand at the end", "&", "e:"},
        {"slash is an attribute", "<br/>", "o:br[/=]"},
        {"slash behind a blank", "<br />", "o:br[/=]"},
        {"bracket within a value", "<a href=\"x>y\">", "o:a[href=x>y]"},
        {"single quotes do not quote", "<a title='x y'>", "o:a[title='x][y'=]"},
        {"value without a name", "<a = b>", "o:a"},
        {"no value", "<a href=>", "o:a[href=]"},
        {"blanks around the sign", "<a\n href \t=\r\n\"v\" >x", "o:a[href=v]|T:x"},
        {"numbers and strings as names", "<td 12 \"x\" width=5>", "o:td[12=][x=][width=5]"},
        {"empty string as name", "<td \"\">", "o:td[=]"},
        {"number ahead of letters", "<td 12px -x>", "o:td[12=][px=][-=][x=]"},
        {"second sign", "<a x==b>", "o:a[x=]"},
        {"quote within a literal", "<a x=b\"c d\">", "o:a[x=b\"c][d\"=]"},
        {"equal names stay apart", "<a x=1 X=2>", "o:a[x=1][X=2]"},
        {"processing instruction", "<?xml version=\"1.0\"?>", "o:[?xml=][version=1.0][?=]"},
        {"directive", "<!DOCTYPE html>", "d:DOCTYPE[html=]"},
        {"marked section", "<![CDATA[x]]>", "d:[[CDATA[x]]=]"},
        {"brackets in text", "a < b and c > d", "T:a |o:b[and=][c=]|T: d"},
        {"tag of numbers", "<1 2>", "o:[1=][2=]"},
        {"words with sign, dot and underscore", "<a-b.c_d9 x>", "o:a-b.c_d9[x=]"},
        {"name ends at other characters", "<o:p>", "o:o[:p=]"},
        {"closing tag steps over one character", "</ul junk>", "c:ul|T:unk>"},
        {"closing tag without a name", "</>x", "c:|T:x"},
        {"closing tag without an end", "</p", "c:p"},
        {"closing tag of nothing", "</", "c:"},
        {"tag of nothing", "<", "o:"},
        {"directive of nothing", "<!", "d:"},
        {"tag without an end", "<p class=\"x", "o:p[class=x]"},
        {"value ends with the document", "<p class=", "o:p[class=]"},
        {"tag within a tag", "<p <b>x", "o:p[<b=]|T:x"},
        {"comment", "a<!-- <p> -- > --->b", "T:a|T:b"},
        {"dashes of the opening do not close", "<!-->x", ""},
        {"shortest comment", "<!---->x", "T:x"},
        {"comment without an end", "<p><!-- never closed", "o:p"},
        {"blanks behind a comment", "<!---->  x", "T: x"},
        {"script text is text", "<script>if (a && b) x();</script>", "o:script|T:if (a && b) x();|c:script"},
        {"letters beyond ASCII", "<\xc3\xa9t\xc3\xa9>\xe8\xaa\x9e</\xd0\x96>",
         "o:\xc3\xa9t\xc3\xa9|T:\xe8\xaa\x9e|c:\xd0\x96"},
        {"no letters beyond ASCII", "<\xe2\x82\xac x>", "o:[\xe2\x82\xac=][x=]"},
        {"digits beyond ASCII are no digits", "<p\xd9\xa3 \xd9\xa3>", "o:p\xd9\xa3[\xd9\xa3=]"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Parsed(Utf8(row.html)), Utf8(row.chain)) << row.label;
}

TEST(HtmlParser, NulAndOutOfRangeCharactersAreOrdinary)
{
    const wxString odd(L"<p x\0=\xFFFFFFFF>a\0\xFFFFFFFF<b>", 14);
    wxTTSSimpleHtmlParser parser;
    parser.ParseString(odd);
    const Tag* const open = parser.GetTopLevelTag()->GetChildren();
    EXPECT_EQ(open->GetFirstAttribute()->GetName(), wxString(L"x\0", 2));
    EXPECT_EQ(open->GetFirstAttribute()->GetValue().length(), 1u);
    EXPECT_EQ(open->GetNext()->GetText().length(), 3u);
    EXPECT_EQ(parser.GetTopLevelTag()->GetChildCount(), 3);
}

TEST(HtmlParser, ParsingAgainReplacesTheTreeAndClearEmpties)
{
    wxTTSSimpleHtmlParser parser;
    EXPECT_EQ(parser.GetTopLevelTag(), nullptr);
    EXPECT_TRUE(Bytes(parser).empty());
    parser.ParseString("<a><b>");
    parser.ParseString("<c>text");
    EXPECT_EQ(Describe(parser), "o:c|T:text");
    EXPECT_TRUE(parser.GetTopLevelTag()->NameIs("TOPLEVEL"));
    EXPECT_EQ(parser.GetTopLevelTag()->GetType(), wxTTSTagTopLevel);
    parser.ParseString(parser.GetTopLevelTag()->GetChild(1)->GetText());
    EXPECT_EQ(Describe(parser), "T:text");
    parser.Clear();
    EXPECT_EQ(parser.GetTopLevelTag(), nullptr);
    EXPECT_TRUE(parser.Eof());
    EXPECT_EQ(parser.GetChar(0), -1);
}

TEST(HtmlParser, StepsReadAtThePositionAndMoveOnlyWhenAsked)
{
    wxTTSSimpleHtmlParser parser;
    parser.ParseString("word-1._ \"quoted\" 12.5x =<!--c--><!D></p>");
    wxString text = "+";
    parser.SetPosition(0);
    EXPECT_FALSE(parser.ReadString(text, true) || parser.ReadNumber(text, true) || parser.IsString());
    EXPECT_TRUE(parser.IsWord() && parser.ReadWord(text, false) && parser.ReadWord(text, true));
    EXPECT_EQ(text, "+word-1._word-1._");
    EXPECT_EQ(parser.GetChar(8), ' ');
    int position = 8;
    EXPECT_TRUE(parser.EatWhitespace(position) && parser.EatWhitespace(true));
    EXPECT_EQ(position, 9);
    text.clear();
    EXPECT_TRUE(parser.IsString() && parser.ReadString(text, true));
    EXPECT_EQ(text, "quoted");
    EXPECT_TRUE(parser.EatWhitespace(true) && parser.ReadNumber(text, true) && parser.ReadLiteral(text, true));
    EXPECT_EQ(text, "quoted12.5x");
    EXPECT_TRUE(parser.EatWhitespace(true) && parser.ReadLiteral(text, true));
    EXPECT_EQ(text, "quoted12.5x");
    EXPECT_TRUE(parser.Matches("=", true) && parser.IsComment() && parser.IsDirective() && !parser.IsTagClose());
    EXPECT_TRUE(parser.ParseComment() && parser.IsDirective() && !parser.IsComment());
    EXPECT_EQ(Describe(*std::unique_ptr<Tag>(parser.ParseDirective())), "d:D");
    EXPECT_TRUE(parser.IsTagClose());
    EXPECT_EQ(Describe(*std::unique_ptr<Tag>(parser.ParseTagClose())), "c:p");
    EXPECT_TRUE(parser.Eof());
}

TEST(HtmlParser, MatchesIgnoresCaseAndStopsAtTheEnd)
{
    wxTTSSimpleHtmlParser parser;
    parser.ParseString(Utf8("\xc3\x89T\xc3\x89x"));
    parser.SetPosition(0);
    EXPECT_TRUE(parser.Matches(Utf8("\xc3\xa9t\xc3\xa9X"), false));
    EXPECT_FALSE(parser.Matches(Utf8("\xc3\xa9t\xc3\xa9xx"), true));
    EXPECT_TRUE(parser.Matches("", true));
    EXPECT_TRUE(parser.Matches(Utf8("\xc3\x89t"), true) && parser.Matches(Utf8("\xc3\xa9X"), true));
    EXPECT_TRUE(parser.Eof());
    EXPECT_FALSE(parser.Eof(3));
}

TEST(HtmlParser, PositionsOutsideTheDocumentReadAsItsEnd)
{
    for (const int position : {-1, -2147483647 - 1, 4, 5, 2147483647}) {
        wxTTSSimpleHtmlParser parser;
        parser.ParseString("<p>x");
        parser.SetPosition(position);
        wxString text;
        EXPECT_FALSE(parser.ReadWord(text, true) || parser.ReadString(text, true) || parser.ReadNumber(text, true));
        EXPECT_FALSE(parser.Matches("<", true) || parser.IsComment() || parser.ParseTagHeader());
        EXPECT_TRUE(parser.EatWhitespace(false) && parser.ReadLiteral(text, true) && text.empty());
        parser.SetPosition(position);
        const std::unique_ptr<Tag> close(parser.ParseTagClose());
        EXPECT_EQ(close->GetType(), wxTTSTagClose);
        parser.SetPosition(position);
        EXPECT_TRUE(parser.ParseHtml(parser.GetTopLevelTag()) && parser.Eof()) << position;
    }
}

TEST(HtmlTag, AppendingGoesBehindTheLastWhateverWasRelinked)
{
    const std::unique_ptr<Tag> owned(new (std::nothrow) Tag("t", wxTTSTagOpen));
    Tag& tag = *owned;
    for (const char* const name : {"a", "b", "c"})
        tag.AppendAttribute(name, "1");
    std::unique_ptr<wxTTSSimpleHtmlAttribute> c(tag.GetAttribute(2));
    tag.GetAttribute(1)->SetNextAttribute(nullptr);
    c.reset();
    tag.AppendAttribute("d", "2");
    EXPECT_EQ(Describe(tag), "o:t[a=1][b=1][d=2]");
    wxTTSSimpleHtmlAttribute* const extra = new wxTTSSimpleHtmlAttribute("e", "");
    tag.GetAttribute(2)->SetNextAttribute(extra);
    tag.AppendAttribute("f", "");
    EXPECT_EQ(tag.GetAttributeCount(), 5);
    wxTTSSimpleHtmlAttribute* const list = tag.GetFirstAttribute();
    tag.SetFirstAttribute(nullptr);
    tag.AppendAttribute("alone", "");
    EXPECT_EQ(Describe(tag), "o:t[alone=]");
    tag.ClearAttributes();
    tag.SetFirstAttribute(list);
    tag.AppendAttribute("g", "");
    EXPECT_EQ(Describe(tag), "o:t[a=1][b=1][d=2][e=][f=][g=]");
    // Assignment brings the other's next along.
    const wxTTSSimpleHtmlAttribute single("s", "");
    std::vector<std::unique_ptr<wxTTSSimpleHtmlAttribute>> cut;
    for (auto* attribute = list->GetNextAttribute(); attribute; attribute = attribute->GetNextAttribute())
        cut.emplace_back(attribute);
    *list = single;
    cut.clear();
    tag.AppendAttribute("h", "");
    EXPECT_EQ(Describe(tag), "o:t[s=][h=]");
}

TEST(HtmlTag, ChildrenAreAppendedAfterTheChainWasMoved)
{
    Tag first("first", wxTTSTagOpen);
    Tag second("second", wxTTSTagOpen);
    for (const char* const name : {"a", "b"})
        first.AppendTag(new Tag(name, wxTTSTagOpen));
    second.SetChildren(first.GetChildren());
    EXPECT_EQ(second.GetChild(0)->GetParent(), &first);
    second.AppendTag(new Tag("c", wxTTSTagOpen));
    first.AppendTag(new Tag("d", wxTTSTagOpen));
    EXPECT_EQ(second.GetChildCount(), 4);
    EXPECT_EQ(second.GetChild(2)->GetParent(), &second);
    EXPECT_EQ(second.GetChild(3)->GetName(), "d");
    EXPECT_EQ(second.GetChild(4), nullptr);
    EXPECT_EQ(second.GetChild(-1), nullptr);
    first.SetChildren(nullptr);
    first.AppendTag(new Tag("e", wxTTSTagOpen));
    EXPECT_EQ(first.GetChildCount(), 1);
    second.ClearChildren();
    EXPECT_EQ(second.GetChildren(), nullptr);
    second.AppendTag(new Tag("f", wxTTSTagOpen));
    EXPECT_EQ(second.GetChildCount(), 1);
}

TEST(HtmlTag, NamesAndValuesCompareWithoutCaseInEveryLocale)
{
    wxTTSSimpleHtmlParser parser;
    parser.ParseString(Utf8("<\xc3\x89T\xc3\x89 \xd0\x96=\xc3\x84 x=1 X=2>a<b>b</\xc3\xa9t\xc3\xa9>c<i><I id=3>"));
    Tag* const tag = parser.GetTopLevelTag()->GetChildren();
    EXPECT_TRUE(tag->NameIs(Utf8("\xc3\xa9t\xc3\xa9")));
    EXPECT_FALSE(tag->NameIs(Utf8("\xc3\xa9t")));
    EXPECT_TRUE(tag->HasAttribute(Utf8("\xd0\xb6"), Utf8("\xc3\xa4")));
    EXPECT_FALSE(tag->HasAttribute(Utf8("\xd0\xb6"), "a"));
    EXPECT_TRUE(tag->HasAttribute("X", "1"));
    EXPECT_FALSE(tag->HasAttribute("X", "2")) << "the first of a name decides";
    wxString value = "untouched";
    EXPECT_FALSE(tag->GetAttributeValue(value, "none"));
    EXPECT_EQ(value, "untouched");
    EXPECT_TRUE(tag->GetAttributeValue(value, "X"));
    EXPECT_EQ(value, "1");
    EXPECT_EQ(tag->FindTag(tag->GetName(), ""), parser.GetTopLevelTag()->GetChild(4)) << "itself is not looked at";
    EXPECT_EQ(tag->FindTag("i", ""), parser.GetTopLevelTag()->GetChild(6));
    EXPECT_EQ(tag->FindTag("i", "ID"), parser.GetTopLevelTag()->GetChild(7));
    EXPECT_EQ(tag->FindTag("i", "none"), nullptr);
    wxString text = "+";
    EXPECT_TRUE(tag->FindTextUntilTagClose(text, Utf8("\xc3\x89t\xc3\xa9")));
    EXPECT_EQ(text, "+ab");
    EXPECT_TRUE(tag->FindTextUntilTagClose(text, "none"));
    EXPECT_EQ(text, "+ababc");
    EXPECT_EQ(parser.GetTopLevelTag()->GetTagText(), "abc");
    EXPECT_EQ(tag->GetTagText(), "");
}

TEST(HtmlTag, WritesUtf16LittleEndianWithoutMark)
{
    Tag text("TEXT", wxTTSTagText);
    text.SetText(wxString(L"a\u00e9\U0001F4D6"));
    EXPECT_EQ(Bytes(text), std::string("a\0\xe9\0\x3d\xd8\xd6\xdc", 8));
    const wxTTSSimpleHtmlAttribute attribute("n", "\"");
    EXPECT_EQ(Bytes(attribute), std::string("n\0=\0\"\0\"\0\"\0", 10));
}

TEST(HtmlTag, WritesEachTypeAndTheTreeInOrder)
{
    wxTTSSimpleHtmlParser parser;
    parser.ParseString("<!X><!DOCTYPE html a=1><p>a &amp; b<!-- gone --></p>&lt;<br/><a x=\"\" y=\"1 2\">");
    EXPECT_EQ(WrittenText(parser), "<!X >\n<!DOCTYPE html a=\"1\">\n<p>\na &amp; b</p>\n&lt;<br />\n<a x y=\"1 2\">\n");
    Tag unknown("none", 77);
    unknown.AppendTag(new Tag("a", wxTTSTagOpen));
    unknown.GetChildren()->AppendTag(new Tag("b", wxTTSTagOpen));
    unknown.GetChildren()->GetChildren()->AppendTag(new Tag("c", wxTTSTagClose));
    unknown.AppendTag(new Tag("d", wxTTSTagEntity));
    EXPECT_EQ(WrittenText(unknown), "<a>\n<b>\n</c>\n&d;");
}

TEST(HtmlParser, ReadingWhatWasWrittenGivesTheSameTags)
{
    BookHtml book;
    book.malformed = false;
    wxTTSSimpleHtmlParser parser;
    parser.ParseString(Utf8(MakeBookHtml(book).c_str()));
    const wxString chain = Describe(parser);
    EXPECT_GT(parser.GetTopLevelTag()->GetChildCount(), 1000);
    EXPECT_EQ(Parsed(WrittenText(parser)), chain);
}

TEST(HtmlParser, TagsTakenOverOutliveTheirParser)
{
    std::unique_ptr<Tag> kept(new Tag("kept", wxTTSTagTopLevel));
    std::unique_ptr<Tag> step;
    {
        wxTTSSimpleHtmlParser parser;
        parser.ParseString(Utf8(MakeBookHtml(BookHtml()).c_str()));
        step.reset(parser.ParseTagClose());
        kept->SetChildren(parser.GetTopLevelTag()->GetChildren());
        parser.GetTopLevelTag()->SetChildren(nullptr);
    }
    const int count = kept->GetChildCount();
    kept->AppendTag(step.release());
    kept->AppendTag(new Tag("own", wxTTSTagOpen));
    EXPECT_EQ(kept->GetChildCount(), count + 2);
    EXPECT_EQ(kept->GetChild(count + 1)->GetName(), "own");
}

// A way that rescans or rebuilds at each step does not end in time.
TEST(HtmlParser, LongDocumentsComeThroughWhole)
{
    struct Row {
        const char* label;
        const char* head;
        const char* unit;
    };
    const Row rows[] = {
        {"entities", "", "&amp;"},
        {"attributes", "<a ", "b=1 "},
        {"comment without an end", "<!--", "- --x"},
        {"quote without an end", "<a x=\"", "a b>"},
        {"text", "", "a & b;"},
        {"blanks", "", " \t\n"},
        {"sibling tags", "", "<br>"},
        {"opening brackets", "", "<"},
        {"ampersands within text", "x", "&"},
        {"comments without an end, each", "", "<!-"},
    };
    for (const Row& row : rows) {
        const int once = TopLevelTags(row.head + Repeated(row.unit, 50000));
        const int tenfold = TopLevelTags(row.head + Repeated(row.unit, 500000));
        EXPECT_TRUE(tenfold == once || tenfold == 10 * once) << row.label << ": " << once << ", " << tenfold;
    }
}

TEST(HtmlTag, DepthAndLengthOfTreesNeedNoStack)
{
    constexpr int kCount = 300000;
    Tag root("root", wxTTSTagTopLevel);
    Tag* deepest = &root;
    for (int i = 0; i < kCount; ++i) {
        Tag* const child = new Tag("d", wxTTSTagOpen);
        deepest->AppendTag(child);
        deepest = child;
    }
    deepest->AppendTag(new Tag("TEXT", wxTTSTagText));
    deepest->GetChildren()->SetText("deep");
    for (int i = 0; i < kCount; ++i)
        root.AppendTag(new Tag("s", wxTTSTagOpen));
    EXPECT_EQ(root.GetTagText(), "deep");
    EXPECT_EQ(Bytes(root).size(), 2u * (4u * 2u * kCount + 4u));
    root.ClearChildren();
    EXPECT_EQ(root.GetChildCount(), 0);
}

TEST(HtmlParser, FilesAreReadInTheEncodingAskedFor)
{
    struct Row {
        const char* label;
        std::string bytes;
        const char* encoding;
        bool read;
        const char* text;
    };
    const Row rows[] = {
        {"UTF-8 by default", "<p>\xc3\xa9", "", true, "o:p|T:\xc3\xa9"},
        {"empty file", "", "", true, ""},
        {"not UTF-8", "<p>ordinary text and \xe9", "", false, ""},
        {"not UTF-8, short", "\xe9", "", false, ""},
        {"broken off within a character", "<p>ordinary text \xc3", "UTF-8", false, ""},
        {"Latin-1", "<p>\xe9", "ISO-8859-1", true, "o:p|T:\xc3\xa9"},
        {"Windows", "<p>\x80", "windows-1252", true, "o:p|T:\xe2\x82\xac"},
        {"UTF-16", std::string("<\0p\0>\0\xe9\0", 8), "UTF-16LE", true, "o:p|T:\xc3\xa9"},
        {"odd number of bytes", std::string("<\0p\0>\0\xe9\0x", 9), "UTF-16LE", false, ""},
        {"unknown encoding", "<p>x", "no-such-encoding", false, ""},
        {"line ends of all kinds", "a\r\nb\rc\nd\r\r\n\n", "", true, "T:a\nb\nc\nd\n\n"},
        {"one line end is lost", "<p>\r\n", "", true, "o:p"},
        {"NUL in the middle", std::string("a\0b\n", 4), "", true, nullptr},
    };
    const ScratchDir scratch;
    const std::string name = scratch / "\xd0\xba\xd0\xbd\xd0\xb8\xd0\xb3\xd0\xb0.html";
    for (const Row& row : rows) {
        std::ofstream(name, std::ios::binary) << row.bytes;
        wxTTSSimpleHtmlParser parser;
        parser.ParseString("<before>");
        EXPECT_EQ(parser.ParseFile(Utf8(name.c_str()), row.encoding), row.read) << row.label;
        const wxString expected = row.text ? Utf8(row.text) : wxString(L"T:a\0b", 5);
        EXPECT_EQ(Describe(parser), row.read ? expected : wxString("o:before")) << row.label;
    }
}

TEST(HtmlParser, FilesThatCannotBeReadOrWrittenAreRefused)
{
    const LogCapture log;
    const ScratchDir scratch;
    wxTTSSimpleHtmlParser parser;
    parser.ParseString("<kept>");
    EXPECT_FALSE(parser.ParseFile(Utf8((scratch / "none.html").c_str()), ""));
    EXPECT_FALSE(parser.ParseFile(Utf8(scratch.Path().c_str()), "")) << "a folder";
    EXPECT_EQ(Describe(parser), "o:kept");
    wxString name = Utf8((scratch / "none/out.html").c_str());
    EXPECT_FALSE(parser.WriteFile(name));
    name = "/dev/full";
    EXPECT_FALSE(parser.WriteFile(name));
    ASSERT_EQ(log.records.size(), 4u);
    for (const LogCapture::Record& record : log.records)
        EXPECT_TRUE(record.text.StartsWith("Could not ")) << record.text;
}

TEST(HtmlParser, WriteFileWritesTheTreeAndAnEmptyFileWithoutOne)
{
    const ScratchDir scratch;
    wxString name = Utf8((scratch / "out.html").c_str());
    wxTTSSimpleHtmlParser parser;
    EXPECT_TRUE(parser.WriteFile(name));
    EXPECT_EQ(FileBytes(scratch / "out.html"), "");
    parser.ParseString(wxString(L"x", 1) + wxString('y', 100000));
    EXPECT_TRUE(parser.WriteFile(name));
    const std::string bytes = FileBytes(scratch / "out.html");
    EXPECT_EQ(bytes.size(), 200002u);
    EXPECT_EQ(bytes.substr(0, 4), std::string("x\0y\0", 4));
    EXPECT_TRUE(parser.ParseFile(name, "UTF-16LE"));
    EXPECT_EQ(parser.GetTopLevelTag()->GetTagText().length(), 100001u);
}
