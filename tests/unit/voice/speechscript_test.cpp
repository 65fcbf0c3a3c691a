// What the synthesizer is given for a text, and where its characters come from. MIT licence.
#include "platform/posix/speechscript.h"
#include "script_context.h"

#include <gtest/gtest.h>

using namespace qxvoice;

namespace
{

const char* const kPitch5 = "<prosody rate=\"100%\" pitch=\"63\" range=\"58\" volume=\"100%\">";

std::string RateTag(int percent)
{
    return "<prosody rate=\"" + std::to_string(percent) + "%\" pitch=\"50\" range=\"50\" volume=\"100%\">";
}

std::string VolumeTag(int percent)
{
    return "<prosody rate=\"100%\" pitch=\"50\" range=\"50\" volume=\"" + std::to_string(percent) + "%\">";
}

SpeechScript Make(const std::wstring& source, ScriptForm form = ScriptForm::Auto)
{
    SpeechScript script;
    EXPECT_EQ(MakeSpeechScript(source, form, EnglishContext(), script), ScriptError::None);
    return script;
}

ScriptError ErrorOf(const std::wstring& source, ScriptForm form)
{
    SpeechScript script;
    return MakeSpeechScript(source, form, EnglishContext(), script);
}

std::wstring Repeat(const std::wstring& text, size_t count)
{
    std::wstring out;
    out.reserve(text.size() * count);
    for (size_t i = 0; i < count; ++i)
        out += text;
    return out;
}

struct Row {
    const char* label;
    std::wstring source;
    std::string text;
};

void ExpectTexts(const std::vector<Row>& rows, ScriptForm form)
{
    for (const Row& row : rows) {
        SCOPED_TRACE(row.label);
        const SpeechScript script = Make(row.source, form);
        EXPECT_EQ(script.text, row.text);
        EXPECT_TRUE(script.ssml);
    }
}

} // namespace

TEST(SpeechScript, PlainTextIsNeverParsedAndFitForTheSynthesizer)
{
    const std::vector<Row> rows = {
        {"entities", L"AT&amp;T a < b", "AT&amp;T a < b"},
        {"controls",
         std::wstring(L"a\x1"
                      L"b\0c\x7F",
                      6),
         "a b c "},
        {"layout", L"a\tb\r\nc", "a\tb\r\nc"},
        {"beyond", L"\x416\U0001F600", "\xD0\x96\xF0\x9F\x98\x80"},
        {"surrogate pair", std::wstring{static_cast<wchar_t>(0xD83D), static_cast<wchar_t>(0xDE00)},
         "\xF0\x9F\x98\x80"},
        {"lone surrogates", std::wstring{static_cast<wchar_t>(0xDE00), static_cast<wchar_t>(0xD83D)},
         "\xEF\xBF\xBD\xEF\xBF\xBD"},
        {"out of range", std::wstring{static_cast<wchar_t>(0x110000), static_cast<wchar_t>(-5)},
         "\xEF\xBF\xBD\xEF\xBF\xBD"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.label);
        const SpeechScript script = Make(row.source);
        EXPECT_EQ(script.text, row.text);
        EXPECT_FALSE(script.ssml);
    }
    EXPECT_EQ(Make(L"<b>x</b>", ScriptForm::Plain).text, "<b>x</b>");
}

