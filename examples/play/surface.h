// The surface that the library writes pictures to. MIT licence.
#ifndef QXSPEECH_EXAMPLES_PLAY_SURFACE_H
#define QXSPEECH_EXAMPLES_PLAY_SURFACE_H

#include <cstdint>
#include <functional>
#include <mutex>
#include <vector>

#include "mediakit/videodisplay.h"

namespace play
{

// A picture as rows of red, green and blue bytes without gaps.
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<unsigned char> bytes;
};

// Takes pictures in their stream's own size from the library's writing thread and hands the newest one to the main
// thread. Three pictures go round: one is written, one is ready, one is shown; they change places under a lock that
// nobody holds for longer, so the writing thread never waits for a window. Outlives the player that it is set for.
class PictureSurface : public MKVideoSurface
{
public:
    // Called on the writing thread when a picture became ready, once until it is taken. An empty one takes effect for
    // certain only while nothing plays.
    void SetListener(std::function<void()> listener);
    // Before each file.
    void Reset();
    // Whether pictures move: at least two have come. The cover of a sound file is a single one.
    bool HasMotion() const;
    // The newest picture that became ready since the last call takes the place of the given one; false if none did.
    // Main thread.
    bool Take(Picture& picture);

    void Write(MKFrame* frame, int64_t dueTime) override;
    void Present() override;
    void GetSize(int* width, int* height) override;
    MKPixelFormat GetFormat() override;
    bool AllocateFrame(MKFrame* frame) override;
    int GetBufferSize() override;

private:
    // writing thread only
    Picture m_written;
    // guarded by m_lock
    mutable std::mutex m_lock;
    std::function<void()> m_listener;
    Picture m_ready;
    bool m_isReady = false;
    int m_writtenCount = 0; // up to 2
};

} // namespace play

#endif
