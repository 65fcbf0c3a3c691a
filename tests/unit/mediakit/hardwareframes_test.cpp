// Pictures that lie on a device: FFmpeg's Vulkan one, for which a processor will do. Skipped where it cannot be made.
// MIT licence.
#include "mediakit/frameconverter.h"

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/error.h>
#include <libavutil/frame.h>
#include <libavutil/hwcontext.h>
#include <libavutil/imgutils.h>
}

#include <cstring>
#include <string>
#include <vector>

namespace
{

constexpr int kSize = 64;

// The bytes of the picture without the lines' padding.
std::vector<uint8_t> BytesOf(const AVFrame* frame)
{
    const auto format = static_cast<AVPixelFormat>(frame->format);
    const int size = av_image_get_buffer_size(format, frame->width, frame->height, 1);
    std::vector<uint8_t> bytes(static_cast<size_t>(size));
    av_image_copy_to_buffer(bytes.data(), size, frame->data, frame->linesize, format, frame->width, frame->height, 1);
    return bytes;
}

void Describe(AVFrame* frame, AVPixelFormat format, bool isRgb)
{
    frame->width = kSize;
    frame->height = kSize;
    frame->format = format;
    frame->color_primaries = AVCOL_PRI_BT709;
    frame->color_range = isRgb ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
}

void PrepareInMemory(MKFrame& frame, AVPixelFormat format)
{
    frame.Unref();
    Describe(frame.GetAVFrame(), format, format == AV_PIX_FMT_BGRA);
    ASSERT_EQ(av_frame_get_buffer(frame.GetAVFrame(), 0), 0);
}

void FillWithRamps(AVFrame* frame)
{
    for (const AVBufferRef* buffer : frame->buf) // one for all planes, or one for each
        for (size_t i = 0; buffer && i < buffer->size; i++)
            buffer->data[i] = static_cast<uint8_t>(40 + i * 7 % 150);
}

// What the way through system memory alone makes of the same picture.
std::vector<uint8_t> Expected(MKFrame& src, AVPixelFormat to)
{
    MKFrame dst;
    PrepareInMemory(dst, to);
    MKFrameConverter converter;
    EXPECT_EQ(converter.Convert(&src, &dst), kSize);
    return BytesOf(dst.GetAVFrame());
}

class HardwareFrames : public testing::Test
{
protected:
    // Never given back: a driver that is unloaded loses memory of its own.
    static void SetUpTestSuite() { av_hwdevice_ctx_create(&sm_device, AV_HWDEVICE_TYPE_VULKAN, nullptr, nullptr, 0); }
    void SetUp() override
    {
        if (!sm_device)
            GTEST_SKIP() << "no Vulkan device";
    }

    static void PrepareOnDevice(MKFrame& frame, AVPixelFormat content)
    {
        frame.Unref();
        AVBufferRef* pool = av_hwframe_ctx_alloc(sm_device);
        ASSERT_NE(pool, nullptr);
        auto* context = reinterpret_cast<AVHWFramesContext*>(pool->data);
        context->format = AV_PIX_FMT_VULKAN;
        context->sw_format = content;
        context->width = kSize;
        context->height = kSize;
        ASSERT_EQ(av_hwframe_ctx_init(pool), 0);
        ASSERT_EQ(av_hwframe_get_buffer(pool, frame.GetAVFrame(), 0), 0);
        av_buffer_unref(&pool);
        Describe(frame.GetAVFrame(), AV_PIX_FMT_VULKAN, content == AV_PIX_FMT_BGRA);
    }
    static std::vector<uint8_t> BytesOnDevice(MKFrame& frame, AVPixelFormat content)
    {
        MKFrame copy;
        PrepareInMemory(copy, content);
        EXPECT_EQ(av_hwframe_transfer_data(copy.GetAVFrame(), frame.GetAVFrame(), 0), 0);
        return BytesOf(copy.GetAVFrame());
    }

    static AVBufferRef* sm_device;
};

AVBufferRef* HardwareFrames::sm_device = nullptr;

} // namespace

