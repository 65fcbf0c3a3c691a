// The header is renewed behind each piece of sound, for a process that does not come to an orderly end. MIT licence.
#include "wavfile.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "../common/commandline.h"
#include "../common/console.h"
#include "../common/exitstatus.h"

namespace play
{
namespace
{

void AppendLittleEndian(std::string& bytes, uint32_t value, int size)
{
    for (int i = 0; i < size; ++i)
        bytes += static_cast<char>(value >> (8 * i) & 0xff);
}

} // namespace

std::string WavHeader(const WavFormat& format, uint32_t sampleBytes)
{
    const auto frameBytes = static_cast<uint32_t>(format.BytesPerFrame());
    const auto rate = static_cast<uint32_t>(format.rateHz);
    std::string header = "RIFF";
    AppendLittleEndian(header, sampleBytes + 36, 4);
    header += "WAVEfmt ";
    AppendLittleEndian(header, 16, 4);
    AppendLittleEndian(header, format.isFloat ? 3 : 1, 2);
    AppendLittleEndian(header, static_cast<uint32_t>(format.channels), 2);
    AppendLittleEndian(header, rate, 4);
    AppendLittleEndian(header, rate * frameBytes, 4);
    AppendLittleEndian(header, frameBytes, 2);
    AppendLittleEndian(header, static_cast<uint32_t>(format.bytesPerSample) * 8, 2);
    header += "data";
    AppendLittleEndian(header, sampleBytes, 4);
    return header;
}

WavFile::WavFile(const std::string& path, const WavFormat& format) : m_path(path), m_format(format)
{
    m_file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (m_file < 0)
        Check(errno);
    try {
        Check(tool::WriteAll(m_file, WavHeader(format, 0)));
    } catch (...) {
        close(m_file);
        throw;
    }
}

WavFile::~WavFile()
{
    if (m_file >= 0)
        close(m_file);
}

void WavFile::Append(const void* samples, size_t bytes)
{
    Check(tool::WriteAll(m_file, std::string(static_cast<const char*>(samples), bytes)));
    m_bytes += static_cast<uint32_t>(bytes);
    const std::string header = WavHeader(m_format, m_bytes);
    // What cannot be written here is told by Finish.
    [[maybe_unused]] const ssize_t written = pwrite(m_file, header.data(), header.size(), 0);
}

void WavFile::Finish()
{
    if (lseek(m_file, 0, SEEK_SET) != 0)
        Check(errno);
    Check(tool::WriteAll(m_file, WavHeader(m_format, m_bytes)));
    const int result = close(m_file);
    m_file = -1;
    if (result != 0)
        Check(errno);
}

void WavFile::Check(int error) const
{
    if (error != 0)
        throw tool::Failure{tool::kExitFile, tool::FromBytes(m_path) + ": " + wxString::FromUTF8(std::strerror(error))};
}

} // namespace play
