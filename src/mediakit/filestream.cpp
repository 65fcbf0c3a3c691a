// Decoder and time stamps of one stream. MIT licence.
#include "mediakit/filestream.h"

extern "C" {
#include <libavutil/common.h>
#include <libavutil/hwcontext.h>
#include <libavutil/mathematics.h>
}

#include <algorithm>
#include <thread>

#include "common/logging.h"
#include "mediakit/d3d11device.h"
#include "mediakit/ffmpegcompat.h"

namespace
{

const unsigned kMostDecoderThreads = 16;

// A single picture would stay in threads that wait for the next ones.
int ThreadCount(const AVStream& stream)
{
    if (stream.disposition & AV_DISPOSITION_ATTACHED_PIC)
        return 1;
    return static_cast<int>(std::min(std::thread::hardware_concurrency(), kMostDecoderThreads));
}

bool DecodesOnD3D11(const AVCodecHWConfig& config)
{
    return (config.methods & AV_CODEC_HW_CONFIG_METHOD_HW_DEVICE_CTX) != 0 &&
           config.device_type == AV_HWDEVICE_TYPE_D3D11VA && config.pix_fmt == AV_PIX_FMT_D3D11;
}

// Without a device, or where it cannot be used, the decoder stays in software.
void UseDevice(AVCodecContext* context, const AVCodec* decoder, ID3D11Device* device,
               ID3D11DeviceContext* deviceContext)
{
    if (!device || !deviceContext)
        return;
    for (int i = 0; const AVCodecHWConfig* config = avcodec_get_hw_config(decoder, i); ++i) {
        if (!DecodesOnD3D11(*config))
            continue;
        context->hw_device_ctx = mkCreateD3D11DeviceContext(device, deviceContext);
        if (context->hw_device_ctx) {
            context->get_format = mkChooseDecoderFormat;
            return;
        }
    }
}

// How long a picture lasts that does not say so itself.
int64_t PictureDuration(const AVCodecContext& context, const AVStream* stream)
{
    const AVRational rate = context.framerate;
    if (rate.num <= 0 || rate.den <= 0 || context.ticks_per_frame <= 0)
        return 0;
    const AVCodecParserContext* parser = av_stream_get_parser(stream);
    const int64_t ticks = parser ? int64_t{parser->repeat_pict} + 1 : context.ticks_per_frame;
    return std::max<int64_t>(0, av_rescale_rnd(rate.den * ticks, kSecond, rate.num, AV_ROUND_ZERO)) /
           context.ticks_per_frame;
}

} // namespace

AVPixelFormat mkChooseDecoderFormat(AVCodecContext*, const AVPixelFormat* offered)
{
    if (*offered == AV_PIX_FMT_NONE) {
        QX_LOG("Could not get pixel format");
        return AV_PIX_FMT_NONE;
    }
    for (const AVPixelFormat* format = offered; *format != AV_PIX_FMT_NONE; ++format) {
        if (*format == AV_PIX_FMT_D3D11)
            return *format;
    }
    return *offered;
}

MKFileStreamData::~MKFileStreamData()
{
    avcodec_free_context(&codecContext);
    av_frame_free(&earlier);
    av_frame_free(&later);
}

const char* MKFileStreamData::OpenDecoder(const AVStream* stream, const AVCodec* decoder, ID3D11Device* device,
                                          ID3D11DeviceContext* deviceContext)
{
    codecContext = avcodec_alloc_context3(decoder);
    if (!codecContext)
        return "Could not open stream, context allocation failed";
    if (avcodec_parameters_to_context(codecContext, stream->codecpar) < 0)
        return "Could not copy codec parameters";
    // Lets the decoder move the time stamp of a frame whose first samples it skips.
    codecContext->pkt_timebase = stream->time_base;
    const AVMediaType type = stream->codecpar->codec_type;
    if (type == AVMEDIA_TYPE_VIDEO) {
        codecContext->thread_count = ThreadCount(*stream);
        UseDevice(codecContext, decoder, device, deviceContext);
    }
    if (type == AVMEDIA_TYPE_AUDIO)
        mkAllowTruncatedPackets(codecContext, decoder);
    if (avcodec_open2(codecContext, decoder, nullptr) < 0)
        return "Could not open stream, open codec failed";
    if (type == AVMEDIA_TYPE_AUDIO)
        mkEnsureChannelLayout(codecContext);
    return nullptr;
}

