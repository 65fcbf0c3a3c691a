// The recording side of a PortAudio stream: the callback that fills the queue, and the reading of it. MIT licence.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <thread>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/samplefmt.h>
}

#include "common/logging.h"
#include "mediakit/audioformats.h"
#include "mediakit/portaudiostream.h"

namespace
{

constexpr double kGapSeconds = 0.1; // a longer one in the input is filled with silence
constexpr int64_t kSilenceBlock = 512;
constexpr double kLevelKept = 0.95;
constexpr int kLevelsPerSecond = 20;
constexpr std::chrono::milliseconds kReadPatience(100);
constexpr std::chrono::milliseconds kFullPause(1);

// One run of samples from PortAudio into a frame's plane; what is not there becomes silence.
void CopyRun(uint8_t* to, const void* from, size_t available, size_t wanted, PaSampleFormat format)
{
    const bool is24 = (format & ~paNonInterleaved) == paInt24;
    const size_t bytes = is24 ? sizeof(int32_t) : static_cast<size_t>(Pa_GetSampleSize(format));
    const size_t copied = from ? std::min(available, wanted) : 0;
    if (is24)
        mkUnpack24(static_cast<const uint8_t*>(from), copied, reinterpret_cast<int32_t*>(to));
    else if (copied > 0)
        std::memcpy(to, from, copied * bytes);
    std::memset(to + copied * bytes, 0, (wanted - copied) * bytes);
}

bool CopyFrame(MKFrame& from, MKFrame& to, MKStreamParameters params)
{
    const AVFrame* const source = from.GetAVFrame();
    if (!source || !to.GetAVFrame())
        return false;
    if (!av_frame_is_writable(to.GetAVFrame()))
        to.Unref();
    params.frameSize = source->nb_samples;
    if (!to.Allocate(params))
        return false;
    AVFrame* const copy = to.GetAVFrame();
    copy->nb_samples = source->nb_samples;
    copy->pts = source->pts;
    return av_samples_copy(copy->extended_data, source->extended_data, 0, 0, source->nb_samples, params.channels,
                           static_cast<AVSampleFormat>(source->format)) >= 0;
}

} // namespace

int MKPortAudio::__OnPaStreamInputCallback(const void* input, unsigned long frameCount,
                                           const PaStreamCallbackTimeInfo* timeInfo)
{
    std::unique_lock<std::mutex> hold(stateLock);
    const int32_t now = state;
    const PaTime start = startTime;
    hold.unlock();
    if (now == MKPortAudioPaused)
        return paContinue;
    if (now != MKPortAudioStarted || inputQueue->IsClosed())
        return paAbort;
    if (start > timeInfo->inputBufferAdcTime)
        return paContinue;

    Recording recording = {input, static_cast<int64_t>(frameCount), MissingSamples(timeInfo->inputBufferAdcTime), 0};
    if (inputQueue->IsFull()) {
        hold.lock();
        const int64_t count = sampleCount;
        hold.unlock();
        QX_LOG("Input overflow. Discarding %d samples, current sample count: %lld",
               static_cast<int>(recording.compensate + recording.frameCount), static_cast<long long>(count));
    }
    while (recording.compensate >= 1 || recording.taken < recording.frameCount) {
        const Block block = RecordBlock(recording);
        if (block == Block::Abort)
            return paAbort;
        if (block == Block::QueueFull)
            std::this_thread::sleep_for(kFullPause);
    }
    return paContinue;
}

int64_t MKPortAudio::MissingSamples(PaTime recordedAt)
{
    const std::lock_guard<std::mutex> hold(stateLock);
    const PaTime running = recordedAt - startTime - pausedTotal;
    const int64_t missing = static_cast<int64_t>(sampleRate * running + 0.5) - sampleCount;
    return static_cast<double>(missing) / sampleRate > kGapSeconds ? missing : 0;
}

MKPortAudio::Block MKPortAudio::RecordBlock(Recording& recording)
{
    const std::lock_guard<std::mutex> hold(callbackLock);
    if (inputQueue->IsClosed())
        return Block::Abort;
    if (inputQueue->IsFull()) {
        QX_LOG("Compensate when queue is full which slows down the input callback. Consider increasing queue size");
        return Block::QueueFull;
    }
    MKFrame* const slot = inputQueue->WriteSlot();
    if (inputQueue->IsClosed())
        return Block::Abort;
    MKStreamParameters block = params;
    block.frameSize = NextBlockSize(recording);
    if (!slot->Allocate(block)) {
        QX_LOG("Could not process recorded audio buffer, alloc frame memory failed");
        return Block::Abort;
    }
    AVFrame* const frame = slot->GetAVFrame();
    if (!frame) {
        QX_LOG("Could not process recorded audio buffer, null avframe pointer");
        return Block::Abort;
    }
    FillBlock(*frame, block.frameSize, recording);
    {
        const std::lock_guard<std::mutex> counting(stateLock);
        frame->pts = sampleCount * 1000000 / sampleRate;
        sampleCount += block.frameSize;
    }
    frame->nb_samples = block.frameSize;
    UpdateLevel(*frame);
    inputQueue->CommitWrite();
    const std::lock_guard<std::mutex> reading(readLock);
    ++recordedCount;
    readChange.notify_all();
    return Block::Recorded;
}

