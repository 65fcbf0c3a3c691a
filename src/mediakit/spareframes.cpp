// Keeps frames for their memory. MIT licence.
#include "mediakit/spareframes.h"

extern "C" {
#include <libavutil/frame.h>
}

namespace
{

bool IsOursAlone(const MKFrame& frame)
{
    AVFrame* const data = frame.GetAVFrame();
    return data && frame.GetMediaType() != MKMediaNone && !data->hw_frames_ctx && av_frame_is_writable(data);
}

} // namespace

void SpareFrames::Give(MKFrame& frame)
{
    if (IsOursAlone(frame)) {
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

void SpareFrames::Drop()
{
    std::lock_guard<std::mutex> hold(lock);
    while (count > 0)
        frames[--count].Unref();
}
