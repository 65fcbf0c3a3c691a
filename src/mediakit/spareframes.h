// Frames whose memory is handed from the reader of a queue back to its writer. MIT licence.
#ifndef QXSPEECH_MEDIAKIT_SPAREFRAMES_H
#define QXSPEECH_MEDIAKIT_SPAREFRAMES_H

#include <array>
#include <cstddef>
#include <mutex>

#include "mediakit/mediakit.h"

// The memory given last is taken first: it is still in the processor's cache, where a slot's own of a whole round ago
// no longer is. Any thread; no other lock is taken under this one.
class SpareFrames
{
public:
    // Leaves the frame empty. What somebody else holds too, or what lies on a device, is let go.
    void Give(MKFrame& frame);
    // Fills an empty frame, if there is something to fill it with.
    void Take(MKFrame& frame);
    // Frees what there is.
    void Drop();

private:
    std::mutex lock;
    std::array<MKFrame, 32> frames; // guarded by lock
    size_t count = 0;               // guarded by lock; those before are filled, the others empty
};

#endif
