// A WAV file that grows. MIT licence.
#ifndef QXSPEECH_EXAMPLES_PLAY_WAVFILE_H
#define QXSPEECH_EXAMPLES_PLAY_WAVFILE_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace play
{

struct WavFormat {
    int channels = 0;
    int rateHz = 0;
    int bytesPerSample = 0; // of one channel, at least 1
    bool isFloat = false;

    size_t BytesPerFrame() const { return static_cast<size_t>(channels) * static_cast<size_t>(bytesPerSample); }
};

// The 44 bytes before the samples.
std::string WavHeader(const WavFormat& format, uint32_t sampleBytes);
// Sample bytes that fit one file, with its header.
constexpr uint64_t kMaxWavBytes = 0xffffffffU - 36;

// Replaces the file; its header counts what is in it, behind each Append. Everything throws Failure (kExitFile) when
// the system refuses; Finish does for a header that cannot be written.
class WavFile
{
public:
    WavFile(const std::string& path, const WavFormat& format);
    ~WavFile();
    WavFile(const WavFile&) = delete;
    WavFile& operator=(const WavFile&) = delete;

    void Append(const void* samples, size_t bytes);
    void Finish();

private:
    void Check(int error) const;

    const std::string m_path;
    const WavFormat m_format;
    int m_file = -1;
    uint32_t m_bytes = 0;
};

} // namespace play

#endif
