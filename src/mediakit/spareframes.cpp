// Keeps frames for their memory. MIT licence.
#include "mediakit/spareframes.h"

extern "C" {
#include <libavutil/frame.h>
}

void SpareFrames::Give(MKFrame& frame)
{
    if (frame.GetAVFrame() && frame.GetMediaType() == MKMediaAudio && av_frame_is_writable(frame.GetAVFrame())) {
        std::lock_guard<std::mutex> hold(lock);
        if (count < frames.size())
            frame.Swap(frames[count++]);
    }
    frame.Unref();
}

void SpareFrames::Take(MKFrame& frame)
{
    std::lock_guard<std::mutex> hold(lock);
    if (count > 0)
        frame.Swap(frames[--count]);
}
