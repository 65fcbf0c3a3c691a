// The Azure engine against its service: tokens, requests, refusals, voices. MIT licence.
#include "speech/tts_azureapi.h"

#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

#include "support/cloud_host.h"
#include "support/handler_contract.h"
#include "support/scoped_translation.h"
#include "support/stepped_time.h"

using loopback::ErrorBody;
using loopback::Fault;
using loopback::Headers;
using loopback::Request;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::Pair;
using testing::StartsWith;

namespace
{

const char* const kSpeechPath = "/cognitiveservices/v1";
const char* const kTokenPath = "/sts/v1.0/issueToken";
const char* const kVoicesPath = "/cognitiveservices/voices/list";
const char* const kTokenHost = "westeurope.api.cognitive.microsoft.com";
const char* const kSpeechHost = "westeurope.tts.speech.microsoft.com";

class AzureHandler : public testing::Test
{
protected:
    AzureHandler()
    {
        QXTTSVoiceInfo voice;
        voice.SetId("en-US-JennyNeural");
        voice.SetLangCode("en-US");
        voice.SetGender("Female");
        handler.SetVoice(voice);
    }
    // Speaks into a file that holds something else before.
    bool Speak(const wxString& text = "hello")
    {
        WriteFileBytes(file, "before");
        return handler.Speak(text, 0, file);
    }
    bool FileIsUntouched() const { return ReadFileBytes(file) == "before"; }
    size_t Count(const char* path) { return host.services.Requests("", path).size(); }
    std::string LastError() const { return handler.GetLastErrorMessage().utf8_string(); }
    void Inject(const char* path, const Fault& fault) { host.services.Inject("", path, 1, fault); }

    CloudHost host;
    SteppedTime time;
    wxTTSAzureHandler handler;
    const wxString file = host.Path("speech.wav");
};

HandlerContract AzureContract()
{
    HandlerContract contract;
    contract.name = "Azure";
    contract.make = [] { return new wxTTSAzureHandler; };
    contract.id = "Microsoft Azure";
    contract.className = "wxTTSAzureHandler";
    contract.speed = {0, 4, 2};
    contract.volume = {0, 9, 7};
    contract.pitch = {-20, 20, 0};
    contract.capabilities = {3, 4, 5, 10, 11};
    contract.fetchesVoices = true;
    contract.keepsRequestTimes = true;
    return contract;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Azure, HandlerContractTest, testing::Values(AzureContract()), HandlerContractName);

TEST_F(AzureHandler, SpeechIsATokenThenOneRequestIntoTheFile)
{
    ASSERT_TRUE(Speak("Tom & \"Eve\"")) << LastError();
    const std::vector<Request> requests = host.services.Requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].method + " " + requests[0].host + requests[0].target,
              std::string("POST ") + kTokenHost + kTokenPath);
    EXPECT_THAT(OwnHeaders(requests[0]),
                ElementsAre(Pair("Ocp-Apim-Subscription-Key", host.services.GetCredentials().azureKey)));
    EXPECT_EQ(requests[0].body, "");

    EXPECT_EQ(requests[1].method + " " + requests[1].host + requests[1].target,
              std::string("POST ") + kSpeechHost + kSpeechPath);
    EXPECT_THAT(OwnHeaders(requests[1]), ElementsAre(Pair("Authorization", StartsWith("Bearer eyJ")),
                                                     Pair("Content-Type", "application/ssml+xml"),
                                                     Pair("X-Microsoft-OutputFormat", "riff-48khz-16bit-mono-pcm")));
    EXPECT_EQ(requests[1].body, "<speak version='1.0' xml:lang='en-US'><voice xml:lang='en-US' xml:gender='Female' "
                                "name='en-US-JennyNeural'>Tom &amp; &quot;Eve&quot;</voice></speak>");
    EXPECT_THAT(ReadFileBytes(file), StartsWith("RIFF"));
    EXPECT_EQ(LastError(), "");
    EXPECT_FALSE(handler.IsSpeaking());
}

