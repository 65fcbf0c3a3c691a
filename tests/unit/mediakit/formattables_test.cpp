// The kit's vocabulary beside FFmpeg's, and what a stream's parameters become. MIT licence.
#include <gtest/gtest.h>

extern "C" {
#include <libavcodec/codec_par.h>
#include <libavutil/channel_layout.h>
#include <libavutil/frame.h>
#include <libavutil/hwcontext.h>
}

#include <memory>

#include "mediakit/ffmpegcompat.h"
#include "mediakit/formattables.h"

namespace
{

struct FreeParameters {
    void operator()(AVCodecParameters* parameters) const { avcodec_parameters_free(&parameters); }
};
using Parameters = std::unique_ptr<AVCodecParameters, FreeParameters>;

struct FreeFrame {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
using Frame = std::unique_ptr<AVFrame, FreeFrame>;

MKColorSpace ColorSpace(bool isRgb, int space, int range, int primaries, int transfer, int chroma)
{
    return mkColorSpaceFromProperties(isRgb, {space, range, primaries, transfer, chroma});
}

} // namespace

TEST(FormatTables, CodecsGoByFFmpegsNumbers)
{
    EXPECT_EQ(mkCodecIdFromFFmpeg(AV_CODEC_ID_PCM_S16LE), 0);
    EXPECT_EQ(mkCodecIdFromFFmpeg(AV_CODEC_ID_MP3), 2);
    EXPECT_EQ(mkCodecIdFromFFmpeg(static_cast<AVCodecID>(86021)), 3);
    EXPECT_EQ(mkCodecIdFromFFmpeg(static_cast<AVCodecID>(86)), 10000);
    EXPECT_EQ(mkCodecIdFromFFmpeg(AV_CODEC_ID_VP9), 10004);
    EXPECT_EQ(mkCodecIdFromFFmpeg(static_cast<AVCodecID>(18)), 10006);
    EXPECT_EQ(mkCodecIdFromFFmpeg(AV_CODEC_ID_FLAC), 32767);
}

TEST(FormatTables, SampleFormatGoesByDepthWhereItIsKnown)
{
    struct Case {
        int ffmpeg;
        int bits;
        int32_t kit;
    };
    const Case cases[] = {{AV_SAMPLE_FMT_S32, 24, 2},   {AV_SAMPLE_FMT_S32, 0, 2},     {AV_SAMPLE_FMT_S32, -1, 2},
                          {AV_SAMPLE_FMT_S32, 32, 3},   {AV_SAMPLE_FMT_S32P, 32, 103}, {AV_SAMPLE_FMT_S32P, 0, 102},
                          {AV_SAMPLE_FMT_S32, 20, 200}, {AV_SAMPLE_FMT_U8, 8, 0},      {AV_SAMPLE_FMT_FLTP, 0, 105},
                          {AV_SAMPLE_FMT_DBL, 64, 6},   {AV_SAMPLE_FMT_NONE, 0, 200}};
    for (const Case& c : cases)
        EXPECT_EQ(mkSampleFormatFromFFmpeg(c.ffmpeg, c.bits), c.kit) << c.ffmpeg << " with " << c.bits << " bits";
}

TEST(FormatTables, PlanarIsInterleavedPlus100)
{
    for (int32_t format = MKSampleU8; format <= MKSampleDouble; ++format)
        EXPECT_EQ(mkSampleFormatToFFmpeg(format + 100), av_get_planar_sample_fmt(mkSampleFormatToFFmpeg(format)));
    EXPECT_EQ(mkSampleFormatToFFmpeg(7), AV_SAMPLE_FMT_NONE);
    EXPECT_EQ(mkSampleFormatToFFmpeg(MKSampleUnknown), AV_SAMPLE_FMT_NONE);
}

TEST(FormatTables, PixelFormatsReturnFromFFmpegButForTheSecondOnADevice)
{
    for (int32_t format = 0; format <= 16; ++format) {
        const int32_t expected = format == MKPixelD3D11Bgr0 ? int32_t{MKPixelD3D11Nv12} : format;
        EXPECT_EQ(mkPixelFormatFromFFmpeg(mkPixelFormatToFFmpeg(format)), expected);
    }
    EXPECT_EQ(mkPixelFormatFromFFmpeg(AV_PIX_FMT_YUV444P), MKPixelUnknown);
    EXPECT_EQ(mkPixelFormatToFFmpeg(17), AV_PIX_FMT_NONE);
    EXPECT_EQ(mkSoftwarePixelFormat(MKPixelD3D11Bgr0), AV_PIX_FMT_BGR0);
    EXPECT_EQ(mkSoftwarePixelFormat(MKPixelNv12), AV_PIX_FMT_NONE);
}

TEST(FormatTables, ColorSpaceIsTheFirstRowThatAgrees)
{
    struct Case {
        const char* what;
        bool isRgb;
        int space, range, primaries, transfer, chroma;
        MKColorSpace expected;
    };
    const Case cases[] = {
        {"no range: nothing else counts, RGB", true, 9, 0, 9, 16, 0, 0},
        {"no range: nothing else counts, YUV", false, 9, 0, 9, 16, 3, 8},
        {"studio YUV, nothing else known", false, 2, 1, 2, 2, 0, 6},
        {"full YUV, nothing else known", false, 2, 2, 2, 2, 0, 5},
        {"full YUV, left", false, 2, 2, 2, 2, 1, 7},
        {"HD", false, 1, 1, 1, 1, 1, 8},
        {"HD, full", false, 1, 2, 1, 1, 1, 9},
        {"full HD without a chroma place", false, 1, 2, 1, 1, 0, 5},
        {"HDR10", false, 9, 1, 9, 16, 1, 13},
        {"HDR10, top left", false, 9, 1, 9, 16, 3, 16},
        {"HLG", false, 9, 1, 9, 18, 3, 18},
        {"RGB goes by range, chroma place ignored", true, 2, 1, 2, 2, 3, 2},
        {"RGB linear", true, 1, 2, 1, 8, 0, 1},
        {"RGB, PQ", true, 9, 2, 9, 16, 0, 12},
        {"unknown transfer falls back to studio YUV", false, 1, 1, 1, 13, 1, 8},
        {"unknown space falls back to full YUV", false, 14, 2, 1, 1, 1, 9},
        {"nothing fits full RGB", true, 14, 2, 1, 1, 0, 0},
        {"nothing fits studio RGB", true, 14, 1, 1, 1, 0, 2},
        {"end values are the row of no colour space", false, 15, 3, 23, 19, 7, 4},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ColorSpace(c.isRgb, c.space, c.range, c.primaries, c.transfer, c.chroma), c.expected) << c.what;
}

TEST(FormatTables, EachColorSpaceHasItsRow)
{
    for (MKColorSpace value = -1; value <= 24; ++value) {
        const MKColorRow* row = mkFindColorRow(value);
        ASSERT_NE(row, nullptr) << value;
        EXPECT_EQ(row->value, value);
    }
    EXPECT_EQ(mkFindColorRow(25), nullptr);
    EXPECT_EQ(mkFindColorRow(-2), nullptr);
}

TEST(StreamParameters, AudioIsTakenOver)
{
    const Parameters source(avcodec_parameters_alloc());
    source->codec_type = AVMEDIA_TYPE_AUDIO;
    source->codec_id = AV_CODEC_ID_MP3;
    source->format = AV_SAMPLE_FMT_FLTP;
    source->sample_rate = 44100;
    source->frame_size = 1152;
    source->bit_rate = (int64_t{1} << 33) + 128000;
    av_channel_layout_default(&source->ch_layout, 6);

    MKStreamParameters params;
    params.width = 77;
    FillStreamParameters(&params, source.get());

    EXPECT_EQ(params.type, MKMediaAudio);
    EXPECT_EQ(params.codec, MKCodecMp3);
    EXPECT_EQ(params.format, MKSampleFloatPlanar);
    EXPECT_EQ(params.channels, 6);
    EXPECT_EQ(params.rateNum, 44100);
    EXPECT_EQ(params.rateDen, 1);
    EXPECT_EQ(params.frameSize, 1152);
    EXPECT_EQ(params.bitRate, 128000); // the low 32 bits
    EXPECT_EQ(params.width, 77);
}

TEST(StreamParameters, VideoIsTakenOver)
{
    const Parameters source(avcodec_parameters_alloc());
    source->codec_type = AVMEDIA_TYPE_VIDEO;
    source->codec_id = AV_CODEC_ID_H264;
    source->format = AV_PIX_FMT_YUV420P;
    source->width = 320;
    source->height = 180;
    source->color_range = AVCOL_RANGE_JPEG;
    source->chroma_location = AVCHROMA_LOC_LEFT;
    source->color_space = AVCOL_SPC_BT709;

    MKStreamParameters params;
    FillStreamParameters(&params, source.get());

    EXPECT_EQ(params.type, MKMediaVideo);
    EXPECT_EQ(params.codec, MKCodecH264);
    EXPECT_EQ(params.format, MKPixelYuv420P);
    EXPECT_EQ(params.width, 320);
    EXPECT_EQ(params.height, 180);
    EXPECT_EQ(params.colorSpace, MKColorSpaceYuvFull709);
}

TEST(StreamParameters, ColorSpaceStaysWhereThePixelFormatIsUnknown)
{
    const Parameters source(avcodec_parameters_alloc());
    source->codec_type = AVMEDIA_TYPE_VIDEO;
    source->format = AV_PIX_FMT_NONE;
    MKStreamParameters params;
    params.colorSpace = 13;
    FillStreamParameters(&params, source.get());
    EXPECT_EQ(params.colorSpace, 13);
    EXPECT_EQ(params.format, MKPixelUnknown);
}

TEST(StreamParameters, OtherMediaLeaveTheRecordAlone)
{
    const Parameters source(avcodec_parameters_alloc());
    source->codec_type = AVMEDIA_TYPE_SUBTITLE;
    source->codec_id = AV_CODEC_ID_SUBRIP;
    MKStreamParameters params;
    FillStreamParameters(&params, source.get());
    EXPECT_EQ(params.type, MKMediaNone);
    EXPECT_EQ(params.codec, -1);
}

TEST(ColorSpaceFromFrame, GoesByWhatTheDeviceFrameHolds)
{
    const Frame frame(av_frame_alloc());
    EXPECT_EQ(MKColorSpaceFromFrame(frame.get()), 0); // no format, no descriptor
    frame->format = AV_PIX_FMT_NV12;
    EXPECT_EQ(MKColorSpaceFromFrame(frame.get()), 8);
    frame->color_range = AVCOL_RANGE_MPEG;
    EXPECT_EQ(MKColorSpaceFromFrame(frame.get()), 6);

    AVHWFramesContext onDevice = {};
    onDevice.sw_format = AV_PIX_FMT_BGR0;
    frame->format = AV_PIX_FMT_VULKAN;
    frame->hw_frames_ctx = av_buffer_create(
        reinterpret_cast<uint8_t*>(&onDevice), sizeof onDevice, [](void*, uint8_t*) {}, nullptr, 0);
    EXPECT_EQ(MKColorSpaceFromFrame(frame.get()), MKColorSpaceRgbStudio709);
}
