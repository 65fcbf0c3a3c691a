// Pacing of video frames. MIT licence.
#include "mediakit/videopacing.h"

#include <algorithm>

extern "C" {
#include <libavutil/avutil.h>
}

namespace
{

constexpr int64_t kFirstDelay = 1; // a first frame is shown at once
constexpr int64_t kMaxDelay = 3600000000;
constexpr int64_t kMaxClockDistance = 10000000;
constexpr int64_t kMinThreshold = 40000;
constexpr int64_t kMaxThreshold = 100000;
constexpr int64_t kStandingTime = 10000; // two frames may come within one reading of a clock

// Time stamps come from files: any two must have a defined difference and sum.
int64_t Difference(int64_t a, int64_t b)
{
    return static_cast<int64_t>(static_cast<uint64_t>(a) - static_cast<uint64_t>(b));
}

int64_t Sum(int64_t a, int64_t b)
{
    return static_cast<int64_t>(static_cast<uint64_t>(a) + static_cast<uint64_t>(b));
}

} // namespace

MKVideoPacing::MKVideoPacing()
    : frameTimer(AV_NOPTS_VALUE), lastShown(AV_NOPTS_VALUE), lastPts(AV_NOPTS_VALUE), lastDelay(0),
      lastClock(AV_NOPTS_VALUE), clockMoved(AV_NOPTS_VALUE)
{
}

int64_t mkVideoFrameDelay(int64_t pts, int64_t lastPts, int64_t lastDelay)
{
    if (lastPts == AV_NOPTS_VALUE)
        return kFirstDelay;
    const int64_t delay = Difference(pts, lastPts);
    return delay > 0 && delay < kMaxDelay ? delay : lastDelay;
}

int64_t mkVideoFrameWait(int64_t delay, int64_t pts, int64_t clockTime)
{
    if (clockTime == AV_NOPTS_VALUE || pts == AV_NOPTS_VALUE)
        return delay;
    const int64_t difference = Difference(pts, clockTime);
    if (difference <= -kMaxClockDistance || difference >= kMaxClockDistance)
        return delay;
    const int64_t threshold = std::clamp(delay, kMinThreshold, kMaxThreshold);
    if (difference <= -threshold)
        return 0;
    return difference >= threshold ? 2 * delay : delay;
}

void mkVideoSchedule(MKVideoPacing& pacing, int64_t pts, int64_t now, int64_t clockTime)
{
    if (pacing.frameTimer == AV_NOPTS_VALUE || pacing.lastShown == AV_NOPTS_VALUE)
        pacing.frameTimer = now;
    if (pts == AV_NOPTS_VALUE && pacing.lastPts != AV_NOPTS_VALUE)
        pts = Sum(pacing.lastPts, pacing.lastDelay);
    pacing.lastDelay = mkVideoFrameDelay(pts, pacing.lastPts, pacing.lastDelay);
    pacing.lastPts = pts;
    pacing.lastShown = now;
    if (clockTime != pacing.lastClock) {
        pacing.lastClock = clockTime;
        pacing.clockMoved = now;
    }
    const bool stands = Difference(now, pacing.clockMoved) >= kStandingTime;
    pacing.frameTimer += mkVideoFrameWait(pacing.lastDelay, pts, stands ? AV_NOPTS_VALUE : clockTime);
}

void mkVideoShift(MKVideoPacing& pacing, int64_t paused)
{
    for (int64_t* time : {&pacing.frameTimer, &pacing.lastShown}) {
        if (*time != AV_NOPTS_VALUE)
            *time += paused;
    }
}
