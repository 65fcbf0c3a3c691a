// Rebuilds the signature from what came over the wire, by the published process, on OpenSSL. MIT licence.
#include "signature.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <vector>

#include "httpmessage.h"

namespace loopback
{
namespace
{

constexpr std::time_t kToleranceS = 15 * 60;
const char* const kAlgorithm = "AWS4-HMAC-SHA256";

std::string Hex(const std::string& bytes)
{
    static const char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        text += kDigits[static_cast<unsigned char>(byte) >> 4];
        text += kDigits[static_cast<unsigned char>(byte) & 15];
    }
    return text;
}

std::string Sha256(const std::string& text)
{
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned size = 0;
    EVP_Digest(text.data(), text.size(), digest, &size, EVP_sha256(), nullptr);
    return {reinterpret_cast<const char*>(digest), size};
}

std::string Hmac(const std::string& key, const std::string& text)
{
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned size = 0;
    HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()), reinterpret_cast<const unsigned char*>(text.data()),
         text.size(), digest, &size);
    return {reinterpret_cast<const char*>(digest), size};
}

std::vector<std::string> Split(const std::string& text, char separator)
{
    std::vector<std::string> parts;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find(separator, start), text.size());
        parts.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return parts;
}

// The header's three fields, by name.
std::map<std::string, std::string> FieldsOf(const std::string& authorization)
{
    std::map<std::string, std::string> fields;
    const std::size_t blank = authorization.find(' ');
    if (blank == std::string::npos)
        return fields;
    for (const std::string& part : Split(authorization.substr(blank + 1), ',')) {
        const std::size_t sign = part.find('=');
        if (sign != std::string::npos)
            fields[Trim(part.substr(0, sign))] = Trim(part.substr(sign + 1));
    }
    return fields;
}

// Runs of blanks count as one.
std::string CanonicalValue(const std::string& value)
{
    std::string result;
    for (const char letter : Trim(value))
        if (letter != ' ' || result.back() != ' ')
            result += letter;
    return result;
}

std::string CanonicalQuery(const std::string& query)
{
    std::vector<std::string> pairs = Split(query, '&');
    std::sort(pairs.begin(), pairs.end());
    std::string result;
    for (const std::string& pair : pairs)
        if (!pair.empty())
            result += (result.empty() ? "" : "&") + pair + (pair.find('=') == std::string::npos ? "=" : "");
    return result;
}

std::string CanonicalRequest(const Request& request, const std::string& signedHeaders)
{
    std::string text = request.method + "\n" + request.path + "\n" + CanonicalQuery(request.query) + "\n";
    for (const std::string& name : Split(signedHeaders, ';'))
        text += name + ":" + CanonicalValue(request.Header(name)) + "\n";
    return text + "\n" + signedHeaders + "\n" + Hex(Sha256(request.body));
}

std::string SignatureOf(const Request& request, const std::string& secretKey, const std::string& scope,
                        const std::string& signedHeaders)
{
    const std::string toSign = std::string(kAlgorithm) + "\n" + request.Header("X-Amz-Date") + "\n" + scope + "\n" +
                               Hex(Sha256(CanonicalRequest(request, signedHeaders)));
    std::string key = "AWS4" + secretKey;
    for (const std::string& part : Split(scope, '/'))
        key = Hmac(key, part);
    return Hex(Hmac(key, toSign));
}

// Seconds since the epoch of 20260131T235959Z, -1 for any other shape.
std::time_t TimeOf(const std::string& stamp)
{
    std::tm time = {};
    int used = 0;
    if (stamp.size() != 16 ||
        std::sscanf(stamp.c_str(), "%4d%2d%2dT%2d%2d%2dZ%n", &time.tm_year, &time.tm_mon, &time.tm_mday, &time.tm_hour,
                    &time.tm_min, &time.tm_sec, &used) != 6 ||
        used != 16)
        return -1;
    time.tm_year -= 1900;
    time.tm_mon -= 1;
    return timegm(&time);
}

// The host and every x-amz- header that is there must be under the signature, in lower case and in order.
bool CoversEnough(const Request& request, const std::string& signedHeaders)
{
    const std::vector<std::string> names = Split(signedHeaders, ';');
    const auto covers = [&](const std::string& name) {
        return std::find(names.begin(), names.end(), name) != names.end();
    };
    for (const auto& [name, value] : request.headers)
        if (Lower(name).compare(0, 6, "x-amz-") == 0 && !covers(Lower(name)))
            return false;
    return covers("host") && std::is_sorted(names.begin(), names.end());
}

SignatureFault Invalid(const std::string& message)
{
    return {"InvalidSignatureException", message};
}

SignatureFault CheckScope(const std::vector<std::string>& credential, const Request& request, const std::string& region,
                          const std::string& service)
{
    if (credential[2] != region)
        return Invalid("Credential should be scoped to a valid region.");
    if (credential[3] != service || credential[4] != "aws4_request")
        return Invalid("Credential should be scoped to correct service: '" + service + "'.");
    if (request.Header("X-Amz-Date").compare(0, 8, credential[1]) != 0 || credential[1].size() != 8)
        return Invalid("Date in Credential scope does not match YYYYMMDD from ISO-8601 version of date from HTTP.");
    return {};
}

} // namespace

SignatureFault CheckSignature(const Request& request, const std::string& region, const std::string& service,
                              const Credentials& credentials, std::time_t now)
{
    const std::string authorization = request.Header("Authorization");
    if (authorization.empty())
        return {"MissingAuthenticationTokenException", "Missing Authentication Token"};
    const std::map<std::string, std::string> fields = FieldsOf(authorization);
    const std::time_t time = TimeOf(request.Header("X-Amz-Date"));
    if (authorization.compare(0, 17, std::string(kAlgorithm) + " ") != 0 || fields.count("Credential") == 0 ||
        fields.count("SignedHeaders") == 0 || fields.count("Signature") == 0 || time < 0)
        return {"IncompleteSignatureException", "Authorization header or X-Amz-Date is incomplete."};
    const std::vector<std::string> credential = Split(fields.at("Credential"), '/');
    if (credential.size() != 5)
        return {"IncompleteSignatureException", "Credential must have exactly 5 slash-delimited elements."};
    if (credential[0] != credentials.awsAccessKey)
        return {"UnrecognizedClientException", "The security token included in the request is invalid."};
    const SignatureFault scope = CheckScope(credential, request, region, service);
    if (!scope.type.empty())
        return scope;
    if (std::llabs(static_cast<long long>(now - time)) > kToleranceS)
        return Invalid("Signature expired: " + request.Header("X-Amz-Date") + " is too far from the current time.");
    if (!CoversEnough(request, fields.at("SignedHeaders")))
        return Invalid("'Host' and all 'X-Amz-' headers must be a 'SignedHeader' in the AWS Authorization.");
    if (request.HasHeader("X-Amz-Content-Sha256") &&
        request.Header("X-Amz-Content-Sha256") != Hex(Sha256(request.body)))
        return Invalid("The provided 'x-amz-content-sha256' header does not match what was computed.");
    const std::string scopeText = credential[1] + "/" + credential[2] + "/" + credential[3] + "/" + credential[4];
    if (SignatureOf(request, credentials.awsSecretKey, scopeText, fields.at("SignedHeaders")) != fields.at("Signature"))
        return Invalid("The request signature we calculated does not match the signature you provided. Check your AWS "
                       "Secret Access Key and signing method. Consult the service documentation for details.");
    return {};
}

} // namespace loopback
