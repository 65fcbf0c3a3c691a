// Sound through the frame converter, against a plain resampler that is given the same input at once. MIT licence.
#include "mediakit/frameconverter.h"

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/error.h>
#include <libavutil/frame.h>
#include <libavutil/samplefmt.h>
#include <libswresample/swresample.h>
}

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace
{

constexpr int kOutRate = 48000;
constexpr int kOutChannels = 2;

using Samples = std::vector<int16_t>; // interleaved stereo

MKStreamParameters Sound(int32_t format, int channels, int rate, int frameSize)
{
    MKStreamParameters params;
    params.type = MKMediaAudio;
    params.format = format;
    params.channels = channels;
    params.rateNum = rate;
    params.frameSize = frameSize;
    return params;
}

MKStreamParameters Output(int frameSize)
{
    return Sound(MKSampleS16, kOutChannels, kOutRate, frameSize);
}

// A tone of its own for each channel, not periodic in a frame.
double Wave(int64_t sample, int channel, int rate)
{
    return 0.4 * std::sin(static_cast<double>(sample) * (220.5 + 97.25 * channel) * 6.283185307 / rate);
}

template <class T>
void Put(uint8_t* place, T value)
{
    std::memcpy(place, &value, sizeof(value));
}

void PutSample(uint8_t* place, AVSampleFormat format, double value)
{
    switch (av_get_packed_sample_fmt(format)) {
    case AV_SAMPLE_FMT_U8:
        return Put(place, static_cast<uint8_t>(128 + value * 127));
    case AV_SAMPLE_FMT_S16:
        return Put(place, static_cast<int16_t>(value * 32767));
    case AV_SAMPLE_FMT_S32:
        return Put(place, static_cast<int32_t>(value * 2147483000.0));
    case AV_SAMPLE_FMT_S64:
        return Put(place, static_cast<int64_t>(value * 9.2e18));
    case AV_SAMPLE_FMT_FLT:
        return Put(place, static_cast<float>(value));
    default:
        return Put(place, value);
    }
}

// Samples [first, first + count) of the tones.
void FillSource(MKFrame& frame, const MKStreamParameters& params, int64_t first, int count)
{
    MKStreamParameters room = params;
    room.frameSize = count;
    ASSERT_TRUE(frame.Allocate(room));
    AVFrame* av = frame.GetAVFrame();
    const auto format = static_cast<AVSampleFormat>(av->format);
    const bool planar = av_sample_fmt_is_planar(format) != 0;
    const int bytes = av_get_bytes_per_sample(format);
    for (int i = 0; i < count; i++) {
        for (int channel = 0; channel < params.channels; channel++) {
            const double value = Wave(first + i, channel, params.rateNum);
            const int place = planar ? i : i * params.channels + channel;
            PutSample(av->extended_data[planar ? channel : 0] + static_cast<ptrdiff_t>(place) * bytes, format, value);
        }
    }
    av->nb_samples = count;
    av->pts = first * 1000000 / params.rateNum;
}

// All of it through one resampler in one piece, and what the resampler holds at the end.
Samples Reference(const MKStreamParameters& params, int count)
{
    MKFrame source;
    FillSource(source, params, 0, count);
    const AVFrame* av = source.GetAVFrame();
    AVChannelLayout in;
    AVChannelLayout out;
    av_channel_layout_default(&in, params.channels);
    av_channel_layout_default(&out, kOutChannels);
    SwrContext* swr = nullptr;
    EXPECT_EQ(swr_alloc_set_opts2(&swr, &out, AV_SAMPLE_FMT_S16, kOutRate, &in, static_cast<AVSampleFormat>(av->format),
                                  params.rateNum, 0, nullptr),
              0);
    EXPECT_EQ(swr_init(swr), 0);
    const int room = static_cast<int>(int64_t{count} * kOutRate / params.rateNum) + 4096;
    Samples samples(static_cast<size_t>(room) * kOutChannels);
    auto* bytes = reinterpret_cast<uint8_t*>(samples.data());
    int made = swr_convert(swr, &bytes, room, const_cast<const uint8_t**>(av->extended_data), count);
    bytes += static_cast<ptrdiff_t>(made) * kOutChannels * 2;
    made += swr_convert(swr, &bytes, room - made, nullptr, 0);
    swr_free(&swr);
    samples.resize(static_cast<size_t>(made) * kOutChannels);
    return samples;
}

// Takes what a converter gives, as the thread that pumps a stream does.
class Pump
{
public:
    explicit Pump(int frameSize) : m_output(Output(frameSize)) { Next(); }

    // A failure, or AVERROR(EAGAIN): all was taken. src null: the end.
    int Give(MKFrame* src)
    {
        int result = converter.Convert(src, &m_dst);
        while (result >= 0) {
            Take();
            result = converter.Drain(src, &m_dst);
        }
        return result;
    }
    int GiveSource(const MKStreamParameters& params, int64_t first, int count, bool timed = true)
    {
        FillSource(m_src, params, first, count);
        if (!timed)
            m_src.GetAVFrame()->pts = AV_NOPTS_VALUE;
        return Give(&m_src);
    }
    // count samples in pieces, then the end.
    void GiveAll(const MKStreamParameters& params, int count, int piece, bool timed = true)
    {
        for (int first = 0; first < count; first += piece)
            ASSERT_EQ(GiveSource(params, first, std::min(piece, count - first), timed), AVERROR(EAGAIN));
        ASSERT_EQ(Give(nullptr), AVERROR(EAGAIN));
    }

    MKFrameConverter converter;
    Samples samples;
    std::vector<int> sizes;      // of each frame
    std::vector<int64_t> stamps; // of each frame

private:
    void Next() { ASSERT_TRUE(m_dst.Allocate(m_output)); }
    void Take()
    {
        const AVFrame* av = m_dst.GetAVFrame();
        const auto* data = reinterpret_cast<const int16_t*>(av->extended_data[0]);
        samples.insert(samples.end(), data, data + static_cast<ptrdiff_t>(av->nb_samples) * kOutChannels);
        sizes.push_back(av->nb_samples);
        stamps.push_back(av->pts);
        Next();
    }

    MKStreamParameters m_output;
    MKFrame m_src;
    MKFrame m_dst;
};

// Full frames only, and their samples are those of the reference, but for a last block that fills no frame.
void ExpectWholeFrames(const Pump& pump, const Samples& reference, int size)
{
    const size_t frames = reference.size() / kOutChannels / static_cast<size_t>(size);
    ASSERT_GT(frames, 0u);
    EXPECT_EQ(pump.sizes, std::vector<int>(frames, size));
    const auto whole = static_cast<ptrdiff_t>(frames) * size * kOutChannels;
    EXPECT_EQ(pump.samples, Samples(reference.begin(), reference.begin() + whole));
}

void ExpectStamps(const Pump& pump, int64_t start, int size)
{
    for (size_t i = 0; i < pump.stamps.size(); i++) {
        const auto expected = static_cast<double>(start) + static_cast<double>(i) * size * 1e6 / kOutRate;
        EXPECT_NEAR(static_cast<double>(pump.stamps[i]), expected, 2) << "frame " << i;
    }
}

} // namespace

