// Canonical request, string to sign, signature. MIT licence.
#include "speech/awssigner.h"

#include <cpprest/base_uri.h>
#include <crypto++/hmac.h>
#include <crypto++/sha.h>
#include <cstdint>
#include <ctime>
#include <wx/strconv.h>
#include <wx/time.h>

#include "common/logging.h"
#include "common/timesource.h"

namespace
{

const wchar_t kAlgorithm[] = L"AWS4-HMAC-SHA256";
const wchar_t kScopeEnd[] = L"aws4_request";

void SetDates(AWSRequestInfo& info)
{
    const auto now = static_cast<std::time_t>(qxspeech::TimeSource::Get().UtcMs() / 1000);
    std::tm utc = {};
    wxGmtime_r(&now, &utc);
    char text[32];
    const size_t length = std::strftime(text, sizeof text, "%Y%m%dT%H%M%SZ", &utc);
    info.amzDate = wxString::FromAscii(text, length);
    info.dateStamp = info.amzDate.Left(8);
}

bool IsPost(const AWSRequestInfo& info)
{
    return info.method == L"POST";
}

wxString Domain(const wxString& region)
{
    return region == L"cn-northwest-1" ? L"amazonaws.com.cn" : L"amazonaws.com";
}

wxString SignedHeaders(const AWSRequestInfo& info)
{
    return IsPost(info) ? L"content-type;host;x-amz-content-sha256;x-amz-date" : L"host;x-amz-date";
}

wxString CanonicalHeaders(const AWSRequestInfo& info, const wxString& payloadHash)
{
    wxString headers;
    if (IsPost(info))
        headers << L"content-type:" << info.contentType << L"\n";
    headers << L"host:" << info.service << L"." << info.region << L"." << Domain(info.region) << L"\n";
    if (IsPost(info))
        headers << L"x-amz-content-sha256:" << payloadHash << L"\n";
    headers << L"x-amz-date:" << info.amzDate << L"\n";
    return headers;
}

wxString Scope(const AWSRequestInfo& info)
{
    wxString scope;
    scope << info.dateStamp << L"/" << info.region << L"/" << info.service << L"/" << kScopeEnd;
    return scope;
}

// Nearly everything that is signed is ASCII, which needs no conversion.
template <class Convert>
std::string Bytes(const wxString& text, Convert convert)
{
    std::string ascii(text.length(), '\0');
    const wchar_t* const characters = text.wc_str();
    for (size_t i = 0; i < ascii.size(); ++i) {
        const wchar_t character = characters[i];
        if (static_cast<std::uint32_t>(character) > 0x7f) {
            const wxScopedCharBuffer bytes = convert(text);
            return std::string(bytes.data(), bytes.length());
        }
        ascii[i] = static_cast<char>(character);
    }
    return ascii;
}

std::string Utf8(const wxString& text)
{
    return Bytes(text, [](const wxString& other) { return other.utf8_str(); });
}

std::string Narrow(const wxString& text)
{
    return Bytes(text, [](const wxString& other) { return other.mb_str(wxConvLibc); });
}

const CryptoPP::byte* Data(const std::string& bytes)
{
    return reinterpret_cast<const CryptoPP::byte*>(bytes.data());
}

std::string ToHex(const std::string& bytes, const char* digits)
{
    std::string text;
    text.reserve(2 * bytes.size());
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        (text += digits[byte >> 4]) += digits[byte & 15];
    }
    return text;
}

const char kUpperDigits[] = "0123456789ABCDEF";
const char kLowerDigits[] = "0123456789abcdef";

} // namespace

wxString CreateAuthorization(AWSRequestInfo& info)
{
    return qxspeech::CreateAuthorization(info, qxSHA256Hex(info.payload));
}

wxString CreateRequestUrl(const AWSRequestInfo& info)
{
    const utility::string_t region = utility::conversions::to_string_t(std::string(info.region.utf8_str()));
    const utility::string_t encoded = web::uri::encode_uri(region, web::uri::components::query);
    return wxString::Format("https://%s.%s.%s%s?%s", info.service,
                            wxString::FromUTF8(utility::conversions::to_utf8string(encoded)), Domain(info.region),
                            info.canonicalUri, info.canonicalQuery);
}

wxString qxSHA256Hex(const wxString& text)
{
    const std::string utf8 = Utf8(text);
    std::string digest(CryptoPP::SHA256::DIGESTSIZE, '\0');
    CryptoPP::SHA256().CalculateDigest(reinterpret_cast<CryptoPP::byte*>(&digest[0]), Data(utf8), utf8.size());
    const std::string hex = ToHex(digest, kLowerDigits);
    return wxString::FromAscii(hex.data(), hex.size());
}

std::string qxHMACSHA256(const std::string& key, const std::string& data, bool hex)
{
    std::string mac;
    try {
        CryptoPP::HMAC<CryptoPP::SHA256> hmac(Data(key), key.size());
        std::string digest(CryptoPP::SHA256::DIGESTSIZE, '\0');
        hmac.CalculateDigest(reinterpret_cast<CryptoPP::byte*>(&digest[0]), Data(data), data.size());
        mac = std::move(digest);
    } catch (const CryptoPP::Exception& failure) {
        QX_LOG("qxHMACSHA256: %s", wxString::FromUTF8(failure.what()));
    }
    return hex ? ToHex(mac, kUpperDigits) : mac;
}

std::string CreateSigningKey(const wxString& secretKey, const wxString& dateStamp, const wxString& region,
                             const wxString& service)
{
    std::string key = qxHMACSHA256("AWS4" + Narrow(secretKey), Narrow(dateStamp), false);
    key = qxHMACSHA256(key, Narrow(region), false);
    key = qxHMACSHA256(key, Narrow(service), false);
    return qxHMACSHA256(key, Narrow(kScopeEnd), false);
}

wxString FormatAuthorization(const wxString& algorithm, const wxString& accessKey, const wxString& dateStamp,
                             const wxString& region, const wxString& service, const wxString& signedHeaders,
                             const wxString& signature)
{
    wxString value = algorithm;
    value << L" Credential=" << accessKey << L"/" << dateStamp << L"/" << region << L"/" << service << L"/" << kScopeEnd
          << L", SignedHeaders=" << signedHeaders << L", Signature=" << signature;
    return value;
}

namespace qxspeech
{

wxString CreateAuthorization(AWSRequestInfo& info, const wxString& payloadHash)
{
    SetDates(info);
    const std::string key = CreateSigningKey(info.secretKey, info.dateStamp, info.region, info.service);
    const wxString signature(qxHMACSHA256(key, Narrow(CreateStringToSign(info, payloadHash)), true));
    return FormatAuthorization(kAlgorithm, info.accessKey, info.dateStamp, info.region, info.service,
                               SignedHeaders(info), signature.Lower());
}

wxString CreateCanonicalRequest(const AWSRequestInfo& info, const wxString& payloadHash)
{
    wxString request = info.method;
    request << L"\n"
            << info.canonicalUri << L"\n"
            << info.canonicalQuery << L"\n"
            << CanonicalHeaders(info, payloadHash);
    request << L"\n" << SignedHeaders(info) << L"\n" << payloadHash;
    return request;
}

wxString CreateStringToSign(const AWSRequestInfo& info, const wxString& payloadHash)
{
    wxString text = kAlgorithm;
    text << L"\n" << info.amzDate << L"\n" << Scope(info) << L"\n";
    text << qxSHA256Hex(CreateCanonicalRequest(info, payloadHash));
    return text;
}

} // namespace qxspeech
