// Pictures through the frame converter, against colours worked out here from the matrices' definitions. MIT licence.
#include "mediakit/videoconverter.h"

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/error.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "mediakit/frameconverter.h"
#include "mediakit/mediakit.h"
#include "support/log_capture.h"

namespace
{

constexpr int kWidth = 48;
constexpr int kHeight = 32;

using Rgb = std::array<double, 3>; // 0 to 255

const int32_t kSoftwareFormats[] = {MKPixelYuv420P, MKPixelNv12,   MKPixelRgb24,  MKPixelRgba,   MKPixelRgb0,
                                    MKPixelBgr24,   MKPixelBgra,   MKPixelBgr0,   MKPixelArgb,   MKPixel0Rgb,
                                    MKPixelYuyv422, MKPixelP010LE, MKPixelP016LE, MKPixelUyvy422};

bool IsRgb(const AVFrame* frame)
{
    return (av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame->format))->flags & AV_PIX_FMT_FLAG_RGB) != 0;
}

// The weights of red and blue in the luma of the standards.
std::array<double, 2> Weights(const AVFrame* frame)
{
    switch (frame->color_primaries) {
    case AVCOL_PRI_BT709:
        return {0.2126, 0.0722};
    case AVCOL_PRI_BT2020:
        return {0.2627, 0.0593};
    default: // BT.601
        return {0.299, 0.114};
    }
}

// The components of a colour as the frame's format, range and primaries have them, each scaled to 8 bit.
std::array<double, 3> Encode(const Rgb& rgb, const AVFrame* frame)
{
    if (IsRgb(frame))
        return rgb;
    const auto [kr, kb] = Weights(frame);
    const double y = kr * rgb[0] + (1 - kr - kb) * rgb[1] + kb * rgb[2];
    const double u = (rgb[2] - y) / (2 - 2 * kb);
    const double v = (rgb[0] - y) / (2 - 2 * kr);
    if (frame->color_range == AVCOL_RANGE_JPEG)
        return {y, u + 128, v + 128};
    return {y * 219 / 255 + 16, u * 224 / 255 + 128, v * 224 / 255 + 128};
}

// Component by component, where the format's descriptor says; also the alpha, if there is one, and full.
uint8_t* PlaceOf(const AVFrame* frame, const AVComponentDescriptor& c, int x, int y)
{
    return frame->data[c.plane] + static_cast<ptrdiff_t>(y) * frame->linesize[c.plane] +
           static_cast<ptrdiff_t>(x) * c.step + c.offset;
}

void FillPlain(AVFrame* frame, const Rgb& rgb)
{
    const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame->format));
    const std::array<double, 3> values = Encode(rgb, frame);
    for (int i = 0; i < format->nb_components; i++) {
        const AVComponentDescriptor& c = format->comp[i];
        const bool isChroma = !IsRgb(frame) && (i == 1 || i == 2);
        const int width = isChroma ? frame->width >> format->log2_chroma_w : frame->width;
        const int height = isChroma ? frame->height >> format->log2_chroma_h : frame->height;
        const double value = i < 3 ? values[static_cast<size_t>(i)] : 255;
        const int wide = static_cast<int>(std::lround(value * (1 << (c.depth - 8)))) << c.shift;
        for (int y = 0; y < height; y++) {
            for (int x = 0; x < width; x++) {
                uint8_t* place = PlaceOf(frame, c, x, y);
                place[0] = static_cast<uint8_t>(wide & 0xff);
                if (c.depth > 8)
                    place[1] = static_cast<uint8_t>(wide >> 8);
            }
        }
    }
}

double ComponentAt(const AVFrame* frame, int component, int x, int y)
{
    const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame->format));
    const AVComponentDescriptor& c = format->comp[component];
    const bool isChroma = !IsRgb(frame) && (component == 1 || component == 2);
    const uint8_t* place =
        PlaceOf(frame, c, isChroma ? x >> format->log2_chroma_w : x, isChroma ? y >> format->log2_chroma_h : y);
    const int wide = c.depth > 8 ? place[0] + place[1] * 256 : place[0];
    return static_cast<double>(wide >> c.shift) / (1 << (c.depth - 8));
}

