// Formats, the order of configurations, and levels. MIT licence.
#include <gtest/gtest.h>

extern "C" {
#include <libavutil/samplefmt.h>
}

#include "mediakit/audioformats.h"

namespace
{

MKStreamParameters Wanted(int32_t channels, int32_t rate, int32_t format)
{
    MKStreamParameters wanted;
    wanted.channels = channels;
    wanted.rateNum = rate;
    wanted.format = format;
    return wanted;
}

void ExpectCandidate(const MKAudioCandidate& candidate, int channels, int rate, PaSampleFormat format)
{
    EXPECT_EQ(candidate.channels, channels);
    EXPECT_EQ(candidate.rate, rate);
    EXPECT_EQ(candidate.format, format);
}

} // namespace

TEST(AudioFormats, MapToPortAudiosAndBack)
{
    const struct {
        int32_t kit;
        PaSampleFormat pa;
    } rows[] = {{0, paUInt8}, {1, paInt16}, {2, paInt24}, {3, paInt32}, {5, paFloat32}};
    for (const auto& row : rows) {
        EXPECT_EQ(mkPaFormat(row.kit), row.pa);
        EXPECT_EQ(mkPaFormat(row.kit + 100), row.pa | paNonInterleaved);
        EXPECT_EQ(mkFormatFromPa(row.pa), row.kit);
        EXPECT_EQ(mkFormatFromPa(row.pa | paNonInterleaved), row.kit + 100);
    }
    for (const int32_t other : {-1, 4, 6, 104, 106, 200})
        EXPECT_EQ(mkPaFormat(other), paCustomFormat) << other;
    EXPECT_EQ(mkFormatFromPa(paInt8), 200);
    EXPECT_EQ(mkFormatFromPa(paCustomFormat), 200);
}

TEST(AudioCandidates, WantedComesFirstAndOnlyOnce)
{
    const auto candidates = mkAudioCandidates(Wanted(2, 48000, MKSampleS16), 2, 44100);
    ASSERT_EQ(candidates.size(), 2U * 6 * 10);
    ExpectCandidate(candidates[0], 2, 48000, paInt16);
    ExpectCandidate(candidates[1], 2, 44100, paInt16);
    ExpectCandidate(candidates[2], 2, 44100, paFloat32);
    ExpectCandidate(candidates[3], 2, 44100, paInt24);
    ExpectCandidate(candidates[4], 2, 44100, paInt32);
    ExpectCandidate(candidates[5], 2, 44100, paUInt8);
    ExpectCandidate(candidates[6], 2, 44100, paInt16 | paNonInterleaved);
    ExpectCandidate(candidates[11], 2, 48000, paFloat32); // its paInt16 came first
    ExpectCandidate(candidates[60], 1, 44100, paInt16);
    ExpectCandidate(candidates.back(), 1, 8000, paUInt8 | paNonInterleaved);
}

TEST(AudioCandidates, WantedThatIsNotWholeIsLeftOut)
{
    MKStreamParameters noRate = Wanted(2, 48000, MKSampleS16);
    noRate.rateDen = 0;
    const MKStreamParameters rows[] = {Wanted(0, 48000, MKSampleS16), Wanted(2, 0, MKSampleS16),
                                       Wanted(2, 48000, MKSampleDouble), noRate};
    for (const MKStreamParameters& wanted : rows) {
        const auto candidates = mkAudioCandidates(wanted, 1, 11024.7);
        ASSERT_EQ(candidates.size(), 70U);
        ExpectCandidate(candidates[0], 1, 11025, paInt16);
        ExpectCandidate(candidates[10], 1, 48000, paInt16);
    }
}

TEST(AudioCandidates, DeviceWithoutChannelsIsTriedForWhatIsWantedOnly)
{
    EXPECT_EQ(mkAudioCandidates(Wanted(2, 48000, MKSampleS16), 0, 48000).size(), 1U);
    EXPECT_TRUE(mkAudioCandidates(MKStreamParameters(), 0, 48000).empty());
}

TEST(AudioLevel, SamplesAreScaledToSixteenBits)
{
    const uint8_t u8[] = {255, 128, 1};
    EXPECT_EQ(mkSumOfSquares(u8, 3, AV_SAMPLE_FMT_U8), 2.0 * 32767 * 32767);
    const int16_t s16[] = {3, -4};
    EXPECT_EQ(mkSumOfSquares(s16, 2, AV_SAMPLE_FMT_S16P), 25.0);
    const int32_t s32[] = {2147483647, -65539};
    EXPECT_EQ(mkSumOfSquares(s32, 2, AV_SAMPLE_FMT_S32), 32767.0 * 32767 + 1);
    const float f32[] = {0.5F, -0.5F};
    EXPECT_EQ(mkSumOfSquares(f32, 2, AV_SAMPLE_FMT_FLT), 2.0 * 16383 * 16383);
    const double f64[] = {1.0};
    EXPECT_EQ(mkSumOfSquares(f64, 1, AV_SAMPLE_FMT_DBLP), 32767.0 * 32767);
    const int64_t s64[] = {1000000};
    EXPECT_EQ(mkSumOfSquares(s64, 1, AV_SAMPLE_FMT_S64), 0.0);
    EXPECT_EQ(mkSumOfSquares(s64, 1, AV_SAMPLE_FMT_NONE), 0.0);
}

TEST(AudioFormats, TwentyFourBitsKeepTheirUpperBytes)
{
    const int32_t samples[] = {0x12345600, -256, INT32_MIN};
    uint8_t bytes[9] = {};
    mkPack24(samples, 3, bytes);
    const uint8_t expected[] = {0x56, 0x34, 0x12, 0xFF, 0xFF, 0xFF, 0x00, 0x00, 0x80};
    EXPECT_TRUE(std::equal(bytes, bytes + 9, expected));
    int32_t back[3] = {};
    mkUnpack24(bytes, 3, back);
    EXPECT_TRUE(std::equal(back, back + 3, samples));
}
