// HTTP/1.1 messages on a byte stream, as a server reads and writes them. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_SERVICES_HTTPMESSAGE_H
#define QXSPEECH_TESTS_SUPPORT_SERVICES_HTTPMESSAGE_H

#include "services.h"

namespace loopback
{

// A blocking stream. Owned by the connection's thread.
class ByteStream
{
public:
    virtual ~ByteStream() = default;
    virtual std::size_t Read(char* data, std::size_t size) = 0; // 0 at the end and on every error
    virtual bool Write(const char* data, std::size_t size) = 0; // all of it
    bool Write(const std::string& text) { return Write(text.data(), text.size()); }
};

enum class ReadResult { kRequest, kEnd, kMalformed, kTooLarge };

// Reads requests one after the other; keeps what came too early for the next one.
class RequestReader
{
public:
    explicit RequestReader(ByteStream& stream) : m_stream(stream) {}
    // Fills method, target, path, query, headers and body. kEnd: the peer closed before the first byte or within.
    ReadResult Read(Request& request);

private:
    bool Fill();
    bool TakeLine(std::string& line); // without the line end; false at the end or if it grows too long
    bool TakeBytes(std::size_t count, std::string& bytes);
    ReadResult ReadHeaders(Request& request);
    ReadResult ReadBody(Request& request);
    ReadResult ReadChunks(std::string& body);

    ByteStream& m_stream;
    std::string m_buffer;
    std::size_t m_start = 0; // of what is unread in the buffer
};

std::string Lower(std::string text);
std::string Trim(const std::string& text);
const char* ReasonOf(int status);
std::string UrlDecoded(const std::string& text);
// The first value of a name in "a=b&c=d", decoded; empty if there is none.
std::string QueryValue(const std::string& query, const std::string& name);

// Status line and headers, with the length or the chunking, up to and with the blank line.
std::string HeaderText(const Answer& answer);
// False if the peer is gone. atHalf is called once, when half of the body is written (of chunks: within one); if it
// answers false, the rest stays unwritten and the result is false.
bool WriteBody(ByteStream& stream, const Answer& answer, const std::function<bool()>& atHalf = {});

} // namespace loopback

#endif
