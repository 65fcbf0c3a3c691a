// The video display with a surface that records: times, drops, waits that end early, clocks. MIT licence.
#include "support/log_capture.h"
#include "support/medianodes.h"
#include "support/recordingsurface.h"

#include <memory>
#include <thread>

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/time.h>
}

namespace
{

class SetClock : public MKClock
{
public:
    SetClock(int64_t setTime, int& deletedCount) : time(setTime), deleted(deletedCount) {}
    ~SetClock() override { ++deleted; }
    int64_t GetTime() override { return time; }

    std::atomic<int64_t> time;

private:
    int& deleted;
};

class VideoDisplay : public testing::Test
{
protected:
    VideoDisplay()
    {
        display->SetSurface(&surface);
        EXPECT_TRUE(display->OpenStream(0, &params));
        EXPECT_TRUE(surface.AllocateFrame(&frame));
    }

    int Write(int64_t pts)
    {
        frame.GetAVFrame()->pts = pts;
        return display->Write(0, &frame);
    }
    int64_t Due(size_t index) { return surface.Frames().at(index).due; }
    static void PassTime(int64_t microseconds)
    {
        const int64_t until = av_gettime_relative() + microseconds;
        EXPECT_TRUE(Await([until] { return av_gettime_relative() >= until; }));
    }

    RecordingSurface surface;
    MKFrame frame;
    MKStreamParameters params;
    std::unique_ptr<MKVideoDisplay> display = std::make_unique<MKVideoDisplay>();
};

} // namespace

// On a busy machine frames may be dropped, but those that are shown keep to their times.
TEST_F(VideoDisplay, NoFrameIsPresentedBeforeItsTime)
{
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(Write(7000000 + i * 20000), 1);
    const std::vector<RecordingSurface::Shown> frames = surface.Frames();
    ASSERT_GE(frames.size(), 2u);
    for (const RecordingSurface::Shown& shown : frames) {
        EXPECT_EQ(shown.due - frames[0].due, shown.pts - frames[0].pts);
        EXPECT_GE(shown.presented, shown.due);
        EXPECT_LT(shown.presented, shown.due + 2000000);
    }
    EXPECT_GE(display->GetStreamTimeStamp(0), 7180000);
}

TEST_F(VideoDisplay, CloseEndsAWaitAndTheFrameIsNotPresented)
{
    EXPECT_EQ(Write(0), 1);
    int result = -1;
    std::thread writing([&] { result = Write(3000000000); });
    EXPECT_TRUE(Await([&] { return surface.Frames().size() == 2; }));
    EXPECT_TRUE(display->CloseStream(0));
    writing.join();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(surface.Presented(), 1u);
    EXPECT_FALSE(display->IsStreamOpened(0));
    EXPECT_TRUE(display->OpenStream(0, &params));
    EXPECT_EQ(Write(9000000000), 1) << "opened anew its first frame is shown at once";
    EXPECT_EQ(surface.Presented(), 2u);
}

TEST_F(VideoDisplay, PauseMovesTheTimesOfWhatFollows)
{
    EXPECT_EQ(Write(0), 1);
    const int64_t before = av_gettime_relative();
    EXPECT_TRUE(display->Pause());
    const int64_t begun = av_gettime_relative();
    PassTime(60000);
    const int64_t ending = av_gettime_relative();
    EXPECT_TRUE(display->Resume());
    const int64_t after = av_gettime_relative();
    EXPECT_TRUE(display->Resume()) << "without a pause it changes nothing";
    EXPECT_EQ(Write(500000), 1);
    const int64_t shift = Due(1) - Due(0) - 500000;
    EXPECT_GE(shift, ending - begun);
    EXPECT_LE(shift, after - before);
}

TEST_F(VideoDisplay, LateFrameIsDroppedWithoutACallToTheSurface)
{
    EXPECT_EQ(Write(0), 1);
    PassTime(50000);
    EXPECT_EQ(Write(20000), 1);
    EXPECT_EQ(surface.Frames().size(), 1u);
    EXPECT_EQ(display->GetStreamTimeStamp(0), 20000) << "its time still counts";
    EXPECT_EQ(Write(2000000), 1);
    EXPECT_EQ(surface.Frames().size(), 2u);
    EXPECT_EQ(Due(1) - Due(0), 2000000);
}

TEST_F(VideoDisplay, FollowsItsClockAndDeletesOnlyItsOwn)
{
    int deleted = 0;
    SetClock mine(0, deleted);
    EXPECT_EQ(Write(0), 1);
    display->SetClock(&mine, false);
    mine.time = 300000 - 150000; // the picture is early
    EXPECT_EQ(Write(300000), 1);
    EXPECT_EQ(Due(1) - Due(0), 600000);
    display->SetClock(new SetClock(600000, deleted), true);
    EXPECT_EQ(deleted, 0);
    EXPECT_EQ(Write(600000), 1); // in time
    EXPECT_EQ(Due(2) - Due(1), 300000);
    display->SetClock(new SetClock(0, deleted), true);
    EXPECT_EQ(deleted, 1);
    display.reset();
    EXPECT_EQ(deleted, 2);
}

TEST_F(VideoDisplay, SurfaceGetsTheStreamsFormatAndGivesItsOwn)
{
    MKStreamParameters stream;
    stream.type = MKMediaVideo;
    stream.format = MKPixelYuv420P;
    stream.width = 1920;
    stream.codec = MKCodecH264;
    ASSERT_TRUE(display->OpenStream(0, &stream));
    EXPECT_EQ(surface.Input().width, 1920);
    EXPECT_EQ(surface.Input().format, MKPixelYuv420P);
    EXPECT_EQ(stream.width, 64);
    EXPECT_EQ(stream.height, 48);
    EXPECT_EQ(stream.format, MKPixelBgr0);
    EXPECT_EQ(stream.rateNum, 1000000);
    EXPECT_EQ(stream.rateDen, 1);
    EXPECT_EQ(stream.codec, MKCodecH264);
    EXPECT_EQ(display->GetBufferSize(0), 4);
}

TEST_F(VideoDisplay, RefusesOtherIndicesAndAMissingSurface)
{
    LogCapture log;
    EXPECT_EQ(display->GetStreamType(1), MKMediaNone);
    EXPECT_FALSE(display->OpenStream(1, &params));
    EXPECT_FALSE(display->OpenStream(0, nullptr));
    EXPECT_EQ(display->GetStreamDuration(1), -2);
    EXPECT_EQ(display->Write(1, &frame), -2);
    display->SetSurface(nullptr);
    EXPECT_FALSE(display->OpenStream(0, &params));
    const char* const texts[] = {
        "Could not get stream type, invalid index",        "Could not open video stream, invalid index",
        "Could not open video stream, null pointer",       "Could not get video surface duration, invalid index",
        "Could not write to video surface, invalid index", "Could not open video stream, null surface",
    };
    ASSERT_EQ(log.records.size(), std::size(texts));
    for (size_t i = 0; i < std::size(texts); ++i)
        EXPECT_EQ(log.records[i].text, texts[i]);
    EXPECT_EQ(display->GetStreamTimeStamp(1), -2);
    EXPECT_FALSE(display->QueryStreamParameters(0, &params));
    EXPECT_FALSE(display->AllocateFrame(0, &frame));
    EXPECT_EQ(display->GetBufferSize(0), 0);
    EXPECT_EQ(Write(0), 1) << "frames pass at their times";
}
