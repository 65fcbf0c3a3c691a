// The Google Cloud engine against its service: requests, audio, refusals, voices. MIT licence.
#include "speech/tts_googleapi.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/cloud_host.h"
#include "support/handler_contract.h"
#include "support/scoped_translation.h"
#include "support/wav.h"

using loopback::ErrorBody;
using loopback::Fault;
using loopback::Request;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::Pair;
using testing::StartsWith;

namespace
{

const char* const kSpeechPath = "/v1/text:synthesize";
const char* const kHost = "texttospeech.googleapis.com";

class GoogleHandler : public testing::Test
{
protected:
    GoogleHandler()
    {
        QXTTSVoiceInfo voice;
        voice.SetLangCode("en-US");
        handler.SetVoice(voice);
    }
    // Speaks into a file that holds something else before.
    bool Speak(const wxString& text = "hello")
    {
        WriteFileBytes(file, "before");
        return handler.Speak(text, 0, file);
    }
    bool FileIsUntouched() const { return ReadFileBytes(file) == "before"; }
    std::string LastError() const { return handler.GetLastErrorMessage().utf8_string(); }
    void Inject(const Fault& fault) { host.services.Inject("", "", 1, fault); }
    // Makes the last error one that tells whether it was left alone.
    void SetEarlierError()
    {
        Inject(Fault::Status(500, ErrorBody::kJson, "earlier"));
        EXPECT_FALSE(Speak());
        EXPECT_EQ(LastError(), "earlier");
    }

    CloudHost host;
    wxTTSGoogleHandler handler;
    const wxString file = host.Path("speech.wav");
};

// To another of the stand-ins' hosts, which would be reached.
Fault Redirection()
{
    return Fault::Change([](const Request&, loopback::Answer& answer) {
        answer = {};
        answer.status = 302;
        answer.reason = "Found";
        answer.SetHeader("Location", "https://polly.eu-central-1.amazonaws.com/v1/voices");
    });
}

HandlerContract GoogleContract()
{
    HandlerContract contract;
    contract.name = "Google";
    contract.make = [] { return new wxTTSGoogleHandler; };
    contract.id = "Google Cloud";
    contract.className = "wxTTSGoogleHandler";
    contract.speed = {25, 400, 100};
    contract.volume = {0, 9, 7};
    contract.pitch = {-20, 20, 0};
    contract.capabilities = {3, 4, 5, 7, 8, 10, 11};
    contract.fetchesVoices = true;
    return contract;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Google, HandlerContractTest, testing::Values(GoogleContract()), HandlerContractName);

TEST(GoogleErrors, AreToldByTheirStatus)
{
    const ScopedTranslation translation(
        std::map<std::string, std::string>{{"Invalid API Key.", "Falsch."}, {"Quota.", "Kontingent."}});
    const char* const kMissing = "The request is missing a valid API key.";
    struct Row {
        int status;
        const char* message;
        const char* told;
    };
    for (const Row& row : {
             Row{400, "Empty language code.", "Empty language code."},
             Row{400, "Invalid input type. Type has to be text or SSML.",
                 "Invalid input type. Type has to be text or SSML."},
             Row{400, "Invalid encoding type.", "Invalid encoding type."},
             Row{400, "API key not valid.", "Falsch."},
             Row{400, "", "Falsch."},
             Row{403, "Quota.", kMissing},
             Row{403, "", kMissing},
             Row{429, "Quota.", "Quota."},
             Row{500, "", ""},
             Row{200, "Empty language code", "Empty language code"},
         })
        EXPECT_EQ(wxTTSGoogleHandler::GoogleErrorToMessage(row.status, row.message), row.told) << row.status;
}

TEST_F(GoogleHandler, SpeechIsOneRequestWhoseAudioIsDecodedIntoTheFile)
{
    ASSERT_TRUE(Speak(L"gr\u00fc\u00df\u00a0dich")) << LastError();
    const std::vector<Request> requests = host.services.Requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].method + " " + requests[0].host + requests[0].target,
              std::string("POST ") + kHost + kSpeechPath);
    EXPECT_THAT(OwnHeaders(requests[0]), ElementsAre(Pair("Content-Type", "application/json;charset=utf-8"),
                                                     Pair("X-Goog-Api-Key", host.services.GetCredentials().googleKey)));
    EXPECT_EQ(requests[0].body,
              R"({"audioConfig":{"audioEncoding":"LINEAR16","pitch":0,"speakingRate":0.55000000000000004},)"
              "\"input\":{\"text\":\"gr\xc3\xbc\xc3\x9f dich\"},"
              R"("voice":{"languageCode":"en-US","name":""}})");
    Sound sound;
    std::string why;
    ASSERT_TRUE(ReadWav(file.utf8_string(), sound, why)) << why;
    EXPECT_NEAR(sound.Seconds(), 9 * 0.06 / 0.55, 0.01) << "whole";
    EXPECT_EQ(LastError(), "");
    EXPECT_FALSE(handler.IsSpeaking());
}

