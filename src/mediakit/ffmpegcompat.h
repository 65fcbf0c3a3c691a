// The calls and fields that FFmpeg 5.1 deprecates, in one place. MIT licence.
#ifndef QXSPEECH_MEDIAKIT_FFMPEGCOMPAT_H
#define QXSPEECH_MEDIAKIT_FFMPEGCOMPAT_H

#include <cstdint>

struct AVCodec;
struct AVFrame;
struct AVCodecContext;
struct AVCodecParameters;
struct SwrContext;

// Channel layouts are FFmpeg's bit masks; 0 is unset.
int64_t mkDefaultChannelLayout(int channels);
int64_t mkFrameChannelLayout(const AVFrame* frame);
// Sets the layout, and with it the channel count, in every field that this FFmpeg reads.
void mkSetFrameChannelLayout(AVFrame* frame, int64_t layout);
// The count of the layout if there is one, else the plain count.
int mkChannelCount(const AVCodecParameters* parameters);
int mkChannelCount(const AVCodecContext* context);
int mkChannelCount(const AVFrame* frame);
// Gives a decoder that was opened without a layout the default one for its channel count.
void mkEnsureChannelLayout(AVCodecContext* context);
// Before opening: packets may be cut anywhere, where the decoder can do with that.
void mkAllowTruncatedPackets(AVCodecContext* context, const AVCodec* decoder);
// A resampler for these layouts, AVSampleFormats and rates (samples per second), made on the kept context or anew.
// Null: no memory or impossible parameters, the kept context then is gone.
SwrContext* mkAllocResampler(SwrContext* kept, int64_t outLayout, int outFormat, int outRate, int64_t inLayout,
                             int inFormat, int inRate);

#endif
