// One blocking request to a web service, and its answer: the only door to the HTTP library. Private. MIT licence.
#ifndef QXSPEECH_SPEECH_CLOUDREQUEST_H
#define QXSPEECH_SPEECH_CLOUDREQUEST_H

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>
#include <wx/string.h>

#include "speech/cloudfailure.h"
#include "speech/outputfile.h"

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

// Bytes of an answer that is read as text, whatever the service: more of them is a failure.
constexpr std::uint64_t kShortTextLimit = 1024 * 1024;        // tokens and refusals
constexpr std::uint64_t kVoicesLimit = 32 * 1024 * 1024;      // voice lists
constexpr std::uint64_t kSpeechTextLimit = 256 * 1024 * 1024; // audio within JSON

// What came back: status, reason and headers are there at once, the body arrives while it is read, and no faster.
// Owned by whoever sent the request, on the stack; one thread at a time. It holds the connection until it goes away,
// which ends the request, read or not.
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
    const CloudPeer& GetPeer() const;

    // The three read the body, once; they block until it is in and throw CloudFailure if it breaks off, if no byte
    // comes for 30 s or fewer than 1 KB in 60 s. A slow file does not count; one that takes nothing for 30 s does,
    // since the service is held up meanwhile.
    //
    // Writes it into the file, replacing what is there. Throws also if the file cannot be opened or written; the file
    // then stays cut short.
    void SaveToFile(const wxString& path, FileAccess access);
    // As qxHttpResponseToString: "" for a label that is no text, with a log line. Throws also for more bytes than that.
    wxString ReadText(std::uint64_t limit, bool ignoreContentType = false);
    // The body of a refusal, up to kShortTextLimit. Throws nothing: what cannot be read is "", with a log line.
    wxString ReadRefusal();

private:
    friend CloudResponse SendCloudRequest(const CloudRequest& request);
    class Impl;

    explicit CloudResponse(Impl* impl) : m_impl(impl) {}

    Impl* m_impl; // owned
};

// Sends the request through the process-wide proxy settings of QXTextToSpeech and blocks until the answer's headers are
// in. Each call has a client and a connection of its own, nothing is repeated and no redirect followed. Any status is
// an answer; throws CloudFailure for everything that prevents one (a bad address, no connection, a certificate, 30
// seconds without a byte), and for a header value that holds a line break. No text of an exception holds a header's
// value.
CloudResponse SendCloudRequest(const CloudRequest& request);

} // namespace qxspeech

#endif