TEST_F(GoogleHandler, SettingsGoWithTheRequest)
{
    handler.SetSpeed(75, wxTTS_QUANTITY_PERCENT);
    handler.SetPitch(-7, wxTTS_QUANTITY_NATIVE);
    handler.SetProperty("Input format", wxString("SSML"));
    ASSERT_TRUE(Speak("a<break/>b")) << LastError();
    EXPECT_THAT(host.services.Requests()[0].body, HasSubstr(R"("pitch":-7,"speakingRate":2.4399999999999999)"));
    EXPECT_THAT(host.services.Requests()[0].body, HasSubstr(R"("input":{"ssml":"<speak>a<break/>b</speak>"})"));

    handler.SetProperty("Input format", wxString("HTML"));
    EXPECT_FALSE(Speak());
    EXPECT_EQ(LastError(), "Invalid input type. Type has to be text or SSML.");
}

TEST_F(GoogleHandler, RefusalsAreToldAndLeaveTheFile)
{
    struct Row {
        const char* label;
        Fault fault;
        const char* lastError;
        wxTTSFailureCategory category;
    };
    for (const Row& row : {
             Row{"known", Fault::Status(400, ErrorBody::kService, "Empty language code."), "Empty language code.",
                 wxTTS_FAILURE_VOICE},
             Row{"bad request", Fault::Status(400, ErrorBody::kService, "`input.text` is longer than the limit."),
                 "Invalid API Key.", wxTTS_FAILURE_TOO_LONG},
             Row{"forbidden", Fault::Status(403, ErrorBody::kService), "The request is missing a valid API key.",
                 wxTTS_FAILURE_KEY},
             Row{"other", Fault::Status(503, ErrorBody::kJson, "Try later."), "Try later.", wxTTS_FAILURE_OTHER},
             Row{"unreadable", Fault::Status(500, ErrorBody::kHtml), "earlier", wxTTS_FAILURE_OTHER},
             Row{"nothing said", Fault::Status(400, ErrorBody::kNone), "earlier", wxTTS_FAILURE_OTHER},
             Row{"redirected", Redirection(),
                 "texttospeech.googleapis.com answered with a redirection, which is not "
                 "followed: status 302 Found.",
                 wxTTS_FAILURE_OTHER},
         }) {
        SCOPED_TRACE(row.label);
        SetEarlierError();
        LogCapture log;
        Inject(row.fault);
        EXPECT_FALSE(Speak());
        EXPECT_EQ(LastError(), row.lastError);
        EXPECT_TRUE(FileIsUntouched());
        EXPECT_EQ(handler.GetLastFailure().category, row.category);
        EXPECT_EQ(host.services.Requests().back().host, kHost);
        ASSERT_FALSE(log.records.empty());
        EXPECT_THAT(log.records[0].text.utf8_string(), StartsWith(std::string(kHost) + " (by the proxy 127.0.0.1:"));
        if (LastError() == "earlier") {
            EXPECT_THAT(LogText(log), Not(HasSubstr("message")));
            continue;
        }
        ASSERT_EQ(log.records.size(), 2u);
        EXPECT_EQ(log.records[1].text.utf8_string(), "Google Text-to-Speech message: " + LastError());
        EXPECT_EQ(log.records[1].function, "wxTTSGoogleHandler::GenerateWavFile");
    }
}

