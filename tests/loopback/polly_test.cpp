// The Polly engine against the loopback service: speech, voices, credentials, and what goes wrong. MIT licence.
#include "speech/tts_awsapi.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "audio_check.h"
#include "support/cloud_host.h"

using loopback::ErrorBody;
using loopback::Fault;
using loopback::Stage;
using testing::ElementsAre;
using testing::HasSubstr;

namespace
{

class Polly : public testing::Test
{
protected:
    Polly()
    {
        QXTTSVoiceInfo voice;
        voice.SetId("Joanna");
        voice.SetLangCode("en-US");
        voice.SetEngine("neural");
        handler.SetVoice(voice);
    }

    // No secret is in any of the records.
    void ExpectNoSecrets(const LogCapture& log) const
    {
        EXPECT_EQ(LogText(log).find(services.GetCredentials().awsSecretKey), std::string::npos);
        EXPECT_EQ(LogText(log).find("Signature="), std::string::npos);
    }
    wxString Path(const std::string& name) const { return host.Path(name); }

    CloudHost host;
    loopback::Services& services = host.services;
    wxTTSAWSHandler handler;
};

std::vector<std::string> Texts(const LogCapture& log)
{
    std::vector<std::string> texts;
    for (const LogCapture::Record& record : log.records)
        texts.emplace_back(record.text.utf8_str());
    return texts;
}

} // namespace

