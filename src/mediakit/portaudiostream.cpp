// One PortAudio stream: opening, the states, writing and the clock. MIT licence.
#include "mediakit/portaudiostream.h"

#include <algorithm>
#include <thread>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/log.h>
}

#include "common/logging.h"
#include "common/portaudiolock.h"
#include "mediakit/audioformats.h"
#include "mediakit/devicemanager.h"

namespace
{

constexpr int kInvalid = -22;
constexpr int kFailed = -2;
constexpr int32_t kDefaultWriteFrames = 4096; // samples per channel in one write
constexpr int32_t kDefaultReadFrames = 512;
constexpr std::chrono::milliseconds kHeardMargin(20);

// Room for eight seconds; blocks so long that none would fit still get some slots.
size_t QueueCapacity(int32_t sampleRate, int32_t frameSize)
{
    const int64_t blocks = 2 * int64_t(sampleRate) / (frameSize > 0 ? frameSize : kDefaultReadFrames);
    return static_cast<size_t>(4 * std::max<int64_t>(blocks, 1));
}

PaError OpenPaStream(PaStream** stream, const PaStreamParameters* input, const PaStreamParameters* output, double rate,
                     unsigned long frames, PaStreamCallback* callback, void* userData)
{
    const std::lock_guard<std::mutex> hold(qxPortAudioLock());
    return Pa_OpenStream(stream, input, output, rate, frames, paNoFlag, callback, userData);
}

PaError ClosePaStream(PaStream* stream)
{
    const std::lock_guard<std::mutex> hold(qxPortAudioLock());
    return Pa_CloseStream(stream);
}

} // namespace

MKPortAudio::MKPortAudio(bool input)
    : isInput(input), failures(std::make_shared<MKFailureRecord>()), inputQueue(new CircularQueue<MKFrame>(0))
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

bool MKPortAudio::IsStreamOpen()
{
    return GetStream() != nullptr;
}

PaDeviceIndex MKPortAudio::FindDevice() const
{
    MKAudioDeviceManager* const manager = MKAudioDeviceManager::Get();
    std::string id = deviceName;
    if (id.empty())
        id = isInput ? manager->GetDefaultInputDevice() : manager->GetDefaultOutputDevice();
    if (id.empty())
        return paNoDevice;
    const int count = manager->GetDeviceCount();
    for (int index = 0; index < count; ++index) {
        if (manager->GetDeviceId(index) == id)
            return index;
    }
    return paNoDevice;
}

// Records why the device cannot be used.
int MKPortAudio::Refuse(const std::string& reason)
{
    failures->Set(MKFailureDevice, reason);
    return kFailed;
}

int MKPortAudio::OpenStream(MKStreamParameters* wanted)
{
    if (!wanted) {
        QX_LOG("Could not open audio %s stream, null pointer", Direction());
        return kInvalid;
    }
    const bool isOpen = IsStreamOpen();
    if (!isOpen)
        failures->Clear();
    const PaDeviceIndex device = FindDevice();
    if (device == paNoDevice) {
        QX_LOG("Could not open audio %s stream, invalid device", Direction());
        return Refuse(deviceName.empty() ? "There is no audio device."
                                         : "There is no audio device " + deviceName + ".");
    }
    if (isOpen) {
        QX_LOG("Could not open audio %s stream, already opened", Direction());
        return kFailed;
    }
    const PaDeviceInfo* const info = Pa_GetDeviceInfo(device);
    if (!info) {
        QX_LOG("Could not open audio %s stream, invalid device info", Direction());
        return Refuse("The audio device is gone.");
    }
    MKAudioCandidate candidate = {};
    PaStream* const opened = Probe(device, *info, *wanted, &candidate);
    if (!opened) {
        QX_LOG("Could not open audio %s stream, null paStream", Direction());
        return Refuse("The audio device does not open.");
    }
    TakeOver(opened, candidate, wanted);
    return 0;
}

void MKPortAudio::TakeOver(PaStream* opened, const MKAudioCandidate& candidate, MKStreamParameters* wanted)
{
    wanted->type = MKMediaAudio;
    wanted->codec = MKCodecOther;
    wanted->format = mkFormatFromPa(candidate.format);
    wanted->channels = candidate.channels;
    wanted->rateNum = candidate.rate;
    wanted->rateDen = 1;
    if (wanted->frameSize < 1)
        wanted->frameSize = isInput ? 0 : kDefaultWriteFrames;
    {
        const std::lock_guard<std::mutex> hold(stateLock);
        params = *wanted;
        paFormat = candidate.format;
    }
    Adopt(opened);
}

PaStream* MKPortAudio::Probe(PaDeviceIndex device, const PaDeviceInfo& info, const MKStreamParameters& wanted,
                             MKAudioCandidate* opened)
{
    const int maxChannels = isInput ? info.maxInputChannels : info.maxOutputChannels;
    const int32_t frames = std::max(wanted.frameSize, 0);
    for (const MKAudioCandidate& candidate : mkAudioCandidates(wanted, maxChannels, info.defaultSampleRate)) {
        PaStream* const found = TryOpen(device, info, candidate, frames);
        if (!found)
            continue;
        *opened = candidate;
        return found;
    }
    return nullptr;
}

