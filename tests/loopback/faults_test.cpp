// What goes wrong on demand goes wrong in the way asked for, and only so often. MIT licence.
#include <algorithm>
#include <map>

#include "audio_check.h"
#include "curl_client.h"

using namespace loopback;

namespace
{

const char* const kGoogle = "texttospeech.googleapis.com";
const char* const kVoices = "/v1/voices";

// Exit statuses of curl
constexpr int kNoConnection = 7;
constexpr int kCut = 18;
constexpr int kTlsFailed = 35;
constexpr int kNoAnswer = 52;
constexpr int kReceiveFailed = 56;
constexpr int kCertificateRefused = 60;

bool Holds(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

std::string SpeechOfGoogle()
{
    return R"({"audioConfig":{"audioEncoding":"LINEAR16"},"input":{"text":"Hello"},"voice":{"languageCode":"en-US"}})";
}

class FaultsTest : public LoopbackTest
{
};

TEST_F(FaultsTest, BrokenConnectionsEndAsTheClientNamesThem)
{
    const struct {
        const char* label;
        Fault fault;
        int exit;
    } rows[] = {
        {"close at connect", Fault::Close(Stage::kConnect), kReceiveFailed},
        {"nonsense at connect", Fault::Raw(Stage::kConnect, "220 ready\r\n\r\n"), kReceiveFailed},
        {"connect refused", Fault::ConnectStatus(403, "Not From Here"), kReceiveFailed},
        {"close in the handshake", Fault::Close(Stage::kHandshake), kTlsFailed},
        {"nonsense in the handshake", Fault::Raw(Stage::kHandshake, "hello"), kTlsFailed},
        {"untrusted", Fault::BadCertificate(Certificate::kUntrusted), kCertificateRefused},
        {"expired", Fault::BadCertificate(Certificate::kExpired), kCertificateRefused},
        {"not yet valid", Fault::BadCertificate(Certificate::kNotYetValid), kCertificateRefused},
        {"wrong host", Fault::BadCertificate(Certificate::kWrongHost), kCertificateRefused},
    };
    for (const auto& row : rows) {
        m_services->Inject(kGoogle, kVoices, 1, row.fault);
        EXPECT_EQ(GoogleVoices().exit, row.exit) << row.label;
        EXPECT_TRUE(m_services->Requests().empty()) << row.label;
        EXPECT_EQ(GoogleVoices().status, 200) << row.label << ", once";
        m_services->ClearRequests();
    }
}

TEST_F(FaultsTest, BrokenAnswersEndAsTheClientNamesThem)
{
    const struct {
        const char* label;
        Fault fault;
        std::vector<int> exits;
        int status;
    } rows[] = {
        {"before the headers", Fault::Close(Stage::kBeforeHeaders), {kNoAnswer, kReceiveFailed}, 0},
        {"within a body", Fault::Close(Stage::kWithinBody).Chunked(false), {kCut, kReceiveFailed}, 200},
        {"within chunks", Fault::Close(Stage::kWithinBody).Chunked(true), {kCut, kReceiveFailed}, 200},
        {"no HTTP", Fault::Raw(Stage::kBeforeHeaders, "SSH-2.0-x\r\n"), {1}, 0}, // an unsupported protocol
    };
    for (const auto& row : rows) {
        m_services->Inject(kGoogle, kVoices, 1, row.fault);
        const Reply reply = GoogleVoices();
        EXPECT_EQ(std::count(row.exits.begin(), row.exits.end(), reply.exit), 1) << row.label << ": " << reply.exit;
        EXPECT_EQ(reply.status, row.status) << row.label;
        EXPECT_EQ(GoogleVoices().status, 200) << row.label << ", once";
    }
}

// The client takes the cut headers for all of them, so it is the bytes that tell.
TEST_F(FaultsTest, HeadersAreCutInTheMiddle)
{
    const std::string whole = GoogleVoices().headers;
    m_services->Inject(kGoogle, kVoices, 1, Fault::Close(Stage::kWithinHeaders));
    const Reply cut = GoogleVoices();
    EXPECT_GT(cut.headers.size(), 0u);
    EXPECT_LE(cut.headers.size(), whole.size() / 2 + 2); // the client may add a line end
    EXPECT_EQ(cut.body, "");
}

TEST_F(FaultsTest, ABodyIsCutInTheMiddle)
{
    const std::string whole = GoogleVoices().body;
    for (const bool chunked : {false, true}) {
        m_services->Inject(kGoogle, kVoices, 1, Fault::Close(Stage::kWithinBody).Chunked(chunked));
        const Reply cut = GoogleVoices();
        EXPECT_EQ(cut.body, whole.substr(0, whole.size() / 2)) << chunked;
        EXPECT_EQ(Holds(cut.headers, "Transfer-Encoding: chunked"), chunked);
        EXPECT_EQ(Holds(cut.headers, "Content-Length: "), !chunked);
    }
}

TEST_F(FaultsTest, AStalledRequestGoesOnWhenReleased)
{
    const std::string whole = GoogleVoices().body;
    const Stage stages[] = {Stage::kConnect, Stage::kHandshake, Stage::kBeforeHeaders, Stage::kWithinHeaders,
                            Stage::kWithinBody};
    for (const Stage stage : stages) {
        m_services->Inject(kGoogle, "", 1, Fault::Stall(stage));
        bool stalled = false;
        const Reply reply = GoogleVoices({}, [&](pid_t) {
            stalled = stalled || m_services->WaitForStalls(1, std::chrono::milliseconds(0));
            if (stalled)
                m_services->Release();
        });
        EXPECT_TRUE(stalled) << static_cast<int>(stage);
        EXPECT_EQ(reply.status, 200) << static_cast<int>(stage);
        EXPECT_EQ(reply.body, whole) << static_cast<int>(stage);
    }
}

TEST_F(FaultsTest, TheEndOfTheServicesEndsWhatStalls)
{
    const Stage stages[] = {Stage::kConnect, Stage::kHandshake, Stage::kWithinBody};
    for (const Stage stage : stages) {
        m_services = std::make_unique<Services>();
        m_services->Inject("", "", Services::kForever, Fault::Stall(stage));
        const Reply reply = GoogleVoices({}, [&](pid_t) {
            if (m_services && m_services->WaitForStalls(1, std::chrono::milliseconds(0)))
                m_services.reset();
        });
        EXPECT_EQ(m_services, nullptr) << static_cast<int>(stage);
        EXPECT_GT(reply.exit, 0) << static_cast<int>(stage);
    }
}

TEST_F(FaultsTest, ADelayComesBeforeTheHeaders)
{
    constexpr std::chrono::milliseconds delay(300);
    m_services->Inject(kGoogle, "", 1, Fault::Delay(delay));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(GoogleVoices().status, 200);
    EXPECT_GE(std::chrono::steady_clock::now() - start, delay);
}

TEST_F(FaultsTest, StatusesCarryTheBodyAskedFor)
{
    for (const int status : {401, 403, 429, 500}) {
        const std::map<ErrorBody, std::string> bodies = {
            {ErrorBody::kJson,
             "{\"error\":{\"code\":" + std::to_string(status) + ",\"message\":\"Scripted refusal.\"}}"},
            {ErrorBody::kHtml, "<!DOCTYPE html>"},
            {ErrorBody::kService, "\"message\": \"Scripted refusal.\""},
            {ErrorBody::kNone, ""},
        };
        for (const auto& [kind, text] : bodies) {
            m_services->Inject(kGoogle, kVoices, 1, Fault::Status(status, kind));
            const Reply reply = GoogleVoices();
            EXPECT_EQ(reply.status, status);
            EXPECT_TRUE(Holds(reply.body, text)) << reply.body;
            EXPECT_EQ(reply.body.empty(), kind == ErrorBody::kNone);
            EXPECT_EQ(Holds(reply.headers, "Content-Type: text/html"), kind == ErrorBody::kHtml);
        }
    }
}

TEST_F(FaultsTest, EachServiceWordsItsOwnErrors)
{
    m_services->Inject("", "", 3, Fault::Status(429, ErrorBody::kService, "Slower"));
    EXPECT_TRUE(Holds(Polly(kVoices).headers, "x-amzn-ErrorType: ThrottlingException:"));
    EXPECT_EQ(AzureToken("").body, "{\"error\":{\"code\":\"429\",\"message\":\"Slower\"}}");
    EXPECT_TRUE(Holds(AzureSpeak("", "").headers, "HTTP/1.1 429 Slower\r\n"));
    m_services->Inject("", kVoices, 1, Fault::PollyError(400, ":odd"));
    EXPECT_TRUE(Holds(Polly(kVoices).headers, "x-amzn-ErrorType: :odd\r\n"));
}

TEST_F(FaultsTest, AnswersAreDamagedAsAskedFor)
{
    const std::string voices = GoogleVoices().body;
    const auto voicesWith = [&](const Fault& fault) {
        m_services->Inject(kGoogle, kVoices, 1, fault);
        return GoogleVoices();
    };
    EXPECT_EQ(voicesWith(Fault::TruncatedJson()).body, voices.substr(0, voices.size() / 2));
    EXPECT_TRUE(Holds(voicesWith(Fault::MalformedJson()).headers, "Content-Type: application/json\r\n"));
    EXPECT_TRUE(Holds(voicesWith(Fault::ContentType("audio/mpeg")).headers, "Content-Type: audio/mpeg\r\n"));
    EXPECT_FALSE(Holds(voicesWith(Fault::ContentType("")).headers, "Content-Type"));
    EXPECT_TRUE(Holds(voicesWith(Fault::NoReasonPhrase()).headers, "HTTP/1.1 200 \r\n"));
    const Fault bare = Fault::Status(500, ErrorBody::kNone).And(Fault::NoReasonPhrase());
    EXPECT_TRUE(Holds(voicesWith(bare).headers, "HTTP/1.1 500 \r\n"));
    EXPECT_EQ(voicesWith(Fault::Text("text/plain", "odd", 503)).body, "odd");
    const Fault changed = Fault::Change([](const Request& request, Answer& answer) { answer.body.Set(request.path); });
    EXPECT_EQ(voicesWith(changed).body, kVoices);
    EXPECT_FALSE(GoogleAudio(GoogleSpeak(SpeechOfGoogle()).body).empty());
    m_services->Inject(kGoogle, "/v1/text:synthesize", 1, Fault::DamagedBase64());
    const Reply damaged = GoogleSpeak(SpeechOfGoogle());
    EXPECT_TRUE(Holds(damaged.body, "\"audioContent\"") && Holds(damaged.body, "!"));
    EXPECT_TRUE(GoogleAudio(damaged.body).empty());
}

TEST_F(FaultsTest, FaultsMeetTheirHostAndPathInOrderAndSoManyTimes)
{
    m_services->Inject(kGoogle, "/elsewhere", 1, Fault::Status(500, ErrorBody::kNone));
    m_services->Inject("polly.eu-central-1.amazonaws.com", "", 1, Fault::Status(500, ErrorBody::kNone));
    m_services->Inject(kGoogle, kVoices, 2, Fault::Status(401, ErrorBody::kNone));
    m_services->Inject("", "", Services::kForever, Fault::Status(429, ErrorBody::kNone));
    EXPECT_EQ(GoogleVoices().status, 401);
    EXPECT_EQ(GoogleVoices().status, 401);
    EXPECT_EQ(GoogleVoices().status, 429);
    EXPECT_EQ(GoogleVoices().status, 429);
    EXPECT_EQ(m_services->PendingFaults(), 3u);
    m_services->ClearFaults();
    EXPECT_EQ(GoogleVoices().status, 200);
}

TEST_F(FaultsTest, TheProxyAsksForItsCredentials)
{
    m_services->SetProxyCredentials("us\xC3\xA9r", "pass:word");
    EXPECT_EQ(GoogleVoices().exit, kReceiveFailed);
    EXPECT_EQ(GoogleVoices({"--proxy-user", "us\xC3\xA9r:wrong"}).exit, kReceiveFailed);
    EXPECT_EQ(GoogleVoices({"--proxy-user", "us\xC3\xA9r:pass:word"}).status, 200);
    std::vector<int> statuses;
    for (const Request& connect : m_services->Connects())
        statuses.push_back(connect.status);
    EXPECT_EQ(statuses, (std::vector<int>{407, 407, 200}));
}

TEST_F(FaultsTest, StrangersAreNotReached)
{
    for (const char* url : {"https://example.com/", "https://polly.a.b.amazonaws.com/", "http://127.0.0.1:1/",
                            "https://texttospeech.googleapis.com:444/v1/voices"})
        EXPECT_NE(Run({"-f", url}).exit, 0) << url;
    EXPECT_TRUE(m_services->Requests().empty());
    for (const Request& connect : m_services->Connects())
        EXPECT_TRUE(connect.status == 502 || connect.status == 405) << connect.target;
}

TEST_F(FaultsTest, ConnectionsAreRefusedForAWhile)
{
    const std::uint16_t port = m_services->Port();
    m_services->RefuseConnections(true);
    EXPECT_EQ(GoogleVoices().exit, kNoConnection);
    m_services->RefuseConnections(false);
    EXPECT_EQ(GoogleVoices().status, 200);
    EXPECT_EQ(m_services->Port(), port);
}

TEST_F(FaultsTest, LongAudioIsAudioToItsEnd)
{
    constexpr std::uint64_t size = 1000000;
    const std::string token = NewToken();
    m_services->Inject("", "", 3, Fault::LargeBody(size));
    const std::string mp3 = PollySpeak(PollySpeech("a")).body;
    EXPECT_GE(mp3.size(), size);
    EXPECT_GT(Mp3Seconds(mp3), 100);
    const std::string wav = AzureSpeak(token, Ssml("a")).body;
    EXPECT_GE(wav.size(), size);
    EXPECT_TRUE(MeasureWav(wav).isWhole);
    const std::string json = GoogleSpeak(SpeechOfGoogle()).body;
    EXPECT_GE(json.size(), size);
    EXPECT_TRUE(MeasureWav(GoogleAudio(json)).isWhole);
}

TEST_F(FaultsTest, AHundredMegabytesAreStreamed)
{
    constexpr std::uint64_t size = 100000000;
    const std::string token = NewToken();
    for (const bool chunked : {false, true}) {
        m_services->Inject("", "", 1, Fault::LargeBody(size).Chunked(chunked));
        const Reply reply = AzureSpeak(token, Ssml("a"));
        EXPECT_EQ(reply.exit, 0);
        EXPECT_GE(reply.body.size(), size);
        EXPECT_EQ(std::to_string(reply.body.size()), reply.info);
    }
}

TEST_F(FaultsTest, ChunksHoldTheSameBytes)
{
    const std::string plain = GoogleVoices().body;
    m_services->SetChunked(true);
    const Reply chunked = GoogleVoices();
    EXPECT_TRUE(Holds(chunked.headers, "Transfer-Encoding: chunked"));
    EXPECT_EQ(chunked.body, plain);
}

} // namespace
