// One blocking request to a web service, and its answer: the only door to the HTTP library. Private. MIT licence.
#ifndef QXSPEECH_SPEECH_CLOUDREQUEST_H
#define QXSPEECH_SPEECH_CLOUDREQUEST_H

#include <optional>
#include <string>
#include <utility>
#include <vector>
#include <wx/string.h>

namespace qxspeech
{

struct CloudRequest {
    enum class Method { kGet, kPost };

    Method method = Method::kGet;
    wxString url;
    // In the order in which they are added. What the HTTP library adds by itself (Host, User-Agent, Connection,
    // Content-Length) is not listed here.
    std::vector<std::pair<wxString, wxString>> headers;
    // UTF-8, sent byte by byte. With one, put "Content-Type" among the headers, or the HTTP library names a type.
    std::optional<std::string> body;
};

// What came back: status, reason and headers are there at once, the body arrives while it is read, which is done once.
// Owned by whoever sent the request, on the stack; one thread at a time. It holds the connection until it goes away.
class CloudResponse
{
public:
    CloudResponse(CloudResponse&& other) noexcept;
    CloudResponse& operator=(CloudResponse&&) = delete;
    ~CloudResponse();

    int GetStatus() const; // 200 is the only success
    bool IsOk() const { return GetStatus() == 200; }
    wxString GetReason() const;
    // By any case of the name; empty if absent.
    wxString GetHeader(const wxString& name) const;

    // Writes the body into the file as it arrives, replacing what is there, and blocks until it is closed. Throws
    // std::exception if the file cannot be opened or written or if the body breaks off; the file then stays cut short.
    void SaveToFile(const wxString& path);
    // As qxHttpResponseToString: blocks, never throws, and "" has its reason in the log. After a refusal for the type
    // alone the body is still there to be read with ignoreContentType.
    wxString ReadText(bool ignoreContentType = false);

private:
    friend CloudResponse SendCloudRequest(const CloudRequest& request);
    class Impl;

    explicit CloudResponse(Impl* impl) : m_impl(impl) {}

    Impl* m_impl; // owned
};

// Sends the request through the process-wide proxy settings of QXTextToSpeech and blocks until the answer's headers are
// in. Each call has a client and a connection of its own, and nothing is repeated. Any status is an answer; throws
// std::exception for everything that prevents one (a bad address, no connection, a certificate, 30 seconds
// without a byte), and for a header value that holds a line break. No text of an exception holds a header's value.
CloudResponse SendCloudRequest(const CloudRequest& request);

} // namespace qxspeech

#endif