TEST_F(Polly, SpeechReachesTheFileAndNothingElseIsAsked)
{
    WriteFileBytes(Path("out.mp3"), std::string(500'000, 'x'));
    const wxString text = wxString::FromUTF8("Caf\xc3\xa9 \xe2\x82\xac 5 \xf0\x9f\x98\x80");
    ASSERT_TRUE(handler.Speak(text, 0, Path("out.mp3"))) << handler.GetLastErrorMessage();
    EXPECT_GT(Mp3Seconds(ReadFileBytes(Path("out.mp3"))), 0.06 * static_cast<double>(text.length()));
    ASSERT_EQ(services.Requests().size(), 1u);
    const loopback::Request request = services.Requests()[0];
    EXPECT_EQ(request.method + " " + request.target, "POST /v1/speech");
    EXPECT_EQ(request.host, "polly.eu-central-1.amazonaws.com");
    EXPECT_EQ(request.sni, request.host);
    EXPECT_EQ(request.Header("Content-Type"), "application/json");
    EXPECT_EQ(request.Header("X-Amz-Content-Sha256").size(), 64u);
    EXPECT_FALSE(request.HasHeader("Accept-Encoding"));
    EXPECT_THAT(request.body, HasSubstr("Caf\xc3\xa9 \xe2\x82\xac 5 \xf0\x9f\x98\x80"));
}

TEST_F(Polly, FileIsSpokenAndMarkupToo)
{
    WriteFileBytes(Path("in.txt"), "\xef\xbb\xbfHello from a file\n");
    EXPECT_TRUE(handler.SpeakFile(Path("in.txt"), 0, Path("file.mp3"))) << handler.GetLastErrorMessage();
    handler.SetProperty("Input format", wxString("SSML"));
    EXPECT_TRUE(handler.Speak("one <break time=\"1s\"/> two", 0, Path("ssml.mp3"))) << handler.GetLastErrorMessage();
    EXPECT_GT(Mp3Seconds(ReadFileBytes(Path("file.mp3"))), 0);
    EXPECT_GT(Mp3Seconds(ReadFileBytes(Path("ssml.mp3"))), 0);
    EXPECT_THAT(services.Requests()[0].body, HasSubstr("\"Hello from a file\""));
    EXPECT_FALSE(handler.SpeakFile(Path("missing.txt"), 0, Path("none.mp3")));
    EXPECT_EQ(services.Requests().size(), 2u) << "nothing is sent";
}

TEST_F(Polly, VoicesComeOncePerEngineInOrderAndAreKept)
{
    std::vector<QXTTSVoiceInfo> voices(1);
    ASSERT_TRUE(handler.GetAllVoices(voices)) << handler.GetLastErrorMessage();
    ASSERT_EQ(voices.size(), 10u);
    EXPECT_EQ(voices[0], QXTTSVoiceInfo()) << "appended to";
    EXPECT_EQ(voices[1].GetName(), "Joanna - US English - Neural");
    EXPECT_EQ(voices[1].GetEngine(), "neural");
    EXPECT_EQ(voices[2].GetName(), "Joanna - US English - Standard");
    EXPECT_EQ(voices[2].GetId(), voices[1].GetId());
    EXPECT_EQ(voices[7].GetName(), wxString::FromUTF8("C\xc3\xa9line - French - Standard"));
    EXPECT_EQ(voices[7].GetLangCode() + "," + voices[7].GetLangName() + "," + voices[7].GetGender() + "," +
                  voices[7].GetHandlerId(),
              "fr-FR,French,Female,Amazon Polly");
    EXPECT_EQ(handler.GetDefaultVoice(), voices[1]);
    EXPECT_TRUE(handler.GetAvailableVoices().empty());
    const loopback::Request request = services.Requests()[0];
    EXPECT_EQ(request.method + " " + request.path, "GET /v1/voices");
    EXPECT_FALSE(request.HasHeader("X-Amz-Content-Sha256"));
    EXPECT_FALSE(request.HasHeader("Content-Type"));
    for (size_t i = 1; i < voices.size(); ++i) {
        handler.SetVoice(voices[i]);
        EXPECT_TRUE(handler.Speak("a", 0, Path("v.mp3"))) << voices[i].GetName() << handler.GetLastErrorMessage();
    }
}

TEST_F(Polly, VoiceListThatCannotBeReadBringsNothingAndTakesNothing)
{
    std::vector<QXTTSVoiceInfo> voices;
    ASSERT_TRUE(handler.GetAllVoices(voices));
    const QXTTSVoiceInfo first = handler.GetDefaultVoice();
    const Fault faults[] = {Fault::MalformedJson(), Fault::ContentType("audio/mpeg"), Fault::ContentType(""),
                            Fault::Text("application/json", "")};
    for (const Fault& fault : faults) {
        services.Inject("", "/v1/voices", 1, fault);
        std::vector<QXTTSVoiceInfo> none;
        EXPECT_TRUE(handler.GetAllVoices(none));
        EXPECT_TRUE(none.empty());
        EXPECT_EQ(handler.GetDefaultVoice(), first);
    }
}

TEST_F(Polly, VoicesWithGapsAreTakenAsFarAsTheyGo)
{
    services.SetVoiceList(loopback::Service::kPolly, R"({"Voices":[5,{"Id":"A"},{"Id":"B","SupportedEngines":[]},)"
                                                     R"({"SupportedEngines":["long-form"]}]})");
    std::vector<QXTTSVoiceInfo> voices;
    ASSERT_TRUE(handler.GetAllVoices(voices));
    ASSERT_EQ(voices.size(), 1u);
    EXPECT_EQ(voices[0].GetName(), " -  - Long-form");
    EXPECT_EQ(voices[0].GetId(), "");
}

TEST_F(Polly, RefusalsAreToldByTheirType)
{
    const struct {
        const char* type;
        const char* message;
    } rows[] = {
        {"InvalidSsmlException:http://internal.example/",
         "The SSML you provided is invalid. Verify the SSML syntax, spelling of tags and values, and then try again."},
        {"UnrecognizedClientException", "The Access Key is invalid."},
        {"ThrottlingException:", "ThrottlingException"},
        {":UnrecognizedClientException", ":UnrecognizedClientException"},
    };
    WriteFileBytes(Path("out.mp3"), "before");
    for (const auto& row : rows) {
        services.Inject("", "/v1/speech", 1, Fault::PollyError(400, row.type));
        EXPECT_FALSE(handler.Speak("a", 0, Path("out.mp3"))) << row.type;
        EXPECT_EQ(handler.GetLastErrorMessage(), row.message) << row.type;
    }
    EXPECT_TRUE(handler.TestAuthentication(host.GoodKeys()));
    EXPECT_EQ(handler.GetLastErrorMessage(), ":UnrecognizedClientException") << "a success clears nothing";
    LogCapture log;
    services.Inject("", "/v1/speech", 1, Fault::Status(503, ErrorBody::kJson, "busy"));
    EXPECT_FALSE(handler.Speak("a", 0, Path("out.mp3")));
    EXPECT_EQ(handler.GetLastErrorMessage(), "") << "no header";
    EXPECT_THAT(Texts(log), ElementsAre(HasSubstr("busy"), HasSubstr("status 503: Service Unavailable")));
    EXPECT_EQ(handler.GetLastFailure().status, 503);
    EXPECT_THAT(handler.GetLastFailure().message.utf8_string(), HasSubstr("status 503 Service Unavailable"));
    EXPECT_EQ(ReadFileBytes(Path("out.mp3")), "before");
}

TEST_F(Polly, TextThatIsTooLongIsTheServicesToRefuse)
{
    EXPECT_FALSE(handler.Speak(wxString('x', 3001), 0, Path("out.mp3")));
    EXPECT_EQ(handler.GetLastErrorMessage(),
              "Maximum text length has been exceeded. Maximum number of characters is 3000.");
    EXPECT_FALSE(std::filesystem::exists(host.folder / "out.mp3"));
}

TEST_F(Polly, AuthenticationIsTestedWithTheRecordGiven)
{
    LogCapture log;
    QXTTSAuthInfo wrong = host.GoodKeys();
    wrong.awsSecretKey = "another";
    EXPECT_TRUE(handler.TestAuthentication(host.GoodKeys()));
    EXPECT_FALSE(handler.TestAuthentication(wrong));
    EXPECT_EQ(handler.GetLastErrorMessage(), "The Secret Key is invalid.");
    wrong.awsAccessKey = "AKIANOBODY";
    EXPECT_FALSE(handler.TestAuthentication(wrong));
    EXPECT_EQ(handler.GetLastErrorMessage(), "The Access Key is invalid.");
    EXPECT_EQ(QXTextToSpeech::GetAuthInfo().awsAccessKey, host.GoodKeys().awsAccessKey);
    ExpectNoSecrets(log);
}

TEST_F(Polly, ChinasRegionIsAskedAtItsOwnDomain)
{
    loopback::Credentials keys = services.GetCredentials();
    keys.awsRegion = "cn-northwest-1";
    services.SetCredentials(keys);
    QXTextToSpeech::SetAuthInfo(host.GoodKeys());
    EXPECT_TRUE(handler.Speak("a", 0, Path("out.mp3"))) << handler.GetLastErrorMessage();
    EXPECT_EQ(services.Requests()[0].host, "polly.cn-northwest-1.amazonaws.com.cn");
}

TEST_F(Polly, WhatGoesWrongOnTheWayIsToldAndLogged)
{
    const struct {
        const char* label;
        Fault fault;
        const char* message;
        wxTTSFailureCategory category;
        const char* sentence;
    } rows[] = {
        {"proxy wants credentials", Fault::ConnectStatus(407), "Expected a 200 response from proxy, received: 407",
         wxTTS_FAILURE_PROXY, " asks for credentials."},
        {"wrong host", Fault::BadCertificate(loopback::Certificate::kWrongHost), "Error in SSL handshake",
         wxTTS_FAILURE_CERTIFICATE, "The certificate of polly."},
        {"no TLS", Fault::Raw(Stage::kHandshake, "hello, who is there?"), "Error in SSL handshake",
         wxTTS_FAILURE_NETWORK, "No secure connection to polly."},
        {"no answer", Fault::Close(Stage::kBeforeHeaders), "Failed to read HTTP status line", wxTTS_FAILURE_NETWORK,
         "The connection to polly."},
        {"half a body", Fault::Close(Stage::kWithinBody), "Failed to read response body", wxTTS_FAILURE_NETWORK,
         " broke off."},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        services.Inject("", "", 1, row.fault);
        LogCapture log;
        EXPECT_FALSE(handler.Speak("some text that makes a body of many bytes", 0, Path("out.mp3")));
        EXPECT_EQ(handler.GetLastErrorMessage(), row.message);
        ASSERT_THAT(Texts(log), ElementsAre("Error while getting AMZ speech: " + std::string(row.message),
                                            HasSubstr("polly.eu-central-1.amazonaws.com (by the proxy 127.0.0.1:")));
        EXPECT_EQ(handler.GetLastFailure().category, row.category);
        EXPECT_THAT(handler.GetLastFailure().message.utf8_string(), HasSubstr(row.sentence));
        ExpectNoSecrets(log);
        services.ClearFaults();
    }
    services.RefuseConnections(true);
    LogCapture log;
    std::vector<QXTTSVoiceInfo> voices;
    EXPECT_FALSE(handler.GetAllVoices(voices));
    EXPECT_FALSE(handler.TestAuthentication(host.GoodKeys()));
    const std::string reason = "Failed to connect to any resolved proxy endpoint";
    EXPECT_THAT(Texts(log), ElementsAre("Error while getting AMZ voice list: " + reason, HasSubstr(reason),
                                        "Error while testing AMZ authentication: " + reason, HasSubstr(reason)));
    EXPECT_EQ(handler.GetLastFailure().category, wxTTS_FAILURE_PROXY);
}

TEST_F(Polly, BadRegionOrFileIsAFailureNotAnException)
{
    QXTTSAuthInfo info = host.GoodKeys();
    for (const char* region : {"", "a b", "h\xc3\xa9", "x/y?z#", "a@b", "%", "host/", "a@host/", "host:443/"}) {
        info.awsRegion = wxString::FromUTF8(region);
        QXTextToSpeech::SetAuthInfo(info);
        EXPECT_FALSE(handler.Speak("a", 0, Path("out.mp3"))) << region;
        EXPECT_FALSE(handler.TestAuthentication(info)) << region;
        EXPECT_FALSE(handler.GetLastErrorMessage().empty()) << region;
        EXPECT_EQ(handler.GetLastFailure().message, "The region is invalid.");
    }
    EXPECT_TRUE(services.Connects().empty());
    QXTextToSpeech::SetAuthInfo(host.GoodKeys());
    EXPECT_FALSE(handler.Speak("a", 0, Path("missing/out.mp3")));
    EXPECT_THAT(std::string(handler.GetLastErrorMessage().utf8_str()), HasSubstr("No such file or directory"));
}