// The colour at the corners and in the middle.
void ExpectPlain(const AVFrame* frame, const Rgb& rgb, double tolerance)
{
    const std::array<double, 3> values = Encode(rgb, frame);
    const int places[][2] = {{0, 0}, {frame->width / 2, frame->height / 2}, {frame->width - 1, frame->height - 1}};
    for (const auto& [x, y] : places) {
        for (int i = 0; i < 3; i++)
            EXPECT_NEAR(ComponentAt(frame, i, x, y), values[static_cast<size_t>(i)], tolerance)
                << "component " << i << " at " << x << "," << y;
        const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame->format));
        if (format->nb_components == 4) {
            EXPECT_EQ(ComponentAt(frame, 3, x, y), 255) << "alpha";
        }
    }
}

void Prepare(MKFrame& frame, int32_t format, MKColorSpace colorSpace, int width = kWidth, int height = kHeight)
{
    MKStreamParameters params;
    params.type = MKMediaVideo;
    params.format = format;
    params.width = width;
    params.height = height;
    params.colorSpace = colorSpace;
    ASSERT_TRUE(frame.Allocate(params));
}

// The colour space of a picture in this format: RGB has no other range or matrix here.
MKColorSpace SpaceFor(int32_t format, MKColorSpace yuvSpace)
{
    const bool isYuv = format == MKPixelYuv420P || format == MKPixelNv12 || format == MKPixelYuyv422 ||
                       format == MKPixelP010LE || format == MKPixelP016LE || format == MKPixelUyvy422;
    return isYuv ? yuvSpace : MKColorSpaceRgbFull709;
}

// A frame in a format that the kit has no number for.
void PrepareRaw(MKFrame& frame, AVPixelFormat format)
{
    AVFrame* av = frame.GetAVFrame();
    av->width = kWidth;
    av->height = kHeight;
    av->format = format;
    av->color_primaries = AVCOL_PRI_BT709;
    ASSERT_EQ(av_frame_get_buffer(av, 32), 0);
}

constexpr MKColorSpace kYuvStudio601 = 6;
constexpr MKColorSpace kYuvFull601 = 7;
constexpr MKColorSpace kYuvStudio2020 = 10;
constexpr MKColorSpace kYuvFull2020 = 11;

// Says what it was asked and refuses or takes it.
class ScriptedWays : public MKHardwareWays
{
public:
    struct Script {
        int convert = -1;
        int transfer = -1;
        Device device{};
        std::string calls;
    };

    explicit ScriptedWays(Script& script) : m_script(script) {}
    Device DeviceOf(const AVFrame*) const override { return m_script.device; }
    void Reset() override { m_script.calls += "reset "; }
    int HWConvert(const AVFrame*, AVFrame*) override
    {
        m_script.calls += "convert ";
        return m_script.convert;
    }
    int HWTransferAndHWConvert(const AVFrame*, AVFrame*) override
    {
        m_script.calls += "transfer ";
        return m_script.transfer;
    }

private:
    Script& m_script;
};

} // namespace

TEST(FrameConverterPicture, EveryFormatTurnsIntoEveryOther)
{
    struct Row {
        const char* label;
        MKColorSpace src;
        MKColorSpace dst;
    };
    const Row rows[] = {
        {"709 studio", MKColorSpaceYuvStudio709, MKColorSpaceYuvStudio709},
        {"709 full", MKColorSpaceYuvFull709, MKColorSpaceYuvFull709},
        {"601 studio", kYuvStudio601, kYuvStudio601},
        {"601 full", kYuvFull601, kYuvFull601},
        {"2020 studio", kYuvStudio2020, kYuvStudio2020},
        {"2020 full", kYuvFull2020, kYuvFull2020},
        {"709 full to studio", MKColorSpaceYuvFull709, MKColorSpaceYuvStudio709},
        {"709 studio to full", MKColorSpaceYuvStudio709, MKColorSpaceYuvFull709},
        {"601 to 709 studio", kYuvStudio601, MKColorSpaceYuvStudio709},
        {"2020 studio to 709 full", kYuvStudio2020, MKColorSpaceYuvFull709},
    };
    const Rgb colors[] = {{98, 141, 182}, {200, 60, 40}, {255, 255, 255}, {0, 0, 0}};
    for (const Row& row : rows) {
        for (const int32_t from : kSoftwareFormats) {
            for (const int32_t to : kSoftwareFormats) {
                MKFrame src;
                MKFrame dst;
                Prepare(src, from, SpaceFor(from, row.src));
                Prepare(dst, to, SpaceFor(to, row.dst));
                MKFrameConverter converter;
                for (const Rgb& color : colors) {
                    SCOPED_TRACE(std::string(row.label) + ", format " + std::to_string(from) + " to " +
                                 std::to_string(to) + ", red " + std::to_string(color[0]));
                    FillPlain(src.GetAVFrame(), color);
                    ASSERT_GE(converter.Convert(&src, &dst), 0);
                    ExpectPlain(dst.GetAVFrame(), color, 3.5);
                }
            }
        }
    }
}