TEST(FrameConverterSound, EverySampleFormatComesOutInWholeFrames)
{
    const int32_t formats[] = {MKSampleU8,          MKSampleS16,         MKSampleS24,       MKSampleS32,
                               MKSampleS64,         MKSampleFloat,       MKSampleDouble,    MKSampleU8Planar,
                               MKSampleS16Planar,   MKSampleS24Planar,   MKSampleS32Planar, MKSampleS64Planar,
                               MKSampleFloatPlanar, MKSampleDoublePlanar};
    for (const int32_t format : formats) {
        for (const int rate : {kOutRate, 44100}) {
            SCOPED_TRACE("format " + std::to_string(format) + " rate " + std::to_string(rate));
            const MKStreamParameters params = Sound(format, 2, rate, 0);
            Pump pump(1024);
            pump.GiveAll(params, 12000, 1152);
            ExpectWholeFrames(pump, Reference(params, 12000), 1024);
            ExpectStamps(pump, 0, 1024);
        }
    }
}

TEST(FrameConverterSound, EveryRateAndLayoutComesOutInWholeFrames)
{
    struct Row {
        int piece; // samples of input at a time
        int size;  // samples of a full frame
    };
    const Row rows[] = {{1152, 4096}, {20000, 1024}, {37, 480}};
    for (const int rate : {8000, 11025, 16000, 22050, 24000, 32000, 44100, 48000, 88200, 96000}) {
        for (const int channels : {1, 2, 6}) {
            const MKStreamParameters params = Sound(MKSampleS16, channels, rate, 0);
            const int count = rate / 2;
            const Samples reference = Reference(params, count);
            for (const Row& row : rows) {
                SCOPED_TRACE("rate " + std::to_string(rate) + " channels " + std::to_string(channels) + " piece " +
                             std::to_string(row.piece));
                Pump pump(row.size);
                pump.GiveAll(params, count, row.piece);
                ExpectWholeFrames(pump, reference, row.size);
                ExpectStamps(pump, 0, row.size);
            }
        }
    }
}

