// A count of all allocations that C++ code makes in this process. MIT licence.
#ifndef QXSPEECH_BENCHMARKS_COUNTEDNEW_H
#define QXSPEECH_BENCHMARKS_COUNTEDNEW_H

#include <cstdint>

// Calls of operator new so far, all threads. FFmpeg's own allocations are not among them.
uint64_t AllocationCount();

#endif
