// Signatures stage by stage, against files made elsewhere and against OpenSSL. MIT licence.
#include "speech/awssigner.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <openssl/evp.h>
#include <openssl/hmac.h>

#include "support/stepped_time.h"

namespace
{

constexpr std::time_t kNow = 1709251198; // 2024-02-29 23:59:58 UTC

struct FixedClock : SteppedTime {
    FixedClock() { utc = kNow * 1000 + 999; }
};

// "=== stage" lines, each with its value up to the next.
std::map<std::string, std::string> ReadStages(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    std::map<std::string, std::string> stages;
    const std::string mark = "=== ";
    for (size_t at = text.find(mark); at != std::string::npos;) {
        const size_t lineEnd = text.find('\n', at);
        const size_t next = text.find("\n" + mark, lineEnd);
        const size_t end = next == std::string::npos ? text.size() - 1 : next;
        stages[text.substr(at + mark.size(), lineEnd - at - mark.size())] =
            end > lineEnd ? text.substr(lineEnd + 1, end - lineEnd - 1) : "";
        at = next == std::string::npos ? next : next + 1;
    }
    return stages;
}

std::string Utf8(const wxString& text)
{
    return std::string(text.utf8_str());
}

std::string Hex(const std::string& bytes)
{
    std::string digits;
    for (const char byte : bytes)
        digits += wxString::Format("%02x", static_cast<unsigned char>(byte)).ToStdString();
    return digits;
}

std::string Sha256(const std::string& text)
{
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned length = 0;
    EVP_Digest(text.data(), text.size(), digest, &length, EVP_sha256(), nullptr);
    return std::string(reinterpret_cast<char*>(digest), length);
}

std::string Hmac(const std::string& key, const std::string& text)
{
    unsigned char mac[EVP_MAX_MD_SIZE];
    unsigned length = 0;
    HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()), reinterpret_cast<const unsigned char*>(text.data()),
         text.size(), mac, &length);
    return std::string(reinterpret_cast<char*>(mac), length);
}

// What a service that knows the secret computes for a POST of this payload.
std::string ExpectedSignature(const std::string& secret, const std::string& region, const std::string& host,
                              const std::string& payload)
{
    const std::string hash = Hex(Sha256(payload));
    const std::string canonical = "POST\n/v1/speech\n\ncontent-type:application/json\nhost:" + host +
                                  "\nx-amz-content-sha256:" + hash +
                                  "\nx-amz-date:20240229T235958Z\n\n"
                                  "content-type;host;x-amz-content-sha256;x-amz-date\n" +
                                  hash;
    const std::string toSign =
        "AWS4-HMAC-SHA256\n20240229T235958Z\n20240229/" + region + "/polly/aws4_request\n" + Hex(Sha256(canonical));
    const std::string key = Hmac(Hmac(Hmac(Hmac("AWS4" + secret, "20240229"), region), "polly"), "aws4_request");
    return Hex(Hmac(key, toSign));
}

AWSRequestInfo Post(const std::string& secret, const std::string& region, const std::string& payload)
{
    AWSRequestInfo info;
    info.accessKey = "AKID";
    info.secretKey = wxString::FromUTF8(secret);
    info.region = wxString::FromUTF8(region);
    info.method = "POST";
    info.canonicalUri = "/v1/speech";
    info.contentType = "application/json";
    info.payload = wxString::FromUTF8(payload);
    return info;
}

} // namespace

TEST(AwsSigner, EveryStageIsTheOneOfTheGoldenFiles)
{
    const FixedClock clock;
    for (const char* name : {"voices", "speech", "china", "nothing"}) {
        SCOPED_TRACE(name);
        auto stages = ReadStages(std::filesystem::path(QX_TEST_DATA "/signer") / (std::string(name) + ".txt"));
        ASSERT_EQ(stages.size(), 11u);
        AWSRequestInfo info = Post(stages["secret"], stages["region"], stages["payload"]);
        info.accessKey = wxString::FromUTF8(stages["access"]);
        info.method = wxString::FromUTF8(stages["method"]);
        info.canonicalUri = wxString::FromUTF8(stages["uri"]);
        const wxString authorization = CreateAuthorization(info);
        EXPECT_EQ(Utf8(qxspeech::CreateCanonicalRequest(info, qxSHA256Hex(info.payload))), stages["canonical request"]);
        EXPECT_EQ(Utf8(qxspeech::CreateStringToSign(info, qxSHA256Hex(info.payload))), stages["string to sign"]);
        EXPECT_EQ(Hex(CreateSigningKey(info.secretKey, info.dateStamp, info.region, info.service)),
                  stages["signing key"]);
        EXPECT_EQ(Utf8(authorization), stages["authorization"]);
        EXPECT_EQ(Utf8(CreateRequestUrl(info)), stages["url"]);
    }
}

TEST(AwsSigner, SignatureIsTheOneThatOpenSslMakes)
{
    const FixedClock clock;
    const std::string standard = ".amazonaws.com";
    const struct {
        const char* label;
        std::string secret;
        std::string region;
        std::string domain;
        std::string payload;
    } rows[] = {
        {"plain", "secret", "us-east-1", standard, "{}"},
        {"China", "secret", "cn-northwest-1", ".amazonaws.com.cn", "{}"},
        {"China's other region", "secret", "cn-north-1", standard, "{}"},
        {"region in upper case", "secret", "CN-NORTHWEST-1", standard, "{}"},
        {"empty secret", "", "eu-west-1", standard, "{}"},
        {"long secret", std::string(200, 's'), "eu-west-1", standard, "{}"},
        {"empty region", "secret", "", standard, "{}"},
        {"blank in the region", "secret", "us east", standard, "{}"},
        {"empty payload", "secret", "eu-west-1", standard, ""},
        {"beyond ASCII", "secret", "eu-west-1", standard, "{\"Text\":\"\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80\"}"},
        {"long payload", "secret", "eu-west-1", standard, std::string(300'000, 'x') + "\xc3\xa9"},
    };
    for (const auto& row : rows) {
        AWSRequestInfo info = Post(row.secret, row.region, row.payload);
        const std::string authorization = Utf8(CreateAuthorization(info));
        const std::string host = "polly." + row.region + row.domain;
        EXPECT_EQ(authorization.substr(authorization.rfind('=') + 1),
                  ExpectedSignature(row.secret, row.region, host, row.payload))
            << row.label;
    }
}

// Values that the service's own documentation gives for the derivation of a key.
TEST(AwsSigner, DerivedKeyIsThePublishedOne)
{
    const std::string key =
        CreateSigningKey("wJalrXUtnFEMI/K7MDENG+bPxRfiCYEXAMPLEKEY", "20120215", "us-east-1", "iam");
    EXPECT_EQ(Hex(key), "f4780e2d9f65fa895f9c67b32ce1baf0b0d8a43505a000a1a9e090d414db404d");
}

TEST(AwsSigner, MacIsRawOrInUpperCaseDigits)
{
    // Of RFC 4231, case 2.
    EXPECT_EQ(qxHMACSHA256("Jefe", "what do ya want for nothing?", true),
              "5BDCC146BF60754E6A042426089575C75A003F089D2739839DEC58B964EC3843");
    EXPECT_EQ(qxHMACSHA256("Jefe", "what do ya want for nothing?", false),
              Hmac("Jefe", "what do ya want for nothing?"));
}

TEST(AwsSigner, AddressEncodesTheRegionThatTheHostIsSignedWith)
{
    AWSRequestInfo info = Post("secret", "us east", "");
    EXPECT_EQ(CreateRequestUrl(info), "https://polly.us%20east.amazonaws.com/v1/speech?");
}