TEST(FrameConverterSound, TimeStampsFollowTheInputsOrCountOn)
{
    const MKStreamParameters params = Sound(MKSampleS16, 1, 22050, 0);
    Pump untimed(1024);
    untimed.GiveAll(params, 22050, 1152, false);
    EXPECT_GT(untimed.stamps.size(), 40u);
    ExpectStamps(untimed, 0, 1024);

    // An hour into the stream, as after a seek.
    Pump late(1024);
    const int64_t hour = 3600;
    for (int64_t first = 0; first < 22050; first += 1050)
        ASSERT_EQ(late.GiveSource(params, hour * 22050 + first, 1050), AVERROR(EAGAIN));
    EXPECT_GT(late.stamps.size(), 40u);
    ExpectStamps(late, hour * 1000000, 1024);

    // Stamps beyond all reason neither fail nor spoil what follows.
    Pump absurd(1024);
    MKFrame source;
    for (const int64_t pts : {INT64_MAX, INT64_MIN + 1}) {
        FillSource(source, params, 0, 4410);
        source.GetAVFrame()->pts = pts;
        EXPECT_EQ(absurd.Give(&source), AVERROR(EAGAIN));
    }
    const size_t before = absurd.stamps.size();
    ASSERT_GT(before, 0u);
    EXPECT_GT(absurd.stamps[0], INT64_C(1000000000000000));
    ASSERT_EQ(absurd.GiveSource(params, 44100, 22050), AVERROR(EAGAIN));
    ASSERT_GT(absurd.stamps.size(), before);
    // Ahead of the first sample of the new input by no more than the resampler held.
    EXPECT_NEAR(static_cast<double>(absurd.stamps[before]), 2e6, 150000);
}

// The resampler starts anew: what it held is gone, and what follows is as from a fresh one.
TEST(FrameConverterSound, AnotherRateOrLayoutMidStreamStartsAnew)
{
    const MKStreamParameters before = Sound(MKSampleS16, 1, 22050, 0);
    const MKStreamParameters others[] = {Sound(MKSampleS16, 1, 44100, 0), Sound(MKSampleS16, 6, 22050, 0),
                                         Sound(MKSampleFloatPlanar, 1, 22050, 0)};
    for (const MKStreamParameters& after : others) {
        SCOPED_TRACE("rate " + std::to_string(after.rateNum) + " channels " + std::to_string(after.channels));
        Pump pump(1024);
        ASSERT_EQ(pump.GiveSource(before, 0, 11025), AVERROR(EAGAIN));
        ASSERT_GT(pump.sizes.size(), 0u);
        pump.samples.clear();
        pump.sizes.clear();
        pump.stamps.clear();
        pump.GiveAll(after, 20000, 1152);
        ExpectWholeFrames(pump, Reference(after, 20000), 1024);
        ExpectStamps(pump, 0, 1024);
    }
}

