// The bodies that the Google Cloud service gets, and the reading of voice lists. MIT licence.
#include "speech/googlerequest.h"

#include <gtest/gtest.h>

#include "speech/cloudvoices.h"
#include "json/jsondocument.h"

using qxspeech::GoogleSpeech;
using qxspeech::GoogleSpeechBody;

namespace
{

GoogleSpeech Speech(const wxString& format, const wxString& text)
{
    return {format, text, "de-DE", "de-DE-Wavenet-A", 0, 20};
}

// The body of such a speech with that input.
std::string BodyWith(const std::string& input)
{
    return R"({"audioConfig":{"audioEncoding":"LINEAR16","pitch":0,"speakingRate":0.55000000000000004},"input":)" +
           input + R"(,"voice":{"languageCode":"de-DE","name":"de-DE-Wavenet-A"}})";
}

} // namespace

TEST(GoogleRequest, SpeedInPercentBecomesARate)
{
    struct Row {
        int percent;
        double rate;
    };
    for (const Row& row : {Row{0, 0.25}, Row{20, 0.55}, Row{50, 1.0}, Row{51, 1.06}, Row{75, 2.5}, Row{100, 4.0},
                           Row{120, 5.2}, Row{-10, 0.1}})
        EXPECT_DOUBLE_EQ(qxspeech::GoogleSpeakingRate(row.percent), row.rate) << row.percent;
}

TEST(GoogleRequest, BodyHoldsTheInputByItsFormat)
{
    struct Row {
        const char* format;
        wxString text;
        const char* input;
    };
    for (const Row& row : {
             Row{"Text", "hello", R"({"text":"hello"})"},
             Row{"Text", "", R"({"text":""})"},
             Row{"Text", L"a\u00a0b\u001dc", R"({"text":"a bc"})"},
             Row{"Text", "<speak>\"&\n", R"({"text":"<speak>\"&\n"})"},
             Row{"Text", L"\u00e9 \u4e2d \U0001f600", "{\"text\":\"\xc3\xa9 \xe4\xb8\xad \xf0\x9f\x98\x80\"}"},
             Row{"SSML", "hello", R"({"ssml":"<speak>hello</speak>"})"},
             Row{"SSML", "<speak>hello</speak>", R"({"ssml":"<speak>hello</speak>"})"},
             Row{"SSML", " <speak x='%s'/>", R"({"ssml":" <speak x='%s'/>"})"},
             Row{"SSML", "<SPEAK/>", R"({"ssml":"<speak><SPEAK/></speak>"})"},
             Row{"HTML", "hello", "{}"},
             Row{"text", "hello", "{}"},
         }) {
        EXPECT_EQ(GoogleSpeechBody(Speech(row.format, row.text)), BodyWith(row.input)) << row.format << row.text;
    }
}

TEST(GoogleRequest, BodyHoldsPitchAndRate)
{
    GoogleSpeech speech = Speech("Text", "x");
    speech.pitch = -20;
    speech.speedPercent = 50;
    EXPECT_NE(GoogleSpeechBody(speech).find(R"("pitch":-20,"speakingRate":1})"), std::string::npos)
        << GoogleSpeechBody(speech);
}

TEST(GoogleRequest, TestBodyAsksForNothingSpoken)
{
    EXPECT_EQ(qxspeech::GoogleTestBody(), R"({"audioConfig":{"audioEncoding":"LINEAR16","pitch":0,"speakingRate":1},)"
                                          R"("input":{"text":""},"voice":{"languageCode":"en-US"}})");
}

TEST(CloudVoices, EachElementBecomesAVoiceWhateverItHolds)
{
    wxJSONDocument document;
    document.Parse(R"([{"id":"a"},{"id":7},{},3,"x",[1]])");
    const auto read = [](const wxJSONValue& element) {
        QXTTSVoiceInfo voice;
        voice.SetName(qxspeech::MemberText(element, "id"));
        voice.SetLangCode("en");
        return voice;
    };
    const std::vector<QXTTSVoiceInfo> voices = qxspeech::ReadVoices(document, read);
    EXPECT_EQ(wxJoin(qxspeech::NamesOfVoices(voices, "en"), ','), "a,7,,,,");
    EXPECT_TRUE(qxspeech::NamesOfVoices(voices, "EN").empty());
    EXPECT_EQ(qxspeech::FirstVoice(voices).GetName(), "a");
    EXPECT_EQ(qxspeech::FirstVoice({}), QXTTSVoiceInfo());

    wxJSONDocument object;
    object.Parse(R"({"voices":{"id":"a"}})");
    EXPECT_TRUE(qxspeech::ReadVoices(object, read).empty());
    EXPECT_FALSE(qxspeech::Member(object, "absent").IsValid());
}
