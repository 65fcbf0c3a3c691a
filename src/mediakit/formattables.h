// The kit's codecs, sample and pixel formats and colour spaces beside FFmpeg's. MIT licence.
#ifndef QXSPEECH_MEDIAKIT_FORMATTABLES_H
#define QXSPEECH_MEDIAKIT_FORMATTABLES_H

#include <cstdint>

extern "C" {
#include <libavcodec/codec_id.h>
#include <libavutil/pixfmt.h>
#include <libavutil/samplefmt.h>
}

#include "mediakit/mediakit.h"

struct AVCodecParameters;

// MKCodecOther for a codec without a number here.
int32_t mkCodecIdFromFFmpeg(AVCodecID codec);

// bitsPerRawSample is the stream's; below 1 means not known. MKSampleUnknown if no row fits.
int32_t mkSampleFormatFromFFmpeg(int avFormat, int bitsPerRawSample);
// AV_SAMPLE_FMT_NONE if there is no such row.
AVSampleFormat mkSampleFormatToFFmpeg(int32_t format);

// MKPixelUnknown if no row fits.
int32_t mkPixelFormatFromFFmpeg(int avFormat);
// AV_PIX_FMT_NONE if there is no such row. For a format on a device this is the device's own.
AVPixelFormat mkPixelFormatToFFmpeg(int32_t format);
// What the texture of a format on a device holds; AV_PIX_FMT_NONE for any other format.
AVPixelFormat mkSoftwarePixelFormat(int32_t format);

// One colour space by FFmpeg's five properties.
struct MKColorRow {
    MKColorSpace value;
    bool isRgb;
    AVColorSpace space;
    AVColorRange range;
    AVColorPrimaries primaries;
    AVColorTransferCharacteristic transfer;
    AVChromaLocation chroma;
};

// The colour properties of a frame or a stream as numbers. Some decoders hand on whatever a file says, values that
// FFmpeg's enumerations do not have among them, so nothing reads those fields as enumerations.
struct MKColorProperties {
    int space;     // AVColorSpace
    int range;     // AVColorRange
    int primaries; // AVColorPrimaries
    int transfer;  // AVColorTransferCharacteristic
    int chroma;    // AVChromaLocation
};

MKColorProperties mkColorProperties(const AVFrame& frame);
MKColorProperties mkColorProperties(const AVCodecParameters& parameters);
void mkCopyColorProperties(AVFrame* to, const AVFrame& from);

// The row of a value, null if there is none.
const MKColorRow* mkFindColorRow(MKColorSpace value);
// The first row that agrees with the properties, those that are not specified agreeing with any; a plain RGB or YUV
// space if none does.
MKColorSpace mkColorSpaceFromProperties(bool isRgb, const MKColorProperties& color);

#endif
