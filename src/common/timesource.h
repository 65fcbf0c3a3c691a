// The clocks that speech and core read, in one place, so that tests can step them. Private. MIT licence.
#ifndef QXSPEECH_COMMON_TIMESOURCE_H
#define QXSPEECH_COMMON_TIMESOURCE_H

#include <cstdint>

namespace qxspeech
{

// Behind it are what is sent or written with a time, the life of Azure's token and its wait for a turn. Not behind it
// are the steady clocks of the media kit, of the local voice and of the devices' threads and turns: they time waits of
// condition variables, and go beside the clocks of PortAudio and FFmpeg, none of which a test can step.
//
// The base is the system's own clocks. No lock: a test replaces them before and after the work that reads them.
class TimeSource
{
public:
    virtual ~TimeSource() = default;

    // The one in force: the system's unless a test has set another.
    static TimeSource& Get();
    // Not owned; null: the system's.
    static void Set(TimeSource* source);

    // Milliseconds of the tick counter, which is never set back and wraps after 2^32 (49.7 days).
    virtual std::uint32_t TickMs();
    // Milliseconds since the epoch, UTC.
    virtual std::int64_t UtcMs();
    virtual void SleepMs(unsigned long milliseconds);
};

} // namespace qxspeech

#endif
