// Azure's addresses, request bodies and rate limit. MIT licence.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "speech/azureendpoints.h"
#include "speech/azuressml.h"
#include "speech/requestlimit.h"
#include "speech/ttsvoiceinfo.h"
#include "support/log_capture.h"
#include "support/scoped_translation.h"
#include "support/stepped_time.h"

using qxspeech::AwaitRequest;
using qxspeech::AzureSsmlBody;
using qxspeech::AzureTextBody;
using qxspeech::RequestTimes;
using qxspeech::SsmlResult;

namespace
{

const char* const kBadRegion =
    "Make sure to provide a valid key for an active subscription and use a correct region for your resource.";
const wxString kNamespace = "http://www.w3.org/2001/10/synthesis";

QXTTSVoiceInfo Voice()
{
    QXTTSVoiceInfo voice;
    voice.SetId("de-DE-KatjaNeural");
    voice.SetLangCode("de-DE");
    voice.SetGender("Female");
    return voice;
}

wxString Ssml(const wxString& document)
{
    wxString body = "(untouched)";
    EXPECT_EQ(AzureSsmlBody(document, body), SsmlResult::kOk);
    return body;
}

wxString Nested(int depth)
{
    wxString text = "<speak>";
    for (int i = 1; i < depth; ++i)
        text += "<p>";
    for (int i = 1; i < depth; ++i)
        text += "</p>";
    return text + "</speak>";
}

RequestTimes Times(size_t count, wxLongLong first)
{
    RequestTimes times;
    for (size_t i = 0; i < count; ++i)
        times.push_back(first + static_cast<long>(i));
    return times;
}

} // namespace

TEST(AzureEndpoints, FollowTheRegionsCloud)
{
    struct Row {
        const char* region;
        const char* speechHost;
    };
    for (const Row& row :
         {Row{"westeurope", "westeurope.tts.speech.microsoft.com"}, Row{"chinaeast2", "chinaeast2.tts.speech.azure.cn"},
          Row{"chinanorth2", "chinanorth2.tts.speech.azure.cn"},
          Row{"usgovarizona", "usgovarizona.tts.speech.azure.us"},
          Row{"usgovvirginia", "usgovvirginia.tts.speech.azure.us"},
          Row{"usgovtexas", "usgovtexas.tts.speech.azure.us"}, Row{"usdodcentral", "usdodcentral.tts.speech.azure.us"},
          Row{"usdodeast", "usdodeast.tts.speech.azure.us"},
          Row{"ChinaEast2", "ChinaEast2.tts.speech.microsoft.com"}, // compared exactly
          Row{"chinaeast", "chinaeast.tts.speech.microsoft.com"}}) {
        SCOPED_TRACE(row.region);
        wxString error = "earlier";
        EXPECT_EQ(GetSpeechEndpoint(row.region, error),
                  wxString("https://") + row.speechHost + "/cognitiveservices/v1");
        EXPECT_EQ(GetVoiceListEndpoint(row.region, error),
                  wxString("https://") + row.speechHost + "/cognitiveservices/voices/list");
        EXPECT_EQ(GetTokenEndpoint(row.region, error),
                  wxString("https://") + row.region + ".api.cognitive.microsoft.com/sts/v1.0/issueToken");
        EXPECT_EQ(error, "earlier");
    }
}

TEST(AzureEndpoints, TellWhatMakesNoAddressInsteadOfThrowing)
{
    const ScopedTranslation translation(std::map<std::string, std::string>{{kBadRegion, "Falsche Region."}});
    for (const wxString& region : {wxString(), wxString("west europe"), wxString(L"s\u00fcd"), wxString("host/"),
                                   wxString("a@host/"), wxString("host:443/"), wxString("a.b")}) {
        SCOPED_TRACE(region);
        for (const auto& endpoint : {GetSpeechEndpoint, GetVoiceListEndpoint, GetTokenEndpoint}) {
            LogCapture log;
            wxString error;
            EXPECT_EQ(endpoint(region, error), "");
            EXPECT_EQ(error, "Falsche Region.");
            ASSERT_EQ(log.records.size(), 1u);
            EXPECT_EQ(log.records[0].text, "Azure Text-to-Speech message: Falsche Region.");
            EXPECT_EQ(log.records[0].level, static_cast<wxLogLevel>(wxLOG_Message));
        }
    }
}