TEST_F(AzureHandler, TokenServesForNineMinutesAndItsCredentials)
{
    ASSERT_TRUE(Speak());
    time.Step(540000);
    EXPECT_FALSE(handler.IsTokenExpired());
    ASSERT_TRUE(Speak());
    EXPECT_EQ(Count(kTokenPath), 1u);
    time.Step(1);
    EXPECT_TRUE(handler.IsTokenExpired());
    ASSERT_TRUE(Speak());
    EXPECT_EQ(Count(kTokenPath), 2u);

    EXPECT_TRUE(handler.TestAuthentication(host.GoodKeys()));
    EXPECT_EQ(Count(kTokenPath), 3u);
    EXPECT_FALSE(handler.IsTokenExpired()) << "a test leaves the token alone";
    for (wxString QXTTSAuthInfo::*field : {&QXTTSAuthInfo::azureKey, &QXTTSAuthInfo::azureRegion}) {
        QXTTSAuthInfo other = host.GoodKeys();
        (other.*field).MakeUpper();
        QXTextToSpeech::SetAuthInfo(other);
        EXPECT_TRUE(handler.IsTokenExpired());
        QXTextToSpeech::SetAuthInfo(host.GoodKeys());
        EXPECT_FALSE(handler.IsTokenExpired());
    }
}

TEST_F(AzureHandler, TokenTimeIsComparedIn32Bits)
{
    time.tick = 0xFFFFFFFF;
    handler.RenewAccessToken();
    EXPECT_TRUE(handler.IsTokenExpired()) << "its end lies behind the wrap";
    time.Step(1);
    EXPECT_FALSE(handler.IsTokenExpired());
    time.Step(540000);
    EXPECT_TRUE(handler.IsTokenExpired());
}

TEST_F(AzureHandler, RefusalOfATokenIsToldAndNothingElseIsSent)
{
    struct Row {
        const char* label;
        Fault fault;
        const char* lastError;
    };
    for (const Row& row : {
             Row{"service's message", Fault::Status(401, ErrorBody::kJson, "Access denied."), "Access denied."},
             Row{"reason phrase", Fault::Status(503, ErrorBody::kHtml), "Service Unavailable"},
             Row{"nothing said", Fault::Status(500, ErrorBody::kNone).And(Fault::NoReasonPhrase()), "earlier"},
             Row{"answer is JSON", Fault::Text("application/json", R"({"token":"x"})"), "earlier"},
             Row{"answer is no text", Fault::ContentType("application/octet-stream"), "earlier"},
             Row{"answer has no label", Fault::ContentType(""), "earlier"},
             Row{"connection cut", Fault::Close(loopback::Stage::kBeforeHeaders), "Failed to read HTTP status line"},
         }) {
        SCOPED_TRACE(row.label);
        host.services.Inject("", kTokenPath, 1, Fault::Status(400, ErrorBody::kJson, "earlier"));
        EXPECT_FALSE(handler.TestAuthentication(host.GoodKeys()));
        Inject(kTokenPath, row.fault);
        EXPECT_FALSE(Speak());
        EXPECT_EQ(LastError(), row.lastError);
        EXPECT_TRUE(FileIsUntouched());
        EXPECT_EQ(Count(kSpeechPath), 0u);
    }
    EXPECT_EQ(handler.GetPrevRequestTime().size(), 7u) << "each attempt counts";
}

TEST_F(AzureHandler, TokenIsTextWhateverItsTextLabel)
{
    for (const char* label : {"application/jwt; charset=us-ascii", "application/jwt", "Application/JWT ;x=y",
                              "text/plain", "text/plain; charset=utf-8"}) {
        SCOPED_TRACE(label);
        host.services.SetTokenType(label);
        wxLongLong_t expiry = -1;
        const QXTTSAuthInfo keys = host.GoodKeys();
        LogCapture log;
        EXPECT_THAT(handler.RequestAccessToken(keys.azureRegion, keys.azureKey, &expiry).utf8_string(),
                    StartsWith("eyJ"));
        EXPECT_EQ(LogText(log), "");
        EXPECT_EQ(expiry, time.tick + 540000);
    }
}

