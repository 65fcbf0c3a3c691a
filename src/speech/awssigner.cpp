// Canonical request, string to sign, signature. MIT licence.
#include "speech/awssigner.h"

#include <cpprest/base_uri.h>
#include <crypto++/filters.h>
#include <crypto++/hex.h>
#include <crypto++/hmac.h>
#include <crypto++/sha.h>
#include <wx/datetime.h>
#include <wx/strconv.h>

#include "common/logging.h"

namespace
{

const char kAlgorithm[] = "AWS4-HMAC-SHA256";
const char kScopeEnd[] = "aws4_request";

std::time_t SystemTime()
{
    return std::time(nullptr);
}

std::time_t (*signingClock)() = SystemTime;

void SetDates(AWSRequestInfo& info)
{
    const wxDateTime now(signingClock());
    info.dateStamp = now.Format("%Y%m%d", wxDateTime::UTC);
    info.amzDate = now.Format("%Y%m%dT%H%M%SZ", wxDateTime::UTC);
}

bool IsPost(const AWSRequestInfo& info)
{
    return info.method == "POST";
}

wxString Domain(const wxString& region)
{
    return region == "cn-northwest-1" ? "amazonaws.com.cn" : "amazonaws.com";
}

wxString SignedHeaders(const AWSRequestInfo& info)
{
    return IsPost(info) ? "content-type;host;x-amz-content-sha256;x-amz-date" : "host;x-amz-date";
}

wxString CanonicalHeaders(const AWSRequestInfo& info, const wxString& payloadHash)
{
    wxString headers;
    if (IsPost(info))
        headers += "content-type:" + info.contentType + "\n";
    headers += wxString::Format("host:%s.%s.%s\n", info.service, info.region, Domain(info.region));
    if (IsPost(info))
        headers += "x-amz-content-sha256:" + payloadHash + "\n";
    return headers + "x-amz-date:" + info.amzDate + "\n";
}

// Keys, dates and regions are ASCII, which every locale has.
std::string Narrow(const wxString& text)
{
    const wxScopedCharBuffer bytes = text.mb_str(wxConvLibc);
    return std::string(bytes.data(), bytes.length());
}

std::string ToHex(const std::string& bytes)
{
    std::string digits;
    const CryptoPP::StringSource source(bytes, true,
                                        new CryptoPP::HexEncoder(new CryptoPP::StringSink(digits), true, 0));
    return digits;
}

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
    const wxScopedCharBuffer utf8 = text.utf8_str();
    std::string digest;
    CryptoPP::SHA256 hash;
    const CryptoPP::StringSource source(reinterpret_cast<const CryptoPP::byte*>(utf8.data()), utf8.length(), true,
                                        new CryptoPP::HashFilter(hash, new CryptoPP::StringSink(digest)));
    return wxString(ToHex(digest)).Lower();
}

std::string qxHMACSHA256(const std::string& key, const std::string& data, bool hex)
{
    std::string mac;
    try {
        CryptoPP::HMAC<CryptoPP::SHA256> hmac(reinterpret_cast<const CryptoPP::byte*>(key.data()), key.size());
        const CryptoPP::StringSource source(data, true, new CryptoPP::HashFilter(hmac, new CryptoPP::StringSink(mac)));
    } catch (const CryptoPP::Exception& failure) {
        QX_LOG("qxHMACSHA256: %s", wxString::FromUTF8(failure.what()));
    }
    return hex ? ToHex(mac) : mac;
}

std::string CreateSigningKey(const wxString& secretKey, const wxString& dateStamp, const wxString& region,
                             const wxString& service)
{
    std::string key = qxHMACSHA256("AWS4" + Narrow(secretKey), Narrow(dateStamp), false);
    key = qxHMACSHA256(key, Narrow(region), false);
    key = qxHMACSHA256(key, Narrow(service), false);
    return qxHMACSHA256(key, kScopeEnd, false);
}

wxString FormatAuthorization(const wxString& algorithm, const wxString& accessKey, const wxString& dateStamp,
                             const wxString& region, const wxString& service, const wxString& signedHeaders,
                             const wxString& signature)
{
    return wxString::Format("%s Credential=%s/%s/%s/%s/aws4_request, SignedHeaders=%s, Signature=%s", algorithm,
                            accessKey, dateStamp, region, service, signedHeaders, signature);
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
    return info.method + "\n" + info.canonicalUri + "\n" + info.canonicalQuery + "\n" +
           CanonicalHeaders(info, payloadHash) + "\n" + SignedHeaders(info) + "\n" + payloadHash;
}

wxString CreateStringToSign(const AWSRequestInfo& info, const wxString& payloadHash)
{
    const wxString scope = info.dateStamp + "/" + info.region + "/" + info.service + "/" + kScopeEnd;
    const wxString request = CreateCanonicalRequest(info, payloadHash);
    return wxString(kAlgorithm) + "\n" + info.amzDate + "\n" + scope + "\n" + qxSHA256Hex(request);
}

void SetSigningClock(std::time_t (*clock)())
{
    signingClock = clock ? clock : SystemTime;
}

} // namespace qxspeech
