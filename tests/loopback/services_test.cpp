// The stand-ins of the speech services behave as the services do, seen by a client of its own. MIT licence.
#include <ctime>
#include <set>

#include "audio_check.h"
#include "curl_client.h"
#include "support/run_tests.h"
#include "support/services/signature.h"

using namespace loopback;

namespace
{

bool Holds(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

class ServicesTest : public LoopbackTest
{
};

TEST_F(ServicesTest, PollySpeaksAsLongAsTheTextIs)
{
    for (const char* text : {"a", "Hello there", "Forty characters make two point four s, "}) {
        const Reply reply = PollySpeak(PollySpeech(text));
        EXPECT_EQ(reply.status, 200) << reply.body;
        EXPECT_TRUE(Holds(reply.headers, "Content-Type: audio/mpeg"));
        const double seconds = Mp3Seconds(reply.body);
        EXPECT_GE(seconds, 0.06 * static_cast<double>(std::string(text).size())) << text;
        EXPECT_LE(seconds, 0.06 * static_cast<double>(std::string(text).size()) + 0.1) << text;
    }
}

TEST_F(ServicesTest, PollyListsItsVoicesInAChineseRegionToo)
{
    EXPECT_TRUE(Holds(Polly("/v1/voices").body, "\"Id\":\"Joanna\""));
    Credentials keys;
    keys.awsRegion = "cn-northwest-1";
    m_services->SetCredentials(keys);
    const Reply reply =
        Run({"--aws-sigv4", "aws:amz:cn-northwest-1:polly", "-u", keys.awsAccessKey + ":" + keys.awsSecretKey,
             "https://polly.cn-northwest-1.amazonaws.com.cn/v1/voices"});
    EXPECT_EQ(reply.status, 200) << reply.body;
}

TEST_F(ServicesTest, PollyNamesWhatItRefuses)
{
    const std::string longText(3001, 'x');
    const struct {
        const char* label;
        std::string body;
        const char* type;
    } rows[] = {
        {"unknown voice", PollySpeech("a", "Nobody"), "ValidationException"},
        {"engine of another voice",
         R"({"Engine":"neural","LanguageCode":"fr-FR","OutputFormat":"mp3","Text":"a","VoiceId":"Celine"})",
         "EngineNotSupportedException"},
        {"language of another voice", PollySpeech("a", "Vicki"), "LanguageNotSupportedException"},
        {"markup that does not end", PollySpeech("<speak>a", "Joanna", "ssml"), "InvalidSsmlException"},
        {"too long", PollySpeech(longText), "TextLengthExceededException"},
        {"no JSON", "{\"Text\":", "SerializationException"},
    };
    for (const auto& row : rows) {
        const Reply reply = PollySpeak(row.body);
        EXPECT_EQ(reply.status, 400) << row.label;
        EXPECT_TRUE(Holds(reply.headers, std::string("x-amzn-ErrorType: ") + row.type + ":")) << row.label;
        EXPECT_TRUE(Holds(reply.body, "\"message\"")) << row.label;
    }
}

TEST_F(ServicesTest, PollyTellsAWrongKeyFromAWrongSecret)
{
    const Reply wrongSecret = Polly("/v1/voices", {}, "another secret");
    EXPECT_EQ(wrongSecret.status, 403);
    EXPECT_TRUE(Holds(wrongSecret.headers, "InvalidSignatureException")) << wrongSecret.headers;
    const Reply wrongKey = Run({"--aws-sigv4", "aws:amz:eu-central-1:polly", "-u", "AKIANOBODY:secret",
                                "https://polly.eu-central-1.amazonaws.com/v1/voices"});
    EXPECT_TRUE(Holds(wrongKey.headers, "UnrecognizedClientException")) << wrongKey.headers;
    const Credentials keys;
    const Reply wrongRegion =
        Run({"--aws-sigv4", "aws:amz:us-east-1:polly", "-u", keys.awsAccessKey + ":" + keys.awsSecretKey,
             "https://polly.eu-central-1.amazonaws.com/v1/voices"});
    EXPECT_TRUE(Holds(wrongRegion.headers, "InvalidSignatureException")) << wrongRegion.headers;
}

// The first vector of the published test suite, and what becomes of it when one thing changes.
TEST(SignatureCheck, AcceptsThePublishedVectorAndNothingElse)
{
    constexpr std::time_t time = 1440938160; // 2015-08-30 12:36:00
    Credentials keys;
    keys.awsAccessKey = "AKIDEXAMPLE";
    keys.awsSecretKey = "wJalrXUtnFEMI/K7MDENG+bPxRfiCYEXAMPLEKEY";
    Request request;
    request.method = "GET";
    request.path = "/";
    request.headers = {
        {"Host", "example.amazonaws.com"},
        {"X-Amz-Date", "20150830T123600Z"},
        {"Authorization",
         "AWS4-HMAC-SHA256 Credential=AKIDEXAMPLE/20150830/us-east-1/service/aws4_request, SignedHeaders=host;"
         "x-amz-date, Signature=5fa00fa31553b73ebf1942676e86291e8372ff2a2260956d9b8aae1d763fbf31"}};
    const auto check = [&](const Request& changed, std::time_t now) {
        return CheckSignature(changed, "us-east-1", "service", keys, now).type;
    };
    EXPECT_EQ(check(request, time), "");
    EXPECT_EQ(check(request, time + 16 * 60), "InvalidSignatureException");
    Request changed = request;
    changed.path = "/v1";
    EXPECT_EQ(check(changed, time), "InvalidSignatureException");
    changed = request;
    changed.body = "x";
    EXPECT_EQ(check(changed, time), "InvalidSignatureException");
    changed = request;
    changed.headers.emplace_back("X-Amz-Target", "unsigned");
    EXPECT_EQ(check(changed, time), "InvalidSignatureException");
    changed = request;
    changed.headers.pop_back();
    EXPECT_EQ(check(changed, time), "MissingAuthenticationTokenException");
}

TEST_F(ServicesTest, AzureSpeaksWithATokenThatTheKeyBought)
{
    const Reply token = AzureToken(m_services->GetCredentials().azureKey);
    EXPECT_EQ(token.status, 200);
    EXPECT_TRUE(Holds(token.headers, "Content-Type: application/jwt; charset=us-ascii")) << token.headers;
    const Reply speech = AzureSpeak(token.body, Ssml("Hello &amp; bye"));
    EXPECT_EQ(speech.status, 200) << speech.headers;
    const WavFacts wav = MeasureWav(speech.body);
    EXPECT_TRUE(wav.isWhole);
    EXPECT_EQ(wav.sampleRate, 48000u);
    EXPECT_NEAR(wav.seconds, 0.06 * 11, 0.001); // "Hello & bye"
    const Reply voices = Run({"-H", "Authorization: Bearer " + token.body,
                              "https://westeurope.tts.speech.microsoft.com/cognitiveservices/voices/list"});
    EXPECT_TRUE(Holds(voices.body, "\"ShortName\":\"en-US-JennyNeural\"")) << voices.headers;
}

TEST_F(ServicesTest, AzureTokensAreForOneRegionAndEnd)
{
    const Reply wrongKey = AzureToken("nonsense");
    EXPECT_EQ(wrongKey.status, 401);
    EXPECT_TRUE(Holds(wrongKey.body, "{\"error\":{\"code\":\"401\",\"message\":\"Access denied")) << wrongKey.body;
    EXPECT_EQ(AzureToken(m_services->GetCredentials().azureKey, "eastus").status, 401);
    const std::string token = NewToken();
    EXPECT_EQ(AzureSpeak(token, Ssml("a"), "eastus.tts.speech.microsoft.com").status, 401);
    EXPECT_EQ(AzureSpeak(token, Ssml("a")).status, 200);
    m_services->ExpireAzureTokens();
    const Reply expired = AzureSpeak(token, Ssml("a"));
    EXPECT_EQ(expired.status, 401);
    EXPECT_TRUE(Holds(expired.headers, "HTTP/1.1 401 Unauthorized")) << expired.headers;
    EXPECT_EQ(AzureSpeak(NewToken(), Ssml("a")).status, 200);
}

TEST_F(ServicesTest, AzureAnswersInEachCloudUnderItsOwnHost)
{
    const struct {
        const char* region;
        const char* host;
    } rows[] = {{"chinaeast2", "chinaeast2.tts.speech.azure.cn"}, {"usgovtexas", "usgovtexas.tts.speech.azure.us"}};
    for (const auto& row : rows) {
        Credentials keys;
        keys.azureRegion = row.region;
        m_services->SetCredentials(keys);
        const std::string token = AzureToken(keys.azureKey, row.region).body;
        EXPECT_EQ(AzureSpeak(token, Ssml("a"), row.host).status, 200) << row.region;
        const Reply wrongCloud = AzureSpeak(token, Ssml("a"), std::string(row.region) + ".tts.speech.microsoft.com");
        EXPECT_NE(wrongCloud.exit, 0) << row.region;
    }
}

TEST_F(ServicesTest, AzureRefusesMarkupThatItCannotSpeak)
{
    const std::string token = NewToken();
    const struct {
        const char* label;
        std::string ssml;
    } rows[] = {
        {"not escaped", Ssml("a & b")},
        {"wrong end", Ssml("<p>a</q>")},
        {"entity that is none", Ssml("&nbsp;")},
        {"bytes that are no UTF-8", Ssml("\xE9")},
        {"two roots", Ssml("a") + Ssml("b")},
        {"plain text", "Hello"},
        {"no voice", "<speak version='1.0'>a</speak>"},
        {"unknown voice", Ssml("a", "")},
        {"wrong namespace", "<speak version='1.0' xmlns='urn:x'><voice name='en-US-GuyNeural'>a</voice></speak>"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(AzureSpeak(token, row.ssml).status, 400) << row.label;
    const std::string good = "<?xml version=\"1.0\"?>\n<!-- a --><speak version=\"1.0\" "
                             "xmlns='http://www.w3.org/2001/10/synthesis'>\n<voice name='en-US-GuyNeural'>"
                             "a<break/><![CDATA[<b>]]>&#x41;</voice>\n</speak>\n";
    EXPECT_EQ(AzureSpeak(token, good).status, 200);
}

TEST_F(ServicesTest, GoogleSpeaksAtTheRateAndPitchAskedFor)
{
    const std::string text = "abcdefghijklmnopqrst"; // 1.2 s
    const struct {
        const char* config;
        double seconds;
        double hertz;
    } rows[] = {{R"("speakingRate":1)", 1.2, 440}, {R"("speakingRate":2.0,"pitch":12)", 0.6, 880}};
    for (const auto& row : rows) {
        const Reply reply = GoogleSpeak(R"({"audioConfig":{"audioEncoding":"LINEAR16",)" + std::string(row.config) +
                                        R"(},"input":{"text":")" + text + R"("},"voice":{"languageCode":"en-US"}})");
        EXPECT_EQ(reply.status, 200) << reply.body;
        const WavFacts wav = MeasureWav(GoogleAudio(reply.body));
        EXPECT_TRUE(wav.isWhole);
        EXPECT_NEAR(wav.seconds, row.seconds, 0.001);
        EXPECT_NEAR(wav.hertz, row.hertz, 5);
    }
}

TEST_F(ServicesTest, GoogleNamesWhatItRefuses)
{
    const char* const config = R"("audioConfig":{"audioEncoding":"LINEAR16"})";
    const struct {
        std::string body;
        const char* message;
    } rows[] = {
        {R"("input":{},"voice":{"languageCode":"en-US"})", "Invalid input type. Type has to be text or SSML."},
        {R"("input":{"text":"a"},"voice":{"languageCode":""})", "Empty language code."},
        {R"("input":{"ssml":"<speak>"},"voice":{"languageCode":"en-US"})", "Invalid SSML"},
        {R"("input":{"text":"a"},"voice":{"languageCode":"en-US","name":"x"})", "Voice 'x' does not exist"},
    };
    for (const auto& row : rows) {
        const Reply reply = GoogleSpeak("{" + std::string(config) + "," + row.body + "}");
        EXPECT_EQ(reply.status, 400) << row.body;
        EXPECT_TRUE(Holds(reply.body, row.message)) << reply.body;
    }
    const std::string url = "https://texttospeech.googleapis.com/v1/voices";
    EXPECT_EQ(Run({url}).status, 403);
    EXPECT_EQ(Run({url + "?key=nonsense"}).status, 400);
    EXPECT_EQ(Run({url + "?key=" + m_services->GetCredentials().googleKey}).status, 200);
}

TEST_F(ServicesTest, RequestsAreKeptAsTheyCame)
{
    const std::string body = PollySpeech("Gr\xC3\xBC\xC3\x9F"
                                         "e");
    PollySpeak(body);
    GoogleVoices();
    const std::vector<Request> requests = m_services->Requests();
    const std::vector<Request> connects = m_services->Connects();
    ASSERT_EQ(requests.size(), 2u);
    ASSERT_EQ(connects.size(), 2u);
    EXPECT_EQ(requests[0].method, "POST");
    EXPECT_EQ(requests[0].host, "polly.eu-central-1.amazonaws.com");
    EXPECT_EQ(requests[0].sni, requests[0].host);
    EXPECT_EQ(requests[0].path, "/v1/speech");
    EXPECT_EQ(requests[0].Header("content-TYPE"), "application/json");
    EXPECT_EQ(requests[0].body, body);
    EXPECT_EQ(requests[0].status, 200);
    EXPECT_EQ(connects[0].target, "polly.eu-central-1.amazonaws.com:443");
    EXPECT_LT(connects[0].order, requests[0].order);
    EXPECT_LT(requests[0].order, connects[1].order);
    EXPECT_EQ(connects[0].connection, requests[0].connection);
    EXPECT_EQ(m_services->Requests("texttospeech.googleapis.com", "/v1/voices").size(), 1u);
    m_services->ClearRequests();
    EXPECT_TRUE(m_services->Requests().empty());
}

TEST_F(ServicesTest, ClientsAtOnceAreAnsweredEachOnItsOwnConnection)
{
    constexpr std::size_t count = 6;
    const std::string key = m_services->GetCredentials().googleKey;
    m_services->Inject("texttospeech.googleapis.com", "", count, Fault::Stall(Stage::kBeforeHeaders));
    const auto release = [&](pid_t) {
        if (m_services->WaitForStalls(count, std::chrono::milliseconds(0)))
            m_services->Release();
    };
    const Reply reply = Run(
        {"-Z", "--parallel-immediate", "https://texttospeech.googleapis.com/v1/voices?n=[1-6]&key=" + key}, release);
    EXPECT_EQ(reply.exit, 0);
    std::set<std::uint64_t> connections;
    for (const Request& request : m_services->Requests())
        connections.insert(request.status == 200 ? request.connection : 0);
    EXPECT_EQ(connections.size(), count);
    EXPECT_EQ(connections.count(0), 0u);
}

} // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    return RunTests();
}