TEST(FrameConverterPicture, TheFullRangeKindsOfFormatsAreFullRange)
{
    struct Row {
        AVPixelFormat format;
        MKColorSpace dst;
        int white; // of the luma that was 255
    };
    const Row rows[] = {{AV_PIX_FMT_YUVJ420P, MKColorSpaceYuvStudio709, 235},
                        {AV_PIX_FMT_YUVJ420P, MKColorSpaceYuvFull709, 255},
                        {AV_PIX_FMT_YUVJ422P, MKColorSpaceYuvStudio709, 235},
                        {AV_PIX_FMT_YUVJ444P, MKColorSpaceYuvStudio709, 235},
                        {AV_PIX_FMT_YUVJ440P, MKColorSpaceYuvStudio709, 235},
                        {AV_PIX_FMT_YUV420P, MKColorSpaceYuvStudio709, 255}}; // not specified: as it is
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(av_get_pix_fmt_name(row.format)) + " to " + std::to_string(row.dst));
        MKFrame src;
        MKFrame dst;
        PrepareRaw(src, row.format);
        Prepare(dst, MKPixelYuv420P, row.dst);
        FillPlain(src.GetAVFrame(), {255, 255, 255});
        for (int y = 0; y < kHeight; y++)
            std::memset(src.GetAVFrame()->data[0] + static_cast<ptrdiff_t>(y) * src.GetAVFrame()->linesize[0], 255,
                        kWidth);
        MKFrameConverter converter;
        ASSERT_GE(converter.Convert(&src, &dst), 0);
        EXPECT_EQ(dst.GetAVFrame()->data[0][0], row.white);
        EXPECT_EQ(dst.GetAVFrame()->data[1][0], 128);
    }
}

TEST(FrameConverterPicture, EqualFramesAreCopiedByteByByte)
{
    for (const int32_t format : kSoftwareFormats) {
        SCOPED_TRACE("format " + std::to_string(format));
        MKFrame src;
        MKFrame dst;
        Prepare(src, format, SpaceFor(format, kYuvStudio601), 50, 30);
        Prepare(dst, format, SpaceFor(format, kYuvStudio601), 50, 30);
        const AVFrame* from = src.GetAVFrame();
        const AVFrame* to = dst.GetAVFrame();
        unsigned noise = 12345;
        for (int plane = 0; plane < 4 && from->data[plane]; plane++) {
            for (int i = 0; i < from->linesize[plane] * (plane == 0 ? 30 : 15); i++)
                from->data[plane][i] = static_cast<uint8_t>((noise = noise * 1103515245 + 12345) >> 16);
        }
        MKFrameConverter converter;
        ASSERT_EQ(converter.Convert(&src, &dst), 30);
        const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(from->format));
        for (int i = 0; i < descriptor->nb_components; i++) {
            for (int y = 0; y < 30; y++) {
                for (int x = 0; x < 50; x++)
                    ASSERT_EQ(ComponentAt(from, i, x, y), ComponentAt(to, i, x, y)) << i << ": " << x << "," << y;
            }
        }
    }
}