int32_t MKPortAudio::NextBlockSize(Recording& recording)
{
    const int32_t fixedSize = params.frameSize;
    if (recording.compensate >= 1) {
        const int64_t size = fixedSize >= 1 ? fixedSize : std::min(recording.compensate, kSilenceBlock);
        recording.compensate -= size;
        return static_cast<int32_t>(size);
    }
    recording.taken = recording.frameCount;
    if (fixedSize < 1)
        return static_cast<int32_t>(recording.frameCount);
    if (fixedSize != recording.frameCount)
        QX_LOG("Received audio frame has different frame size, this should not occur");
    return fixedSize;
}

void MKPortAudio::FillBlock(AVFrame& frame, int32_t size, const Recording& recording)
{
    const bool isSilence = recording.taken < recording.frameCount;
    const size_t channels = static_cast<size_t>(params.channels);
    const size_t wanted = static_cast<size_t>(size);
    const size_t available = isSilence ? 0 : static_cast<size_t>(recording.frameCount);
    if ((paFormat & paNonInterleaved) == 0) {
        CopyRun(frame.data[0], recording.input, available * channels, wanted * channels, paFormat);
        return;
    }
    const void* const* const planes = static_cast<const void* const*>(recording.input);
    for (size_t channel = 0; channel < channels; ++channel)
        CopyRun(frame.extended_data[channel], planes ? planes[channel] : nullptr, available, wanted, paFormat);
}

void MKPortAudio::UpdateLevel(const AVFrame& frame)
{
    if (frame.nb_samples < 1)
        return;
    const bool isPlanar = av_sample_fmt_is_planar(static_cast<AVSampleFormat>(frame.format)) != 0;
    const size_t channels = static_cast<size_t>(params.channels);
    const size_t samples = static_cast<size_t>(frame.nb_samples);
    const size_t planes = isPlanar ? channels : 1;
    for (size_t plane = 0; plane < planes; ++plane)
        levelSum += mkSumOfSquares(frame.extended_data[plane], isPlanar ? samples : samples * channels, frame.format);
    levelCount += static_cast<double>(channels * samples);
    const int enough = params.rateNum / params.rateDen / kLevelsPerSecond;
    if (levelCount <= enough)
        return;
    const double level = std::min(std::max(std::sqrt(levelSum / levelCount) / 32767, 0.0), 1.0);
    levelSum = levelCount = 0;
    inputLevel = inputLevel * kLevelKept + level * (1 - kLevelKept);
}

void MKPortAudio::OpenReading()
{
    const std::lock_guard<std::mutex> hold(readLock);
    isReadable = true;
}

// Afterwards no reader is at a slot, and none comes before the next start.
void MKPortAudio::CloseReading()
{
    std::unique_lock<std::mutex> hold(readLock);
    isReadable = false;
    readChange.notify_all();
    readChange.wait(hold, [this] { return !isReading; });
}

// Without readLock, while isReading keeps the stream from being closed.
bool MKPortAudio::HasVanished()
{
    PaStream* opened = nullptr;
    {
        const std::lock_guard<std::mutex> hold(stateLock);
        if (!isRunning || hasFailed)
            return hasFailed;
        opened = stream;
    }
    if (Pa_IsStreamActive(opened) != 0)
        return false;
    {
        const std::lock_guard<std::mutex> hold(stateLock);
        hasFailed = true;
    }
    QX_LOG("The audio input stream has ended, its device is gone");
    Refuse("The audio device is no longer available.");
    return true;
}

int MKPortAudio::Read(MKFrame* frame)
{
    std::unique_lock<std::mutex> hold(readLock);
    readChange.wait_for(hold, kReadPatience, [this] { return !isReadable || recordedCount > 0; });
    if (!isReadable)
        return -1;
    isReading = true;
    if (recordedCount == 0) {
        hold.unlock();
        const bool vanished = HasVanished();
        hold.lock();
        isReading = false;
        readChange.notify_all();
        return vanished ? kFailed : 0;
    }
    --recordedCount;
    hold.unlock();
    const bool copied = CopyFrame(*inputQueue->ReadSlot(), *frame, params);
    inputQueue->CommitRead();
    hold.lock();
    isReading = false;
    readChange.notify_all();
    return copied ? 1 : -12;
}
