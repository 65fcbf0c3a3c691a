// Limits keep a broken client from filling memory; they lie far above what a speech client sends. MIT licence.
#include "httpmessage.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>

namespace loopback
{
namespace
{

constexpr std::size_t kMaxLine = 64 * 1024;
constexpr std::size_t kMaxHeaders = 200;
constexpr std::size_t kMaxBody = 16 * 1024 * 1024;
constexpr std::size_t kPiece = 64 * 1024;

const std::string* Find(const Headers& headers, const std::string& name)
{
    const std::string wanted = Lower(name);
    for (const auto& [key, value] : headers)
        if (Lower(key) == wanted)
            return &value;
    return nullptr;
}

// Digits alone, of the base; false for anything else, and for what is no size of a body.
bool ParseSize(const std::string& text, int base, std::size_t& size)
{
    if (text.empty() || text.size() > 15 || !std::isxdigit(static_cast<unsigned char>(text[0])))
        return false;
    char* end = nullptr;
    size = std::strtoull(text.c_str(), &end, base);
    return *end == '\0';
}

// Writes the parts of a body in pieces, and calls a function in the middle.
class BodyWriter
{
public:
    BodyWriter(ByteStream& stream, const Answer& answer, const std::function<bool()>& atHalf)
        : m_stream(stream), m_chunked(answer.chunked), m_untilHalf(answer.body.Size() / 2), m_atHalf(atHalf)
    {
    }
    bool Part(const std::string& text)
    {
        for (std::size_t at = 0; at < text.size(); at += kPiece)
            if (!Piece(text.data() + at, std::min(kPiece, text.size() - at)))
                return false;
        return true;
    }

private:
    bool Piece(const char* data, std::size_t size)
    {
        char head[24];
        const int length = std::snprintf(head, sizeof(head), "%zx\r\n", size);
        if (m_chunked && !m_stream.Write(head, static_cast<std::size_t>(length)))
            return false;
        return Bytes(data, size) && (!m_chunked || m_stream.Write("\r\n", 2));
    }
    bool Bytes(const char* data, std::size_t size)
    {
        if (!m_atHalf || m_halfDone || size <= m_untilHalf) {
            m_untilHalf -= std::min<std::uint64_t>(m_untilHalf, size);
            return m_stream.Write(data, size);
        }
        const auto before = static_cast<std::size_t>(m_untilHalf);
        m_halfDone = true;
        return m_stream.Write(data, before) && m_atHalf() && m_stream.Write(data + before, size - before);
    }