TEST(FrameConverterPicture, SizeOrColorMayChangeMidStream)
{
    struct Row {
        const char* label;
        int width; // of the output
        int height;
        int32_t format;
        MKColorSpace srcSpace;
        MKColorSpace dstSpace;
    };
    const Row rows[] = {
        {"start", kWidth, kHeight, MKPixelBgra, MKColorSpaceYuvStudio709, MKColorSpaceRgbFull709},
        {"larger", 96, 64, MKPixelBgra, MKColorSpaceYuvStudio709, MKColorSpaceRgbFull709},
        {"smaller", 20, 10, MKPixelBgra, MKColorSpaceYuvStudio709, MKColorSpaceRgbFull709},
        {"other format", 20, 10, MKPixelNv12, MKColorSpaceYuvStudio709, MKColorSpaceYuvStudio709},
        {"other range in", 20, 10, MKPixelNv12, MKColorSpaceYuvFull709, MKColorSpaceYuvStudio709},
        {"other range out", 20, 10, MKPixelNv12, MKColorSpaceYuvFull709, MKColorSpaceYuvFull709},
        {"other matrix in", 20, 10, MKPixelNv12, kYuvFull601, MKColorSpaceYuvFull709},
        {"other matrix out", 20, 10, MKPixelNv12, kYuvFull601, kYuvFull2020},
        {"as at the start", kWidth, kHeight, MKPixelBgra, MKColorSpaceYuvStudio709, MKColorSpaceRgbFull709},
    };
    const Rgb color = {180, 90, 30};
    MKFrameConverter converter;
    MKFrame src;
    MKFrame dst;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.label);
        Prepare(src, MKPixelYuv420P, row.srcSpace);
        Prepare(dst, row.format, row.dstSpace, row.width, row.height);
        FillPlain(src.GetAVFrame(), color);
        for (int frame = 0; frame < 2; frame++) {
            ASSERT_EQ(converter.Convert(&src, &dst), row.height);
            ExpectPlain(dst.GetAVFrame(), color, 3.5);
        }
    }
}

TEST(FrameConverterPicture, ScalingKeepsWhatIsWhere)
{
    MKFrame src;
    MKFrame dst;
    Prepare(src, MKPixelBgra, MKColorSpaceRgbFull709);
    Prepare(dst, MKPixelRgb24, MKColorSpaceRgbFull709, 2 * kWidth, 2 * kHeight);
    FillPlain(src.GetAVFrame(), {0, 0, 0});
    for (int y = 0; y < kHeight / 2; y++) // the upper left quarter in red
        for (int x = 0; x < kWidth / 2; x++)
            src.GetAVFrame()->data[0][y * src.GetAVFrame()->linesize[0] + x * 4 + 2] = 255;
    MKFrameConverter converter;
    ASSERT_EQ(converter.Convert(&src, &dst), 2 * kHeight);
    const AVFrame* out = dst.GetAVFrame();
    EXPECT_NEAR(ComponentAt(out, 0, 4, 4), 255, 4);
    EXPECT_NEAR(ComponentAt(out, 0, kWidth - 4, kHeight - 4), 255, 4);
    EXPECT_NEAR(ComponentAt(out, 0, kWidth + 4, 4), 0, 4);
    EXPECT_NEAR(ComponentAt(out, 0, 4, kHeight + 4), 0, 4);
}

// The scaler goes by way of luma and chroma, with the matrix of either end's primaries.
TEST(FrameConverterPicture, ScalingRgbToRgbKeepsTheColors)
{
    for (const AVColorPrimaries primaries : {AVCOL_PRI_UNSPECIFIED, AVCOL_PRI_BT709, AVCOL_PRI_BT2020}) {
        SCOPED_TRACE(primaries);
        MKFrame src;
        MKFrame dst;
        PrepareRaw(src, AV_PIX_FMT_RGB24);
        src.GetAVFrame()->color_primaries = primaries;
        Prepare(dst, MKPixelBgra, MKColorSpaceRgbFull709, 2 * kWidth, 2 * kHeight);
        FillPlain(src.GetAVFrame(), {128, 64, 192});
        MKFrameConverter converter;
        ASSERT_GE(converter.Convert(&src, &dst), 0);
        ExpectPlain(dst.GetAVFrame(), {128, 64, 192}, 6); // the scaler is 5 off in its last column
    }
}

