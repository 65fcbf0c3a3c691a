// The tables, each beside its lookups. MIT licence.
#include "mediakit/formattables.h"

extern "C" {
#include <libavcodec/codec_par.h>
#include <libavutil/frame.h>
}

#include <algorithm>
#include <cstring>
#include <iterator>

namespace
{

struct CodecRow {
    int32_t kit;
    int ffmpeg; // AVCodecID, by number where the kit has no name for the codec
};

const CodecRow kCodecs[] = {
    {MKCodecPcmS16LE, AV_CODEC_ID_PCM_S16LE},
    {MKCodecPcmS16BE, AV_CODEC_ID_PCM_S16BE},
    {MKCodecMp3, AV_CODEC_ID_MP3},
    {3, 86021},
    {MKCodecAac, AV_CODEC_ID_AAC},
    {5, 86024},
    {10000, 86},
    {MKCodecH264, AV_CODEC_ID_H264},
    {MKCodecHevc, AV_CODEC_ID_HEVC},
    {MKCodecVp8, AV_CODEC_ID_VP8},
    {MKCodecVp9, AV_CODEC_ID_VP9},
    {10005, 15},
    {10006, 18},
    {MKCodecRawVideo, AV_CODEC_ID_RAWVIDEO},
};

struct SampleRow {
    int32_t kit;
    AVSampleFormat ffmpeg;
    int bits;
};

// 24 bits stand before 32: an FFmpeg format of unknown depth takes the first row.
const SampleRow kSampleFormats[] = {
    {MKSampleU8, AV_SAMPLE_FMT_U8, 8},
    {MKSampleS16, AV_SAMPLE_FMT_S16, 16},
    {MKSampleS24, AV_SAMPLE_FMT_S32, 24},
    {MKSampleS32, AV_SAMPLE_FMT_S32, 32},
    {MKSampleS64, AV_SAMPLE_FMT_S64, 64},
    {MKSampleFloat, AV_SAMPLE_FMT_FLT, 32},
    {MKSampleDouble, AV_SAMPLE_FMT_DBL, 64},
    {MKSampleU8Planar, AV_SAMPLE_FMT_U8P, 8},
    {MKSampleS16Planar, AV_SAMPLE_FMT_S16P, 16},
    {MKSampleS24Planar, AV_SAMPLE_FMT_S32P, 24},
    {MKSampleS32Planar, AV_SAMPLE_FMT_S32P, 32},
    {MKSampleS64Planar, AV_SAMPLE_FMT_S64P, 64},
    {MKSampleFloatPlanar, AV_SAMPLE_FMT_FLTP, 32},
    {MKSampleDoublePlanar, AV_SAMPLE_FMT_DBLP, 64},
};

struct PixelRow {
    int32_t kit;
    AVPixelFormat ffmpeg;
    AVPixelFormat software;
};

const PixelRow kPixelFormats[] = {
    {MKPixelYuv420P, AV_PIX_FMT_YUV420P, AV_PIX_FMT_NONE},
    {MKPixelNv12, AV_PIX_FMT_NV12, AV_PIX_FMT_NONE},
    {MKPixelRgb24, AV_PIX_FMT_RGB24, AV_PIX_FMT_NONE},
    {MKPixelRgba, AV_PIX_FMT_RGBA, AV_PIX_FMT_NONE},
    {MKPixelRgb0, AV_PIX_FMT_RGB0, AV_PIX_FMT_NONE},
    {MKPixelBgr24, AV_PIX_FMT_BGR24, AV_PIX_FMT_NONE},
    {MKPixelBgra, AV_PIX_FMT_BGRA, AV_PIX_FMT_NONE},
    {MKPixelBgr0, AV_PIX_FMT_BGR0, AV_PIX_FMT_NONE},
    {MKPixelArgb, AV_PIX_FMT_ARGB, AV_PIX_FMT_NONE},
    {MKPixel0Rgb, AV_PIX_FMT_0RGB, AV_PIX_FMT_NONE},
    {MKPixelVideoToolbox, AV_PIX_FMT_VIDEOTOOLBOX, AV_PIX_FMT_ARGB},
    {MKPixelD3D11Nv12, AV_PIX_FMT_D3D11, AV_PIX_FMT_NV12},
    {MKPixelD3D11Bgr0, AV_PIX_FMT_D3D11, AV_PIX_FMT_BGR0},
    {MKPixelYuyv422, AV_PIX_FMT_YUYV422, AV_PIX_FMT_NONE},
    {MKPixelP010LE, AV_PIX_FMT_P010LE, AV_PIX_FMT_NONE},
    {MKPixelP016LE, AV_PIX_FMT_P016LE, AV_PIX_FMT_NONE},
    {MKPixelUyvy422, AV_PIX_FMT_UYVY422, AV_PIX_FMT_NONE},
};

// FFmpeg's enumerators under names short enough for a table.
const auto kSpc709 = AVCOL_SPC_BT709;
const auto kSpc601 = AVCOL_SPC_BT470BG;
const auto kSpc2020 = AVCOL_SPC_BT2020_NCL;
const auto kStudio = AVCOL_RANGE_MPEG;
const auto kFull = AVCOL_RANGE_JPEG;
const auto kPri709 = AVCOL_PRI_BT709;
const auto kPri601 = AVCOL_PRI_BT470BG;
const auto kPri2020 = AVCOL_PRI_BT2020;
const auto kTrc709 = AVCOL_TRC_BT709;
const auto kTrcG10 = AVCOL_TRC_LINEAR;
const auto kTrcG22 = AVCOL_TRC_GAMMA22;
const auto kTrcG24 = AVCOL_TRC_IEC61966_2_4;
const auto kTrcPq = AVCOL_TRC_SMPTE2084;
const auto kTrcHlg = AVCOL_TRC_ARIB_STD_B67;
const auto kNoLoc = AVCHROMA_LOC_UNSPECIFIED;
const auto kLeft = AVCHROMA_LOC_LEFT;
const auto kTopLeft = AVCHROMA_LOC_TOPLEFT;

// The order decides which of several fitting rows is taken. Rows of end values stand for no valid colour space.
const MKColorRow kColorSpaces[] = {
    {0, true, kSpc709, kFull, kPri709, kTrc709, kNoLoc},
    {1, true, kSpc709, kFull, kPri709, kTrcG10, kNoLoc},
    {2, true, kSpc709, kStudio, kPri709, kTrc709, kNoLoc},
    {3, true, kSpc2020, kStudio, kPri2020, kTrcG22, kNoLoc},
    {4, false, AVCOL_SPC_NB, AVCOL_RANGE_NB, AVCOL_PRI_NB, AVCOL_TRC_NB, AVCHROMA_LOC_NB},
    {5, false, kSpc709, kFull, kPri709, kTrc709, kNoLoc},
    {6, false, kSpc601, kStudio, kPri601, kTrcG22, kLeft},
    {7, false, kSpc601, kFull, kPri601, kTrcG22, kLeft},
    {8, false, kSpc709, kStudio, kPri709, kTrc709, kLeft},
    {9, false, kSpc709, kFull, kPri709, kTrc709, kLeft},
    {10, false, kSpc2020, kStudio, kPri2020, kTrcG22, kLeft},
    {11, false, kSpc2020, kFull, kPri2020, kTrcG22, kLeft},
    {12, true, kSpc2020, kFull, kPri2020, kTrcPq, kNoLoc},
    {13, false, kSpc2020, kStudio, kPri2020, kTrcPq, kLeft},
    {14, true, kSpc2020, kStudio, kPri2020, kTrcPq, kNoLoc},
    {15, false, kSpc2020, kStudio, kPri2020, kTrcG22, kTopLeft},
    {16, false, kSpc2020, kStudio, kPri2020, kTrcPq, kTopLeft},
    {17, true, kSpc2020, kFull, kPri2020, kTrcG22, kNoLoc},
    {18, false, kSpc2020, kStudio, kPri2020, kTrcHlg, kTopLeft},
    {19, false, kSpc2020, kFull, kPri2020, kTrcHlg, kTopLeft},
    {20, true, kSpc709, kStudio, kPri709, kTrcG24, kNoLoc},
    {21, true, kSpc2020, kStudio, kPri2020, kTrcG24, kNoLoc},
    {22, false, kSpc709, kStudio, kPri709, kTrcG24, kLeft},
    {23, false, kSpc2020, kStudio, kPri2020, kTrcG24, kLeft},
    {24, false, kSpc2020, kStudio, kPri2020, kTrcG24, kTopLeft},
    {-1, false, AVCOL_SPC_NB, AVCOL_RANGE_NB, AVCOL_PRI_NB, AVCOL_TRC_NB, AVCHROMA_LOC_NB},
};

// The first row of a table that satisfies the condition, null if none does.
template <class Row, size_t N, class Condition>
const Row* Find(const Row (&table)[N], Condition condition)
{
    const Row* row = std::find_if(std::begin(table), std::end(table), condition);
    return row == std::end(table) ? nullptr : row;
}

template <class Row, size_t N>
const Row* FindKit(const Row (&table)[N], int32_t kit)
{
    return Find(table, [=](const Row& row) { return row.kit == kit; });
}

} // namespace

