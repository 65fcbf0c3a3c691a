// The peer of the media kit's audio chain: FFmpeg's libraries called directly, in one loop. MIT licence.
#include "libavloop.h"

#include <functional>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
}

namespace
{

constexpr int kBlock = 4096;

struct Input {
    AVFormatContext* format = nullptr;
    AVCodecContext* decoder = nullptr;
    AVPacket* packet = av_packet_alloc();
    AVFrame* frame = av_frame_alloc();
    int stream = -1;

    Input(const std::string& file, AVMediaType type)
    {
        if (avformat_open_input(&format, file.c_str(), nullptr, nullptr) < 0 ||
            avformat_find_stream_info(format, nullptr) < 0)
            return;
        const AVCodec* codec = nullptr;
        const int found = av_find_best_stream(format, type, -1, -1, &codec, 0);
        if (found < 0)
            return;
        decoder = avcodec_alloc_context3(codec);
        avcodec_parameters_to_context(decoder, format->streams[found]->codecpar);
        decoder->pkt_timebase = format->streams[found]->time_base;
        if (avcodec_open2(decoder, codec, nullptr) < 0)
            return;
        if (type == AVMEDIA_TYPE_AUDIO && decoder->ch_layout.order == AV_CHANNEL_ORDER_UNSPEC)
            av_channel_layout_default(&decoder->ch_layout, decoder->ch_layout.nb_channels);
        stream = found;
    }
    ~Input()
    {
        av_frame_free(&frame);
        av_packet_free(&packet);
        avcodec_free_context(&decoder);
        avformat_close_input(&format);
    }
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    // Until the end, or until use answers false.
    void Decode(const std::function<bool(AVFrame*)>& use)
    {
        bool draining = false;
        for (;;) {
            const int result = avcodec_receive_frame(decoder, frame);
            if (result == AVERROR(EAGAIN) && !draining) {
                do {
                    av_packet_unref(packet);
                    draining = av_read_frame(format, packet) < 0;
                } while (!draining && packet->stream_index != stream);
                avcodec_send_packet(decoder, draining ? nullptr : packet);
                continue;
            }
            if (result < 0 || !use(frame))
                return;
        }
    }
};

} // namespace

int64_t DecodeDirectly(const std::string& file, bool firstBlockOnly)
{
    Input input(file, AVMEDIA_TYPE_AUDIO);
    if (input.stream < 0)
        return -1;
    AVChannelLayout stereo = AV_CHANNEL_LAYOUT_STEREO;
    SwrContext* resampler = nullptr;
    if (swr_alloc_set_opts2(&resampler, &stereo, AV_SAMPLE_FMT_S16, 48000, &input.decoder->ch_layout,
                            input.decoder->sample_fmt, input.decoder->sample_rate, 0, nullptr) < 0 ||
        swr_init(resampler) < 0)
        return -1;
    std::vector<int16_t> block(kBlock * 2);
    uint8_t* const target = reinterpret_cast<uint8_t*>(block.data());
    int64_t samples = 0;
    input.Decode([&](AVFrame* frame) {
        const auto** const data = const_cast<const uint8_t**>(frame->extended_data);
        int held = swr_get_out_samples(resampler, frame->nb_samples);
        if (held < 2 * kBlock) { // only fill it up
            swr_convert(resampler, nullptr, 0, data, frame->nb_samples);
            return true;
        }
        uint8_t* out = target;
        samples += swr_convert(resampler, &out, kBlock, data, frame->nb_samples);
        while (!firstBlockOnly && swr_get_out_samples(resampler, 0) >= 2 * kBlock)
            samples += swr_convert(resampler, &out, kBlock, nullptr, 0);
        return !(firstBlockOnly && samples > 0);
    });
    swr_free(&resampler);
    return samples;
}

int64_t DecodeStream(const std::string& file, int mediaType)
{
    Input input(file, static_cast<AVMediaType>(mediaType));
    if (input.stream < 0)
        return -1;
    int64_t frames = 0;
    input.Decode([&](AVFrame*) {
        ++frames;
        return true;
    });
    return frames;
}
