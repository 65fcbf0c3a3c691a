// Running a peer's program for a benchmark. MIT licence.
#ifndef QXSPEECH_BENCHMARKS_CHILDRUN_H
#define QXSPEECH_BENCHMARKS_CHILDRUN_H

#include <string>
#include <sys/types.h>
#include <vector>

struct ChildUsage {
    bool ok = false;          // ended with 0
    double cpuSeconds = 0;    // user and system
    double peakMegabytes = 0; // resident
};

// Starts a program with its output thrown away; the process, or -1.
pid_t StartProgram(const std::vector<std::string>& command);
ChildUsage AwaitProgram(pid_t child);

// User and system time of this process so far, all threads.
double OwnCpuSeconds();

#endif