int32_t mkCodecIdFromFFmpeg(AVCodecID codec)
{
    const CodecRow* row = Find(kCodecs, [=](const CodecRow& r) { return r.ffmpeg == static_cast<int>(codec); });
    return row ? row->kit : MKCodecOther;
}

int32_t mkSampleFormatFromFFmpeg(int avFormat, int bitsPerRawSample)
{
    const SampleRow* row = Find(kSampleFormats, [=](const SampleRow& r) {
        return r.ffmpeg == avFormat && (bitsPerRawSample < 1 || r.bits == bitsPerRawSample);
    });
    return row ? row->kit : MKSampleUnknown;
}

AVSampleFormat mkSampleFormatToFFmpeg(int32_t format)
{
    const SampleRow* row = FindKit(kSampleFormats, format);
    return row ? row->ffmpeg : AV_SAMPLE_FMT_NONE;
}

int32_t mkPixelFormatFromFFmpeg(int avFormat)
{
    const PixelRow* row = Find(kPixelFormats, [=](const PixelRow& r) { return r.ffmpeg == avFormat; });
    return row ? row->kit : MKPixelUnknown;
}

AVPixelFormat mkPixelFormatToFFmpeg(int32_t format)
{
    const PixelRow* row = FindKit(kPixelFormats, format);
    return row ? row->ffmpeg : AV_PIX_FMT_NONE;
}

