// The video display and its wait for each frame's time. MIT licence.
#include "mediakit/videodisplay.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

extern "C" {
#include <libavutil/avutil.h>
#include <libavutil/time.h>
}

#include "common/logging.h"
#include "mediakit/nodeimpl.h"
#include "mediakit/videopacing.h"

namespace
{

constexpr int32_t kTicksPerSecond = 1000000;

} // namespace

class MKVideoDisplayImpl : public MKConsumerImpl
{
public:
    ~MKVideoDisplayImpl() override;

    void SetSurface(MKVideoSurface* newSurface);
    void SetClock(MKClock* newClock, bool owned);
    bool Pause();
    bool Resume();
    void Restart();
    void SetInterrupted(bool interrupt);

    bool Open() override { return Close(); }
    bool Close() override { return CloseStream(0); }
    int GetStreamCount() override { return 0; }
    MKMediaType GetStreamType(size_t index) override;
    bool OpenStream(size_t index, MKStreamParameters* params) override;
    bool QueryStreamParameters(size_t index, MKStreamParameters* params) override;
    bool CloseStream(size_t index) override;
    bool IsStreamOpened(size_t index) override;
    int64_t GetDuration() override { return GetStreamDuration(0); }
    int64_t GetStreamDuration(size_t index) override;
    int64_t GetStreamTimeStamp(size_t index) override;
    bool AllocateFrame(size_t index, MKFrame* frame) override;
    int GetBufferSize(size_t index) override;
    int Write(size_t index, MKFrame* frame) override;

private:
    void DropClock();
    void GiveSurfaceFormat(MKStreamParameters* params);

    // lock is taken before the audio display's own, which the clock's GetTime takes, and before any of the surface's.
    std::mutex lock;
    std::condition_variable wakeUp; // ends a Write's wait early
    // guarded by lock
    bool closed = false;
    bool interrupted = false; // no Write waits
    bool ownsClock = true;
    MKClock* clock = nullptr;
    MKVideoSurface* surface = nullptr; // not owned
    MKVideoPacing pacing;
    int64_t pauseStart = -1; // wall time, below 0 outside a pause
};

MKVideoDisplayImpl::~MKVideoDisplayImpl()
{
    MKVideoDisplayImpl::CloseStream(0);
    DropClock();
}

void MKVideoDisplayImpl::SetSurface(MKVideoSurface* newSurface)
{
    std::lock_guard<std::mutex> hold(lock);
    surface = newSurface;
}

void MKVideoDisplayImpl::SetClock(MKClock* newClock, bool owned)
{
    std::lock_guard<std::mutex> hold(lock);
    if (newClock != clock)
        DropClock();
    clock = newClock;
    ownsClock = owned;
}

void MKVideoDisplayImpl::DropClock()
{
    if (ownsClock)
        delete clock;
    clock = nullptr;
}

bool MKVideoDisplayImpl::Pause()
{
    std::lock_guard<std::mutex> hold(lock);
    pauseStart = av_gettime_relative();
    return true;
}

bool MKVideoDisplayImpl::Resume()
{
    std::lock_guard<std::mutex> hold(lock);
    if (pauseStart >= 0)
        mkVideoShift(pacing, av_gettime_relative() - pauseStart);
    pauseStart = -1;
    return true;
}

void MKVideoDisplayImpl::Restart()
{
    std::lock_guard<std::mutex> hold(lock);
    pacing = MKVideoPacing();
    pauseStart = -1;
    interrupted = false;
}

void MKVideoDisplayImpl::SetInterrupted(bool interrupt)
{
    std::lock_guard<std::mutex> hold(lock);
    interrupted = interrupt;
    wakeUp.notify_all();
}

MKMediaType MKVideoDisplayImpl::GetStreamType(size_t index)
{
    if (index == 0)
        return MKMediaVideo;
    QX_LOG("Could not get stream type, invalid index");
    return MKMediaNone;
}

bool MKVideoDisplayImpl::OpenStream(size_t index, MKStreamParameters* params)
{
    std::lock_guard<std::mutex> hold(lock);
    if (index != 0) {
        QX_LOG("Could not open video stream, invalid index");
        return false;
    }
    if (!params) {
        QX_LOG("Could not open video stream, null pointer");
        return false;
    }
    if (!surface) {
        QX_LOG("Could not open video stream, null surface");
        return false;
    }
    surface->input = *params;
    GiveSurfaceFormat(params);
    closed = interrupted = false;
    pacing = MKVideoPacing();
    pauseStart = -1;
    return true;
}

void MKVideoDisplayImpl::GiveSurfaceFormat(MKStreamParameters* params)
{
    int width = 0;
    int height = 0;
    surface->GetSize(&width, &height);
    params->type = MKMediaVideo;
    params->width = width;
    params->height = height;
    params->format = surface->GetFormat();
    params->rateNum = kTicksPerSecond;
    params->rateDen = 1;
}

bool MKVideoDisplayImpl::QueryStreamParameters(size_t index, MKStreamParameters* params)
{
    std::lock_guard<std::mutex> hold(lock);
    if (index != 0) {
        QX_LOG("Could not get video stream parameters, invalid index");
        return false;
    }
    if (!params || !surface) {
        QX_LOG("Could not get video stream parameters, null pointer or surface");
        return false;
    }
    GiveSurfaceFormat(params);
    return true;
}