TEST_F(AzureHandler, CredentialsThatCannotWorkAreRefusedWithoutARequest)
{
    struct Row {
        const char* region;
        const char* key;
        const char* lastError;
    };
    const char* const kBadRegion = "Make sure to provide a valid key for an active subscription and use a correct "
                                   "region for your resource.";
    for (const Row& row :
         {Row{"", "key", "Invalid Microsoft Azure Region or Key."},
          Row{"westeurope", "", "Invalid Microsoft Azure Region or Key."}, Row{"west europe", "key", kBadRegion}}) {
        QXTTSAuthInfo info;
        info.azureRegion = row.region;
        info.azureKey = row.key;
        EXPECT_FALSE(handler.TestAuthentication(info));
        EXPECT_EQ(LastError(), row.lastError);
    }
    QXTTSAuthInfo info = host.GoodKeys();
    info.azureKey += "\nX: y";
    EXPECT_FALSE(handler.TestAuthentication(info)) << "a second header";
    EXPECT_EQ(host.services.Requests().size(), 0u);

    info.azureKey = "wrong";
    EXPECT_FALSE(handler.TestAuthentication(info));
    EXPECT_THAT(LastError(), StartsWith("Access denied due to invalid subscription key"));
}

TEST_F(AzureHandler, GovernmentRegionsBuyTheirTokenAtTheCommercialHost)
{
    loopback::Credentials credentials = host.services.GetCredentials();
    credentials.azureRegion = "usgovtexas";
    host.services.SetCredentials(credentials);
    QXTextToSpeech::SetAuthInfo(host.GoodKeys());
    EXPECT_TRUE(Speak()) << LastError();
    EXPECT_EQ(host.services.Requests("usgovtexas.api.cognitive.microsoft.com", kTokenPath).size(), 1u);
    EXPECT_EQ(host.services.Requests("usgovtexas.tts.speech.azure.us", kSpeechPath).size(), 1u);
}

TEST_F(AzureHandler, RefusalOfSpeechIsToldAndLeavesTheFile)
{
    const ScopedTranslation translation(std::map<std::string, std::string>{{"Slow down.", "Langsamer."}});
    ASSERT_TRUE(Speak());
    struct Row {
        const char* label;
        Fault fault;
        const char* lastError;
    };
    for (const Row& row : {
             Row{"reason phrase", Fault::Status(400, ErrorBody::kService, "Unsupported voice"), "Unsupported voice"},
             Row{"message of the body, translated", Fault::Status(429, ErrorBody::kJson, "Slow down."), "Langsamer."},
             Row{"body that is no JSON", Fault::Status(502, ErrorBody::kHtml), "Bad Gateway"},
             Row{"nothing said", Fault::Status(500, ErrorBody::kNone).And(Fault::NoReasonPhrase()), "Bad Gateway"},
             Row{"another success", Fault::Status(202, ErrorBody::kNone), "Unknown"},
         }) {
        SCOPED_TRACE(row.label);
        LogCapture log;
        Inject(kSpeechPath, row.fault);
        EXPECT_FALSE(Speak());
        EXPECT_EQ(LastError(), row.lastError);
        EXPECT_TRUE(FileIsUntouched());
        const bool silent = std::string(row.label) == "nothing said";
        EXPECT_THAT(LogText(log), StartsWith(std::string(kSpeechHost) + " (by the proxy 127.0.0.1:"));
        EXPECT_EQ(LogText(log).find("Azure Text-to-Speech message: " + LastError() + "\n") == std::string::npos,
                  silent);
    }
    EXPECT_TRUE(Speak());
    EXPECT_EQ(LastError(), "Unknown") << "a success clears nothing";
}

TEST_F(AzureHandler, StatusUnauthorizedRenewsTheTokenForTheNextCall)
{
    std::vector<QXTTSVoiceInfo> voices;
    ASSERT_TRUE(Speak());
    for (const bool list : {false, true}) {
        host.services.ExpireAzureTokens();
        host.services.ClearRequests();
        EXPECT_FALSE(list ? handler.GetAllVoices(voices) : Speak());
        EXPECT_EQ(LastError(), "Unauthorized");
        EXPECT_TRUE(list ? handler.GetAllVoices(voices) : Speak());
        const char* const path = list ? kVoicesPath : kSpeechPath;
        std::vector<std::string> paths;
        for (const Request& request : host.services.Requests())
            paths.push_back(request.path);
        EXPECT_THAT(paths, ElementsAre(path, kTokenPath, path));
    }
}