TEST(SpeechScript, SapiTagsActAndEnd)
{
    ExpectTexts(
        {
            {"no root", L"<b>one</b> two", "one two"},
            {"relative rates add", L"<rate speed='3'>a<rate speed='+2'>b</rate>c</rate>d",
             RateTag(139) + "a</prosody>" + RateTag(173) + "b</prosody>" + RateTag(139) + "c</prosody>d"},
            {"sum is limited", L"<rate speed='9'><rate speed='9'>a</rate></rate>", RateTag(300) + "a</prosody>"},
            {"absolute replaces", L"<rate speed='9'><rate absspeed='3'>a</rate></rate>", RateTag(139) + "a</prosody>"},
            {"same state, one wrapper", L"<rate speed='3'>a</rate><rate speed='3'>b</rate>",
             RateTag(139) + "ab</prosody>"},
            {"pitch", L"<pitch middle='5'>a</pitch>b", kPitch5 + std::string("a</prosody>b")},
            {"pitch sum", L"<pitch middle='8'><pitch middle='-3'>a</pitch></pitch>",
             kPitch5 + std::string("a</prosody>")},
            {"volume replaces", L"<volume level='20'><volume level='50'>a</volume></volume>",
             VolumeTag(50) + "a</prosody>"},
            {"names in any case", L"<VOLUME LEVEL='50'>a</Volume>", VolumeTag(50) + "a</prosody>"},
            {"emph", L"<emph>a</emph>b", "<emphasis level=\"strong\">a</emphasis>b"},
            {"spell", L"<spell>ab</spell>c", "<say-as interpret-as=\"characters\">ab</say-as>c"},
            {"silence", L"a<silence msec='500'/>b", "a <break time=\"500ms\"/>b"},
            {"first silence", L"<silence msec='500'/>b", "\xC2\xA0 <break time=\"500ms\"/>b"},
            {"silences sum up", L"a<silence msec='500'/> <silence msec='20'/><bookmark mark='x'/><silence msec='1'/>",
             "a  <break time=\"520ms\"/><mark name=\"0\"/> <break time=\"1ms\"/>"},
            {"silence leaves prosody", L"<volume level='50'>a<silence msec='9'/>b</volume>",
             VolumeTag(50) + "a</prosody> <break time=\"9ms\"/>" + VolumeTag(50) + "b</prosody>"},
            {"voice ends", L"<voice required='Gender=Female'>a</voice>b",
             "<voice name=\"en-us+f3\">a</voice><voice name=\"English (America)\">b</voice>"},
            {"lang", L"<lang langid='407'>a</lang>", "<voice name=\"German\">a</voice>"},
            {"unknown lang stays", L"<lang langid='9999'>a</lang><lang langid='x'>b</lang>", "ab"},
            {"optional without match stays", L"<voice optional='Name=Nobody'>a</voice>", "a"},
            {"content tags", L"<pron sym='h'>a</pron><context id='x'>b</context><partofsp part='noun'>c</partofsp>",
             "abc"},
            {"unreadable value", L"<rate speed='fast'>a</rate>", "a"},
            {"speak when forced", L"<speak><emph>a</emph></speak>", "<emphasis level=\"strong\">a</emphasis>"},
            {"comment, instruction, section", L"a<!-- <b> -->b<?x ?>c<![CDATA[<&lt;]]>d", "abc&lt;&amp;lt;d"},
            {"entities", L"<sapi>&eacute;&#233;&#xE9;&apos;&lt;&nope;AT&T</sapi>",
             "\xC3\xA9\xC3\xA9\xC3\xA9'&lt;&amp;nope;AT&amp;T"},
            {"entities for what must not be", L"<b>&#1;&#0;&#xD800;&#x7fffffff;&#99999999999;</b>",
             "  \xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
            {"no markup", L"<3 you a < b <- <_< x<", "&lt;3 you a &lt; b &lt;- &lt;_&lt; x&lt;"},
            {"no text", L"<sapi></sapi>", ""},
        },
        ScriptForm::SapiXml);
}

TEST(SpeechScript, EmptySapiTagsHoldToTheEndOfTheText)
{
    ExpectTexts(
        {
            {"replaces in all open elements", L"<emph><volume level='20'><volume level='50'/>a</volume></emph>b",
             VolumeTag(50) + "<emphasis level=\"strong\">a</emphasis>b</prosody>"},
            {"relative adds outside too", L"<rate speed='2'><rate speed='3'/>a</rate>b",
             RateTag(173) + "a</prosody>" + RateTag(139) + "b</prosody>"},
            {"absolute after relative", L"<rate speed='3'/><rate absspeed='5'/>a<rate speed='-2'>b</rate>",
             RateTag(173) + "a</prosody>" + RateTag(139) + "b</prosody>"},
            {"voice", L"<b><lang langid='407'/></b>a", "<voice name=\"German\">a</voice>"},
            {"emph and spell do not", L"<emph/><spell/>a", "a"},
        },
        ScriptForm::SapiXml);
}

TEST(SpeechScript, SsmlTagsActAndEnd)
{
    ExpectTexts(
        {
            {"root, head, doctype",
             L"\xFEFF<?xml version='1.0'?><!DOCTYPE speak [<!-- ] > ' --><!ENTITY x ']>'>]><speak>a</speak> <!-- x -->",
             "a"},
            {"prefix", L"<ssml:speak><ssml:emphasis>a</ssml:emphasis></ssml:speak>",
             "<emphasis level=\"moderate\">a</emphasis>"},
            {"foreign tags", L"<speak><foo:bar x='1'>a</foo:bar><audio src='x.wav'>b<desc>no</desc></audio></speak>",
             "ab"},
            {"metadata", L"<speak><metadata><x>no</x></metadata>a</speak>", "a"},
            {"rate word", L"<speak><prosody rate='fast'>a</prosody></speak>", RateTag(125) + "a</prosody>"},
            {"rates multiply", L"<speak><prosody rate='+50%'><prosody rate='-20%'>a</prosody></prosody></speak>",
             RateTag(120) + "a</prosody>"},
            {"rate number", L"<speak><prosody rate='0.5'>a</prosody></speak>", RateTag(50) + "a</prosody>"},
            {"volumes", L"<speak><prosody volume='50'><prosody volume='+10%'>a</prosody></prosody></speak>",
             VolumeTag(55) + "a</prosody>"},
            {"pitch in semitones", L"<speak><prosody pitch='+2.6st'>a</prosody></speak>",
             kPitch5 + std::string("a</prosody>")},
            {"pause", L"<speak>a<break time='1.5s'/>b<break strength='weak'/>c<break/></speak>",
             "a <break time=\"1500ms\"/>b <break strength=\"weak\"/>c <break/>"},
            {"sentences", L"<speak><p><s>a</s> <s>b</s></p><p>c</p></speak>", "a\n<s/>b</p> <p>c"},
            {"alias", L"<speak>x <sub alias='one &amp; two'>12<b>3</b></sub> y</speak>", "x one &amp; two y"},
            {"say-as",
             L"<speak><say-as interpret-as='spell-out'>a</say-as><say-as interpret-as='a\"b'>b</say-as></speak>",
             "<say-as interpret-as=\"characters\">a</say-as>b"},
            {"own language", L"<speak xml:lang='en'><p xml:lang='EN-US'>a</p></speak>", "a"},
            {"language", L"<speak xml:lang='en'>a<s xml:lang='de-DE'>b</s>c</speak>",
             "a<s/><voice name=\"German\">b</voice><s/><voice name=\"English (America)\">c</voice>"},
            {"unknown language", L"<speak xml:lang='xx'>a</speak>", "a"},
            {"voice", L"<speak><voice name='German'>a<voice gender='female'>b</voice></voice></speak>",
             "<voice name=\"German\">a</voice><voice name=\"German\" gender=\"female\">b</voice>"},
            {"unknown voice", L"<speak><voice name='x\"&lt;y'>a</voice></speak>", "a"},
            {"html entities", L"<speak>&eacute; &nbsp;</speak>", "\xC3\xA9 \xC2\xA0"},
        },
        ScriptForm::Xml);
}

TEST(SpeechScript, WhatIsNotWellFormedIsRefused)
{
    const struct {
        const char* label;
        const wchar_t* source;
        ScriptForm form;
        ScriptError error;
    } rows[] = {
        {"empty", L"", ScriptForm::Auto, ScriptError::Empty},
        {"blank is not empty", L" ", ScriptForm::Auto, ScriptError::None},
        {"unclosed", L"<b>a", ScriptForm::Auto, ScriptError::MalformedXml},
        {"crossed", L"<b><i>a</b></i>", ScriptForm::Auto, ScriptError::MalformedXml},
        {"closed only", L"a</b>", ScriptForm::Xml, ScriptError::MalformedXml},
        {"same in plain", L"a</b>", ScriptForm::Auto, ScriptError::None},
        {"no quotes", L"<b x=1>a</b>", ScriptForm::Auto, ScriptError::MalformedXml},
        {"no value", L"<b x>a</b>", ScriptForm::Auto, ScriptError::MalformedXml},
        {"no blank between", L"<b x='1'y='2'>a</b>", ScriptForm::Auto, ScriptError::MalformedXml},
        {"twice", L"<b x='1' y='' x='2'>a</b>", ScriptForm::Auto, ScriptError::MalformedXml},
        {"open quote", L"<b x='1>a</b>", ScriptForm::Auto, ScriptError::MalformedXml},
        {"open tag", L"<b", ScriptForm::Auto, ScriptError::MalformedXml},
        {"open end tag", L"<b>a</b", ScriptForm::Auto, ScriptError::MalformedXml},
        {"nameless end", L"<b>a</>", ScriptForm::Auto, ScriptError::MalformedXml},
        {"open comment", L"<b/><!-- a", ScriptForm::Auto, ScriptError::MalformedXml},
        {"open section", L"<b/><![CDATA[ a ]]", ScriptForm::Auto, ScriptError::MalformedXml},
        {"open instruction", L"<?xml a >", ScriptForm::Auto, ScriptError::MalformedXml},
        {"open document type", L"<!DOCTYPE x [ > <b/>", ScriptForm::Auto, ScriptError::MalformedXml},
        {"unknown declaration", L"<!foo><b/>", ScriptForm::Auto, ScriptError::MalformedXml},
        {"case in SAPI", L"<B>a</b>", ScriptForm::Auto, ScriptError::None},
        {"case in SSML", L"<speak><B>a</b></speak>", ScriptForm::Auto, ScriptError::MalformedXml},
        {"prefix in SSML", L"<speak><x:b>a</b></speak>", ScriptForm::Auto, ScriptError::MalformedXml},
        {"text beside the root", L"<speak>a</speak>b", ScriptForm::Auto, ScriptError::MalformedXml},
        {"two roots", L"<speak>a</speak><speak/>", ScriptForm::Auto, ScriptError::MalformedXml},
        {"other root as SSML", L"<sapi>a</sapi>", ScriptForm::Ssml, ScriptError::MalformedXml},
        {"no root as SSML", L" ", ScriptForm::Ssml, ScriptError::MalformedXml},
        {"required voice", L"<voice required='Name=Nobody'>a</voice>", ScriptForm::Auto, ScriptError::NoSuchVoice},
        {"required voice, malformed", L"<voice required='Name=Nobody'>a", ScriptForm::Auto, ScriptError::MalformedXml},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        SpeechScript script;
        EXPECT_EQ(MakeSpeechScript(row.source, row.form, EnglishContext(), script), row.error);
        EXPECT_TRUE(row.error == ScriptError::None || script.text.empty());
    }
}

TEST(SpeechScript, MarkNamesComeBackUnchanged)
{
    const std::wstring name = L"a \"<&\x416" + std::wstring(5000, L'x');
    const SpeechScript script =
        Make(L"<bookmark mark='a \"&lt;&amp;&#x416;" + name.substr(6) + L"'/><bookmark mark=''/>x");
    EXPECT_EQ(script.text, "<mark name=\"0\"/><mark name=\"1\"/>x");
    EXPECT_EQ(MarkName(script, "0"), name);
    EXPECT_EQ(MarkName(script, "1"), L"");
    for (const char* const other : {"2", "", "x", "0x", "-1", "99999999999999999999"})
        EXPECT_EQ(MarkName(script, other), L"") << other;
}

TEST(SpeechScript, PositionsLeadBackToTheSource)
{
    const struct {
        const char* label;
        std::wstring source;
        std::string spoken; // word in the synthesizer's text
        std::wstring word;  // what it covers in the source
    } rows[] = {
        {"plain", L"one two three", "two", L"two"},
        {"behind letters of several bytes", L"caf\xE9 \x416 two", "two", L"two"},
        {"within markup", L"<sapi>one <emph>two</emph> three</sapi>", "three", L"three"},
        {"behind an entity", L"<b>x &amp; two</b>", "two", L"two"},
        {"holding entities", L"<b>one caf&eacute;s two</b>", "caf\xC3\xA9s", L"caf&eacute;s"},
        {"being escaped", L"<b>AT&T two</b>", "AT&amp;T", L"AT&T"},
        {"in a section", L"<b><![CDATA[one two]]></b>", "two", L"two"},
        {"alias", L"<speak>x <sub alias='one two'>1<b>2</b></sub> y</speak>", "two", L"1<b>2</b>"},
        {"behind an alias", L"<speak>x <sub alias='one two'>12</sub> why</speak>", "why", L"why"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        const SpeechScript script = Make(row.source);
        const size_t byte = script.text.find(row.spoken);
        ASSERT_NE(byte, std::string::npos);
        const auto characters = [](const std::string& text) {
            size_t count = 0;
            for (const char unit : text)
                count += (static_cast<unsigned char>(unit) & 0xC0) != 0x80;
            return count;
        };
        const size_t spoken = characters(script.text.substr(0, byte));
        const size_t length = script.map.ToSourceLength(spoken, characters(row.spoken));
        EXPECT_EQ(row.source.substr(script.map.ToSource(spoken), length), row.word);
        EXPECT_EQ(script.map.ToSource(1000000), row.source.size());
    }
}

TEST(SpeechScript, VoiceQueriesMatchAttributes)
{
    const std::map<std::wstring, std::wstring> attributes = {
        {L"Gender", L"Female"}, {L"Language", L"409;9"}, {L"Name", L"Ann"}, {L"Vendor", L""}};
    const struct {
        const wchar_t* query;
        bool matches;
    } rows[] = {{L"", true},
                {L";;", true},
                {L"gender=FEMALE", true},
                {L"Gender=Female;Language=409", true},
                {L" Gender = Female ; Language = 9 ", true},
                {L"Language=40", false},
                {L"Language!=409", false},
                {L"Gender=Male", false},
                {L"Gender!=Male", true},
                {L"Age!=Child", true},
                {L"Age=Child", false},
                {L"Vendor", true},
                {L"Age", false},
                {L"Gender=Female;Age=Child", false}};
    for (const auto& row : rows)
        EXPECT_EQ(VoiceAttributesMatch(row.query, attributes), row.matches) << row.query;
}

TEST(SpeechScript, DepthCostsNoStack)
{
    const size_t deep = 1000000;
    EXPECT_EQ(Make(Repeat(L"<emph>", deep) + L"a" + Repeat(L"</emph>", deep)).text,
              "<emphasis level=\"strong\">a</emphasis>");
    EXPECT_EQ(ErrorOf(Repeat(L"<emph>", deep), ScriptForm::Auto), ScriptError::MalformedXml);
    const size_t changes = 100000;
    EXPECT_EQ(Make(Repeat(L"<rate speed='1'>", changes) + L"a" + Repeat(L"</rate>", changes) + L"b").text,
              RateTag(300) + "a</prosody>b");
}

// A way that rescans or rebuilds at each step does not end in time.
TEST(SpeechScript, LongTextsComeThroughWhole)
{
    const struct {
        const char* label;
        const wchar_t* unit;
        size_t spoken; // characters of the script that each unit adds at least
        ScriptError error;
    } rows[] = {{"text", L"one two three ", 14, ScriptError::None},
                {"changes", L"<emph>a</emph><rate speed='2'/>b", 2, ScriptError::None},
                {"ampersands", L"&&amp;&abc", 10, ScriptError::None},
                {"brackets", L"< <", 9, ScriptError::None},
                {"comments", L"<!--x-->", 0, ScriptError::None},
                {"open", L"<b x='&eacute;'>", 0, ScriptError::MalformedXml}};
    for (const auto& row : rows) {
        const size_t count = 4000000 / std::wcslen(row.unit);
        SpeechScript script;
        EXPECT_EQ(MakeSpeechScript(Repeat(row.unit, count), ScriptForm::Xml, EnglishContext(), script), row.error)
            << row.label;
        EXPECT_GE(script.text.size(), row.error == ScriptError::None ? count * row.spoken : 0) << row.label;
    }
}