TEST_F(HardwareFrames, AreReadWrittenAndConvertedThroughSystemMemory)
{
    const AVPixelFormat formats[] = {AV_PIX_FMT_NV12, AV_PIX_FMT_YUV420P, AV_PIX_FMT_BGRA};
    // One converter for all: each change of what the textures hold makes it start anew.
    MKFrameConverter converter;
    for (const AVPixelFormat from : formats) {
        for (const AVPixelFormat to : formats) {
            SCOPED_TRACE("format " + std::to_string(from) + " to " + std::to_string(to));
            MKFrame src;
            PrepareInMemory(src, from);
            FillWithRamps(src.GetAVFrame());
            const std::vector<uint8_t> expected = Expected(src, to);
            MKFrame srcOnDevice;
            PrepareOnDevice(srcOnDevice, from);
            ASSERT_EQ(av_hwframe_transfer_data(srcOnDevice.GetAVFrame(), src.GetAVFrame(), 0), 0);
            MKFrame dst;
            PrepareInMemory(dst, to);
            MKFrame dstOnDevice;
            PrepareOnDevice(dstOnDevice, to);

            for (int frame = 0; frame < 2; frame++) {
                srcOnDevice.GetAVFrame()->pts = 40000 * (frame + 1);
                ASSERT_EQ(converter.Convert(&srcOnDevice, &dst), 1);
                EXPECT_EQ(BytesOf(dst.GetAVFrame()), expected) << "source on the device";
                EXPECT_EQ(dst.GetTimeStamp(), 40000 * (frame + 1));
            }
            ASSERT_EQ(converter.Convert(&src, &dstOnDevice), 1);
            EXPECT_EQ(BytesOnDevice(dstOnDevice, to), expected) << "destination on the device";
            PrepareOnDevice(dstOnDevice, to);
            ASSERT_EQ(converter.Convert(&srcOnDevice, &dstOnDevice), 1);
            EXPECT_EQ(BytesOnDevice(dstOnDevice, to), expected) << "both on the device";
        }
    }
}

// Copying a texture's handle would pass for a conversion.
TEST_F(HardwareFrames, AFailedTransferIsNotTakenForAConversion)
{
    MKFrame src;
    MKFrame dst;
    PrepareOnDevice(src, AV_PIX_FMT_NV12);
    PrepareOnDevice(dst, AV_PIX_FMT_NV12);
    src.GetAVFrame()->width = 2 * kSize; // more than the device holds
    src.GetAVFrame()->height = 2 * kSize;
    dst.GetAVFrame()->width = 2 * kSize;
    dst.GetAVFrame()->height = 2 * kSize;
    MKFrameConverter converter;
    EXPECT_EQ(converter.Convert(&src, &dst), AVERROR(ENOMEM));
    EXPECT_EQ(converter.Convert(&src, &dst), AVERROR(ENOMEM));

    // Frames of a size that fits start anew.
    PrepareOnDevice(src, AV_PIX_FMT_NV12);
    PrepareOnDevice(dst, AV_PIX_FMT_NV12);
    EXPECT_EQ(converter.Convert(&src, &dst), 1);
}

// Frames on a device all look alike from outside.
TEST_F(HardwareFrames, AnotherContentOfTheSameSizeStartsAnew)
{
    MKFrameConverter converter;
    for (const AVPixelFormat from : {AV_PIX_FMT_NV12, AV_PIX_FMT_YUV420P, AV_PIX_FMT_NV12}) {
        SCOPED_TRACE("format " + std::to_string(from));
        MKFrame src;
        PrepareInMemory(src, from);
        FillWithRamps(src.GetAVFrame());
        MKFrame srcOnDevice;
        PrepareOnDevice(srcOnDevice, from);
        ASSERT_EQ(av_hwframe_transfer_data(srcOnDevice.GetAVFrame(), src.GetAVFrame(), 0), 0);
        MKFrame dst;
        PrepareInMemory(dst, AV_PIX_FMT_BGRA);
        ASSERT_EQ(converter.Convert(&srcOnDevice, &dst), 1);
        EXPECT_EQ(BytesOf(dst.GetAVFrame()), Expected(src, AV_PIX_FMT_BGRA));
    }
}