TEST_F(AzureHandler, FailuresOnTheWayAreTextsAndNeverExceptions)
{
    using loopback::Stage;
    ASSERT_TRUE(Speak());
    struct Row {
        Fault fault;
        const char* lastError;
    };
    for (const Row& row : {
             Row{Fault::ConnectStatus(407), "Expected a 200 response from proxy, received: 407"},
             Row{Fault::BadCertificate(loopback::Certificate::kUntrusted), "Error in SSL handshake"},
             Row{Fault::BadCertificate(loopback::Certificate::kWrongHost), "Error in SSL handshake"},
             Row{Fault::Close(Stage::kWithinHeaders), "Failed to read HTTP status line"},
         }) {
        SCOPED_TRACE(row.lastError);
        LogCapture log;
        Inject("", row.fault);
        EXPECT_FALSE(Speak());
        EXPECT_EQ(LastError(), row.lastError);
        EXPECT_THAT(LogText(log), HasSubstr("Error while getting Microsoft Azure speech: " + LastError()));
        EXPECT_TRUE(FileIsUntouched());
        host.services.ClearFaults();
    }
    host.services.RefuseConnections(true);
    EXPECT_FALSE(Speak());
    EXPECT_EQ(LastError(), "Failed to connect to any resolved proxy endpoint");
    std::vector<QXTTSVoiceInfo> voices;
    EXPECT_FALSE(handler.GetAllVoices(voices));
    host.services.RefuseConnections(false);

    Inject(kSpeechPath, Fault::Close(Stage::kWithinBody));
    EXPECT_FALSE(Speak());
    EXPECT_EQ(LastError(), "Failed to read response body");
    EXPECT_FALSE(FileIsUntouched()) << "opened, and cut short";

    EXPECT_FALSE(handler.Speak("hello", 0, host.Path("no/such/folder.wav")));
    EXPECT_THAT(LastError(), HasSubstr("No such file or directory"));
}

TEST_F(AzureHandler, NoSecretGetsIntoLogOrError)
{
    LogCapture log;
    std::string told;
    ASSERT_TRUE(Speak());
    const std::string token = host.services.Requests("", kSpeechPath)[0].Header("Authorization").substr(7);
    host.services.ExpireAzureTokens();
    for (const Fault& fault : {Fault::Status(401, ErrorBody::kService), Fault::Status(500, ErrorBody::kHtml),
                               Fault::Close(loopback::Stage::kBeforeHeaders), Fault::ConnectStatus(502)}) {
        host.services.Inject("", "", 2, fault);
        EXPECT_FALSE(Speak());
        told += LastError() + "\n";
        host.services.ClearFaults();
    }
    told += LogText(log);
    EXPECT_THAT(told, HasSubstr("Azure Text-to-Speech message"));
    EXPECT_THAT(told, Not(HasSubstr(host.services.GetCredentials().azureKey)));
    EXPECT_THAT(told, Not(HasSubstr(token)));
    EXPECT_THAT(told, Not(HasSubstr("Bearer")));
}