TEST_F(GoogleHandler, WellAnswersAreTakenAsTheyAre)
{
    struct Row {
        const char* label;
        Fault fault;
        bool result;
        const char* lastError;
        const char* file;
        const char* log;
    };
    const char* const kJson = "application/json";
    for (const Row& row : {
             Row{"no audio", Fault::Text(kJson, "{}"), true, "earlier", "before", ""},
             Row{"empty audio", Fault::Text(kJson, R"({"audioContent":""})"), true, "earlier", "before", ""},
             Row{"audio is no text", Fault::Text(kJson, R"({"audioContent":[1]})"), true, "earlier", "before", ""},
             Row{"audio with line ends", Fault::Text(kJson, R"({"audioContent":"YWJj\nZGVm"})"), true, "earlier",
                 "abcdef", ""},
             Row{"no base64", Fault::Text(kJson, R"({"audioContent":"YWJ!ZGVm"})"), true, "earlier", "",
                 "Google Cloud Text-to-Speech audio is no base64 text\n"},
             Row{"audio and message", Fault::Text(kJson, R"({"error":{"message":"hm"},"audioContent":"YWJj"})"), true,
                 "hm", "abc", "Google Cloud Text-to-Speech message: hm\n"},
             Row{"no JSON", Fault::Text(kJson, "hello"), false, "earlier", "before",
                 "Failed requests Google Cloud Text-to-Speech\n"},
             Row{"no text", Fault::ContentType("application/octet-stream"), false, "earlier", "before",
                 "Incorrect Content-Type: must be textual to extract_string, JSON to extract_json.\n"
                 "Failed requests Google Cloud Text-to-Speech\n"},
         }) {
        SCOPED_TRACE(row.label);
        SetEarlierError();
        LogCapture log;
        Inject(row.fault);
        EXPECT_EQ(Speak(), row.result);
        EXPECT_EQ(LastError(), row.lastError);
        EXPECT_EQ(ReadFileBytes(file), row.file);
        EXPECT_EQ(LogText(log), row.log);
    }
}

TEST_F(GoogleHandler, FailuresOnTheWayAreTextsAndNeverExceptions)
{
    using loopback::Stage;
    std::vector<QXTTSVoiceInfo> voices;
    const std::pair<const char*, std::function<bool()>> calls[] = {
        {"Error while getting Google Cloud speech: ", [this] { return Speak(); }},
        {"Error while getting Google speech: ", [this] { return handler.TestAuthentication(host.GoodKeys()); }},
        {"Error while getting Google voice list: ", [this, &voices] { return handler.GetAllVoices(voices); }},
    };
    for (const auto& [told, call] : calls) {
        SCOPED_TRACE(told);
        LogCapture log;
        Inject(Fault::BadCertificate(loopback::Certificate::kExpired));
        EXPECT_FALSE(call());
        EXPECT_EQ(LastError(), "Error in SSL handshake");
        Inject(Fault::Close(Stage::kBeforeHeaders));
        EXPECT_FALSE(call());
        EXPECT_EQ(LastError(), "Failed to read HTTP status line");
        host.services.RefuseConnections(true);
        EXPECT_FALSE(call());
        EXPECT_EQ(LastError(), "Failed to connect to any resolved proxy endpoint");
        host.services.RefuseConnections(false);
        EXPECT_EQ(log.records.size(), 6u);
        EXPECT_THAT(LogText(log),
                    StartsWith(std::string(told) + "Error in SSL handshake\n" + kHost + " (by the proxy"));
    }
    EXPECT_TRUE(FileIsUntouched());
    Inject(Fault::Close(Stage::kWithinBody));
    EXPECT_FALSE(Speak());
    EXPECT_EQ(LastError(), "Failed to read response body");
    EXPECT_TRUE(FileIsUntouched());

    EXPECT_FALSE(handler.Speak("hello", 0, host.Path("no/such/folder.wav")));
    EXPECT_THAT(LastError(), HasSubstr("no/such/folder.wav: No such file or directory"));
    EXPECT_EQ(handler.GetLastFailure().category, wxTTS_FAILURE_STORAGE);
}

