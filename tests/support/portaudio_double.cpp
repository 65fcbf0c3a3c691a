// PortAudio's functions as a test wants them to behave. MIT licence.
#include "support/portaudio_double.h"

#include <algorithm>
#include <thread>

namespace
{

using Clock = std::chrono::steady_clock;

size_t SampleBytes(PaSampleFormat format)
{
    switch (format & ~paNonInterleaved) {
    case paFloat32:
    case paInt32:
        return 4;
    case paInt24:
        return 3;
    case paInt16:
        return 2;
    default:
        return 1;
    }
}

PortAudioDouble::Device MakeDevice(const char* name, int inputs, int outputs, double rate)
{
    return {name, 0, inputs, outputs, rate, 0.01, 0.035, {}};
}

} // namespace

PortAudioDouble& PortAudioDouble::Get()
{
    static PortAudioDouble* const object = new PortAudioDouble;
    return *object;
}

void PortAudioDouble::Reset()
{
    devices = {MakeDevice("Speakers", 0, 2, 44100), MakeDevice("Speakers", 0, 8, 48000),
               MakeDevice("Microphone", 2, 0, 48000)};
    countOverride = 0;
    defaultInput = 2;
    defaultOutput = 0;
    refusedOpens = 0;
    accepts = nullptr;
    latency = 0.03;
    reportedRate = 0;
    startResult = stopResult = closeResult = paNoError;
    onWrite = nullptr;
    timeScale = 0;
    vanished = false;
    m_time = 100.0;
    const std::lock_guard<std::mutex> guard(m_lock);
    m_streams.clear();
    m_opens.clear();
    m_calls.clear();
    m_written.clear();
    m_writes = 0;
}

const PaDeviceInfo* PortAudioDouble::Info(PaDeviceIndex device)
{
    if (device < 0 || static_cast<size_t>(device) >= devices.size())
        return nullptr;
    Device& found = devices[static_cast<size_t>(device)];
    found.info = {
        2,   found.name.c_str(),      found.hostApi, found.inputs, found.outputs, found.lowInputLatency, 0.002,
        0.5, found.highOutputLatency, found.rate};
    return &found.info;
}

PortAudioDouble::Stream* PortAudioDouble::Find(PaStream* stream)
{
    for (Stream& candidate : m_streams) {
        if (&candidate == stream)
            return &candidate;
    }
    return nullptr;
}

PaError PortAudioDouble::OpenStream(PaStream** stream, const Open& open, PaStreamCallback* callback, void* userData)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_opens.push_back(open);
    m_calls.emplace_back("open");
    if (vanished)
        return paDeviceUnavailable;
    if (refusedOpens > 0 || (accepts && !accepts(open.parameters, open.rate))) {
        refusedOpens = std::max(refusedOpens - 1, 0);
        return paInvalidSampleRate;
    }
    const double rate = reportedRate > 0 ? reportedRate : open.rate;
    m_streams.push_back({open, callback, userData, {1, latency, latency, rate}, true, Clock::now(), 0});
    *stream = &m_streams.back();
    return paNoError;
}

PaError PortAudioDouble::StartStream(PaStream* stream)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    Stream* const found = Find(stream);
    if (!found)
        return paBadStreamPtr;
    m_calls.emplace_back("start");
    if (startResult != paNoError)
        return startResult;
    found->isStopped = false;
    found->started = Clock::now();
    found->written = 0;
    return paNoError;
}

PaError PortAudioDouble::EndStream(PaStream* stream, const char* call, PaError result)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    Stream* const found = Find(stream);
    if (!found)
        return paBadStreamPtr;
    m_calls.emplace_back(call);
    m_stoppedAt = Clock::now();
    found->isStopped = true;
    return result;
}

PaError PortAudioDouble::CloseStream(PaStream* stream)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    const auto before = m_streams.size();
    m_streams.remove_if([stream](const Stream& item) { return &item == stream; });
    m_calls.emplace_back("close");
    return m_streams.size() == before ? static_cast<PaError>(paBadStreamPtr) : closeResult;
}

PaError PortAudioDouble::IsStopped(PaStream* stream)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    const Stream* const found = Find(stream);
    return found ? found->isStopped : static_cast<PaError>(paBadStreamPtr);
}

const PaStreamInfo* PortAudioDouble::StreamInfo(PaStream* stream)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    const Stream* const found = Find(stream);
    return found ? &found->info : nullptr;
}

PaTime PortAudioDouble::TimeOf(const Stream& stream) const
{
    if (timeScale <= 0)
        return m_time;
    return m_time + std::chrono::duration<double>(Clock::now() - stream.started).count() * timeScale;
}

PaTime PortAudioDouble::Time(PaStream* stream)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    const Stream* const found = Find(stream);
    return found ? TimeOf(*found) : 0;
}

PaError PortAudioDouble::Write(PaStream* stream, const void* buffer, unsigned long frames)
{
    std::unique_lock<std::mutex> guard(m_lock);
    Stream* const found = Find(stream);
    if (!found)
        return paBadStreamPtr;
    const int number = ++m_writes;
    guard.unlock();
    const PaError result = onWrite ? onWrite(number) : static_cast<PaError>(paNoError);
    if (vanished)
        return paUnanticipatedHostError;
    if (result != paNoError && result != paOutputUnderflowed)
        return result;
    guard.lock();
    Keep(*found, buffer, frames);
    found->written += static_cast<double>(frames);
    if (timeScale > 0) {
        const double seconds = (found->written / found->open.rate - latency) / timeScale;
        const auto until =
            found->started + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
        guard.unlock();
        std::this_thread::sleep_until(until);
    }
    return result;
}

