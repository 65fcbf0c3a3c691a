// A surface for video that keeps what it was given and when it showed it. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_RECORDINGSURFACE_H
#define QXSPEECH_TESTS_SUPPORT_RECORDINGSURFACE_H

#include <atomic>
#include <functional>
#include <mutex>
#include <vector>

#include "mediakit/videodisplay.h"

// 64 x 48 pixels in BGR0. Times are microseconds of av_gettime_relative. Any thread may ask.
class RecordingSurface : public MKVideoSurface
{
public:
    struct Shown {
        int64_t pts = 0;
        int64_t due = 0;
        int64_t written = 0;
        int64_t presented = -1; // -1: not
        int64_t clock = 0;      // what the clock below read at Present
    };

    // Set before anything is shown: read at each Present.
    std::function<int64_t()> clock;
    // How many frames came without memory to be filled.
    std::atomic<int> freshFrames{0};

    std::vector<Shown> Frames() const;
    size_t Presented() const;
    const MKStreamParameters& Input() const { return input; }

    void Write(MKFrame* frame, int64_t dueTime) override;
    void Present() override;
    void GetSize(int* width, int* height) override;
    MKPixelFormat GetFormat() override { return MKPixelBgr0; }
    bool AllocateFrame(MKFrame* frame) override;
    int GetBufferSize() override { return 4; }

private:
    mutable std::mutex m_lock;
    std::vector<Shown> m_frames; // guarded by m_lock
};

#endif