TEST_F(GoogleHandler, WithoutADeviceOnlyPlayingFails)
{
    EXPECT_FALSE(handler.Speak("hello", 0, "")); // the program has not started PortAudio
    EXPECT_EQ(LastError(), "Could not open media for playing.");
    EXPECT_EQ(host.services.Requests().size(), 1u);
    EXPECT_FALSE(handler.IsSpeaking());
    EXPECT_FALSE(handler.IsPaused());
    EXPECT_TRUE(Speak());
}

TEST_F(GoogleHandler, FileNamesMayHoldAnyLetter)
{
    const wxString path = host.Path("gr\xc3\xbc\xc3\x9f \xe4\xb8\xad.wav");
    ASSERT_TRUE(handler.Speak("hello", 0, path)) << LastError();
    EXPECT_THAT(ReadFileBytes(path), StartsWith("RIFF"));
}

TEST_F(GoogleHandler, NoKeyGetsIntoLogOrError)
{
    LogCapture log;
    std::string told;
    for (const Fault& fault : {Fault::Status(403, ErrorBody::kService), Fault::Status(500, ErrorBody::kHtml),
                               Fault::Close(loopback::Stage::kBeforeHeaders), Fault::ConnectStatus(502)}) {
        Inject(fault);
        EXPECT_FALSE(Speak());
        told += LastError() + "\n";
    }
    QXTTSAuthInfo broken = host.GoodKeys();
    broken.googleApiKey += "\r\nX: y";
    EXPECT_FALSE(handler.TestAuthentication(broken)) << "a second header";
    told += LastError() + LogText(log);
    EXPECT_THAT(told, HasSubstr("message: The request"));
    EXPECT_THAT(told, Not(HasSubstr(host.services.GetCredentials().googleKey)));
}

TEST_F(GoogleHandler, AuthenticationTestSpeaksNothingWithTheKeyInQuestion)
{
    LogCapture log;
    QXTTSAuthInfo info;
    EXPECT_FALSE(handler.TestAuthentication(info));
    EXPECT_EQ(LastError(), "Invalid API Key");
    EXPECT_TRUE(host.services.Requests().empty());

    handler.SetProperty("Input format", wxString("SSML"));
    handler.SetVoice(QXTTSVoiceInfo());
    EXPECT_TRUE(handler.TestAuthentication(host.GoodKeys())) << LastError();
    EXPECT_EQ(host.services.Requests()[0].body,
              R"({"audioConfig":{"audioEncoding":"LINEAR16","pitch":0,"speakingRate":1},)"
              R"("input":{"text":""},"voice":{"languageCode":"en-US"}})");

    info.googleApiKey = "wrong";
    EXPECT_FALSE(handler.TestAuthentication(info));
    EXPECT_EQ(LastError(), "Invalid API Key.");
    EXPECT_EQ(host.services.Requests().back().Header("x-goog-api-key"), "wrong");
    Inject(Fault::Status(500, ErrorBody::kNone));
    EXPECT_FALSE(handler.TestAuthentication(host.GoodKeys()));
    EXPECT_EQ(LastError(), "") << "also an empty message is told";
    ASSERT_EQ(log.records.size(), 4u);
    EXPECT_EQ(log.records[3].function, "wxTTSGoogleHandler::TestAuthentication");
}

