// Signature Version 4 for requests to Amazon Polly. Private. MIT licence.
#ifndef QXSPEECH_SPEECH_AWSSIGNER_H
#define QXSPEECH_SPEECH_AWSSIGNER_H

#include <string>
#include <wx/string.h>

// A request as it is signed. Made, signed and dropped by the caller for each request; it holds the secret key.
struct AWSRequestInfo {
    wxString accessKey;
    wxString secretKey;
    wxString region;
    wxString method;         // "POST" signs the content too, anything else does not
    wxString canonicalUri;   // as it is, not encoded
    wxString canonicalQuery; // always empty
    wxString contentType;    // POST only
    wxString payload;        // the body, hashed and to be sent as UTF-8; empty for a GET
    wxString amzDate;        // set by CreateAuthorization: 20260102T030405Z
    wxString dateStamp;      // set by CreateAuthorization: 20260102
    wxString service = "polly";
};

// The value of the header Authorization. Sets amzDate, which goes out as X-Amz-Date, and dateStamp. Nothing is checked:
// bad keys make a header that the service refuses.
wxString CreateAuthorization(AWSRequestInfo& info);

// Ends in "?", since there is no query. Throws std::exception for a region that cannot be encoded.
wxString CreateRequestUrl(const AWSRequestInfo& info);

// Of the UTF-8 text; lower case.
wxString qxSHA256Hex(const wxString& text);

// 32 raw bytes, or 64 upper-case digits with hex. Empty, with a log line, if the library refuses the key.
std::string qxHMACSHA256(const std::string& key, const std::string& data, bool hex);

// 32 raw bytes.
std::string CreateSigningKey(const wxString& secretKey, const wxString& dateStamp, const wxString& region,
                             const wxString& service);

wxString FormatAuthorization(const wxString& algorithm, const wxString& accessKey, const wxString& dateStamp,
                             const wxString& region, const wxString& service, const wxString& signedHeaders,
                             const wxString& signature);

namespace qxspeech
{

// The same for a caller who has qxSHA256Hex of the payload at hand, so that a long one is hashed once.
wxString CreateAuthorization(AWSRequestInfo& info, const wxString& payloadHash);

// The stages between a request with its date and its signature.
wxString CreateCanonicalRequest(const AWSRequestInfo& info, const wxString& payloadHash);
wxString CreateStringToSign(const AWSRequestInfo& info, const wxString& payloadHash);

} // namespace qxspeech

#endif
