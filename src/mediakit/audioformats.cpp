// PortAudio's sample formats beside the kit's, which configurations to try on a device, and the level of samples. MIT
// licence.
#include "mediakit/audioformats.h"

#include <algorithm>

extern "C" {
#include <libavutil/samplefmt.h>
}

namespace
{

const struct {
    int32_t kit;
    PaSampleFormat pa;
} kFormats[] = {
    {MKSampleU8, paUInt8},
    {MKSampleS16, paInt16},
    {MKSampleS24, paInt24},
    {MKSampleS32, paInt32},
    {MKSampleFloat, paFloat32},
    {MKSampleU8Planar, paUInt8 | paNonInterleaved},
    {MKSampleS16Planar, paInt16 | paNonInterleaved},
    {MKSampleS24Planar, paInt24 | paNonInterleaved},
    {MKSampleS32Planar, paInt32 | paNonInterleaved},
    {MKSampleFloatPlanar, paFloat32 | paNonInterleaved},
};

// In the order in which they are tried.
const PaSampleFormat kTriedFormats[] = {
    paInt16,
    paFloat32,
    paInt24,
    paInt32,
    paUInt8,
    paInt16 | paNonInterleaved,
    paFloat32 | paNonInterleaved,
    paInt24 | paNonInterleaved,
    paInt32 | paNonInterleaved,
    paUInt8 | paNonInterleaved,
};
const int kTriedRates[] = {48000, 44100, 96000, 32000, 16000, 8000};
const size_t kUsualCandidates = 100;

bool operator==(const MKAudioCandidate& a, const MKAudioCandidate& b)
{
    return a.channels == b.channels && a.rate == b.rate && a.format == b.format;
}

std::vector<int> RatesToTry(double defaultRate)
{
    std::vector<int> rates = {static_cast<int>(defaultRate + 0.5)};
    for (const int rate : kTriedRates) {
        if (rate != rates.front())
            rates.push_back(rate);
    }
    return rates;
}

template <class Sample, class Scale>
double SumOfSquares(const void* samples, size_t count, Scale scale)
{
    const Sample* const values = static_cast<const Sample*>(samples);
    double sum = 0;
    for (size_t i = 0; i < count; ++i) {
        const double value = static_cast<double>(scale(values[i]));
        sum += value * value;
    }
    return sum;
}

// A recorded value is limited before it is cut to an integer: what lies beyond cannot be cut.
template <class Sample>
int64_t FromFloating(Sample value)
{
    constexpr double limit = 1e9;
    return static_cast<int64_t>(std::max(-limit, std::min(limit, static_cast<double>(value) * 32767)));
}

} // namespace

PaSampleFormat mkPaFormat(int32_t format)
{
    for (const auto& row : kFormats) {
        if (row.kit == format)
            return row.pa;
    }
    return paCustomFormat;
}

int32_t mkFormatFromPa(PaSampleFormat format)
{
    for (const auto& row : kFormats) {
        if (row.pa == format)
            return row.kit;
    }
    return MKSampleUnknown;
}

std::vector<MKAudioCandidate> mkAudioCandidates(const MKStreamParameters& wanted, int maxChannels, double defaultRate)
{
    std::vector<MKAudioCandidate> candidates;
    candidates.reserve(kUsualCandidates);
    const MKAudioCandidate first = {wanted.channels, wanted.rateDen > 0 ? wanted.rateNum / wanted.rateDen : -1,
                                    mkPaFormat(wanted.format)};
    const bool hasFirst = first.channels >= 1 && first.rate >= 1 && first.format != paCustomFormat;
    if (hasFirst)
        candidates.push_back(first);
    const std::vector<int> rates = RatesToTry(defaultRate);
    for (int channels = maxChannels; channels >= 1; --channels) {
        for (const int rate : rates) {
            for (const PaSampleFormat format : kTriedFormats) {
                const MKAudioCandidate candidate = {channels, rate, format};
                if (!hasFirst || !(candidate == first))
                    candidates.push_back(candidate);
            }
        }
    }
    return candidates;
}

double mkSumOfSquares(const void* samples, size_t count, int avFormat)
{
    switch (av_get_packed_sample_fmt(static_cast<AVSampleFormat>(avFormat))) {
    case AV_SAMPLE_FMT_U8:
        return SumOfSquares<uint8_t>(samples, count, [](uint8_t s) { return (s - 128) * 32767 / 127; });
    case AV_SAMPLE_FMT_S16:
        return SumOfSquares<int16_t>(samples, count, [](int16_t s) { return s; });
    case AV_SAMPLE_FMT_S32:
        return SumOfSquares<int32_t>(samples, count, [](int32_t s) { return int64_t(s) * 32767 / 2147483647; });
    case AV_SAMPLE_FMT_FLT:
        return SumOfSquares<float>(samples, count, FromFloating<float>);
    case AV_SAMPLE_FMT_DBL:
        return SumOfSquares<double>(samples, count, FromFloating<double>);
    default:
        return 0;
    }
}

void mkPack24(const int32_t* samples, size_t count, uint8_t* packed)
{
    for (size_t i = 0; i < count; ++i) {
        const uint32_t value = static_cast<uint32_t>(samples[i]);
        packed[3 * i] = static_cast<uint8_t>(value >> 8);
        packed[3 * i + 1] = static_cast<uint8_t>(value >> 16);
        packed[3 * i + 2] = static_cast<uint8_t>(value >> 24);
    }
}

void mkUnpack24(const uint8_t* packed, size_t count, int32_t* samples)
{
    for (size_t i = 0; i < count; ++i)
        samples[i] = static_cast<int32_t>(uint32_t(packed[3 * i]) << 8 | uint32_t(packed[3 * i + 1]) << 16 |
                                          uint32_t(packed[3 * i + 2]) << 24);
}
