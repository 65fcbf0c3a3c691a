// The pieces come from the library's own writer, whose header has 44 bytes. MIT licence.
#include "longspeech.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "exitstatus.h"

namespace say
{
namespace
{

constexpr size_t kPieceHeader = 44;
constexpr size_t kFormatAt = 20;
constexpr size_t kFormatBytes = 16;
constexpr size_t kJoinedHeader = 80;
constexpr size_t kCopyBytes = 1 << 20;

void AppendLittleEndian(std::string& bytes, uint64_t value, int size)
{
    for (int i = 0; i < size; ++i)
        bytes += static_cast<char>(value >> (8 * i) & 0xFF);
}

// Behind the last of these signs that lies in the second half of the piece; 0 if there is none.
size_t EndBehind(const wxString& piece, const char* sign)
{
    const size_t at = piece.rfind(sign);
    const size_t end = at == wxString::npos ? 0 : at + std::strlen(sign);
    return end > piece.length() / 2 ? end : 0;
}

size_t EndOfPiece(const wxString& piece)
{
    size_t end = 0;
    for (const char* line : {"\n\n", "\n"})
        if ((end = EndBehind(piece, line)) != 0)
            return end;
    for (const char* sentence : {". ", "! ", "? "})
        end = std::max(end, EndBehind(piece, sentence));
    if (end == 0)
        end = EndBehind(piece, " ");
    return end == 0 ? piece.length() : end;
}

} // namespace

std::vector<wxString> PiecesOf(const wxString& text, size_t most)
{
    std::vector<wxString> pieces;
    size_t from = 0;
    while (text.length() - from > most) {
        const size_t length = EndOfPiece(text.substr(from, most));
        pieces.push_back(text.substr(from, length));
        from += length;
    }
    pieces.push_back(text.substr(from));
    return pieces;
}

JoinedWav::JoinedWav(const std::string& path, const wxString& name, uint64_t mostRiffBytes)
    : m_name(name), m_mostRiffBytes(mostRiffBytes), m_file(open(path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC))
{
    if (m_file < 0)
        Fail(errno);
}

JoinedWav::~JoinedWav()
{
    if (m_file >= 0)
        close(m_file);
}

void JoinedWav::Append(const std::string& piece)
{
    const int file = open(piece.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        Fail(errno);
    try {
        CopySamples(file);
    } catch (...) {
        close(file);
        throw;
    }
    close(file);
    const std::string header = Header();
    Write(header.data(), header.size(), 0);
}

void JoinedWav::CopySamples(int piece)
{
    char header[kPieceHeader];
    if (read(piece, header, sizeof(header)) != static_cast<ssize_t>(sizeof(header)) ||
        std::memcmp(header + 36, "data", 4) != 0)
        throw Failure{kExitFile, m_name + ": the speech could not be written whole (is the disk full?)"};
    if (m_format.empty())
        m_format.assign(header + kFormatAt, kFormatBytes);
    std::string block(kCopyBytes, '\0');
    ssize_t count = 0;
    while ((count = read(piece, &block[0], block.size())) > 0) {
        Write(block.data(), static_cast<size_t>(count), kJoinedHeader + m_bytes);
        m_bytes += static_cast<uint64_t>(count);
    }
    if (count < 0)
        Fail(errno);
}

std::string JoinedWav::Header() const
{
    const uint64_t riffBytes = m_bytes + kJoinedHeader - 8;
    const bool isLarge = riffBytes > m_mostRiffBytes;
    const uint32_t frameBytes = static_cast<unsigned char>(m_format[12]);
    std::string header = isLarge ? "RF64" : "RIFF";
    AppendLittleEndian(header, isLarge ? 0xFFFFFFFFU : riffBytes, 4);
    header += isLarge ? "WAVEds64" : "WAVEJUNK";
    AppendLittleEndian(header, 28, 4);
    AppendLittleEndian(header, isLarge ? riffBytes : 0, 8);
    AppendLittleEndian(header, isLarge ? m_bytes : 0, 8);
    AppendLittleEndian(header, isLarge ? m_bytes / frameBytes : 0, 8);
    AppendLittleEndian(header, 0, 4); // no table of other chunks
    header += "fmt ";
    AppendLittleEndian(header, kFormatBytes, 4);
    header += m_format + "data";
    AppendLittleEndian(header, isLarge ? 0xFFFFFFFFU : m_bytes, 4);
    return header;
}

void JoinedWav::Write(const char* bytes, size_t size, uint64_t offset) const
{
    while (size > 0) {
        const ssize_t written = pwrite(m_file, bytes, size, static_cast<off_t>(offset));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            Fail(written < 0 ? errno : ENOSPC);
        bytes += written;
        size -= static_cast<size_t>(written);
        offset += static_cast<uint64_t>(written);
    }
}

void JoinedWav::Fail(int error) const
{
    throw Failure{kExitFile, m_name + ": " + wxString::FromUTF8(std::strerror(error))};
}

} // namespace say