TEST(FrameConverterPicture, TimeAndKindOfThePictureComeAlongTheColorsDoNot)
{
    MKFrame src;
    MKFrame dst;
    Prepare(src, MKPixelYuv420P, kYuvStudio2020);
    Prepare(dst, MKPixelBgra, MKColorSpaceRgbFull709);
    FillPlain(src.GetAVFrame(), {0, 0, 0});
    MKFrameConverter converter;
    struct Row {
        AVPictureType in;
        AVPictureType out;
        int key;
        int64_t pts;
    };
    const Row rows[] = {{AV_PICTURE_TYPE_I, AV_PICTURE_TYPE_I, 1, 40000},
                        {AV_PICTURE_TYPE_P, AV_PICTURE_TYPE_NONE, 0, 80000},
                        {AV_PICTURE_TYPE_B, AV_PICTURE_TYPE_NONE, 0, AV_NOPTS_VALUE}};
    for (const Row& row : rows) {
        src.GetAVFrame()->pict_type = row.in;
        src.GetAVFrame()->key_frame = row.key;
        src.GetAVFrame()->pts = row.pts;
        ASSERT_EQ(converter.Convert(&src, &dst), kHeight);
        EXPECT_EQ(dst.GetAVFrame()->pict_type, row.out);
        EXPECT_EQ(dst.GetAVFrame()->key_frame, row.key);
        EXPECT_EQ(dst.GetTimeStamp(), row.pts);
        EXPECT_EQ(dst.GetAVFrame()->color_primaries, AVCOL_PRI_BT709);
    }
}

TEST(FrameConverterPicture, PrimariesWithoutAMatrixAreLoggedOncePerScalerAndCountAsBt601)
{
    const Rgb color = {200, 60, 40};
    MKFrame src;
    MKFrame dst;
    Prepare(src, MKPixelYuv420P, kYuvStudio601);
    Prepare(dst, MKPixelBgra, MKColorSpaceRgbFull709);
    FillPlain(src.GetAVFrame(), color);
    src.GetAVFrame()->color_primaries = AVCOL_PRI_SMPTE170M;
    MKFrameConverter converter;
    LogCapture log;
    for (int frame = 0; frame < 3; frame++)
        ASSERT_EQ(converter.Convert(&src, &dst), kHeight);
    ExpectPlain(dst.GetAVFrame(), color, 3.5);
    ASSERT_EQ(log.records.size(), 1u);
    EXPECT_EQ(log.records[0].text, "Unsupported color primaries, use default 5");
}

TEST(FrameConverterPicture, EveryPrimariesValueHasItsMatrix)
{
    const int matrices[][2] = {{1, 1}, {2, 5}, {4, 4}, {5, 5}, {7, 7}, {9, 9}, {0, 5}, {6, 5}, {8, 5}, {22, 5}};
    LogCapture log;
    for (const auto& [primaries, matrix] : matrices)
        EXPECT_EQ(GetSWS_CS(primaries), matrix) << primaries;
    EXPECT_EQ(log.records.size(), 4u);
}

