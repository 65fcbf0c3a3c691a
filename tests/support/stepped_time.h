// Clocks that stand still until a test steps them or something sleeps. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_STEPPED_TIME_H
#define QXSPEECH_TESTS_SUPPORT_STEPPED_TIME_H

#include <atomic>

#include "common/timesource.h"

// In force from construction to destruction.
class SteppedTime : public qxspeech::TimeSource
{
public:
    SteppedTime() { Set(this); }
    ~SteppedTime() override { Set(nullptr); }
    SteppedTime(const SteppedTime&) = delete;
    SteppedTime& operator=(const SteppedTime&) = delete;

    std::uint32_t TickMs() override { return tick; }
    std::int64_t UtcMs() override { return utc; }
    // Both clocks go on, unless the wall clock is stopped.
    void SleepMs(unsigned long milliseconds) override
    {
        ++sleeps;
        Step(static_cast<std::int64_t>(milliseconds));
    }
    void Step(std::int64_t milliseconds)
    {
        tick += static_cast<std::uint32_t>(milliseconds);
        if (!utcStopped)
            utc += milliseconds;
    }

    std::atomic<std::uint32_t> tick{1000}; // may be stepped beside the thread that reads it
    std::int64_t utc = 1795000000000;      // 2026-11-18
    bool utcStopped = false;
    int sleeps = 0;
};

#endif