    ByteStream& m_stream;
    const bool m_chunked;
    std::uint64_t m_untilHalf;
    const std::function<bool()>& m_atHalf;
    bool m_halfDone = false;
};

} // namespace

std::string Lower(std::string text)
{
    for (char& letter : text)
        if (letter >= 'A' && letter <= 'Z')
            letter = static_cast<char>(letter - 'A' + 'a');
    return text;
}

std::string Trim(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

const char* ReasonOf(int status)
{
    static const std::pair<int, const char*> kReasons[] = {
        {200, "OK"},
        {400, "Bad Request"},
        {401, "Unauthorized"},
        {403, "Forbidden"},
        {404, "Not Found"},
        {405, "Method Not Allowed"},
        {407, "Proxy Authentication Required"},
        {413, "Payload Too Large"},
        {415, "Unsupported Media Type"},
        {429, "Too Many Requests"},
        {500, "Internal Server Error"},
        {502, "Bad Gateway"},
        {503, "Service Unavailable"},
        {504, "Gateway Timeout"},
    };
    for (const auto& [code, reason] : kReasons)
        if (code == status)
            return reason;
    return "Unknown";
}

std::string UrlDecoded(const std::string& text)
{
    std::string result;
    for (std::size_t at = 0; at < text.size(); ++at) {
        std::size_t code = 0;
        if (text[at] == '%' && at + 2 < text.size() && ParseSize(text.substr(at + 1, 2), 16, code)) {
            result += static_cast<char>(code);
            at += 2;
        } else {
            result += text[at] == '+' ? ' ' : text[at];
        }
    }
    return result;
}

std::string QueryValue(const std::string& query, const std::string& name)
{
    for (std::size_t start = 0; start < query.size();) {
        const std::size_t end = std::min(query.find('&', start), query.size());
        const std::string pair = query.substr(start, end - start);
        const std::size_t sign = pair.find('=');
        if (sign != std::string::npos && UrlDecoded(pair.substr(0, sign)) == name)
            return UrlDecoded(pair.substr(sign + 1));
        start = end + 1;
    }
    return {};
}

std::string Request::Header(const std::string& name) const
{
    const std::string* value = Find(headers, name);
    return value ? *value : std::string();
}

bool Request::HasHeader(const std::string& name) const
{
    return Find(headers, name) != nullptr;
}

void Answer::RemoveHeader(const std::string& name)
{
    const std::string wanted = Lower(name);
    headers.erase(std::remove_if(headers.begin(), headers.end(),
                                 [&](const auto& header) { return Lower(header.first) == wanted; }),
                  headers.end());
}

void Answer::SetHeader(const std::string& name, const std::string& value)
{
    RemoveHeader(name);
    headers.emplace_back(name, value);
}

bool RequestReader::Fill()
{
    if (m_start > 0) {
        m_buffer.erase(0, m_start);
        m_start = 0;
    }
    char block[16 * 1024];
    const std::size_t count = m_stream.Read(block, sizeof(block));
    m_buffer.append(block, count);
    return count > 0;
}

bool RequestReader::TakeLine(std::string& line)
{
    for (;;) {
        const std::size_t end = m_buffer.find('\n', m_start);
        if (end != std::string::npos) {
            line = m_buffer.substr(m_start, end - m_start);
            m_start = end + 1;
            if (!line.empty() && line.back() == '\r')
                line.pop_back();
            return true;
        }
        if (m_buffer.size() - m_start > kMaxLine || !Fill())
            return false;
    }
}

bool RequestReader::TakeBytes(std::size_t count, std::string& bytes)
{
    while (m_buffer.size() - m_start < count) {
        const std::size_t ready = m_buffer.size() - m_start;
        bytes.append(m_buffer, m_start, ready);
        m_start += ready;
        count -= ready;
        if (!Fill())
            return false;
    }
    bytes.append(m_buffer, m_start, count);
    m_start += count;
    return true;
}

ReadResult RequestReader::ReadHeaders(Request& request)
{
    std::string line;
    while (request.headers.size() <= kMaxHeaders) {
        if (!TakeLine(line))
            return ReadResult::kEnd;
        if (line.empty())
            return ReadResult::kRequest;
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos || colon == 0)
            return ReadResult::kMalformed;
        request.headers.emplace_back(line.substr(0, colon), Trim(line.substr(colon + 1)));
    }
    return ReadResult::kTooLarge;
}

ReadResult RequestReader::ReadChunks(std::string& body)
{
    std::string line;
    for (;;) {
        std::size_t size = 0;
        if (!TakeLine(line))
            return ReadResult::kEnd;
        if (!ParseSize(Trim(line.substr(0, line.find(';'))), 16, size))
            return ReadResult::kMalformed;
        if (body.size() + size > kMaxBody)
            return ReadResult::kTooLarge;
        if (!TakeBytes(size, body) || !TakeLine(line))
            return ReadResult::kEnd;
        if (!line.empty())
            return ReadResult::kMalformed; // no client of ours sends trailers
        if (size == 0)
            return ReadResult::kRequest;
    }
}

ReadResult RequestReader::ReadBody(Request& request)
{
    if (Lower(request.Header("Expect")) == "100-continue")
        m_stream.Write("HTTP/1.1 100 Continue\r\n\r\n");
    if (Lower(request.Header("Transfer-Encoding")) == "chunked")
        return ReadChunks(request.body);
    if (!request.HasHeader("Content-Length"))
        return ReadResult::kRequest;
    std::size_t size = 0;
    if (!ParseSize(request.Header("Content-Length"), 10, size))
        return ReadResult::kMalformed;
    if (size > kMaxBody)
        return ReadResult::kTooLarge;
    return TakeBytes(size, request.body) ? ReadResult::kRequest : ReadResult::kEnd;
}

ReadResult RequestReader::Read(Request& request)
{
    std::string line;
    if (!TakeLine(line))
        return ReadResult::kEnd;
    const std::size_t first = line.find(' ');
    const std::size_t second = line.rfind(' ');
    if (first == std::string::npos || second <= first || line.compare(second + 1, 7, "HTTP/1.") != 0)
        return ReadResult::kMalformed;
    request.method = line.substr(0, first);
    request.target = line.substr(first + 1, second - first - 1);
    const std::size_t mark = request.target.find('?');
    request.path = request.target.substr(0, mark);
    request.query = mark == std::string::npos ? std::string() : request.target.substr(mark + 1);
    const ReadResult result = ReadHeaders(request);
    return result == ReadResult::kRequest ? ReadBody(request) : result;
}

std::string HeaderText(const Answer& answer)
{
    std::string text = "HTTP/1.1 " + std::to_string(answer.status) + " " + answer.reason + "\r\n";
    for (const auto& [name, value] : answer.headers)
        text += name + ": " + value + "\r\n";
    text += answer.chunked ? "Transfer-Encoding: chunked\r\n"
                           : "Content-Length: " + std::to_string(answer.body.Size()) + "\r\n";
    return text + "\r\n";
}

bool WriteBody(ByteStream& stream, const Answer& answer, const std::function<bool()>& atHalf)
{
    BodyWriter writer(stream, answer, atHalf);
    bool good = writer.Part(answer.body.prefix);
    for (std::uint64_t at = 0; good && at < answer.body.repeat; ++at)
        good = writer.Part(answer.body.unit);
    good = good && writer.Part(answer.body.suffix);
    return good && (!answer.chunked || stream.Write("0\r\n\r\n"));
}

} // namespace loopback