TEST_F(AzureHandler, AnswerWithoutEndIsAFailureAndItsDownloadEnds)
{
    std::vector<QXTTSVoiceInfo> voices;
    struct Row {
        const char* path;
        int status;
        std::function<bool()> call;
        const char* sentence;
    };
    for (const Row& row : {
             Row{kTokenPath, 200, [this] { return handler.TestAuthentication(host.GoodKeys()); }, "longer than 1 MB."},
             Row{kVoicesPath, 200, [&] { return handler.GetAllVoices(voices); }, "longer than 32 MB."},
             Row{kSpeechPath, 403, [this] { return Speak(); }, "does not take the credentials."},
             Row{kSpeechPath, 200, [this] { return handler.Speak("a", 0, "/dev/full"); },
                 "/dev/full cannot be written"},
         }) {
        SCOPED_TRACE(row.path);
        Inject(row.path, Fault::Change([&row](const Request&, loopback::Answer& answer) {
                   answer.status = row.status;
                   answer.SetHeader("Content-Type", "text/plain");
                   answer.chunked = true;
                   answer.body.unit.assign(65536, 'x');
                   answer.body.repeat = std::uint64_t(1) << 40;
               }));
        std::promise<void> brokenOff;
        host.services.SetObserver([&](const Request& request) {
            if (request.path == row.path && request.status == 0)
                brokenOff.set_value();
        });
        EXPECT_FALSE(row.call());
        EXPECT_THAT(handler.GetLastFailure().message.utf8_string(), HasSubstr(row.sentence));
        EXPECT_EQ(brokenOff.get_future().wait_for(std::chrono::seconds(30)), std::future_status::ready)
            << "the service is still sending";
        host.services.SetObserver(nullptr);
    }
}

TEST_F(AzureHandler, HostThatFallsSilentEndsTheCall)
{
    ASSERT_TRUE(Speak());
    Inject(kSpeechPath, Fault::Stall(loopback::Stage::kWithinBody));
    std::promise<void> answered;
    std::thread clock([this, over = answered.get_future()] {
        host.services.WaitForStalls(1);
        do
            time.Step(31000);
        while (over.wait_for(std::chrono::milliseconds(200)) == std::future_status::timeout);
    });
    EXPECT_FALSE(Speak());
    answered.set_value();
    clock.join();
    EXPECT_EQ(LastError(), std::string("No answer from ") + kSpeechHost + " for 30 s.");
    EXPECT_EQ(handler.GetLastFailure().category, wxTTS_FAILURE_NETWORK);
}

TEST_F(AzureHandler, InputFormatDecidesTheBody)
{
    handler.SetProperty("Input format", wxString("SSML"));
    ASSERT_TRUE(Speak("<voice name=\"en-US-GuyNeural\">hi</voice>")) << LastError();
    EXPECT_THAT(
        host.services.Requests("", kSpeechPath).back().body,
        testing::MatchesRegex("\n<speak version=.*>\n  <voice name=\"en-US-GuyNeural\">hi</voice>\n</speak>\n"));

    LogCapture log;
    const size_t sent = host.services.Requests().size();
    const size_t counted = handler.GetPrevRequestTime().size();
    EXPECT_FALSE(Speak("<a/><b/>"));
    EXPECT_EQ(LastError(), "Invalid SSML format.");
    EXPECT_EQ(LogText(log), "Invalid SSML format.\n");
    EXPECT_EQ(host.services.Requests().size(), sent);
    EXPECT_EQ(handler.GetPrevRequestTime().size(), counted + 1);

    handler.SetProperty("Input format", wxString("HTML"));
    EXPECT_FALSE(Speak("<p>a & b"));
    EXPECT_EQ(host.services.Requests("", kSpeechPath).back().body, "<p>a & b");
    EXPECT_THAT(LastError(), StartsWith("Ssml is not well-formed"));
}

TEST_F(AzureHandler, SpeakFileSendsTheFilesText)
{
    const wxString input = host.Path("input.txt");
    WriteFileBytes(input, std::string("\xff\xfe"
                                      "h\0\xe9\0",
                                      6)); // UTF-16
    ASSERT_TRUE(handler.SpeakFile(input, 0, file)) << LastError();
    EXPECT_THAT(host.services.Requests("", kSpeechPath).back().body, HasSubstr(">h\xc3\xa9</voice>"));
    EXPECT_EQ(ReadFileBytes(input).size(), 6u);

    const size_t sent = host.services.Requests().size();
    EXPECT_FALSE(handler.SpeakFile(host.Path("absent.txt"), 0, file));
    EXPECT_EQ(LastError(), "Could not read file.");
    EXPECT_EQ(host.services.Requests().size(), sent);
    EXPECT_EQ(handler.GetPrevRequestTime().size(), 1u) << "it is read before the request's turn";
}