AVPixelFormat mkSoftwarePixelFormat(int32_t format)
{
    const PixelRow* row = FindKit(kPixelFormats, format);
    return row ? row->software : AV_PIX_FMT_NONE;
}

const MKColorRow* mkFindColorRow(MKColorSpace value)
{
    return Find(kColorSpaces, [=](const MKColorRow& row) { return row.value == value; });
}

template <class Enum>
static int Number(const Enum& field)
{
    int number = 0;
    static_assert(sizeof(field) == sizeof(number), "an enumeration of another size");
    memcpy(&number, &field, sizeof(number));
    return number;
}

MKColorProperties mkColorProperties(const AVFrame& frame)
{
    return {Number(frame.colorspace), Number(frame.color_range), Number(frame.color_primaries), Number(frame.color_trc),
            Number(frame.chroma_location)};
}

MKColorProperties mkColorProperties(const AVCodecParameters& parameters)
{
    return {Number(parameters.color_space), Number(parameters.color_range), Number(parameters.color_primaries),
            Number(parameters.color_trc), Number(parameters.chroma_location)};
}

void mkCopyColorProperties(AVFrame* to, const AVFrame& from)
{
    memcpy(&to->colorspace, &from.colorspace, sizeof(to->colorspace));
    memcpy(&to->color_range, &from.color_range, sizeof(to->color_range));
    memcpy(&to->color_primaries, &from.color_primaries, sizeof(to->color_primaries));
    memcpy(&to->color_trc, &from.color_trc, sizeof(to->color_trc));
    memcpy(&to->chroma_location, &from.chroma_location, sizeof(to->chroma_location));
}

MKColorSpace mkColorSpaceFromProperties(bool isRgb, const MKColorProperties& color)
{
    const bool isFull = color.range == AVCOL_RANGE_JPEG;
    // Without a range nothing else is trusted.
    if (color.range == AVCOL_RANGE_UNSPECIFIED)
        return isRgb ? MKColorSpaceRgbFull709 : MKColorSpaceYuvStudio709;
    const MKColorRow* row = Find(kColorSpaces, [&](const MKColorRow& r) {
        return r.isRgb == isRgb && (isRgb || color.chroma == kNoLoc || r.chroma == color.chroma) &&
               r.range == color.range && (color.space == AVCOL_SPC_UNSPECIFIED || r.space == color.space) &&
               (color.primaries == AVCOL_PRI_UNSPECIFIED || r.primaries == color.primaries) &&
               (color.transfer == AVCOL_TRC_UNSPECIFIED || r.transfer == color.transfer);
    });
    if (row)
        return row->value;
    if (isRgb)
        return isFull ? MKColorSpaceRgbFull709 : MKColorSpaceRgbStudio709;
    return isFull ? MKColorSpaceYuvFull709 : MKColorSpaceYuvStudio709;
}
