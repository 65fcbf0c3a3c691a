// One PortAudio stream: opening, the states, writing and the clock. MIT licence.
#include "mediakit/portaudiostream.h"

#include <algorithm>
#include <cstring>
#include <thread>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/log.h>
}

#include "common/logging.h"
#include "mediakit/audioformats.h"

namespace
{

constexpr std::chrono::milliseconds kHeardMargin(20);

} // namespace

MKPortAudio::MKPortAudio(bool input)
    : isInput(input), failures(std::make_shared<MKFailureRecord>()), inputQueue(new CircularQueue<MKFrame>(0)),
      handle(std::make_shared<Handle>()), packed(std::make_shared<Samples>())
{
}

MKPortAudio::~MKPortAudio()
{
    if (stream)
        MKPortAudio::CloseStream();
}

PaStream* MKPortAudio::GetStream()
{
    const std::lock_guard<std::mutex> hold(stateLock);
    return stream;
}

bool MKPortAudio::IsLost()
{
    const std::lock_guard<std::mutex> hold(stateLock);
    return isLost;
}

// With stateLock held.
PaTime MKPortAudio::StreamTime()
{
    if (!isLost)
        return Pa_GetStreamTime(stream);
    return writeStart + std::chrono::duration<double>(std::chrono::steady_clock::now() - writeStartedAt).count();
}

bool MKPortAudio::IsStreamOpen()
{
    return GetStream() != nullptr;
}

int MKPortAudio::StartStream()
{
    failures->Clear();
    if (IsLost())
        return Refuse(kNoAnswer);
    if (isInput)
        OpenReading();
    {
        const std::lock_guard<std::mutex> hold(stateLock);
        sampleCount = 0;
        pauseStart = writeStart = -1.0;
        pausedTotal = 0;
        hasWritten = hasFailed = false;
        state = MKPortAudioStarted;
        startTime = StreamTime();
    }
    const PaError error = OnDevice([to = handle] { return Pa_StartStream(to->stream); });
    if (error == paNoError) {
        const std::lock_guard<std::mutex> hold(stateLock);
        isRunning = true;
        return 0;
    }
    QX_LOG("Could not start audio %s stream, Pa_StartStream failed", Direction());
    return Refuse(std::string("The audio device does not start: ") + Pa_GetErrorText(error) + ".");
}

int MKPortAudio::PauseStream()
{
    std::unique_lock<std::mutex> hold(stateLock);
    if (state != MKPortAudioStarted) {
        hold.unlock();
        QX_LOG("MKPortAudio::PauseStream invalid state");
        return kInvalid;
    }
    state = MKPortAudioPaused;
    pauseStart = StreamTime();
    return 0;
}

int MKPortAudio::ResumeStream()
{
    std::unique_lock<std::mutex> hold(stateLock);
    if (state != MKPortAudioPaused) {
        hold.unlock();
        QX_LOG("MKPortAudio::ResumeStream invalid state");
        return kInvalid;
    }
    state = MKPortAudioStarted;
    pausedTotal += StreamTime() - pauseStart;
    pauseStart = -1.0;
    return 0;
}

void MKPortAudio::AwaitHeard()
{
    std::unique_lock<std::mutex> hold(stateLock);
    if (!hasWritten || hasFailed)
        return;
    const auto heard = lastWriteEnd + std::chrono::microseconds(latency) + kHeardMargin;
    hold.unlock();
    std::this_thread::sleep_until(heard);
}

void MKPortAudio::EndDevice()
{
    PaStream* const opened = GetStream();
    if (!opened || IsLost() || Pa_IsStreamStopped(opened) != 0)
        return;
    // PortAudio's own stop does not play out the buffers on every system.
    if (!isInput)
        AwaitHeard();
    const PaError error = OnDevice(
        [to = handle, input = isInput] { return input ? Pa_AbortStream(to->stream) : Pa_StopStream(to->stream); });
    if (error != paNoError)
        QX_LOG("QXAudioDeviceMediaProviderImpl: Pa_AbortStream: %d", error);
}

int MKPortAudio::StopStream()
{
    inputQueue->Close();
    CloseReading();
    {
        const std::lock_guard<std::mutex> hold(stateLock);
        isRunning = false;
    }
    EndDevice();
    {
        const std::lock_guard<std::mutex> hold(callbackLock);
        inputLevel = 0.0;
        levelSum = levelCount = 0;
        inputQueue->Reset();
        const std::lock_guard<std::mutex> reading(readLock);
        recordedCount = 0;
    }
    const std::lock_guard<std::mutex> hold(stateLock);
    state = MKPortAudioStopped;
    return 0;
}

int MKPortAudio::CloseStream()
{
    const int result = StopStream();
    PaStream* opened = nullptr;
    {
        const std::lock_guard<std::mutex> hold(stateLock);
        std::swap(opened, stream);
        state = MKPortAudioClosed;
    }
    const bool canClose = opened && !IsLost();
    const PaError error = canClose ? OnDevice([to = handle] { return to->Close(); }) : static_cast<PaError>(paNoError);
    if (error != paNoError)
        QX_LOG("QXAudioDeviceMediaProviderImpl: Pa_CloseStream: %d", error);
    device.reset(); // a thread that was left behind may close the stream from now on
    return result;
}

