// Turns the synthesizer's samples into another rate and channel count. MIT licence.
#ifndef QXSPEECH_PLATFORM_POSIX_PCMCONVERTER_H
#define QXSPEECH_PLATFORM_POSIX_PCMCONVERTER_H

#include <cstddef>
#include <cstdint>
#include <vector>

struct SwrContext;

namespace qxvoice
{

constexpr int kSynthRateHz = 22050;

// From 16-bit mono at kSynthRateHz to interleaved 16-bit at another rate. Made and used by one output at a time; no
// lock.
class PcmConverter
{
public:
    PcmConverter() = default;
    ~PcmConverter();
    PcmConverter(const PcmConverter&) = delete;
    PcmConverter& operator=(const PcmConverter&) = delete;

    // rateHz 8000 to 192000, channels 1 or 2. False: the resampler could not be made, Convert then gives nothing.
    bool Open(int rateHz, int channels);
    int Channels() const { return m_channels; }

    // Appends to out. False on a failure of the resampler or of memory; what was appended until then is whole frames.
    bool Convert(const int16_t* samples, size_t count, std::vector<int16_t>& out);
    // Appends what the resampler still holds and starts afresh.
    bool Flush(std::vector<int16_t>& out);

private:
    bool Run(const int16_t* samples, size_t count, std::vector<int16_t>& out);

    SwrContext* m_context = nullptr; // null if the rate needs no conversion
    int m_rateHz = 0;
    int m_channels = 0;
};

} // namespace qxvoice

#endif
