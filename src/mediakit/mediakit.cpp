// Frames, what nodes have in common, and the record of a stream. MIT licence.
#include "mediakit/mediakit.h"

#include <utility>

extern "C" {
#include <libavcodec/codec_par.h>
#include <libavutil/frame.h>
#include <libavutil/hwcontext.h>
#include <libavutil/pixdesc.h>
}

#include "common/logging.h"
#include "mediakit/ffmpegcompat.h"
#include "mediakit/formattables.h"
#include "mediakit/nodeimpl.h"

namespace
{

// Samples per channel that a frame has room for where its stream has no fixed frame size.
const int32_t kUnfixedFrameSize = 192000;

// Nodes and the objects behind them answer the same questions without a common base.
template <class Node>
bool AllocateByOwnParameters(Node& node, size_t index, MKFrame* frame)
{
    MKStreamParameters params;
    return node.QueryStreamParameters(index, &params) && frame && frame->Allocate(params);
}

int32_t Capacity(int32_t frameSize)
{
    return frameSize < 1 ? kUnfixedFrameSize : frameSize;
}

// True if each plane of the frame really holds that many samples: a decoder may have replaced the buffers.
bool HasRoomFor(const AVFrame& frame, int32_t samples)
{
    const auto format = static_cast<AVSampleFormat>(frame.format);
    const int64_t channels = av_sample_fmt_is_planar(format) ? 1 : frame.ch_layout.nb_channels;
    return frame.buf[0] && frame.linesize[0] >= channels * av_get_bytes_per_sample(format) * samples;
}

void SetColor(AVFrame& frame, const MKColorRow& color)
{
    frame.colorspace = color.space;
    frame.color_range = color.range;
    frame.color_primaries = color.primaries;
    frame.color_trc = color.transfer;
    frame.chroma_location = color.chroma;
}

void FillAudioParameters(MKStreamParameters& params, const AVCodecParameters& source)
{
    params.type = MKMediaAudio;
    params.codec = mkCodecIdFromFFmpeg(source.codec_id);
    params.format = mkSampleFormatFromFFmpeg(source.format, source.bits_per_raw_sample);
    params.channels = mkChannelCount(&source);
    params.rateNum = source.sample_rate;
    params.rateDen = 1;
    params.frameSize = source.frame_size;
    params.bitRate = static_cast<int32_t>(source.bit_rate);
}

bool IsRgb(const AVPixFmtDescriptor& format)
{
    return (format.flags & AV_PIX_FMT_FLAG_RGB) != 0;
}

void FillVideoParameters(MKStreamParameters& params, const AVCodecParameters& source)
{
    params.type = MKMediaVideo;
    params.codec = mkCodecIdFromFFmpeg(source.codec_id);
    params.format = mkPixelFormatFromFFmpeg(source.format);
    params.width = source.width;
    params.height = source.height;
    params.bitRate = static_cast<int32_t>(source.bit_rate);
    if (const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(source.format)))
        params.colorSpace = mkColorSpaceFromProperties(IsRgb(*format), mkColorProperties(source));
}

} // namespace

void FillStreamParameters(MKStreamParameters* params, const AVCodecParameters* codecParameters)
{
    if (!params || !codecParameters)
        return;
    if (codecParameters->codec_type == AVMEDIA_TYPE_AUDIO)
        FillAudioParameters(*params, *codecParameters);
    else if (codecParameters->codec_type == AVMEDIA_TYPE_VIDEO)
        FillVideoParameters(*params, *codecParameters);
}

MKColorSpace MKColorSpaceFromFrame(const AVFrame* frame)
{
    if (!frame)
        return MKColorSpaceRgbFull709;
    const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame->format));
    if (format && (format->flags & AV_PIX_FMT_FLAG_HWACCEL) && frame->hw_frames_ctx) {
        // The frame's own format says only on which device it is.
        const auto* onDevice = reinterpret_cast<const AVHWFramesContext*>(frame->hw_frames_ctx->data);
        format = av_pix_fmt_desc_get(onDevice->sw_format);
    }
    if (!format)
        return MKColorSpaceRgbFull709;
    return mkColorSpaceFromProperties(IsRgb(*format), mkColorProperties(*frame));
}

struct QXSPEECH_HIDDEN MKFrame::Record {
    AVFrame* frame;
    int32_t frameSize;
};

MKFrame::MKFrame() : record(new Record{av_frame_alloc(), 0}) {}