int MKPortAudio::QueryStreamParameters(MKStreamParameters* out)
{
    if (!out) {
        QX_LOG("Could not get audio stream parameters, null pointer");
        return kInvalid;
    }
    std::unique_lock<std::mutex> hold(stateLock);
    if (!stream) {
        hold.unlock();
        QX_LOG("Could not get audio stream parameters, not opened");
        return kInvalid;
    }
    *out = params;
    return 0;
}

void MKPortAudio::Pack(const AVFrame& frame)
{
    const bool isPlanar = (paFormat & paNonInterleaved) != 0;
    const PaSampleFormat format = paFormat & ~paNonInterleaved;
    const size_t channels = static_cast<size_t>(params.channels);
    const size_t planes = isPlanar ? channels : 1;
    const size_t count = static_cast<size_t>(frame.nb_samples) * (isPlanar ? 1 : channels);
    const size_t bytes = count * static_cast<size_t>(Pa_GetSampleSize(format));
    packed->bytes.resize(planes * bytes);
    packed->planes.resize(isPlanar ? planes : 0);
    for (size_t plane = 0; plane < planes; ++plane) {
        uint8_t* const to = packed->bytes.data() + plane * bytes;
        const uint8_t* const from = frame.extended_data[plane];
        if (format == paInt24)
            mkPack24(reinterpret_cast<const int32_t*>(from), count, to);
        else if (bytes > 0)
            std::memcpy(to, from, bytes);
        if (isPlanar)
            packed->planes[plane] = to;
    }
}

int MKPortAudio::Write(MKFrame* frame)
{
    if (isInput) {
        QX_LOG("Could not write audio output stream, object is initiliazed as input");
        return kFailed;
    }
    if (!GetStream()) {
        QX_LOG("Could not write audio output stream, not opened");
        return kInvalid;
    }
    const AVFrame* const sound = frame ? frame->GetAVFrame() : nullptr;
    if (!sound) {
        QX_LOG("Could not write audio output stream, frame is null");
        return kInvalid;
    }
    if (IsLost())
        return Refuse(kNoAnswer);
    Pack(*sound);
    return WritePacked(sound->nb_samples);
}

int MKPortAudio::WritePacked(int64_t count)
{
    {
        const std::lock_guard<std::mutex> hold(stateLock);
        writeStart = StreamTime();
        writeStartedAt = std::chrono::steady_clock::now();
        writeCount = count;
    }
    const PaError error =
        OnDevice([to = handle, from = packed,
                  count] { return Pa_WriteStream(to->stream, from->Get(), static_cast<unsigned long>(count)); },
                 std::chrono::microseconds(count * 1000000 / sampleRate));
    std::unique_lock<std::mutex> hold(stateLock);
    // An underflow tells of a gap before these samples; they were taken all the same.
    if (error == paNoError || error == paOutputUnderflowed) {
        writeStart = -1.0;
        sampleCount += count;
        hasWritten = true;
        lastWriteEnd = std::chrono::steady_clock::now();
        return 1;
    }
    // writeStart stays: the clock runs on, so that a picture which follows it does not freeze.
    hasFailed = true;
    hold.unlock();
    QX_LOG("Could not write audio output stream, paError: %d", error);
    return Refuse(std::string("The audio device failed: ") + Pa_GetErrorText(error) + ".");
}

int64_t MKPortAudio::GetPlayTime()
{
    const std::lock_guard<std::mutex> hold(stateLock);
    const int64_t written = sampleCount * 1000000 / sampleRate;
    int64_t running = 0;
    if (writeStart >= 0) {
        const PaTime now = state == MKPortAudioStarted ? StreamTime() : pauseStart;
        // A stream that was stopped, not paused, has no time at which the write halted. A write may also begin in a
        // pause: the writing thread was past its gate.
        if (now >= writeStart)
            running = static_cast<int64_t>((now - writeStart) * 1e6 + 0.5);
        // A write that takes longer than its samples last would take the clock past what it counts in the end. After a
        // failure the clock runs on, so that a picture which follows it does not freeze.
        if (!hasFailed)
            running = std::min(running, writeCount * 1000000 / sampleRate);
    }
    return running - latency + written;
}

int64_t MKPortAudio::GetSampleTime()
{
    const std::lock_guard<std::mutex> hold(stateLock);
    return sampleCount * 1000000 / sampleRate;
}

int MKPortAudio::OnPaStream(const void* input, void*, unsigned long frameCount,
                            const PaStreamCallbackTimeInfo* timeInfo, PaStreamCallbackFlags, void* self)
{
    MKPortAudio* const object = static_cast<MKPortAudio*>(self);
    if (object->isInput)
        return object->__OnPaStreamInputCallback(input, frameCount, timeInfo);
    av_log(nullptr, AV_LOG_ERROR,
           "__OnPaStreamOutputCallback should not be used. The related parts are not optimized yet.");
    return paContinue;
}