void PortAudioDouble::Keep(const Stream& stream, const void* buffer, unsigned long frames)
{
    const PaStreamParameters& parameters = stream.open.parameters;
    const bool isPlanar = (parameters.sampleFormat & paNonInterleaved) != 0;
    const size_t channels = static_cast<size_t>(parameters.channelCount);
    const size_t run = frames * SampleBytes(parameters.sampleFormat) * (isPlanar ? 1 : channels);
    for (size_t plane = 0; plane < (isPlanar ? channels : 1); ++plane) {
        const void* const from = isPlanar ? static_cast<const void* const*>(buffer)[plane] : buffer;
        const uint8_t* const bytes = static_cast<const uint8_t*>(from);
        m_written.insert(m_written.end(), bytes, bytes + run);
    }
}

int PortAudioDouble::Feed(const void* input, unsigned long frames, PaTime recordedAt)
{
    std::unique_lock<std::mutex> guard(m_lock);
    for (const Stream& stream : m_streams) {
        if (!stream.callback)
            continue;
        PaStreamCallback* const callback = stream.callback;
        void* const userData = stream.userData;
        guard.unlock();
        const PaStreamCallbackTimeInfo time = {recordedAt, recordedAt, 0};
        return callback(input, nullptr, frames, &time, 0, userData);
    }
    return paAbort;
}

std::vector<PortAudioDouble::Open> PortAudioDouble::Opens()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_opens;
}

std::vector<std::string> PortAudioDouble::Calls()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_calls;
}

std::vector<uint8_t> PortAudioDouble::Written()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_written;
}

int PortAudioDouble::OpenStreams()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return static_cast<int>(m_streams.size());
}

Clock::time_point PortAudioDouble::StoppedAt()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_stoppedAt;
}

extern "C" {

PaDeviceIndex Pa_GetDeviceCount(void)
{
    const PortAudioDouble& object = PortAudioDouble::Get();
    return object.countOverride < 0 ? object.countOverride : static_cast<PaDeviceIndex>(object.devices.size());
}

PaDeviceIndex Pa_GetDefaultInputDevice(void)
{
    return PortAudioDouble::Get().defaultInput;
}

PaDeviceIndex Pa_GetDefaultOutputDevice(void)
{
    return PortAudioDouble::Get().defaultOutput;
}

const PaDeviceInfo* Pa_GetDeviceInfo(PaDeviceIndex device)
{
    return PortAudioDouble::Get().Info(device);
}

const PaHostApiInfo* Pa_GetHostApiInfo(PaHostApiIndex hostApi)
{
    static const PaHostApiInfo apis[] = {{1, paALSA, "ALSA", 0, 0, 0}, {1, paOSS, "OSS", 0, 0, 0}};
    return hostApi == 0 || hostApi == 1 ? &apis[hostApi] : nullptr;
}

const char* Pa_GetErrorText(PaError error)
{
    return error == paInvalidSampleRate ? "Invalid sample rate" : "Device unavailable";
}

PaError Pa_GetSampleSize(PaSampleFormat format)
{
    return static_cast<PaError>(SampleBytes(format));
}

PaError Pa_OpenStream(PaStream** stream, const PaStreamParameters* input, const PaStreamParameters* output, double rate,
                      unsigned long frames, PaStreamFlags flags, PaStreamCallback* callback, void* userData)
{
    const bool isInput = input != nullptr;
    const PaStreamParameters& parameters = isInput ? *input : *output;
    return PortAudioDouble::Get().OpenStream(stream, {isInput, parameters, rate, frames, flags, callback != nullptr},
                                             callback, userData);
}

PaError Pa_CloseStream(PaStream* stream)
{
    return PortAudioDouble::Get().CloseStream(stream);
}

PaError Pa_StartStream(PaStream* stream)
{
    return PortAudioDouble::Get().StartStream(stream);
}

PaError Pa_StopStream(PaStream* stream)
{
    return PortAudioDouble::Get().EndStream(stream, "stop", PortAudioDouble::Get().stopResult);
}

PaError Pa_AbortStream(PaStream* stream)
{
    return PortAudioDouble::Get().EndStream(stream, "abort", PortAudioDouble::Get().stopResult);
}

PaError Pa_IsStreamStopped(PaStream* stream)
{
    return PortAudioDouble::Get().IsStopped(stream);
}

PaError Pa_IsStreamActive(PaStream* stream)
{
    return PortAudioDouble::Get().vanished ? 0 : 1 - PortAudioDouble::Get().IsStopped(stream);
}

const PaStreamInfo* Pa_GetStreamInfo(PaStream* stream)
{
    return PortAudioDouble::Get().StreamInfo(stream);
}

PaTime Pa_GetStreamTime(PaStream* stream)
{
    return PortAudioDouble::Get().Time(stream);
}

PaError Pa_WriteStream(PaStream* stream, const void* buffer, unsigned long frames)
{
    return PortAudioDouble::Get().Write(stream, buffer, frames);
}
}
