// When a video frame is due: arithmetic on time stamps and clocks, without waiting. MIT licence.
#ifndef QXSPEECH_MEDIAKIT_VIDEOPACING_H
#define QXSPEECH_MEDIAKIT_VIDEOPACING_H

#include <cstdint>

// All values are microseconds; AV_NOPTS_VALUE means "not set". Wall times are those of av_gettime_relative.
struct MKVideoPacing {
    MKVideoPacing();

    int64_t frameTimer; // wall time at which the current frame is due
    int64_t lastShown;  // wall time at which the last frame came in
    int64_t lastPts;    // time stamp of the last frame
    int64_t lastDelay;  // duration of the last frame
    int64_t lastClock;  // what the master clock read then
    int64_t clockMoved; // wall time at which it first read that
};

// A frame that comes this late is not shown any more.
constexpr int64_t kMaxLatenessMicroseconds = 10000;

// How long a frame lasts by the distance to the one before, or as long as that one if the distance makes no sense: not
// above 0, or an hour and more.
int64_t mkVideoFrameDelay(int64_t pts, int64_t lastPts, int64_t lastDelay);
// The delay bent toward a master clock that reads clockTime (AV_NOPTS_VALUE: there is none): none for a picture that is
// late, twice as long for one that is early. A clock that is 10 s away is not followed.
int64_t mkVideoFrameWait(int64_t delay, int64_t pts, int64_t clockTime);
// Enters a frame that came in at now; frameTimer then says when it is due. A frame without a time stamp follows the one
// before it. A clock that has stood for 10 ms is that of a sound which has ended, and is not followed.
void mkVideoSchedule(MKVideoPacing& pacing, int64_t pts, int64_t now, int64_t clockTime);
// After a pause everything that is set goes on that much later.
void mkVideoShift(MKVideoPacing& pacing, int64_t paused);

#endif