TEST_F(GoogleHandler, SpeakFileSendsTheFilesText)
{
    const wxString input = host.Path("input.txt");
    WriteFileBytes(input, std::string("\xff\xfe"
                                      "h\0\xe9\0",
                                      6)); // UTF-16
    ASSERT_TRUE(handler.SpeakFile(input, 0, file)) << LastError();
    EXPECT_THAT(host.services.Requests()[0].body, HasSubstr("{\"text\":\"h\xc3\xa9\"}"));
    EXPECT_EQ(ReadFileBytes(input).size(), 6u);

    EXPECT_FALSE(handler.SpeakFile(host.Path("absent.txt"), 0, file));
    EXPECT_EQ(LastError(), "Could not read file.");
    EXPECT_EQ(host.services.Requests().size(), 1u);
}

TEST_F(GoogleHandler, VoiceListIsAppendedAndKept)
{
    host.services.SetVoiceList(loopback::Service::kGoogle,
                               R"({"voices":[{"name":"a","ssmlGender":"FEMALE","languageCodes":["en-GB","en-US"]},)"
                               R"({"name":"b","languageCodes":[]},{"ssmlGender":"MALE"}]})");
    std::vector<QXTTSVoiceInfo> voices;
    ASSERT_TRUE(handler.GetAllVoices(voices)) << LastError();
    ASSERT_TRUE(handler.GetAllVoices(voices));
    ASSERT_EQ(voices.size(), 6u);
    EXPECT_EQ(voices[0].GetHandlerId(), "Google Cloud");
    EXPECT_EQ(voices[0].GetId() + voices[0].GetName(), "aa");
    EXPECT_EQ(voices[0].GetGender(), "FEMALE");
    EXPECT_EQ(voices[0].GetLangCode(), "en-GB");
    EXPECT_EQ(voices[0].GetLangName() + voices[0].GetEngine(), "");
    EXPECT_EQ(voices[1].GetLangCode(), "");
    EXPECT_EQ(voices[2].GetName() + voices[2].GetGender(), "MALE");
    EXPECT_EQ(handler.GetDefaultVoice(), voices[0]);
    EXPECT_EQ(wxJoin(handler.GetVoiceNames("en-GB"), ','), "a");
    EXPECT_TRUE(handler.GetAvailableVoices().empty());
    const Request request = host.services.Requests()[0];
    EXPECT_EQ(request.method + request.host + request.target, std::string("GET") + kHost + "/v1/voices");
    EXPECT_THAT(OwnHeaders(request), ElementsAre(Pair("X-Goog-Api-Key", host.services.GetCredentials().googleKey)));

    for (const char* body : {"no JSON", R"({"voices":[{"name":"x"},)"}) {
        Inject(Fault::Text("application/json", body));
        std::vector<QXTTSVoiceInfo> some;
        EXPECT_TRUE(handler.GetAllVoices(some));
        EXPECT_EQ(handler.GetDefaultVoice(), voices[0]) << "what cannot be read changes nothing";
    }
    Inject(Fault::Close(loopback::Stage::kWithinBody));
    EXPECT_FALSE(handler.GetAllVoices(voices)) << "what breaks off is a failure";
    EXPECT_EQ(handler.GetLastFailure().category, wxTTS_FAILURE_NETWORK);
    Inject(Fault::Text("application/json", R"({"error":{"message":"hm"},"voices":[{"name":"c"}]})"));
    EXPECT_TRUE(handler.GetAllVoices(voices));
    EXPECT_EQ(LastError(), "hm");
    EXPECT_EQ(handler.GetDefaultVoice().GetName(), "c");
    Inject(Fault::Status(403, ErrorBody::kService));
    EXPECT_FALSE(handler.GetAllVoices(voices));
    EXPECT_EQ(LastError(), "The request is missing a valid API key.");
    EXPECT_EQ(voices.size(), 7u);
}
