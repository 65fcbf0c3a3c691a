// Requests by cpprestsdk. MIT licence.
#include "speech/cloudrequest.h"

#include <cpprest/http_client.h>
#include <memory>
#include <stdexcept>
#include <wx/translation.h>

#include "common/logging.h"
#include "common/utils.h"
#include "core/qxproxysettings.h"
#include "speech/arrivingbody.h"
#include "speech/qxtexttospeech.h"

using web::http::client::http_client;
using web::http::client::http_client_config;

namespace qxspeech
{
namespace
{

utility::string_t ToNative(const wxString& text)
{
    return utility::conversions::to_string_t(std::string(text.utf8_str()));
}

wxString FromNative(const utility::string_t& text)
{
    return wxString::FromUTF8(utility::conversions::to_utf8string(text));
}

wxString Describe(const web::web_proxy& proxy)
{
    return proxy.is_specified() ? FromNative(proxy.address().host()) + wxString::Format(":%d", proxy.address().port())
                                : wxString();
}

// Sets the peer as far as it is known, also if it throws.
http_client MakeClient(const wxString& url, CloudPeer& peer)
{
    const web::uri address(ToNative(url));
    peer.host = FromNative(address.host());
    web::web_proxy proxy;
    if (QXProxySettings* const settings = QXTextToSpeech::GetProxySettings())
        settings->ApplySettings(proxy, url);
    peer.proxy = Describe(proxy);
    http_client_config config;
    config.set_proxy(proxy);
    config.set_max_redirects(0); // a redirect would take the keys along
    return http_client(address, config);
}

// A line break in a value, say behind a key that was read from a file, would begin a header of its own.
void AddHeader(web::http::http_headers& headers, const wxString& name, const wxString& value)
{
    if (value.find_first_of(wxString(L"\r\n\0", 3)) != wxString::npos)
        throw std::invalid_argument("line break in header " + std::string(name.utf8_str()));
    headers.add(ToNative(name), ToNative(value));
}

web::http::http_request MakeRequest(const CloudRequest& request)
{
    web::http::http_request made(request.method == CloudRequest::Method::kPost ? web::http::methods::POST
                                                                               : web::http::methods::GET);
    for (const auto& [name, value] : request.headers)
        AddHeader(made.headers(), name, value);
    if (request.body)
        made.set_body(*request.body);
    return made;
}

// Has the call done, and turns what it throws into a CloudFailure.
template <class Call>
auto Guarded(const CloudPeer& peer, Call call)
{
    try {
        return call();
    } catch (const CloudFailure&) {
        throw;
    } catch (const web::http::http_exception& failure) {
        const wxString words = qxExceptionText(failure);
        throw CloudFailure(failure.what(), TransportFailure(peer, words, failure.error_code().value()));
    } catch (const std::invalid_argument& failure) { // a header's value
        throw CloudFailure(failure.what(), MakeFailure(peer, wxTTS_FAILURE_KEY, _("The credentials are invalid.")));
    } catch (const std::exception& failure) {
        throw CloudFailure(failure.what(), MakeFailure(peer, wxTTS_FAILURE_OTHER, qxExceptionText(failure)));
    }
}

} // namespace

class CloudResponse::Impl
{
public:
    explicit Impl(const CloudRequest& request)
        : client(Guarded(peer, [&] { return MakeClient(request.url, peer); })),
          response(Guarded(peer, [&] { return Send(request); }))
    {
        response.content_ready().then([arriving = body](const pplx::task<web::http::http_response>& whole) {
            try {
                whole.get();
                arriving->End(nullptr);
            } catch (...) {
                arriving->End(std::current_exception());
            }
        });
    }
    // Ends the request in the middle of a body at the next bytes that come, or after the HTTP library's 30 s without
    // any; the connection goes with it. The library's cancellation would close the socket from here while a thread of
    // its own may be within a read, which can crash there.
    ~Impl() { body->Abandon(); }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    // "" at the end.
    const std::string& TakeBlock()
    {
        const TransferPace::Verdict verdict = Guarded(peer, [this] { return body->Take(block); });
        if (verdict == TransferPace::Verdict::kGood)
            return block;
        const wxString sentence = verdict == TransferPace::Verdict::kSilent ? _("No answer from %s for 30 s.")
                                                                            : _("%s sends less than 1 KB in 60 s.");
        throw CloudFailure(MakeFailure(peer, wxTTS_FAILURE_NETWORK, wxString::Format(sentence, peer.host)));
    }
    std::string ReadAll(std::uint64_t limit)
    {
        std::string bytes;
        bool isTooLong = response.headers().content_length() > limit;
        while (!isTooLong && !TakeBlock().empty()) {
            isTooLong = bytes.size() + block.size() > limit;
            if (!isTooLong)
                bytes += block;
        }
        if (!isTooLong)
            return bytes;
        const wxString size = wxString::Format("%d MB", static_cast<int>(limit / (1024 * 1024)));
        throw CloudFailure(MakeFailure(peer, wxTTS_FAILURE_OTHER,
                                       wxString::Format(_("The answer of %s is longer than %s."), peer.host, size)));
    }

private:
    web::http::http_response Send(const CloudRequest& request)
    {
        web::http::http_request made = MakeRequest(request);
        made.set_response_stream(concurrency::streams::streambuf<std::uint8_t>(body).create_ostream());
        return client.request(made).get();
    }

public:
    CloudPeer peer;
    http_client client; // lives until the body is in
    const std::shared_ptr<ArrivingBody> body = std::make_shared<ArrivingBody>();
    web::http::http_response response; // behind what its request needs
    std::string block;
};

CloudResponse::CloudResponse(CloudResponse&& other) noexcept : m_impl(std::exchange(other.m_impl, nullptr)) {}

CloudResponse::~CloudResponse()
{
    delete m_impl;
}

int CloudResponse::GetStatus() const
{
    return m_impl->response.status_code();
}

wxString CloudResponse::GetReason() const
{
    return FromNative(m_impl->response.reason_phrase());
}

wxString CloudResponse::GetHeader(const wxString& name) const
{
    const web::http::http_headers& headers = m_impl->response.headers();
    const auto found = headers.find(ToNative(name));
    return found == headers.end() ? wxString() : FromNative(found->second);
}

const CloudPeer& CloudResponse::GetPeer() const
{
    return m_impl->peer;
}

void CloudResponse::SaveToFile(const wxString& path, FileAccess access)
{
    OutputFile file(path, access);
    for (const std::string* block = &m_impl->TakeBlock(); !block->empty(); block = &m_impl->TakeBlock())
        file.Write(block->data(), block->size());
    file.Close();
}

wxString CloudResponse::ReadText(std::uint64_t limit, bool ignoreContentType)
{
    std::string bytes = m_impl->ReadAll(limit);
    const auto label = m_impl->response.headers().find(web::http::header_names::content_type);
    web::http::http_response whole(m_impl->response.status_code());
    whole.set_body(std::move(bytes), "application/octet-stream");
    if (label == m_impl->response.headers().end())
        whole.headers().remove(web::http::header_names::content_type);
    else
        whole.headers()[web::http::header_names::content_type] = label->second;
    return qxHttpResponseToString(whole, ignoreContentType);
}

wxString CloudResponse::ReadRefusal()
{
    try {
        return ReadText(kShortTextLimit);
    } catch (const std::exception& failure) {
        QX_LOG("%s", qxExceptionText(failure));
        return wxString();
    }
}

CloudResponse SendCloudRequest(const CloudRequest& request)
{
    return CloudResponse(new CloudResponse::Impl(request));
}

} // namespace qxspeech
