// Categories and sentences by tables. MIT licence.
#include "speech/cloudfailure.h"

#include <algorithm>
#include <cerrno>
#include <wx/translation.h>

#include "common/logging.h"
#include "common/utils.h"
#include "speech/cloudrequest.h"

namespace qxspeech
{
namespace
{

// The HTTP library's words, the longer before those that begin alike. %s: the proxy, or the host.
const struct {
    const char* words;
    wxTTSFailureCategory category;
    const char* sentence;
} kTransport[] = {
    {"Failed to connect to any resolved proxy endpoint", wxTTS_FAILURE_PROXY,
     wxTRANSLATE("The proxy %s cannot be reached.")},
    {"Error resolving proxy address", wxTTS_FAILURE_PROXY, wxTRANSLATE("The proxy %s is not known.")},
    {"Failed to read HTTP status line from proxy", wxTTS_FAILURE_PROXY, wxTRANSLATE("The proxy %s does not answer.")},
    {"Invalid HTTP status line during proxy connection", wxTTS_FAILURE_PROXY,
     wxTRANSLATE("The proxy %s does not answer as a proxy.")},
    {"Error resolving address", wxTTS_FAILURE_NETWORK, wxTRANSLATE("The host %s is not known.")},
    {"Failed to connect to any resolved endpoint", wxTTS_FAILURE_NETWORK, wxTRANSLATE("%s cannot be reached.")},
    {"Error in SSL handshake", wxTTS_FAILURE_NETWORK, wxTRANSLATE("No secure connection to %s comes about.")},
};
const char kProxyStatus[] = "Expected a 200 response from proxy, received: ";
constexpr int kProxyWantsCredentials = 407;

// In a refusal's words, small letters; the first that is found counts.
const struct {
    const char* word;
    wxTTSFailureCategory category;
} kWords[] = {
    {"longer than", wxTTS_FAILURE_TOO_LONG},
    {"too long", wxTTS_FAILURE_TOO_LONG},
    {"per minute", wxTTS_FAILURE_THROTTLED},
    {"rate limit", wxTTS_FAILURE_THROTTLED},
    {"quota", wxTTS_FAILURE_QUOTA},
    {"billing", wxTTS_FAILURE_QUOTA},
    {"api key", wxTTS_FAILURE_KEY},
    {"subscription key", wxTTS_FAILURE_KEY},
    {"security token", wxTTS_FAILURE_KEY},
    {"credential", wxTTS_FAILURE_KEY},
    {"ssml", wxTTS_FAILURE_TEXT},
    {"input", wxTTS_FAILURE_TEXT},
    {"voice", wxTTS_FAILURE_VOICE},
    {"language", wxTTS_FAILURE_VOICE},
};

const struct {
    wxTTSFailureCategory category;
    const char* sentence; // %s: the host
} kRefusals[] = {
    {wxTTS_FAILURE_KEY, wxTRANSLATE("%s does not take the credentials.")},
    {wxTTS_FAILURE_QUOTA, wxTRANSLATE("What the account may use at %s is used up.")},
    {wxTTS_FAILURE_THROTTLED, wxTRANSLATE("%s takes no more requests for now.")},
    {wxTTS_FAILURE_TOO_LONG, wxTRANSLATE("The text is longer than %s takes at once.")},
    {wxTTS_FAILURE_TEXT, wxTRANSLATE("%s does not take the text.")},
    {wxTTS_FAILURE_VOICE, wxTRANSLATE("%s has no such voice, or it cannot do this.")},
};

// OpenSSL's number for a certificate that was not verified lies in the low bits, the library's own above.
bool IsCertificateCode(int code)
{
    constexpr int kSystemCodes = 0x10000;
    constexpr int kVerifyFailed = 134;
    return code > kSystemCodes && (code & 0xFFF) == kVerifyFailed;
}

wxTTSFailure ProxyRefusal(const CloudPeer& peer, int status)
{
    const wxString sentence =
        status == kProxyWantsCredentials
            ? wxString::Format(_("The proxy %s asks for credentials."), peer.proxy)
            : wxString::Format(_("The proxy %s lets nothing through to %s: status %d."), peer.proxy, peer.host, status);
    wxTTSFailure failure = MakeFailure(peer, wxTTS_FAILURE_PROXY, sentence);
    failure.status = status;
    return failure;
}

wxString RefusalSentence(wxTTSFailureCategory category, const CloudResponse& response)
{
    const wxString host = response.GetPeer().host;
    const wxString status = wxString::Format("%d %s", response.GetStatus(), response.GetReason()).Trim();
    if (IsRedirect(response))
        return wxString::Format(_("%s answered with a redirection, which is not followed: status %s."), host, status);
    for (const auto& row : kRefusals) {
        if (row.category == category)
            return wxString::Format(wxGetTranslation(row.sentence), host);
    }
    return wxString::Format(_("%s answered with status %s."), host, status);
}

// One line that names host, proxy, status and the service's words; the reason is the status's, or what was thrown.
void LogFailure(const wxTTSFailure& failure, const wxString& reason)
{
    wxString line = failure.host;
    if (!failure.proxy.empty())
        line += " (by the proxy " + failure.proxy + ")";
    if (failure.status != 0)
        line += wxString::Format(": status %d", failure.status);
    if (!reason.empty())
        line += ": " + reason;
    if (!failure.serviceMessage.empty() && failure.serviceMessage != reason)
        line += ": " + failure.serviceMessage;
    QX_LOG("%s", line);
}

} // namespace

wxTTSFailure MakeFailure(const CloudPeer& peer, wxTTSFailureCategory category, const wxString& message)
{
    wxTTSFailure failure;
    failure.category = category;
    failure.host = peer.host;
    failure.proxy = peer.proxy;
    failure.message = message;
    return failure;
}

wxTTSFailure TransportFailure(const CloudPeer& peer, const wxString& words, int code)
{
    wxString status;
    long number = 0;
    if (words.StartsWith(kProxyStatus, &status) && status.ToCLong(&number))
        return ProxyRefusal(peer, static_cast<int>(number));
    if (IsCertificateCode(code))
        return MakeFailure(peer, wxTTS_FAILURE_CERTIFICATE,
                           wxString::Format(_("The certificate of %s is not to be trusted."), peer.host));
    const auto* const row = std::find_if(std::begin(kTransport), std::end(kTransport),
                                         [&](const auto& known) { return words.StartsWith(known.words); });
    const bool isProxy = row != std::end(kTransport) && row->category == wxTTS_FAILURE_PROXY;
    if (code == ETIMEDOUT && !isProxy)
        return MakeFailure(peer, wxTTS_FAILURE_NETWORK, wxString::Format(_("No answer from %s for 30 s."), peer.host));
    if (row == std::end(kTransport))
        return MakeFailure(peer, wxTTS_FAILURE_NETWORK,
                           wxString::Format(_("The connection to %s broke off."), peer.host));
    return MakeFailure(peer, row->category,
                       wxString::Format(wxGetTranslation(row->sentence), isProxy ? peer.proxy : peer.host));
}

wxTTSFailure CaughtFailure(const std::exception& caught)
{
    const wxString text = qxExceptionText(caught);
    const auto* const failure = dynamic_cast<const CloudFailure*>(&caught);
    if (!failure)
        return MakeFailure(CloudPeer(), wxTTS_FAILURE_OTHER, text);
    if (!failure->Record().host.empty())
        LogFailure(failure->Record(), text);
    return failure->Record();
}

wxTTSFailure UnreadableFailure(const CloudPeer& peer)
{
    wxTTSFailure failure =
        MakeFailure(peer, wxTTS_FAILURE_OTHER, wxString::Format(_("The answer of %s cannot be read."), peer.host));
    failure.status = 200;
    return failure;
}

wxTTSFailureCategory RefusalCategory(int status, const wxString& words)
{
    const wxString lower = words.Lower();
    const auto* const row = std::find_if(std::begin(kWords), std::end(kWords),
                                         [&](const auto& known) { return lower.Contains(known.word); });
    const wxTTSFailureCategory told = row == std::end(kWords) ? wxTTS_FAILURE_OTHER : row->category;
    switch (status) {
    case 400:
        return told;
    case 401:
        return wxTTS_FAILURE_KEY;
    case 402:
        return wxTTS_FAILURE_QUOTA;
    case 403:
        return told == wxTTS_FAILURE_QUOTA || told == wxTTS_FAILURE_THROTTLED ? told : wxTTS_FAILURE_KEY;
    case 413:
        return wxTTS_FAILURE_TOO_LONG;
    case 429:
        return told == wxTTS_FAILURE_QUOTA ? told : wxTTS_FAILURE_THROTTLED;
    default:
        return wxTTS_FAILURE_OTHER;
    }
}

wxTTSFailure RefusalFailure(const CloudResponse& response, const wxString& serviceMessage,
                            wxTTSFailureCategory category)
{
    if (category == wxTTS_FAILURE_NONE)
        category = RefusalCategory(response.GetStatus(), serviceMessage);
    wxTTSFailure failure = MakeFailure(response.GetPeer(), category, RefusalSentence(category, response));
    failure.status = response.GetStatus();
    failure.serviceMessage = serviceMessage;
    LogFailure(failure, response.GetReason());
    return failure;
}

bool IsRedirect(const CloudResponse& response)
{
    return response.GetStatus() >= 300 && response.GetStatus() < 400;
}

bool IsRegion(const wxString& region)
{
    static const wxString kCharacters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-";
    return !region.empty() && region.find_first_not_of(kCharacters) == wxString::npos;
}

wxTTSFailure RegionFailure()
{
    return MakeFailure(CloudPeer(), wxTTS_FAILURE_KEY, _("The region is invalid."));
}

} // namespace qxspeech
