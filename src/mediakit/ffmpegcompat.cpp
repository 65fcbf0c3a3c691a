// The one file that may use what FFmpeg deprecates; the versions are pinned, since such fields change their meaning.
// MIT licence.
#include "mediakit/ffmpegcompat.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/version.h>
#include <libavutil/channel_layout.h>
#include <libavutil/frame.h>
#include <libswresample/swresample.h>
#include <libswscale/version.h>
}

#if defined(__GNUC__)
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#endif

static_assert(LIBAVFORMAT_VERSION_MAJOR == 59, "written for libavformat 59");
static_assert(LIBAVCODEC_VERSION_MAJOR == 59, "written for libavcodec 59");
static_assert(LIBAVUTIL_VERSION_MAJOR == 57, "written for libavutil 57");
static_assert(LIBSWRESAMPLE_VERSION_MAJOR == 4, "written for libswresample 4");
static_assert(LIBSWSCALE_VERSION_MAJOR == 6, "written for libswscale 6");

namespace
{

// A layout that frees itself; empty for a mask of 0.
struct Layout {
    explicit Layout(int64_t mask) { isValid = av_channel_layout_from_mask(&layout, static_cast<uint64_t>(mask)) == 0; }
    ~Layout() { av_channel_layout_uninit(&layout); }
    Layout(const Layout&) = delete;
    Layout& operator=(const Layout&) = delete;

    AVChannelLayout layout = {};
    bool isValid;
};

int64_t MaskOf(const AVChannelLayout& layout)
{
    return layout.order == AV_CHANNEL_ORDER_NATIVE ? static_cast<int64_t>(layout.u.mask) : 0;
}

// The fields of that name are the same in parameters and in contexts.
template <class Owner>
int ChannelCount(const Owner* owner)
{
    if (owner->channel_layout != 0)
        return av_get_channel_layout_nb_channels(owner->channel_layout);
    return owner->channels > 0 ? owner->channels : owner->ch_layout.nb_channels;
}

} // namespace

int64_t mkDefaultChannelLayout(int channels)
{
    return av_get_default_channel_layout(channels);
}

int64_t mkFrameChannelLayout(const AVFrame* frame)
{
    const int64_t mask = MaskOf(frame->ch_layout);
    return mask ? mask : static_cast<int64_t>(frame->channel_layout);
}

void mkSetFrameChannelLayout(AVFrame* frame, int64_t layout)
{
    const Layout made(layout);
    av_channel_layout_uninit(&frame->ch_layout);
    frame->channel_layout = 0;
    frame->channels = 0;
    if (!made.isValid || av_channel_layout_copy(&frame->ch_layout, &made.layout) < 0)
        return;
    frame->channel_layout = static_cast<uint64_t>(layout);
    frame->channels = made.layout.nb_channels;
}

int mkChannelCount(const AVCodecParameters* parameters)
{
    return ChannelCount(parameters);
}

int mkChannelCount(const AVCodecContext* context)
{
    return ChannelCount(context);
}

int mkChannelCount(const AVFrame* frame)
{
    return ChannelCount(frame);
}

void mkEnsureChannelLayout(AVCodecContext* context)
{
    if (static_cast<int64_t>(context->channel_layout) > 0)
        return;
    const int channels = ChannelCount(context);
    if (channels < 1)
        return;
    // Frames take theirs from the new field; setting only the old one after opening leaves them without.
    av_channel_layout_uninit(&context->ch_layout);
    av_channel_layout_default(&context->ch_layout, channels);
    context->channel_layout = static_cast<uint64_t>(MaskOf(context->ch_layout));
    context->channels = channels;
}

void mkAllowTruncatedPackets(AVCodecContext* context, const AVCodec* decoder)
{
    if (decoder->capabilities & AV_CODEC_CAP_TRUNCATED)
        context->flags |= AV_CODEC_FLAG_TRUNCATED;
}

SwrContext* mkAllocResampler(SwrContext* kept, int64_t outLayout, int outFormat, int outRate, int64_t inLayout,
                             int inFormat, int inRate)
{
    Layout out(outLayout);
    Layout in(inLayout);
    SwrContext* context = kept;
    if (!out.isValid || !in.isValid) {
        swr_free(&context);
        return nullptr;
    }
    // Frees the context if it fails.
    swr_alloc_set_opts2(&context, &out.layout, static_cast<AVSampleFormat>(outFormat), outRate, &in.layout,
                        static_cast<AVSampleFormat>(inFormat), inRate, 0, nullptr);
    return context;
}
