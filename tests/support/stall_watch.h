// Tells whether the machine let its programs run when they asked to. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_STALL_WATCH_H
#define QXSPEECH_TESTS_SUPPORT_STALL_WATCH_H

#include <sys/types.h>
#include <vector>

// On each processor a process of its own sleeps for a few milliseconds again and again and notes how late it woke:
// a busy machine, or a virtual one that its host does not run, shows there as it does in a sound that breaks off.
class StallWatch
{
public:
    StallWatch();
    ~StallWatch();
    StallWatch(const StallWatch&) = delete;
    StallWatch& operator=(const StallWatch&) = delete;

    // The longest delay on any processor since the last call, milliseconds; one that still lasts is counted.
    double Take();

private:
    struct Beat;

    Beat* m_beats = nullptr; // shared with the processes, one for each
    std::vector<pid_t> m_processes;
};

#endif
