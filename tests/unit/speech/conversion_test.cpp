// HTML and text as they are read aloud: short documents, and a chapter by its stages. MIT licence.
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>
#include <wx/log.h>
#include <wx/mstream.h>
#include <wx/txtstrm.h>

#include "speech/ttstransformer.h"
#include "support/scratch_dir.h"

namespace
{

wxString Utf8(const std::string& text)
{
    return wxString::FromUTF8(text.data(), text.size());
}

std::string Get(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "(none)";
}

const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n";
const std::string kSapi = kDeclaration + "<sapi>\n";
const std::string kSsml = kDeclaration + "<speak xmlns=\"http://www.w3.org/2001/10/synthesis\" "
                                         "xmlns:dc=\"http://purl.org/dc/elements/1.1/\" version=\"1.0\">\n";
const std::string kSapiEnd = "\n</sapi>\n";
const std::string kSsmlEnd = "\n</speak>\n";

// What one conversion of a string, or of a file, gives; `result` tells whether it went well.
std::string Convert(const std::string& source, int options, bool isString = true, bool* result = nullptr,
                    const wxMBConv& encoding = wxConvAuto(), wxEOL lineEnds = wxEOL_UNIX)
{
    wxMemoryOutputStream stream;
    bool converted = false;
    {
        wxTextOutputStream text(stream, lineEnds, encoding);
        wxTTSTransformer transformer;
        converted = transformer.ConvertFormat(Utf8(source), stream, text, options, isString);
    }
    if (result)
        *result = converted;
    else
        EXPECT_TRUE(converted);
    std::string bytes(stream.GetLength(), '\0');
    stream.CopyTo(bytes.data(), bytes.size());
    return bytes;
}

} // namespace

