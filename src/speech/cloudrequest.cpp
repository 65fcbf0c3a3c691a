// Requests by cpprestsdk. MIT licence.
#include "speech/cloudrequest.h"

#include <cerrno>
#include <cpprest/http_client.h>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include "common/utils.h"
#include "core/qxproxysettings.h"
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

http_client MakeClient(const wxString& url)
{
    web::web_proxy proxy;
    if (QXProxySettings* const settings = QXTextToSpeech::GetProxySettings())
        settings->ApplySettings(proxy, url);
    http_client_config config;
    config.set_proxy(proxy);
    return http_client(web::uri(ToNative(url)), config);
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

constexpr size_t kBlockBytes = 64 * 1024;

// Not the HTTP library's own file stream: on a full disk that one ends the process.
class OutputFile
{
public:
    explicit OutputFile(const wxString& path)
        : m_name(path.utf8_str()), m_file(std::filesystem::u8path(m_name), std::ios::binary | std::ios::trunc)
    {
        Check();
    }
    void Write(const uint8_t* bytes, size_t count)
    {
        m_file.write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(count));
        Check();
    }
    void Close()
    {
        m_file.close();
        Check();
    }

private:
    void Check() const
    {
        if (!m_file)
            throw std::system_error(errno, std::generic_category(), m_name);
    }

    std::string m_name; // UTF-8
    std::ofstream m_file;
};

} // namespace

class CloudResponse::Impl
{
public:
    explicit Impl(const CloudRequest& request)
        : client(MakeClient(request.url)), response(client.request(MakeRequest(request)).get())
    {
    }

    http_client client; // lives until the body is in
    web::http::http_response response;
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

void CloudResponse::SaveToFile(const wxString& path)
{
    OutputFile file(path);
    concurrency::streams::streambuf<uint8_t> body = m_impl->response.body().streambuf();
    std::vector<uint8_t> block(kBlockBytes);
    while (const size_t count = body.getn(block.data(), block.size()).get())
        file.Write(block.data(), count);
    file.Close();
    m_impl->response.content_ready().wait(); // throws what ended the body early
}

wxString CloudResponse::ReadText(bool ignoreContentType)
{
    return qxHttpResponseToString(m_impl->response, ignoreContentType);
}

CloudResponse SendCloudRequest(const CloudRequest& request)
{
    return CloudResponse(new CloudResponse::Impl(request));
}

} // namespace qxspeech