PaStream* MKPortAudio::TryOpen(PaDeviceIndex device, const PaDeviceInfo& info, const MKAudioCandidate& candidate,
                               int32_t frames)
{
    QX_LOG("Probing to %s audio from: %s. Channel: %d. Sample rate: %d. Pa Sample Format: %0.0f",
           wxString(isInput ? "record" : "play"), wxString::FromUTF8(info.name), candidate.channels, candidate.rate,
           static_cast<double>(candidate.format));
    if (frames != 0)
        QX_LOG("Using fixed frame buffer may decrease performance: %d", frames);
    if (frames >= candidate.rate * 1e-7)
        QX_LOG("Fixed buffer is larger than sync threshold");
    PaStreamParameters side = {};
    side.device = device;
    side.channelCount = candidate.channels;
    side.sampleFormat = candidate.format;
    side.suggestedLatency = isInput ? info.defaultLowInputLatency : info.defaultHighOutputLatency;
    PaStream* opened = nullptr;
    const PaError error = OpenPaStream(&opened, isInput ? &side : nullptr, isInput ? nullptr : &side, candidate.rate,
                                       static_cast<unsigned long>(frames), isInput ? OnPaStream : nullptr, this);
    if (error != paNoError) {
        if (opened)
            ClosePaStream(opened);
        QX_LOG("Failed to open audio stream. Error: %s.", wxString::FromUTF8(Pa_GetErrorText(error)));
        return nullptr;
    }
    if (opened)
        QX_LOG("Open audio device successes!");
    return opened;
}

void MKPortAudio::Adopt(PaStream* opened)
{
    const PaStreamInfo* const info = Pa_GetStreamInfo(opened);
    const std::lock_guard<std::mutex> hold(stateLock);
    sampleRate = info ? static_cast<int32_t>(info->sampleRate + 0.5) : 0;
    if (sampleRate < 1)
        sampleRate = params.rateNum;
    const PaTime seconds = info ? (isInput ? info->inputLatency : info->outputLatency) : 0;
    latency = static_cast<int64_t>(seconds * 1000000);
    inputQueue.reset(new CircularQueue<MKFrame>(QueueCapacity(sampleRate, params.frameSize)));
    stream = opened;
    state = MKPortAudioOpened;
    inputLevel = 0.0;
    levelSum = levelCount = 0;
}

int MKPortAudio::StartStream()
{
    if (isInput)
        OpenReading();
    PaStream* device = nullptr;
    {
        const std::lock_guard<std::mutex> hold(stateLock);
        device = stream;
        sampleCount = 0;
        pauseStart = writeStart = -1.0;
        pausedTotal = 0;
        hasWritten = hasFailed = false;
        state = MKPortAudioStarted;
        startTime = Pa_GetStreamTime(device);
    }
    failures->Clear();
    const PaError error = Pa_StartStream(device);
    if (error == paNoError)
        return 0;
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
    pauseStart = Pa_GetStreamTime(stream);
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
    pausedTotal += Pa_GetStreamTime(stream) - pauseStart;
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

void MKPortAudio::EndDevice(PaStream* device)
{
    if (!device || Pa_IsStreamStopped(device) != 0)
        return;
    // PortAudio's own stop does not play out the buffers on every system.
    if (!isInput)
        AwaitHeard();
    const PaError error = isInput ? Pa_AbortStream(device) : Pa_StopStream(device);
    if (error != paNoError)
        QX_LOG("QXAudioDeviceMediaProviderImpl: Pa_AbortStream: %d", error);
}

int MKPortAudio::StopStream()
{
    inputQueue->Close();
    CloseReading();
    EndDevice(GetStream());
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
    PaStream* device = nullptr;
    {
        const std::lock_guard<std::mutex> hold(stateLock);
        std::swap(device, stream);
        state = MKPortAudioClosed;
    }
    const PaError error = device ? ClosePaStream(device) : static_cast<PaError>(paNoError);
    if (error != paNoError)
        QX_LOG("QXAudioDeviceMediaProviderImpl: Pa_CloseStream: %d", error);
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

const void* MKPortAudio::BufferOf(const AVFrame& frame)
{
    const bool isPlanar = (paFormat & paNonInterleaved) != 0;
    if ((paFormat & ~paNonInterleaved) != paInt24)
        return isPlanar ? static_cast<const void*>(frame.extended_data) : frame.data[0];
    const size_t channels = static_cast<size_t>(params.channels);
    const size_t planes = isPlanar ? channels : 1;
    const size_t count = static_cast<size_t>(frame.nb_samples) * (isPlanar ? 1 : channels);
    packed.resize(planes * count * 3);
    packedPlanes.resize(planes);
    for (size_t plane = 0; plane < planes; ++plane) {
        uint8_t* const to = packed.data() + plane * count * 3;
        mkPack24(reinterpret_cast<const int32_t*>(frame.extended_data[plane]), count, to);
        packedPlanes[plane] = to;
    }
    return isPlanar ? static_cast<const void*>(packedPlanes.data()) : packed.data();
}

int MKPortAudio::Write(MKFrame* frame)
{
    if (isInput) {
        QX_LOG("Could not write audio output stream, object is initiliazed as input");
        return kFailed;
    }
    PaStream* const device = GetStream();
    if (!device) {
        QX_LOG("Could not write audio output stream, not opened");
        return kInvalid;
    }
    const AVFrame* const samples = frame ? frame->GetAVFrame() : nullptr;
    if (!samples) {
        QX_LOG("Could not write audio output stream, frame is null");
        return kInvalid;
    }
    const void* const buffer = BufferOf(*samples);
    {
        const std::lock_guard<std::mutex> hold(stateLock);
        writeStart = Pa_GetStreamTime(device);
        writeCount = samples->nb_samples;
    }
    const PaError error = Pa_WriteStream(device, buffer, static_cast<unsigned long>(samples->nb_samples));
    std::unique_lock<std::mutex> hold(stateLock);
    // An underflow tells of a gap before these samples; they were taken all the same.
    if (error == paNoError || error == paOutputUnderflowed) {
        writeStart = -1.0;
        sampleCount += samples->nb_samples;
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
        const PaTime now = state == MKPortAudioStarted ? Pa_GetStreamTime(stream) : pauseStart;
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
