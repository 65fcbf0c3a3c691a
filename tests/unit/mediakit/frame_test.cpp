// What frames hold after they were allocated. MIT licence.
#include <gtest/gtest.h>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/frame.h>
}

#include "mediakit/ffmpegcompat.h"
#include "mediakit/mediakit.h"
#include "support/log_capture.h"

namespace
{

MKStreamParameters Audio(int32_t format, int32_t channels, int32_t frameSize)
{
    MKStreamParameters params;
    params.type = MKMediaAudio;
    params.format = format;
    params.channels = channels;
    params.frameSize = frameSize;
    params.rateNum = 48000;
    return params;
}

MKStreamParameters Video(int32_t format, int32_t width, int32_t height)
{
    MKStreamParameters params;
    params.type = MKMediaVideo;
    params.format = format;
    params.width = width;
    params.height = height;
    return params;
}

} // namespace

TEST(Frame, NewFrameIsEmpty)
{
    const MKFrame frame;
    ASSERT_NE(frame.GetAVFrame(), nullptr);
    EXPECT_EQ(frame.GetFrameSize(), 0);
    EXPECT_EQ(frame.GetTimeStamp(), AV_NOPTS_VALUE);
    EXPECT_EQ(frame.GetMediaType(), MKMediaNone);
}

TEST(Frame, AudioHasRoomAndHoldsNothing)
{
    MKFrame frame;
    ASSERT_TRUE(frame.Allocate(Audio(MKSampleS16, 2, 4096)));
    const AVFrame* av = frame.GetAVFrame();
    EXPECT_EQ(frame.GetFrameSize(), 4096);
    EXPECT_EQ(frame.GetMediaType(), MKMediaAudio);
    EXPECT_EQ(av->nb_samples, 0);
    EXPECT_EQ(av->sample_rate, 48000);
    EXPECT_EQ(av->format, AV_SAMPLE_FMT_S16);
    EXPECT_GE(av->linesize[0], 4096 * 2 * 2);
    EXPECT_NE(av->data[0], nullptr);
}

TEST(Frame, AudioSaysItsLayoutInBothWays)
{
    for (const int channels : {1, 2, 6}) {
        MKFrame frame;
        ASSERT_TRUE(frame.Allocate(Audio(MKSampleFloatPlanar, channels, 100)));
        const AVFrame* av = frame.GetAVFrame();
        AVChannelLayout expected = {};
        av_channel_layout_default(&expected, channels);
        EXPECT_EQ(av_channel_layout_compare(&av->ch_layout, &expected), 0) << channels;
        EXPECT_EQ(mkFrameChannelLayout(av), static_cast<int64_t>(expected.u.mask)) << channels;
        EXPECT_EQ(mkFrameChannelLayout(av), mkDefaultChannelLayout(channels)) << channels;
    }
}

TEST(Frame, NoFixedSizeMeansRoomFor192000)
{
    MKFrame frame;
    ASSERT_TRUE(frame.Allocate(Audio(MKSampleS16, 1, 0)));
    EXPECT_EQ(frame.GetFrameSize(), 0);
    EXPECT_GE(frame.GetAVFrame()->linesize[0], 192000 * 2);

    const uint8_t* buffer = frame.GetAVFrame()->data[0];
    frame.GetAVFrame()->nb_samples = 7;
    ASSERT_TRUE(frame.Allocate(Audio(MKSampleS16, 1, 4096)));
    EXPECT_EQ(frame.GetAVFrame()->data[0], buffer);
    EXPECT_EQ(frame.GetAVFrame()->nb_samples, 0);
    ASSERT_TRUE(frame.Allocate(Audio(MKSampleS16, 1, 192001)));
    EXPECT_GE(frame.GetAVFrame()->linesize[0], 192001 * 2);
    EXPECT_EQ(frame.GetFrameSize(), 192001);
}

TEST(Frame, OtherFormatOrLayoutGetsOtherBuffers)
{
    MKFrame frame;
    ASSERT_TRUE(frame.Allocate(Audio(MKSampleU8, 1, 1000)));
    ASSERT_TRUE(frame.Allocate(Audio(MKSampleDouble, 1, 1000)));
    EXPECT_GE(frame.GetAVFrame()->linesize[0], 8000);
    ASSERT_TRUE(frame.Allocate(Audio(MKSampleDouble, 2, 1000)));
    EXPECT_GE(frame.GetAVFrame()->linesize[0], 16000);
}

TEST(Frame, BuffersThatADecoderPutInAreNotTakenForOurs)
{
    MKFrame frame;
    ASSERT_TRUE(frame.Allocate(Audio(MKSampleS16, 1, 1000)));
    MKFrame small;
    ASSERT_TRUE(small.Allocate(Audio(MKSampleS16, 1, 10)));
    frame.Unref();
    ASSERT_EQ(av_frame_ref(frame.GetAVFrame(), small.GetAVFrame()), 0);
    ASSERT_TRUE(frame.Allocate(Audio(MKSampleS16, 1, 1000)));
    EXPECT_GE(frame.GetAVFrame()->linesize[0], 2000);
}