TEST(Conversion, HtmlBecomesSpeakableText)
{
    const std::string page = "<html><head><title>T</title></head><body><h1>Intro</h1><p>Hi</p>"
                             "<ol><li>One</li><li>Two</li></ol></body></html>";
    const struct {
        const char* label;
        int options;
        std::string html;
        std::string expected;
    } rows[] = {
        {"page, text", 0x20, page, "\nIntro.\n\nHi\n\nOneTwo"},
        {"page, SAPI with numbers", 0x840, page, kSapi + "\nIntro.\n\nHi\n\n1. One2. Two" + kSapiEnd},
        {"page, SSML", 0x80, page, kSsml + "\nIntro.\n\nHi\n\nOneTwo" + kSsmlEnd},
        {"SAPI wins over SSML", 0xC0, "x", kSapi + "x" + kSapiEnd},
        {"SAPI beside text", 0x60, "x", kSapi + "x" + kSapiEnd},
        {"empty document", 0x20, "", ""},
        {"heading with its own end", 0x420, "<H2>Part one!</H2>", "\nHeading 2: Part one!\n"},
        {"headings of five levels", 0x420, "<h5>a,</h5><h6>b</h6>", "\nHeading 5: a,\nb"},
        {"empty heading first", 0x20, "<h1></h1>", "\n\n"},
        {"empty heading behind text", 0x20, "x<h1></h1>", "x\n.\n"},
        {"an empty last run counts as nothing spoken", 0x20, "<p>x</p>\n<h1></h1>", "\nx\n\n.\n"},
        {"full stop behind an entity", 0x20, "<h1>&eacute;</h1>", "\n\u00e9.\n"},
        {"entity that ends a heading", 0x20, "<h1>a</h1><h1>&excl;&#33;</h1>", "\na.\n\n!\n"},
        {"nested lists", 0x820, "<ol><li>a<ul><li>b</li></ul></li><li>c</li></ol>", "\n1. a\nb2. c"},
        {"list kinds without regard to case", 0x820, "<OL><Li>a<oL><lI>b</OL><li>c</ol>", "\n1. a\n1. b2. c"},
        {"second list starts again", 0x820, "<ol><li>a</ol><ol><li>b</ol>", "\n1. a\n1. b"},
        {"stray items and ends", 0x820, "</ol><li>x</ul></ol><ol><li>y", "x\n1. y"},
        {"numbers only on demand", 0x20, "<ol><li>a</ol>", "\na"},
        {"paragraphs and breaks", 0x20, "<p>a</p>b<br>c<br/>d</br>", "\na\nb\nc\nd\n"},
        {"title is silent", 0x20, "<TITLE>a &amp;</TITLE>b<title>c<p>d</title>", "b\n"},
        {"entities in the title are silent", 0x20, "<title>&copy;x</title>y", "y"},
        {"script and style are text", 0x20, "<script>s</script><style>t</style>", "st"},
        {"spoken entities, text", 0x20, "<b>&copy;<b>&nbsp;<b>&eacute;<b>&#160;<b>&amp;", "copyright \u00e9 &"},
        {"spoken entities, XML", 0x40, "<b>&copy;<b>&nbsp;<b>&eacute;<b>&#160;<b>&amp;",
         kSapi + "copyright &eacute;&#160;&amp;" + kSapiEnd},
        {"no such entity", 0x20, "&bogus;&;&#;&Copy;x", "x"},
        {"no such entity, XML", 0x80, "&bogus;&;x", kSsml + "x" + kSsmlEnd},
        {"numbers beyond all characters", 0x20, "&#x110000;&#xFFFFFFFF;&#xD800;&#x1F600;x", "😀x"},
        {"entities within a run stay", 0x20, "<p>Tom &amp; Jerry", "\nTom &amp; Jerry"},
        {"nothing is escaped", 0x40, "<p>a > b & c", kSapi + "\na > b & c" + kSapiEnd},
        {"entities named like tags", 0x20, "<title><b>&br;<b>&title;c", "\nc"},
        {"scripts of the world", 0x20, "<p>Grüße Ёжик λόγος 中文 e\u0301", "\nGrüße Ёжик λόγος 中文 e\u0301"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        EXPECT_EQ(Convert(row.html, row.options), row.expected);
    }
}

TEST(Conversion, TextGoesIntoItsEnvelopeUnescaped)
{
    EXPECT_EQ(Convert("a & <b>\n\u00e9", 0x100), kSapi + "a & <b>\n\u00e9" + kSapiEnd);
    EXPECT_EQ(Convert("a", 0x200), kSsml + "a" + kSsmlEnd);
    EXPECT_EQ(Convert("a", 0x300), kSapi + "a" + kSapiEnd);
    EXPECT_EQ(Convert("a\n", 0), "a\n");
    EXPECT_EQ(Convert("/none/such", 0x100, false), kSapi + kSapiEnd);
}

TEST(Conversion, AFileThatIsNotUtf8EndsBehindTheHead)
{
    ScratchDir dir;
    std::ofstream(dir / "bad", std::ios::binary) << "<p>caf\xe9";
    bool converted = true;
    EXPECT_EQ(Convert(dir / "bad", 0x40, false, &converted), kSapi);
    EXPECT_FALSE(converted);
    EXPECT_EQ(Convert("/none/such", 0x20, false, &converted), "");
    EXPECT_FALSE(converted);
    EXPECT_EQ(Convert(dir / "bad", 0x200, false, &converted), kSsml + "<p>caf\u00e9\n" + kSsmlEnd);
    EXPECT_TRUE(converted);
}

TEST(Conversion, LineEndsAndEncodingAreTheStreams)
{
    EXPECT_EQ(Convert("<p>a</p>", 0x20, true, nullptr, wxConvUTF8, wxEOL_DOS), "\r\na\r\n");
    EXPECT_EQ(Convert("<p>\u00e9</p>", 0x20, true, nullptr, wxConvISO8859_1), "\n\xe9\n");
    const wxLogNull noLog;
    // A run that the encoding cannot hold is lost by itself.
    EXPECT_EQ(Convert("<p>a</p>", 0x20, true, nullptr, wxMBConvUTF16LE()), std::string("\n\0a\0\n\0", 6));
}

TEST(Conversion, LongDocumentsComeWhole)
{
    std::string html;
    std::string expected;
    for (int i = 0; i < 20000; ++i) {
        html += "<p>line " + std::to_string(i) + (i % 3 ? "" : " \u00e9");
        expected += "\nline " + std::to_string(i) + (i % 3 ? "" : " \u00e9");
    }
    EXPECT_EQ(Convert(html, 0x20), expected);
}

// Each stage reads the chapter anew and has a file of its own; a difference names the stage.
TEST(Conversion, ChapterByStages)
{
    const struct {
        const char* stage;
        int options;
    } rows[] = {
        {"filtered", 0xF},    {"native", 0x1F},     {"text", 0x2F},  {"plain-text", 0x20},
        {"headings", 0xC2F},  {"sapi", 0xC4F},      {"ssml", 0xC8F}, {"unsimplified-sapi", 0x4B},
        {"text-sapi", 0x105}, {"text-ssml", 0x20D},
    };
    const std::string data = QX_TEST_DATA "/text/";
    ScratchDir dir;
    wxTTSTransformer transformer;
    ASSERT_TRUE(transformer.LoadFile(Utf8(data + "chapter.dict")));
    for (const auto& row : rows) {
        SCOPED_TRACE(row.stage);
        EXPECT_TRUE(transformer.TransformFile(Utf8(data + "chapter.html"), Utf8(dir / row.stage), row.options));
        EXPECT_EQ(Get(dir / row.stage), Get(data + "chapter." + row.stage));
    }
}