bool MKVideoDisplayImpl::CloseStream(size_t)
{
    std::lock_guard<std::mutex> hold(lock);
    closed = true;
    wakeUp.notify_all();
    return true;
}

bool MKVideoDisplayImpl::IsStreamOpened(size_t)
{
    std::lock_guard<std::mutex> hold(lock);
    return !closed;
}

int64_t MKVideoDisplayImpl::GetStreamDuration(size_t index)
{
    if (index == 0)
        return 0;
    QX_LOG("Could not get video surface duration, invalid index");
    return kNoSuchStream;
}

int64_t MKVideoDisplayImpl::GetStreamTimeStamp(size_t index)
{
    if (index != 0) {
        QX_LOG("Could not get video surface time stamp, invalid index");
        return kNoSuchStream;
    }
    std::lock_guard<std::mutex> hold(lock);
    if (pacing.lastPts != AV_NOPTS_VALUE)
        return pacing.lastPts;
    return pacing.frameTimer != AV_NOPTS_VALUE ? pacing.frameTimer : 0;
}

bool MKVideoDisplayImpl::AllocateFrame(size_t, MKFrame* frame)
{
    std::lock_guard<std::mutex> hold(lock);
    return surface && surface->AllocateFrame(frame);
}

int MKVideoDisplayImpl::GetBufferSize(size_t)
{
    std::lock_guard<std::mutex> hold(lock);
    return surface ? surface->GetBufferSize() : 0;
}

int MKVideoDisplayImpl::Write(size_t index, MKFrame* frame)
{
    if (index != 0) {
        QX_LOG("Could not write to video surface, invalid index");
        return kNoSuchStream;
    }
    std::unique_lock<std::mutex> hold(lock);
    mkVideoSchedule(pacing, frame->GetTimeStamp(), av_gettime_relative(), clock ? clock->GetTime() : AV_NOPTS_VALUE);
    const int64_t remaining = pacing.frameTimer - av_gettime_relative();
    if (remaining <= -kMaxLatenessMicroseconds)
        return 1; // dropped
    if (surface)
        surface->Write(frame, pacing.frameTimer);
    if (remaining > 0)
        wakeUp.wait_for(hold, std::chrono::microseconds(remaining), [this] { return closed || interrupted; });
    if (closed || interrupted)
        return 0;
    if (surface)
        surface->Present();
    return 1;
}

MKVideoDisplay::MKVideoDisplay()
{
    impl = new MKVideoDisplayImpl;
}

MKVideoDisplay::~MKVideoDisplay()
{
    delete impl;
}

MKVideoDisplayImpl* MKVideoDisplay::Impl() const
{
    return static_cast<MKVideoDisplayImpl*>(impl);
}

void MKVideoDisplay::SetSurface(MKVideoSurface* surface)
{
    Impl()->SetSurface(surface);
}

void MKVideoDisplay::SetClock(MKClock* clock, bool owned)
{
    Impl()->SetClock(clock, owned);
}

bool MKVideoDisplay::Pause()
{
    return Impl()->Pause();
}

bool MKVideoDisplay::Resume()
{
    return Impl()->Resume();
}

void MKVideoDisplay::Restart()
{
    Impl()->Restart();
}

void MKVideoDisplay::SetInterrupted(bool interrupt)
{
    Impl()->SetInterrupted(interrupt);
}

bool MKVideoDisplay::Open()
{
    return impl->Open();
}

bool MKVideoDisplay::Close()
{
    return impl->Close();
}

int MKVideoDisplay::GetStreamCount()
{
    return impl->GetStreamCount();
}

MKMediaType MKVideoDisplay::GetStreamType(size_t index)
{
    return impl->GetStreamType(index);
}

bool MKVideoDisplay::OpenStream(size_t index, MKStreamParameters* params)
{
    return impl->OpenStream(index, params);
}

bool MKVideoDisplay::QueryStreamParameters(size_t index, MKStreamParameters* params)
{
    return impl->QueryStreamParameters(index, params);
}

bool MKVideoDisplay::CloseStream(size_t index)
{
    return impl->CloseStream(index);
}

bool MKVideoDisplay::IsStreamOpened(size_t index)
{
    return impl->IsStreamOpened(index);
}

bool MKVideoDisplay::DiscardStream(size_t index, bool discard)
{
    return impl->DiscardStream(index, discard);
}

bool MKVideoDisplay::IsStreamDiscarded(size_t index)
{
    return impl->IsStreamDiscarded(index);
}

int64_t MKVideoDisplay::GetDuration()
{
    return impl->GetDuration();
}

int64_t MKVideoDisplay::GetStreamDuration(size_t index)
{
    return impl->GetStreamDuration(index);
}

int64_t MKVideoDisplay::GetStreamTimeStamp(size_t index)
{
    return impl->GetStreamTimeStamp(index);
}

bool MKVideoDisplay::AllocateFrame(size_t index, MKFrame* frame)
{
    return impl->AllocateFrame(index, frame);
}

int MKVideoDisplay::GetBufferSize(size_t index)
{
    return impl->GetBufferSize(index);
}

int MKVideoDisplay::Write(size_t index, MKFrame* frame)
{
    return static_cast<MKConsumerImpl*>(impl)->Write(index, frame);
}
