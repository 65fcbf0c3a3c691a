// A heartbeat on each processor. MIT licence.
#include "support/stall_watch.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <ctime>
#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

struct StallWatch::Beat {
    std::atomic<int64_t> lastUs;
    std::atomic<int64_t> longestUs;
};

namespace
{

constexpr long kSleepNs = 5000000;

int64_t NowUs()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * int64_t(1000000) + now.tv_nsec / 1000;
}

void Longer(std::atomic<int64_t>& longest, int64_t us)
{
    int64_t known = longest;
    while (us > known && !longest.compare_exchange_weak(known, us)) {
    }
}

} // namespace

StallWatch::StallWatch()
{
    const long processors = std::max(1L, sysconf(_SC_NPROCESSORS_ONLN));
    void* const shared = mmap(nullptr, static_cast<size_t>(processors) * sizeof(Beat), PROT_READ | PROT_WRITE,
                              MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED)
        return;
    m_beats = static_cast<Beat*>(shared);
    const pid_t parent = getpid();
    for (int i = 0; i < processors; ++i) {
        Beat& beat = m_beats[i];
        beat.lastUs = NowUs();
        const pid_t child = fork();
        if (child > 0)
            m_processes.push_back(child);
        if (child != 0)
            continue;
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        cpu_set_t own;
        CPU_ZERO(&own);
        CPU_SET(static_cast<size_t>(i), &own);
        sched_setaffinity(0, sizeof own, &own); // where it is refused, the beat goes on anywhere
        while (getppid() == parent) {
            const timespec sleep = {0, kSleepNs};
            nanosleep(&sleep, nullptr);
            const int64_t now = NowUs();
            Longer(beat.longestUs, now - beat.lastUs - kSleepNs / 1000);
            beat.lastUs = now;
        }
        _exit(0);
    }
}

StallWatch::~StallWatch()
{
    for (const pid_t process : m_processes) {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }
}

double StallWatch::Take()
{
    int64_t longest = 0;
    for (size_t i = 0; i < m_processes.size(); ++i) {
        longest = std::max(longest, m_beats[i].longestUs.exchange(0));
        longest = std::max(longest, NowUs() - m_beats[i].lastUs - kSleepNs / 1000);
    }
    return static_cast<double>(longest) / 1000;
}