TEST_F(AzureHandler, VoiceListIsAppendedAndKept)
{
    std::vector<QXTTSVoiceInfo> voices(1);
    EXPECT_EQ(handler.GetDefaultVoice(), QXTTSVoiceInfo());
    ASSERT_TRUE(handler.GetAllVoices(voices)) << LastError();
    ASSERT_EQ(voices.size(), 5u);
    EXPECT_EQ(voices[0], QXTTSVoiceInfo());
    EXPECT_EQ(voices[1].GetHandlerId(), "Microsoft Azure");
    EXPECT_EQ(voices[1].GetId(), "en-US-JennyNeural");
    EXPECT_EQ(voices[1].GetName(), "en-US-JennyNeural");
    EXPECT_EQ(voices[1].GetLangCode(), "en-US");
    EXPECT_EQ(voices[1].GetGender(), "Female");
    EXPECT_EQ(voices[1].GetLangName() + voices[1].GetEngine(), "");
    EXPECT_EQ(handler.GetDefaultVoice(), voices[1]);
    EXPECT_EQ(wxJoin(handler.GetVoiceNames("en-US"), ','), "en-US-JennyNeural,en-US-GuyNeural");
    EXPECT_TRUE(handler.GetAvailableVoices().empty());
    const Request request = host.services.Requests("", kVoicesPath)[0];
    EXPECT_EQ(request.method + request.host + request.target, std::string("GET") + kSpeechHost + kVoicesPath);
    EXPECT_THAT(OwnHeaders(request), ElementsAre(Pair("Authorization", StartsWith("Bearer eyJ"))));
    EXPECT_TRUE(handler.GetPrevRequestTime().empty()) << "it is not limited";

    for (const char* body : {"no JSON", R"({"voices":[]})", R"([{"Locale":"yy"},)"}) {
        host.services.SetVoiceList(loopback::Service::kAzure, body);
        std::vector<QXTTSVoiceInfo> some;
        EXPECT_TRUE(handler.GetAllVoices(some));
        EXPECT_EQ(handler.GetDefaultVoice(), voices[1]) << "what is no list changes nothing";
    }
    host.services.SetVoiceList(loopback::Service::kAzure, R"([{"Locale":"xx","Gender":"Neutral"}])");
    EXPECT_TRUE(handler.GetAllVoices(voices));
    ASSERT_EQ(voices.size(), 6u);
    EXPECT_EQ(voices[5].GetId() + voices[5].GetName(), "");
    EXPECT_EQ(handler.GetDefaultVoice().GetLangCode(), "xx");

    QXTTSAuthInfo wrong = host.GoodKeys();
    wrong.azureKey = "wrong";
    QXTextToSpeech::SetAuthInfo(wrong);
    EXPECT_FALSE(handler.GetAllVoices(voices));
    EXPECT_EQ(LastError(), "The request is not authorized. Check to make sure your subscription key or token is valid "
                           "and in the correct region.");
}

TEST_F(AzureHandler, TwentiethSpeechOfAMinuteWaitsForItsTurn)
{
    QXTTSAuthInfo none = host.GoodKeys();
    none.azureKey.clear(); // also those count that never reach the service
    QXTextToSpeech::SetAuthInfo(none);
    const std::int64_t start = time.utc;
    for (int i = 0; i < 19; ++i)
        EXPECT_FALSE(Speak());
    EXPECT_EQ(time.utc, start);
    EXPECT_FALSE(Speak());
    EXPECT_GE(time.utc - start, 60000);
    EXPECT_EQ(handler.GetPrevRequestTime().size(), 19u);

    std::list<wxLongLong> history(25, wxLongLong(start));
    history.back() = 7;
    handler.SetPrevRequestTime(history);
    EXPECT_EQ(handler.GetPrevRequestTime().size(), 19u);
    EXPECT_EQ(handler.GetPrevRequestTime().back(), wxLongLong(7));
    handler.SetPrevRequestTime(handler.GetPrevRequestTime());
    EXPECT_EQ(handler.GetPrevRequestTime().size(), 19u);
}