TEST(Frame, UnrefMakesItEmptyAndAllocateFullAgain)
{
    MKFrame frame;
    for (const MKStreamParameters& params : {Audio(MKSampleS16, 1, 100), Video(MKPixelBgr0, 64, 48)}) {
        ASSERT_TRUE(frame.Allocate(params));
        EXPECT_EQ(frame.GetMediaType(), params.type);
        frame.Unref();
        EXPECT_EQ(frame.GetMediaType(), MKMediaNone);
        ASSERT_TRUE(frame.Allocate(params));
        EXPECT_NE(frame.GetAVFrame()->data[0], nullptr);
    }
}

TEST(Frame, VideoCarriesItsColorSpace)
{
    MKFrame frame;
    MKStreamParameters params = Video(MKPixelNv12, 64, 48);
    params.colorSpace = 13;
    ASSERT_TRUE(frame.Allocate(params));
    const AVFrame* av = frame.GetAVFrame();
    EXPECT_EQ(av->format, AV_PIX_FMT_NV12);
    EXPECT_EQ(av->colorspace, AVCOL_SPC_BT2020_NCL);
    EXPECT_EQ(av->color_range, AVCOL_RANGE_MPEG);
    EXPECT_EQ(av->color_primaries, AVCOL_PRI_BT2020);
    EXPECT_EQ(av->color_trc, AVCOL_TRC_SMPTE2084);
    EXPECT_EQ(av->chroma_location, AVCHROMA_LOC_LEFT);
    EXPECT_EQ(MKColorSpaceFromFrame(av), 13);

    const uint8_t* buffer = av->data[0];
    params.colorSpace = 9;
    ASSERT_TRUE(frame.Allocate(params));
    EXPECT_EQ(frame.GetAVFrame()->data[0], buffer);
    EXPECT_EQ(MKColorSpaceFromFrame(frame.GetAVFrame()), 9);
    params.width = 128;
    ASSERT_TRUE(frame.Allocate(params));
    EXPECT_EQ(frame.GetAVFrame()->width, 128);
    EXPECT_GE(frame.GetAVFrame()->linesize[0], 128);
}

TEST(Frame, OtherMediaSucceedAndDoNothing)
{
    MKFrame frame;
    EXPECT_TRUE(frame.Allocate(MKStreamParameters()));
    EXPECT_EQ(frame.GetMediaType(), MKMediaNone);
}

TEST(Frame, FailureIsLoggedAndLeavesAFrameThatCanBeUsedAgain)
{
    MKStreamParameters badColor = Video(MKPixelNv12, 64, 48);
    badColor.colorSpace = 25;
    struct Case {
        MKStreamParameters params;
        const char* text;
    };
    const Case cases[] = {
        {Audio(MKSampleUnknown, 1, 100), "Failed to allocate audio frame"},
        {Audio(-1, 0, 0), "Failed to allocate audio frame"},
        {Audio(MKSampleS16, 0, 100), "Failed to allocate audio frame"},
        {Audio(MKSampleS16, -1, 100), "Failed to allocate audio frame"},
        {Video(MKPixelUnknown, 64, 48), "Failed to allocate video frame"},
        {Video(-1, 0, 0), "Failed to allocate video frame"},
        {Video(MKPixelNv12, 0, 48), "Failed to allocate video frame"},
        {Video(MKPixelNv12, -64, 48), "Failed to allocate video frame"},
        {Video(MKPixelD3D11Nv12, 64, 48), "Failed to allocate video frame"},
        {badColor, "Failed to allocate video frame, color space not found"},
    };
    MKFrame frame;
    for (const Case& c : cases) {
        LogCapture log;
        EXPECT_FALSE(frame.Allocate(c.params)) << c.text;
        EXPECT_FALSE(frame.Allocate(c.params)) << c.text << ", again";
        ASSERT_EQ(log.records.size(), 2u);
        EXPECT_EQ(log.records[0].text, c.text);
        EXPECT_EQ(log.records[1].text, c.text);
    }
    EXPECT_TRUE(frame.Allocate(Audio(MKSampleS16, 1, 100)));
    EXPECT_TRUE(frame.Allocate(Video(MKPixelNv12, 64, 48)));
}

TEST(Frame, RateWithoutADivisorIsTakenAsItIs)
{
    MKStreamParameters params = Audio(MKSampleS16, 1, 100);
    params.rateDen = 0;
    MKFrame frame;
    ASSERT_TRUE(frame.Allocate(params));
    EXPECT_EQ(frame.GetAVFrame()->sample_rate, 48000);
    params.rateNum = 48001;
    params.rateDen = 2;
    ASSERT_TRUE(frame.Allocate(params));
    EXPECT_EQ(frame.GetAVFrame()->sample_rate, 24000);
}
