// When a video frame is due, by time stamps and a master clock. MIT licence.
#include <gtest/gtest.h>
#include <vector>

extern "C" {
#include <libavutil/avutil.h>
}

#include "mediakit/videopacing.h"

namespace
{

constexpr int64_t kUnset = AV_NOPTS_VALUE;
constexpr int64_t kHour = 3600000000;

} // namespace

TEST(VideoPacing, FrameLastsAsLongAsItsTimeStampsSay)
{
    struct Row {
        const char* label;
        int64_t pts;
        int64_t lastPts;
        int64_t lastDelay;
        int64_t delay;
    };
    const Row rows[] = {
        {"first frame is shown at once", 5000000, kUnset, 0, 1},
        {"distance", 120000, 80000, 33000, 40000},
        {"the same time stamp again", 80000, 80000, 40000, 40000},
        {"backwards", 40000, 80000, 33000, 33000},
        {"just below an hour", kHour - 1, 0, 40000, kHour - 1},
        {"an hour", kHour, 0, 40000, 40000},
        {"from one end of time to the other", INT64_MAX, INT64_MIN + 1, 40000, 40000},
        {"and back", INT64_MIN + 1, INT64_MAX, 40000, 2}, // wraps; what matters is that it is defined
    };
    for (const Row& row : rows)
        EXPECT_EQ(mkVideoFrameDelay(row.pts, row.lastPts, row.lastDelay), row.delay) << row.label;
}

TEST(VideoPacing, ClockHoldsBackAnEarlyPictureAndHurriesALateOne)
{
    struct Row {
        const char* label;
        int64_t delay;
        int64_t ahead; // of the clock
        int64_t wait;
    };
    const Row rows[] = {
        {"in time", 40000, 0, 40000},
        {"50 ms late at 25 frames a second", 40000, -50000, 0},
        {"50 ms early", 40000, 50000, 80000},
        {"at the threshold, late", 40000, -40000, 0},
        {"at the threshold, early", 40000, 40000, 80000},
        {"below the threshold, late", 40000, -39999, 40000},
        {"below the threshold, early", 40000, 39999, 40000},
        {"short frames have a threshold of 40 ms", 1000, -39999, 1000},
        {"short frames, late", 1000, -40000, 0},
        {"5 frames a second have one of 100 ms", 200000, -99999, 200000},
        {"5 frames a second, late", 200000, -100000, 0},
        {"5 frames a second, early", 200000, 100000, 400000},
        {"just below 10 s", 40000, 9999999, 80000},
        {"10 s early, not followed", 40000, 10000000, 40000},
        {"10 s late, not followed", 40000, -10000000, 40000},
    };
    constexpr int64_t clock = 777000;
    for (const Row& row : rows)
        EXPECT_EQ(mkVideoFrameWait(row.delay, clock + row.ahead, clock), row.wait) << row.label;
    EXPECT_EQ(mkVideoFrameWait(40000, clock, kUnset), 40000) << "no clock";
    EXPECT_EQ(mkVideoFrameWait(40000, kUnset, clock), 40000) << "no time stamp";
}

TEST(VideoPacing, TimerStepsByTimeStampsWhateverTheArrival)
{
    MKVideoPacing pacing;
    struct Row {
        int64_t pts;
        int64_t arrival;
        int64_t due;
    };
    const Row rows[] = {
        {9000000, 100, 101},       {9040000, 150, 40101},    {9080000, 300000, 80101}, // late, the timer keeps its pace
        {9080000, 300000, 120101}, {kUnset, 300000, 160101}, {9160000, 300000, 200101},
    };
    for (const Row& row : rows) {
        mkVideoSchedule(pacing, row.pts, row.arrival, kUnset);
        EXPECT_EQ(pacing.frameTimer, row.due) << row.pts;
        EXPECT_EQ(pacing.lastShown, row.arrival);
    }
}

TEST(VideoPacing, LatePictureHurriesUntilItHasCaughtUp)
{
    MKVideoPacing pacing;
    mkVideoSchedule(pacing, 0, 0, kUnset);
    std::vector<int64_t> waits;
    for (int64_t pts = 40000; pts <= 320000; pts += 40000) {
        const int64_t shown = pacing.frameTimer;
        mkVideoSchedule(pacing, pts, shown, shown + 200000); // the clock is 200 ms ahead of the first frame
        waits.push_back(pacing.frameTimer - shown);
    }
    EXPECT_EQ(waits, std::vector<int64_t>({0, 0, 0, 0, 40000, 40000, 40000, 40000}));
    const int64_t shown = pacing.frameTimer;
    for (int64_t pts = 360000; pts <= 440000; pts += 40000)
        mkVideoSchedule(pacing, pts, pacing.frameTimer, 200000);
    EXPECT_EQ(pacing.frameTimer - shown, 80000 + 2 * 40000) << "a clock that stands still is not waited for";
}

TEST(VideoPacing, PauseMovesOnlyWhatIsSet)
{
    MKVideoPacing pacing;
    mkVideoShift(pacing, 1000);
    EXPECT_EQ(pacing.frameTimer, kUnset);
    EXPECT_EQ(pacing.lastShown, kUnset);
    mkVideoSchedule(pacing, 0, 500, kUnset);
    mkVideoShift(pacing, 1000);
    EXPECT_EQ(pacing.frameTimer, 1501);
    EXPECT_EQ(pacing.lastShown, 1500);
    EXPECT_EQ(pacing.lastPts, 0);
}
