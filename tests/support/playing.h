// Plays files in tests, and measures what that costs. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_PLAYING_H
#define QXSPEECH_TESTS_SUPPORT_PLAYING_H

#include <chrono>
#include <cstdio>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

#include "mediakit/fileprovider.h"
#include "mediakit/mediaplayer.h"
#include "support/medianodes.h"

// The provider belongs to the player, until it closes.
inline MKFileProvider* OpenFile(MKMediaPlayer& player, const std::string& path)
{
    MKFileProvider* const provider = new MKFileProvider(path);
    player.SetProvider(provider);
    return player.OpenMedia() ? provider : nullptr;
}

inline bool AwaitEnd(const MKMediaPlayer& player)
{
    return Await([&] { return player.GetState() == MKTransformStopped; });
}

// Microseconds of the display's first stream.
inline int64_t PlayedTime(const MKMediaPlayer& player)
{
    return player.GetConsumer()->GetStreamTimeStamp(0);
}

// Lets time pass at no cost.
inline void PassSeconds(double seconds)
{
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

// Processor time of this process, seconds.
inline double ProcessorSeconds()
{
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * 1e-6;
}

// The share of a core used while so many seconds pass.
inline double LoadDuring(double seconds)
{
    const double before = ProcessorSeconds();
    const auto begin = std::chrono::steady_clock::now();
    PassSeconds(seconds);
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begin;
    return (ProcessorSeconds() - before) / passed.count();
}

// Resident memory of this process, bytes.
inline size_t ResidentBytes()
{
    size_t pages = 0;
    if (std::FILE* const file = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(file, "%*u %zu", &pages) != 1)
            pages = 0;
        std::fclose(file);
    }
    return pages * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

#endif
