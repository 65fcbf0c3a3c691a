// The recording surface. MIT licence.
#include "support/recordingsurface.h"

#include <algorithm>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/time.h>
}

std::vector<RecordingSurface::Shown> RecordingSurface::Frames() const
{
    std::lock_guard<std::mutex> hold(m_lock);
    return m_frames;
}

size_t RecordingSurface::Presented() const
{
    std::lock_guard<std::mutex> hold(m_lock);
    return static_cast<size_t>(
        std::count_if(m_frames.begin(), m_frames.end(), [](const Shown& shown) { return shown.presented >= 0; }));
}

void RecordingSurface::Write(MKFrame* frame, int64_t dueTime)
{
    std::lock_guard<std::mutex> hold(m_lock);
    Shown shown;
    shown.pts = frame->GetTimeStamp();
    shown.due = dueTime;
    shown.written = av_gettime_relative();
    m_frames.push_back(shown);
}

void RecordingSurface::Present()
{
    const int64_t now = av_gettime_relative();
    const int64_t time = clock ? clock() : 0;
    std::lock_guard<std::mutex> hold(m_lock);
    m_frames.back().presented = now;
    m_frames.back().clock = time;
}

void RecordingSurface::GetSize(int* width, int* height)
{
    *width = 64;
    *height = 48;
}

bool RecordingSurface::AllocateFrame(MKFrame* frame)
{
    MKStreamParameters params;
    params.type = MKMediaVideo;
    params.format = MKPixelBgr0;
    params.colorSpace = MKColorSpaceRgbFull709;
    freshFrames += frame->GetAVFrame()->buf[0] ? 0 : 1;
    GetSize(&params.width, &params.height);
    return frame->Allocate(params);
}