TEST(FrameConverterPicture, WhatCannotBeConvertedIsRefused)
{
    MKFrame picture;
    MKFrame dst;
    MKFrame empty;
    MKFrame sound;
    MKFrame onDevice;
    Prepare(picture, MKPixelYuv420P, MKColorSpaceYuvStudio709);
    FillPlain(picture.GetAVFrame(), {0, 0, 0});
    Prepare(dst, MKPixelBgra, MKColorSpaceRgbFull709);
    MKStreamParameters params;
    params.type = MKMediaAudio;
    params.format = MKSampleS16;
    params.channels = 2;
    params.rateNum = 48000;
    ASSERT_TRUE(sound.Allocate(params));
    onDevice.GetAVFrame()->width = kWidth;
    onDevice.GetAVFrame()->height = kHeight;
    onDevice.GetAVFrame()->format = AV_PIX_FMT_VULKAN; // without a device

    struct Row {
        const char* label;
        MKFrame* src;
        MKFrame* dst;
        int result;
    };
    const Row rows[] = {
        {"the end", nullptr, &dst, AVERROR(EAGAIN)},
        {"no output", &picture, nullptr, AVERROR(EINVAL)},
        {"nothing to convert", &empty, &dst, AVERROR(ENOMEM)},
        {"sound", &sound, &dst, AVERROR(ENOMEM)},
        {"into nothing", &picture, &empty, AVERROR(ENOMEM)},
        {"into sound", &picture, &sound, AVERROR(ENOMEM)},
        {"from a lost device", &onDevice, &dst, AVERROR(ENOMEM)},
        {"to a lost device", &picture, &onDevice, AVERROR(ENOMEM)},
        {"from a lost device to itself", &onDevice, &onDevice, AVERROR(ENOMEM)},
        {"a picture", &picture, &dst, kHeight},
    };
    MKFrameConverter converter;
    for (const Row& row : rows)
        EXPECT_EQ(converter.Convert(row.src, row.dst), row.result) << row.label;
    EXPECT_EQ(converter.Drain(&picture, &dst), AVERROR(EAGAIN));
    EXPECT_EQ(converter.Drain(nullptr, &dst), AVERROR(EAGAIN));
}

TEST(FrameConverterPicture, WaysOfADeviceComeFirstAndOnlyIfAllowed)
{
    struct Row {
        const char* label;
        bool enabled;
        int convert;
        int transfer;
        const char* calls;
        int result;
    };
    const Row rows[] = {{"first takes it", true, 1, 1, "reset convert ", 1},
                        {"second takes it", true, -1, 1, "reset convert transfer ", 1},
                        {"both refuse", true, -1, -1, "reset convert transfer ", kHeight},
                        {"switched off", false, 1, 1, "reset ", kHeight}};
    MKFrame src;
    MKFrame dst;
    Prepare(src, MKPixelYuv420P, MKColorSpaceYuvStudio709);
    Prepare(dst, MKPixelBgra, MKColorSpaceRgbFull709);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.label);
        ScriptedWays::Script script;
        script.convert = row.convert;
        script.transfer = row.transfer;
        MKVideoConverter converter(std::make_unique<ScriptedWays>(script));
        converter.SetHardwareConversion(row.enabled);
        EXPECT_EQ(converter.Convert(src.GetAVFrame(), dst.GetAVFrame()), row.result);
        EXPECT_EQ(script.calls, row.calls);
    }
}

TEST(FrameConverterPicture, WaysOfADeviceAreResetWhenAFrameDiffers)
{
    ScriptedWays::Script script;
    MKVideoConverter converter(std::make_unique<ScriptedWays>(script));
    MKFrame src;
    MKFrame dst;
    Prepare(src, MKPixelYuv420P, MKColorSpaceYuvStudio709);
    Prepare(dst, MKPixelBgra, MKColorSpaceRgbFull709);
    const auto callsOf = [&] {
        script.calls.clear();
        EXPECT_GE(converter.Convert(src.GetAVFrame(), dst.GetAVFrame()), 0);
        return script.calls;
    };
    const std::string again = "convert transfer ";
    const std::string anew = "reset convert transfer ";
    EXPECT_EQ(callsOf(), anew);
    EXPECT_EQ(callsOf(), again);
    const int device = 0;
    script.device[2] = &device;
    EXPECT_EQ(callsOf(), anew);
    src.GetAVFrame()->color_range = AVCOL_RANGE_JPEG;
    EXPECT_EQ(callsOf(), anew);
    src.GetAVFrame()->format = AV_PIX_FMT_YUVJ420P; // the same by another name
    EXPECT_EQ(callsOf(), again);
    dst.GetAVFrame()->color_primaries = AVCOL_PRI_BT2020;
    EXPECT_EQ(callsOf(), anew);
    Prepare(dst, MKPixelBgra, MKColorSpaceRgbFull709, 20, 20);
    EXPECT_EQ(callsOf(), anew);
    EXPECT_EQ(callsOf(), again);
}
