// Opening a PortAudio stream, and the thread on which an output's device is called. MIT licence.
#include <algorithm>
#include <system_error>

#include "common/logging.h"
#include "common/portaudiolock.h"
#include "mediakit/audioformats.h"
#include "mediakit/devicemanager.h"
#include "mediakit/portaudiostream.h"

namespace
{

constexpr int32_t kDefaultWriteFrames = 4096; // samples per channel in one write
constexpr int32_t kDefaultReadFrames = 512;

// Room for eight seconds; blocks so long that none would fit still get some slots.
size_t QueueCapacity(int32_t sampleRate, int32_t frameSize)
{
    const int64_t blocks = 2 * int64_t(sampleRate) / (frameSize > 0 ? frameSize : kDefaultReadFrames);
    return static_cast<size_t>(4 * std::max<int64_t>(blocks, 1));
}

} // namespace

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

int MKPortAudio::OpenStream(MKStreamParameters* wanted)
{
    if (!wanted) {
        QX_LOG("Could not open audio %s stream, null pointer", Direction());
        return kInvalid;
    }
    MKAudioCandidate candidate = {};
    PaStream* const opened = OpenDevice(*wanted, &candidate);
    if (!opened)
        return kFailed;
    TakeOver(opened, candidate, wanted);
    return 0;
}

PaStream* MKPortAudio::OpenDevice(const MKStreamParameters& wanted, MKAudioCandidate* candidate)
{
    const bool isOpen = IsStreamOpen();
    if (!isOpen)
        failures->Clear();
    const PaDeviceIndex index = FindDevice();
    if (index == paNoDevice) {
        QX_LOG("Could not open audio %s stream, invalid device", Direction());
        Refuse(deviceName.empty() ? "There is no audio device." : "There is no audio device " + deviceName + ".");
        return nullptr;
    }
    if (isOpen) {
        QX_LOG("Could not open audio %s stream, already opened", Direction());
        return nullptr;
    }
    const PaDeviceInfo* const info = Pa_GetDeviceInfo(index);
    if (!info) {
        QX_LOG("Could not open audio %s stream, invalid device info", Direction());
        Refuse("The audio device is gone.");
        return nullptr;
    }
    PaStream* const opened = StartDeviceThread() ? Probe(index, *info, wanted, candidate) : nullptr;
    if (!opened) {
        QX_LOG("Could not open audio %s stream, null paStream", Direction());
        Refuse("The audio device does not open.");
        device.reset();
    }
    return opened;
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

PaStream* MKPortAudio::Probe(PaDeviceIndex index, const PaDeviceInfo& info, const MKStreamParameters& wanted,
                             MKAudioCandidate* opened)
{
    const int maxChannels = isInput ? info.maxInputChannels : info.maxOutputChannels;
    const int32_t frames = std::max(wanted.frameSize, 0);
    for (const MKAudioCandidate& candidate : mkAudioCandidates(wanted, maxChannels, info.defaultSampleRate)) {
        PaStream* const found = TryOpen(index, info, candidate, frames);
        if (found)
            *opened = candidate;
        if (found || IsLost())
            return found;
    }
    return nullptr;
}

PaStream* MKPortAudio::TryOpen(PaDeviceIndex index, const PaDeviceInfo& info, const MKAudioCandidate& candidate,
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
    side.device = index;
    side.channelCount = candidate.channels;
    side.sampleFormat = candidate.format;
    side.suggestedLatency = isInput ? info.defaultLowInputLatency : info.defaultHighOutputLatency;
    const PaError error = OpenPaStream(side, candidate.rate, frames);
    if (error != paNoError) {
        if (!IsLost() && handle->stream)
            OnDevice([to = handle] { return to->Close(); });
        QX_LOG("Failed to open audio stream. Error: %s.", wxString::FromUTF8(Pa_GetErrorText(error)));
        return nullptr;
    }
    if (handle->stream)
        QX_LOG("Open audio device successes!");
    return handle->stream;
}

PaError MKPortAudio::OpenPaStream(const PaStreamParameters& side, double rate, int32_t frames)
{
    MKPortAudio* const recorder = isInput ? this : nullptr;
    return OnDevice([to = handle, recorder, side, rate, count = static_cast<unsigned long>(frames)] {
        const qxPortAudioTurn turn(qxPortAudioTurn::Opening);
        return Pa_OpenStream(&to->stream, recorder ? &side : nullptr, recorder ? nullptr : &side, rate, count, paNoFlag,
                             recorder ? OnPaStream : nullptr, recorder);
    });
}

PaError MKPortAudio::Handle::Close()
{
    PaStream* const closed = stream;
    stream = nullptr;
    const qxPortAudioTurn turn(qxPortAudioTurn::Closing);
    return Pa_CloseStream(closed);
}

bool MKPortAudio::StartDeviceThread()
{
    {
        const std::lock_guard<std::mutex> hold(stateLock);
        isLost = false;
    }
    handle = std::make_shared<Handle>();
    packed = std::make_shared<Samples>();
    if (isInput)
        return true;
    try {
        device = std::make_unique<qxDeviceThread>([last = handle] {
            if (last->stream)
                last->Close();
        });
    } catch (const std::system_error& error) {
        QX_LOG("Could not start the device's thread: %s", wxString::FromUTF8(error.what()));
        return false;
    }
    return true;
}

PaError MKPortAudio::OnDevice(const std::function<PaError()>& call, std::chrono::microseconds duration)
{
    if (!device)
        return call();
    const auto result = std::make_shared<PaError>(paNoError);
    if (device->Run([call, result] { *result = call(); }, duration))
        return *result;
    LoseDevice();
    return paTimedOut;
}

void MKPortAudio::LoseDevice()
{
    {
        const std::lock_guard<std::mutex> hold(stateLock);
        if (isLost)
            return;
        isLost = hasFailed = true;
    }
    QX_LOG("The audio device does not answer and is left behind");
    Refuse(kNoAnswer);
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