TEST(FrameConverterSound, TimeGoesOnAcrossAChangeOfRateWithoutStamps)
{
    Pump pump(1024);
    ASSERT_EQ(pump.GiveSource(Sound(MKSampleS16, 1, 22050, 0), 0, 11025, false), AVERROR(EAGAIN));
    ASSERT_EQ(pump.GiveSource(Sound(MKSampleS16, 1, 8000, 0), 0, 8000, false), AVERROR(EAGAIN));
    ASSERT_GT(pump.stamps.size(), 40u);
    ExpectStamps(pump, 0, 1024);
}

TEST(FrameConverterSound, WithoutAFixedSizeEachCallGivesWhatThereIs)
{
    const MKStreamParameters params = Sound(MKSampleS16, 1, 8000, 0);
    for (const int size : {0, -1}) {
        Pump pump(size);
        pump.GiveAll(params, 50000, 1000);
        const Samples reference = Reference(params, 50000);
        EXPECT_EQ(pump.samples, reference);
        EXPECT_GE(pump.sizes.size(), 50u);

        // More at once than a frame has room for: the rest is drained.
        Pump once(size);
        once.GiveAll(params, 50000, 50000);
        ASSERT_GE(once.sizes.size(), 2u);
        EXPECT_EQ(once.sizes[0], 192000);
        EXPECT_EQ(once.stamps[1], 4000000); // 192000 samples on
        EXPECT_EQ(once.samples, reference);
    }
}

TEST(FrameConverterSound, SamplesAlreadyInTheFrameAreKept)
{
    const MKStreamParameters params = Sound(MKSampleS16, 2, kOutRate, 0);
    MKFrameConverter converter;
    MKFrame src;
    MKFrame dst;
    ASSERT_TRUE(dst.Allocate(Output(1024)));
    auto* data = reinterpret_cast<int16_t*>(dst.GetAVFrame()->extended_data[0]);
    const Samples held = {101, -102, 103, -104, 105, -106};
    std::copy(held.begin(), held.end(), data);
    dst.GetAVFrame()->nb_samples = 3;

    FillSource(src, params, 0, 500);
    ASSERT_EQ(converter.Convert(&src, &dst), AVERROR(EAGAIN)); // too little input: it is only taken
    EXPECT_EQ(dst.GetAVFrame()->nb_samples, 3);
    FillSource(src, params, 500, 4000);
    ASSERT_EQ(converter.Convert(&src, &dst), 0);
    EXPECT_EQ(dst.GetAVFrame()->nb_samples, 1024);
    EXPECT_EQ(Samples(data, data + 6), held);
    const Samples reference = Reference(params, 4500);
    EXPECT_EQ(Samples(data + 6, data + 2048), Samples(reference.begin(), reference.begin() + 2042));
}

