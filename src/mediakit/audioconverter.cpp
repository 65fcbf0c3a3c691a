#include "mediakit/audioconverter.h"

extern "C" {
#include <libavutil/error.h>
#include <libavutil/frame.h>
#include <libavutil/samplefmt.h>
#include <libswresample/swresample.h>
}

#include <algorithm>
#include <array>
#include <bitset>
#include <cmath>

#include "common/logging.h"
#include "mediakit/ffmpegcompat.h"

namespace
{

constexpr int kSamplesWithoutFrameSize = 192000; // room of a frame whose stream has no fixed frame size
constexpr int kMaxPlanes = 64;                   // channels of a layout's bit mask
constexpr double kMicrosecondsPerSecond = 1e6;
// Samples per second; the fastest DSD (49.152 MHz, one bit) decodes to this. The resampler's tables grow with the rate:
// a header that claims 50 MHz, played at 8 kHz, would cost five seconds and 800 MB.
constexpr int kHighestRate = 6144000;

using Planes = std::array<uint8_t*, kMaxPlanes>;

// Half up, and within what both a position and its sums can hold, whatever a file says about its times.
int64_t RoundedPosition(double value)
{
    constexpr double limit = 4611686018427387904.0; // 2^62
    return static_cast<int64_t>(std::clamp(value + 0.5, -limit, limit));
}

// Where the samples behind the ones the frame holds go.
Planes FreePlanes(const AVFrame* frame)
{
    const auto format = static_cast<AVSampleFormat>(frame->format);
    const auto layout = static_cast<unsigned long long>(mkFrameChannelLayout(frame));
    const size_t channels = std::bitset<kMaxPlanes>(layout).count();
    const bool planar = av_sample_fmt_is_planar(format) != 0;
    const size_t step = static_cast<size_t>(av_get_bytes_per_sample(format)) * (planar ? 1 : channels);
    Planes planes{};
    for (size_t i = 0; i < (planar ? channels : 1); i++)
        planes[i] = frame->extended_data[i] + step * static_cast<size_t>(frame->nb_samples);
    return planes;
}

} // namespace

// The resampler divides by what it is told.
bool MKAudioConverter::IsUsable(const End& end)
{
    return end.format >= 0 && end.format < AV_SAMPLE_FMT_NB && end.rate >= 1 && end.rate <= kHighestRate;
}

MKAudioConverter::~MKAudioConverter()
{
    swr_free(&swr);
}

MKAudioConverter::End MKAudioConverter::EndOf(const AVFrame* frame)
{
    End end;
    end.format = frame->format;
    end.layout = mkFrameChannelLayout(frame);
    end.rate = frame->sample_rate;
    return end;
}

int MKAudioConverter::Convert(const AVFrame* src, AVFrame* dst, int size)
{
    if (dst->sample_rate >= 1 && !dst->extended_data[0]) // never allocated
        return AVERROR(EINVAL);
    if (!src || src->sample_rate < 1) {
        if (dst->sample_rate < 1)
            return AVERROR(EINVAL);
        if (!src && !swr)
            return AVERROR(EAGAIN);
    }
    const int prepared = Prepare(src, dst);
    if (prepared < 0)
        return prepared;
    const int inputSamples = src ? src->nb_samples : 0;
    if (src) {
        TakeTimeStamp(src->pts);
        if (size > 0 && !IsAhead(inputSamples, size)) {
            const int buffered = Resample(dst, 0, src, inputSamples);
            dst->nb_samples = buffered < 0 ? 0 : dst->nb_samples + buffered;
            return AVERROR(EAGAIN);
        }
    }
    return Fill(src, dst, size, inputSamples);
}

int MKAudioConverter::Drain(const AVFrame* src, AVFrame* dst, int size)
{
    if ((dst->sample_rate < 1 && (!src || src->sample_rate < 1)) || !swr)
        return AVERROR(EINVAL);
    // A frame for another format waits for the next Convert, which makes the resampler anew.
    if (!FitsOutput(dst) || (size > 0 && src && !IsAhead(0, size)))
        return AVERROR(EAGAIN);
    return Fill(src, dst, size, 0);
}

// Makes the resampler anew when either end has changed. At the end of a stream the input stays what it was.
int MKAudioConverter::Prepare(const AVFrame* src, const AVFrame* dst)
{
    const End newIn = src ? EndOf(src) : in;
    if (FitsOutput(dst) && newIn == in)
        return 0;
    const End newOut = EndOf(dst);
    if (!IsUsable(newIn) || !IsUsable(newOut)) {
        QX_LOG("Could not convert sound of format %d at %d Hz to format %d at %d Hz", newIn.format, newIn.rate,
               newOut.format, newOut.rate);
        return AVERROR(EINVAL);
    }
    const double seconds = swr ? static_cast<double>(nextPts) / Scale() : 0;
    swr = mkAllocResampler(swr, newOut.layout, newOut.format, newOut.rate, newIn.layout, newIn.format, newIn.rate);
    const int result = swr ? swr_init(swr) : AVERROR(ENOMEM);
    if (result < 0) {
        Forget();
        return result;
    }
    in = newIn;
    out = newOut;
    nextPts = RoundedPosition(seconds * Scale());
    return 0;
}

void MKAudioConverter::Forget()
{
    swr_free(&swr);
    in = End();
    out = End();
    nextPts = 0;
}

void MKAudioConverter::TakeTimeStamp(int64_t pts)
{
    if (pts != AV_NOPTS_VALUE) {
        const double position = static_cast<double>(pts) * Scale() / kMicrosecondsPerSecond;
        nextPts = swr_next_pts(swr, RoundedPosition(position));
    }
}

// The resampler is kept some frames ahead, so that what it gives always fills a frame.
bool MKAudioConverter::IsAhead(int inputSamples, int size) const
{
    const double ratio = std::trunc(static_cast<double>(out.rate) / static_cast<double>(in.rate) + 0.5);
    return swr_get_out_samples(swr, inputSamples) >= std::max(ratio, 2.0) * size;
}

int MKAudioConverter::Resample(AVFrame* dst, int room, const AVFrame* src, int inputSamples)
{
    Planes planes = FreePlanes(dst);
    const auto input = src ? const_cast<const uint8_t**>(src->extended_data) : nullptr;
    return swr_convert(swr, planes.data(), room, input, inputSamples);
}

// Without src the resampler gives all it holds.
int MKAudioConverter::Fill(const AVFrame* src, AVFrame* dst, int size, int inputSamples)
{
    const int capacity = size < 1 ? kSamplesWithoutFrameSize : size;
    const int added = Resample(dst, std::max(capacity - dst->nb_samples, 0), src, inputSamples);
    if (added < 0) {
        dst->nb_samples = 0;
        return added;
    }
    dst->nb_samples += added;
    dst->pts = RoundedPosition(static_cast<double>(nextPts) * kMicrosecondsPerSecond / Scale());
    if (dst->nb_samples < 1 || (size >= 1 && dst->nb_samples != size))
        return AVERROR(EAGAIN);
    nextPts += static_cast<int64_t>(in.rate) * dst->nb_samples;
    return 0;
}