TEST(AzureBody, TextIsCleanedAndEscapedOnceIntoTheTemplate)
{
    EXPECT_EQ(AzureTextBody(L"a\u00a0b\u001d <i> & \"q\" 'x' &amp; 100%s \u00e9", Voice()),
              L"<speak version='1.0' xml:lang='de-DE'><voice xml:lang='de-DE' xml:gender='Female' "
              L"name='de-DE-KatjaNeural'>a b &lt;i&gt; &amp; &quot;q&quot; &apos;x&apos; &amp;amp; 100%s "
              L"\u00e9</voice></speak>");
    EXPECT_EQ(AzureTextBody("", QXTTSVoiceInfo()),
              "<speak version='1.0' xml:lang=''><voice xml:lang='' xml:gender='' name=''></voice></speak>");
}

TEST(AzureBody, SsmlGetsARootWithItsAttributesAndLosesItsDeclaration)
{
    const wxString added = "version=\"1.0\" xmlns=\"" + kNamespace + "\" xml:lang=\"en-US\"";
    struct Row {
        const char* label;
        wxString document;
        wxString body;
    };
    for (const Row& row : {
             Row{"bare root", "<speak>hello</speak>", "\n<speak " + added + ">hello</speak>\n"},
             Row{"what is there stays", "<speak xml:lang=\"de-DE\" version=\"1.1\">a</speak>",
                 "\n<speak xml:lang=\"de-DE\" version=\"1.1\" xmlns=\"" + kNamespace + "\">a</speak>\n"},
             Row{"complete root, new indent",
                 "<?xml version=\"1.0\"?><speak " + added + ">  <voice name=\"n\">x</voice>  </speak>",
                 "\n<speak " + added + ">\n  <voice name=\"n\">x</voice>\n</speak>\n"},
             Row{"another root is wrapped", "<voice name=\"n\">x &amp; y</voice>",
                 "\n<speak " + added + ">\n  <voice name=\"n\">x &amp; y</voice>\n</speak>\n"},
             Row{"names are case-sensitive", "<SPEAK/>", "\n<speak " + added + ">\n  <SPEAK/>\n</speak>\n"},
             Row{"other letters", L"<speak>\u00e9 \u4e2d</speak>", L"\n<speak " + added + L">\u00e9 \u4e2d</speak>\n"},
         }) {
        SCOPED_TRACE(row.label);
        EXPECT_EQ(Ssml(row.document), row.body);
    }
    // The text is characters already, whatever it says of its bytes.
    for (const char* encoding : {"ISO-8859-1", "windows-1252", "UTF-16", "us-ascii", "Shift_JIS"}) {
        const wxString declaration = wxString("<?xml version='1.0' encoding='") + encoding + "'?>";
        EXPECT_EQ(Ssml(declaration + L"<speak " + added + L">\u20ac \u4e2d</speak>"),
                  "\n<speak " + added + L">\u20ac \u4e2d</speak>\n")
            << encoding;
    }
}

TEST(AzureBody, WhatIsNoXmlIsRefusedSilently)
{
    LogCapture log;
    for (const wxString& document : {wxString(), wxString("hello"), wxString("<a>x</b>"), wxString("<a/><b/>"),
                                     wxString("<speak>"), wxString("<speak>a & b</speak>")}) {
        wxString body = "(untouched)";
        EXPECT_EQ(AzureSsmlBody(document, body), SsmlResult::kInvalid) << document;
        EXPECT_EQ(body, "(untouched)");
    }
    EXPECT_TRUE(log.records.empty());
}

