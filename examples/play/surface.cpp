// Copies rows, swaps pictures. MIT licence.
#include "surface.h"

#include <cstring>
#include <utility>

extern "C" {
#include <libavutil/frame.h>
}

namespace play
{
namespace
{

constexpr int kQueuedPictures = 6; // 37 MB at 1920 x 1080

} // namespace

void PictureSurface::SetListener(std::function<void()> listener)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_listener = std::move(listener);
}

void PictureSurface::Reset()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_isReady = false;
    m_writtenCount = 0;
}

bool PictureSurface::HasMotion() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_writtenCount > 1;
}

bool PictureSurface::Take(Picture& picture)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    if (!m_isReady)
        return false;
    std::swap(picture, m_ready);
    m_isReady = false;
    return true;
}

// The frame comes in the format that GetFormat and GetSize have told.
void PictureSurface::Write(MKFrame* frame, int64_t)
{
    const AVFrame* const source = frame->GetAVFrame();
    m_written.width = source->width;
    m_written.height = source->height;
    const size_t rowBytes = static_cast<size_t>(source->width) * 3;
    m_written.bytes.resize(rowBytes * static_cast<size_t>(source->height));
    for (int row = 0; row < source->height; ++row)
        std::memcpy(&m_written.bytes[static_cast<size_t>(row) * rowBytes],
                    source->data[0] + static_cast<ptrdiff_t>(row) * source->linesize[0], rowBytes);
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_writtenCount < 2)
        ++m_writtenCount;
}

void PictureSurface::Present()
{
    std::function<void()> listener;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        std::swap(m_ready, m_written);
        if (!std::exchange(m_isReady, true))
            listener = m_listener;
    }
    if (listener)
        listener();
}

void PictureSurface::GetSize(int* width, int* height)
{
    *width = input.width;
    *height = input.height;
}

MKPixelFormat PictureSurface::GetFormat()
{
    return MKPixelRgb24;
}

bool PictureSurface::AllocateFrame(MKFrame* frame)
{
    MKStreamParameters params;
    params.type = MKMediaVideo;
    params.format = GetFormat();
    params.colorSpace = MKColorSpaceRgbFull709;
    GetSize(&params.width, &params.height);
    return frame->Allocate(params);
}

int PictureSurface::GetBufferSize()
{
    return kQueuedPictures;
}

} // namespace play
