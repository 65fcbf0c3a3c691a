// Growing WAV files through POSIX file calls. MIT licence.
#include "platform/posix/wavfile.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/logging.h"

namespace qxvoice
{
namespace
{

constexpr size_t kHeaderBytes = 44;
constexpr uint64_t kMaxDataBytes = 0xFFFFFFFFu - kHeaderBytes;
constexpr HRESULT kPathNotFound = static_cast<HRESULT>(0x80070003u);
constexpr HRESULT kDiskFull = static_cast<HRESULT>(0x80070070u);

void PutLittleEndian(unsigned char* at, uint32_t value, size_t bytes)
{
    for (size_t i = 0; i < bytes; ++i)
        at[i] = static_cast<unsigned char>(value >> (8 * i));
}

bool WriteAll(int file, const void* data, size_t size, uint64_t offset)
{
    const char* at = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t written = pwrite(file, at, size, static_cast<off_t>(offset));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        at += written;
        size -= static_cast<size_t>(written);
        offset += static_cast<uint64_t>(written);
    }
    return true;
}

HRESULT CodeOf(int error)
{
    switch (error) {
    case ENOENT:
    case ENOTDIR:
        return kPathNotFound;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
        return E_ACCESSDENIED;
    case ENOSPC:
    case EFBIG:
    case EDQUOT:
        return kDiskFull;
    default:
        return E_FAIL;
    }
}

} // namespace

WavFile::~WavFile()
{
    Close();
}

HRESULT WavFile::Create(const std::string& pathUtf8, int rateHz, int channels)
{
    std::lock_guard<std::mutex> lock(m_lock);
    m_rateHz = rateHz;
    m_channels = channels;
    if (!m_converter.Open(rateHz, channels))
        return E_OUTOFMEMORY;
    m_file = open(pathUtf8.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (m_file < 0)
        return CodeOf(errno);
    if (!WriteHeader()) {
        const HRESULT hr = CodeOf(errno);
        close(m_file);
        m_file = -1;
        return hr;
    }
    return S_OK;
}

HRESULT WavFile::Write(const int16_t* samples, size_t count)
{
    std::lock_guard<std::mutex> lock(m_lock);
    if (FAILED(m_failure))
        return m_failure;
    m_scratch.clear();
    if (!m_converter.Convert(samples, count, m_scratch))
        return Fail(E_OUTOFMEMORY);
    return Append(m_scratch);
}

HRESULT WavFile::EndUtterance()
{
    std::lock_guard<std::mutex> lock(m_lock);
    if (FAILED(m_failure))
        return m_failure;
    m_scratch.clear();
    if (!m_converter.Flush(m_scratch))
        return Fail(E_OUTOFMEMORY);
    return Append(m_scratch);
}

void WavFile::Close()
{
    std::lock_guard<std::mutex> lock(m_lock);
    if (m_file >= 0)
        close(m_file);
    m_file = -1;
    if (SUCCEEDED(m_failure))
        m_failure = E_FAIL;
}

HRESULT WavFile::Append(const std::vector<int16_t>& frames)
{
    if (m_file < 0)
        return E_FAIL;
    const size_t bytes = frames.size() * sizeof(int16_t);
    if (bytes == 0)
        return S_OK;
    if (m_dataBytes + bytes > kMaxDataBytes)
        return Fail(kDiskFull);
    // Sample order is the machine's; WAV wants little-endian, which every supported machine is.
    if (!WriteAll(m_file, frames.data(), bytes, kHeaderBytes + m_dataBytes))
        return Fail(CodeOf(errno));
    m_dataBytes += bytes;
    return WriteHeader() ? S_OK : Fail(CodeOf(errno));
}

bool WavFile::WriteHeader()
{
    const uint32_t frameBytes = static_cast<uint32_t>(m_channels) * 2;
    unsigned char header[kHeaderBytes];
    std::memcpy(header, "RIFF", 4);
    PutLittleEndian(header + 4, static_cast<uint32_t>(m_dataBytes + kHeaderBytes - 8), 4);
    std::memcpy(header + 8, "WAVEfmt ", 8);
    PutLittleEndian(header + 16, 16, 4);
    PutLittleEndian(header + 20, 1, 2);
    PutLittleEndian(header + 22, static_cast<uint32_t>(m_channels), 2);
    PutLittleEndian(header + 24, static_cast<uint32_t>(m_rateHz), 4);
    PutLittleEndian(header + 28, static_cast<uint32_t>(m_rateHz) * frameBytes, 4);
    PutLittleEndian(header + 32, frameBytes, 2);
    PutLittleEndian(header + 34, 16, 2);
    std::memcpy(header + 36, "data", 4);
    PutLittleEndian(header + 40, static_cast<uint32_t>(m_dataBytes), 4);
    return WriteAll(m_file, header, sizeof(header), 0);
}

HRESULT WavFile::Fail(HRESULT hr)
{
    m_failure = hr;
    QX_LOG("Could not write speech to the file: 0x%08x, the file was emptied", static_cast<unsigned>(hr));
    if (m_file >= 0 && ftruncate(m_file, 0) != 0)
        QX_LOG("Could not empty the file");
    return hr;
}

} // namespace qxvoice