TEST(AzureBody, EndlessNestingIsRefusedAndDoesNotOverflow)
{
    wxString body;
    EXPECT_EQ(AzureSsmlBody(Nested(500), body), SsmlResult::kOk);
    wxString unclosed;
    for (int i = 0; i < 100000; ++i)
        unclosed += "<p>";
    wxString hidden = "<speak>"; // closings that are none
    for (int i = 0; i < 100000; ++i)
        hidden += "<p a='</p>'><!-- </p> --><![CDATA[</p>]]><?x </p>?>";
    for (const wxString& document : {Nested(501), Nested(100000), unclosed, hidden})
        EXPECT_EQ(AzureSsmlBody(document, body), SsmlResult::kInvalid);

    const wxString entity = "<!DOCTYPE speak [<!ENTITY e \"x\">]><speak>&e;</speak>";
    EXPECT_EQ(AzureSsmlBody(entity, body), SsmlResult::kEntities);

    wxString wide = "<speak>";
    for (int i = 0; i < 2000; ++i)
        wide += "<p>a</p><break/>";
    EXPECT_EQ(AzureSsmlBody(wide + "</speak>", body), SsmlResult::kOk) << "many elements are no nesting";
}

TEST(RequestLimit, TheTwentiethWaitsUntilTheFirstIsOverAMinuteOld)
{
    SteppedTime time;
    RequestTimes times;
    const std::int64_t start = time.utc;
    for (int i = 0; i < 19; ++i)
        AwaitRequest(times);
    EXPECT_EQ(time.sleeps, 0);
    AwaitRequest(times);
    EXPECT_EQ(times.size(), 19u);
    EXPECT_EQ(time.utc - start, 60000) << "by the steady clock it is enough now";
    EXPECT_EQ(times.back(), wxLongLong(time.utc));
    AwaitRequest(times);
    EXPECT_EQ(time.utc - start, 60100) << "by the wall clock it is over a minute now";
    EXPECT_EQ(times.size(), 19u);
}

TEST(RequestLimit, TheAgeOfTheOldestDecidesToTheMillisecond)
{
    struct Row {
        std::int64_t age;
        int sleeps;
    };
    for (const Row& row : {Row{60001, 0}, Row{60000, 1}, Row{59950, 1}, Row{59900, 2}, Row{0, 600}}) {
        SteppedTime time;
        RequestTimes times = Times(19, time.utc - row.age);
        AwaitRequest(times);
        EXPECT_EQ(time.sleeps, row.sleeps) << row.age;
        EXPECT_EQ(times.size(), 19u);
        EXPECT_EQ(times.front(), wxLongLong(1795000000000 - row.age + 1)) << "the oldest gave way";
    }
}

TEST(RequestLimit, AClockSetBackBlocksForAMinuteAtMost)
{
    for (const std::uint32_t tick : {1000u, 0xFFFFFF00u}) { // the second one wraps meanwhile
        SteppedTime time;
        time.tick = tick;
        RequestTimes times = Times(19, time.utc + 86400000);
        AwaitRequest(times);
        EXPECT_EQ(time.tick - tick, 60000u);
        EXPECT_EQ(times.size(), 19u);
    }
    SteppedTime time;
    time.utcStopped = true;
    RequestTimes times = Times(19, time.utc);
    AwaitRequest(times);
    EXPECT_EQ(time.sleeps, 600);
}

TEST(RequestLimit, KeepsTheLatestOfALongHistory)
{
    EXPECT_EQ(qxspeech::LatestRequests(Times(30, 1)), Times(19, 12));
    EXPECT_EQ(qxspeech::LatestRequests(Times(19, 1)), Times(19, 1));
    EXPECT_EQ(qxspeech::LatestRequests({}), RequestTimes());
}