MKFrame::~MKFrame()
{
    av_frame_free(&record->frame);
    delete record;
}

AVFrame* MKFrame::GetAVFrame() const
{
    return record->frame;
}

int32_t MKFrame::GetFrameSize() const
{
    return record->frameSize;
}

void MKFrame::Unref()
{
    if (record->frame)
        av_frame_unref(record->frame);
}

void MKFrame::Swap(MKFrame& other) noexcept
{
    std::swap(record, other.record);
}

int64_t MKFrame::GetTimeStamp() const
{
    return record->frame ? record->frame->pts : AV_NOPTS_VALUE;
}

MKMediaType MKFrame::GetMediaType() const
{
    const AVFrame* frame = record->frame;
    if (!frame) {
        QX_LOG("MKFrame::GetMediaType: no frame");
        return MKMediaNone;
    }
    if (frame->width >= 1 && frame->height >= 1)
        return MKMediaVideo;
    return frame->sample_rate >= 1 ? MKMediaAudio : MKMediaNone;
}

bool MKFrame::Allocate(const MKStreamParameters& params)
{
    if (params.type == MKMediaVideo)
        return AllocateVideo(params);
    if (params.type == MKMediaAudio)
        return AllocateAudio(params);
    return true;
}

bool MKFrame::AllocateVideo(const MKStreamParameters& params)
{
    const int format = mkPixelFormatToFFmpeg(params.format);
    AVFrame*& frame = record->frame;
    const bool fits = frame && frame->buf[0] && frame->width == params.width && frame->height == params.height &&
                      frame->format == format;
    if (!fits) {
        av_frame_free(&frame);
        frame = av_frame_alloc();
        if (frame) {
            frame->width = params.width;
            frame->height = params.height;
            frame->format = format;
        }
        if (!frame || av_frame_get_buffer(frame, 32) < 0) {
            QX_LOG("Failed to allocate video frame");
            return false;
        }
    }
    const MKColorRow* color = mkFindColorRow(params.colorSpace);
    if (!color) {
        QX_LOG("Failed to allocate video frame, color space not found");
        return false;
    }
    SetColor(*frame, *color);
    return true;
}

bool MKFrame::AllocateAudio(const MKStreamParameters& params)
{
    const int format = mkSampleFormatToFFmpeg(params.format);
    const int64_t layout = mkDefaultChannelLayout(params.channels);
    const int32_t want = Capacity(params.frameSize);
    const int32_t rate = params.rateDen > 0 ? params.rateNum / params.rateDen : params.rateNum;
    AVFrame*& frame = record->frame;
    const bool fits = frame && frame->format == format && mkFrameChannelLayout(frame) == layout &&
                      Capacity(record->frameSize) >= want && HasRoomFor(*frame, want);
    if (!fits) {
        av_frame_free(&frame);
        frame = av_frame_alloc();
        if (frame) {
            mkSetFrameChannelLayout(frame, layout);
            frame->format = format;
            frame->nb_samples = want;
        }
        if (!frame || av_frame_get_buffer(frame, 0) < 0) {
            QX_LOG("Failed to allocate audio frame");
            return false;
        }
        record->frameSize = params.frameSize;
    }
    frame->nb_samples = 0;
    frame->sample_rate = rate;
    return true;
}

bool MKNode::DiscardStream(size_t, bool)
{
    return false;
}

bool MKNode::IsStreamDiscarded(size_t)
{
    return false;
}

bool MKNode::AllocateFrame(size_t index, MKFrame* frame)
{
    return AllocateByOwnParameters(*this, index, frame);
}

bool MKNodeImpl::AllocateFrame(size_t index, MKFrame* frame)
{
    return AllocateByOwnParameters(*this, index, frame);
}

int MKNode::GetBufferSize(size_t)
{
    return 10;
}

int MKNode::FindStream(MKMediaType type, size_t first)
{
    const int count = GetStreamCount();
    for (size_t i = first; count > 0 && i < static_cast<size_t>(count); ++i) {
        if (GetStreamType(i) == type)
            return static_cast<int>(i);
    }
    return -1;
}

MKNodeStreamClock* MKNode::CreateStreamClock(size_t stream)
{
    return new MKNodeStreamClock(this, stream);
}

int64_t MKNodeStreamClock::GetTime()
{
    return node->GetStreamTimeStamp(stream);
}