TEST(FrameConverterSound, WhatCannotBeConvertedIsRefused)
{
    MKFrameConverter converter;
    MKFrame empty;
    MKFrame alsoEmpty;
    MKFrame src;
    MKFrame dst;
    ASSERT_TRUE(dst.Allocate(Output(1024)));
    FillSource(src, Sound(MKSampleS16, 1, 22050, 0), 0, 4096);

    EXPECT_EQ(converter.Convert(&src, nullptr), AVERROR(EINVAL));
    EXPECT_EQ(converter.Drain(&src, nullptr), AVERROR(EINVAL));
    EXPECT_EQ(converter.Convert(nullptr, &empty), AVERROR(EINVAL));
    EXPECT_EQ(converter.Convert(&alsoEmpty, &empty), AVERROR(EINVAL));
    EXPECT_EQ(converter.Convert(nullptr, &dst), AVERROR(EAGAIN)); // the end before the beginning
    EXPECT_EQ(converter.Drain(&src, &dst), AVERROR(EINVAL));
    EXPECT_EQ(converter.Drain(nullptr, &dst), AVERROR(EINVAL));

    struct Row {
        const char* label;
        MKFrame* src;
        MKFrame* dst;
    };
    const Row rows[] = {{"nothing into sound", &empty, &dst}, {"sound into nothing", &src, &empty}};
    for (const Row& row : rows) {
        const int result = converter.Convert(row.src, row.dst);
        EXPECT_LT(result, 0) << row.label;
        EXPECT_NE(result, AVERROR(EAGAIN)) << row.label;
        EXPECT_EQ(converter.Drain(row.src, row.dst), AVERROR(EINVAL)) << row.label;
    }
    // A refusal is not the end of it.
    EXPECT_EQ(converter.Convert(&src, &dst), 0);
    EXPECT_EQ(converter.Drain(&empty, &empty), AVERROR(EINVAL));
}

// What a damaged file may claim of its sound; the resampler would divide by it, or make tables of gigabytes.
TEST(FrameConverterSound, ImpossibleFormatsAndRatesAreRefused)
{
    struct Row {
        const char* label;
        int format;
        int rate;
    };
    const Row rows[] = {{"no format", -1, 22050},
                        {"unknown format", AV_SAMPLE_FMT_NB, 22050},
                        {"no rate", AV_SAMPLE_FMT_S16, 0},
                        {"negative rate", AV_SAMPLE_FMT_S16, -8000},
                        {"1.8 GHz", AV_SAMPLE_FMT_S16, 1786433856}};
    for (const Row& row : rows) {
        for (const bool isSource : {true, false}) {
            SCOPED_TRACE(std::string(row.label) + (isSource ? " of the source" : " of the destination"));
            MKFrameConverter converter;
            MKFrame src;
            MKFrame dst;
            FillSource(src, Sound(MKSampleS16, 1, 22050, 0), 0, 4096);
            ASSERT_TRUE(dst.Allocate(Output(1024)));
            AVFrame* const spoilt = (isSource ? src : dst).GetAVFrame();
            const int rate = spoilt->sample_rate;
            const int format = spoilt->format;
            spoilt->format = row.format;
            spoilt->sample_rate = row.rate;
            EXPECT_EQ(converter.Convert(&src, &dst), -22);
            EXPECT_EQ(dst.GetAVFrame()->nb_samples, 0);
            EXPECT_EQ(converter.Drain(&src, &dst), -22);
            spoilt->format = format;
            spoilt->sample_rate = rate;
            EXPECT_EQ(converter.Convert(&src, &dst), 0) << "a refusal is not the end of it";
        }
    }
}

// A frame of another format is not written to until the resampler was made for it.
TEST(FrameConverterSound, DrainingIntoAnotherFormatWaitsForTheNextInput)
{
    MKFrameConverter converter;
    MKFrame src;
    MKFrame dst;
    MKFrame other;
    ASSERT_TRUE(dst.Allocate(Output(256)));
    ASSERT_TRUE(other.Allocate(Sound(MKSampleU8, 1, kOutRate, 256)));
    FillSource(src, Sound(MKSampleS16, 1, kOutRate, 0), 0, 4096);
    ASSERT_EQ(converter.Convert(&src, &dst), 0);
    EXPECT_EQ(converter.Drain(&src, &other), AVERROR(EAGAIN));
    EXPECT_EQ(other.GetAVFrame()->nb_samples, 0);
    EXPECT_EQ(converter.Convert(&src, &other), 0);
    EXPECT_EQ(other.GetAVFrame()->nb_samples, 256);
}