bool MKFileStreamData::IsOpen() const
{
    return codecContext && avcodec_is_open(codecContext);
}

bool MKFileStreamData::IsDecoding() const
{
    return IsOpen() &&
           (codecContext->codec_type == AVMEDIA_TYPE_AUDIO || codecContext->codec_type == AVMEDIA_TYPE_VIDEO);
}

void MKFileStreamData::Restart(int64_t target, int64_t newPlace)
{
    avcodec_flush_buffers(codecContext);
    av_frame_free(&earlier);
    av_frame_free(&later);
    place = newPlace;
    timeStamp = place == AV_NOPTS_VALUE ? target : place;
    nextPts = target;
    lastRescalePts = AV_NOPTS_VALUE;
    isDraining = false;
}

int MKFileStreamData::Receive(const AVStream* stream, AVFrame* frame)
{
    if (later) {
        av_frame_unref(frame); // as the decoder does
        av_frame_move_ref(frame, later);
        av_frame_free(&later);
        return Count(frame);
    }
    const int result = avcodec_receive_frame(codecContext, frame);
    if (result == AVERROR_EOF && earlier)
        return GiveEarlier(frame); // it lasts until the end
    if (result < 0)
        return result;
    return Choose(frame, Stamp(stream, frame));
}

int64_t MKFileStreamData::Stamp(const AVStream* stream, AVFrame* frame)
{
    if (codecContext->codec_type == AVMEDIA_TYPE_AUDIO)
        return StampAudio(stream->time_base, frame);
    if (codecContext->codec_type == AVMEDIA_TYPE_VIDEO)
        return StampVideo(stream, frame);
    if (frame->pts != AV_NOPTS_VALUE)
        frame->pts = av_rescale_q(frame->pts, stream->time_base, kMicroseconds);
    return 0;
}

// What ends before the place sought is left out. How long a picture lasts is often told wrong: the last of those is
// kept until it is known whether the next one begins before the place, too.
int MKFileStreamData::Choose(AVFrame* frame, int64_t duration)
{
    if (place == AV_NOPTS_VALUE)
        return Count(frame);
    const bool isPicture = codecContext->codec_type == AVMEDIA_TYPE_VIDEO;
    if (frame->pts < place && av_sat_add64(frame->pts, duration) <= place) {
        av_frame_free(&earlier);
        if (isPicture)
            earlier = av_frame_clone(frame);
        av_frame_unref(frame);
        return 0;
    }
    if (earlier && frame->pts > place) {
        later = av_frame_clone(frame);
        av_frame_unref(frame);
        return GiveEarlier(frame);
    }
    return Count(frame);
}

// With the place as its time stamp, since that is when it is to be seen.
int MKFileStreamData::GiveEarlier(AVFrame* frame)
{
    av_frame_move_ref(frame, earlier);
    frame->pts = place;
    return Count(frame);
}

int MKFileStreamData::Count(const AVFrame* frame)
{
    av_frame_free(&earlier);
    place = AV_NOPTS_VALUE;
    ++frameCount;
    timeStamp = frame->pts;
    return 1;
}

// Container time bases can be coarser than a sample: the samples counted since the last frame make the times even.
int64_t MKFileStreamData::StampAudio(AVRational timeBase, AVFrame* frame)
{
    const int samples = std::max(frame->nb_samples, 0);
    const int rate = codecContext->sample_rate;
    sampleCount += samples;
    if (frame->pts == AV_NOPTS_VALUE)
        frame->pts = nextPts;
    else if (rate > 0)
        frame->pts = av_rescale_delta(timeBase, frame->pts, {1, rate}, samples, &lastRescalePts, kMicroseconds);
    else
        frame->pts = av_rescale_q(frame->pts, timeBase, kMicroseconds);
    const int64_t duration = rate > 0 ? samples * kSecond / rate : 0;
    nextPts = av_sat_add64(nextPts, duration);
    return duration;
}

int64_t MKFileStreamData::StampVideo(const AVStream* stream, AVFrame* frame)
{
    frame->pts = frame->pts == AV_NOPTS_VALUE ? nextPts : av_rescale_q(frame->pts, stream->time_base, kMicroseconds);
    const int64_t duration = frame->pkt_duration != 0
                                 ? av_rescale_q(frame->pkt_duration, stream->time_base, kMicroseconds)
                                 : PictureDuration(*codecContext, stream);
    nextPts = av_sat_add64(nextPts, duration);
    return duration;
}
