// Blocking playback on PortAudio's default output device. MIT licence.
#include "platform/posix/deviceoutput.h"

#include <algorithm>
#include <portaudio.h>
#include <sperror.h>

#include "common/devicethread.h"
#include "common/portaudiolock.h"

namespace qxvoice
{
namespace
{

constexpr std::chrono::microseconds kTailMargin(20000);
// A long device buffer would delay a pause; a very short one underflows.
constexpr double kMinLatencySeconds = 0.05;
constexpr double kMaxLatencySeconds = 0.06;

} // namespace

DeviceOutput::~DeviceOutput()
{
    Close();
}

bool DeviceOutput::HasDefaultDevice()
{
    return Pa_GetDefaultOutputDevice() >= 0;
}

HRESULT DeviceOutput::Open()
{
    const PaDeviceIndex device = Pa_GetDefaultOutputDevice();
    const PaDeviceInfo* const info = device < 0 ? nullptr : Pa_GetDeviceInfo(device);
    if (!info)
        return SPERR_DEVICE_NOT_SUPPORTED;
    const double latency = std::clamp(info->defaultHighOutputLatency, kMinLatencySeconds, kMaxLatencySeconds);
    const int ownRate = static_cast<int>(info->defaultSampleRate);
    const int candidates[][2] = {{kSynthRateHz, 1}, {kSynthRateHz, 2}, {ownRate, 2}, {ownRate, 1},
                                 {48000, 2},        {44100, 2},        {48000, 1},   {44100, 1}};
    const auto limit = std::chrono::steady_clock::now() + kDevicePatience; // a refusal at once leaves time for all
    for (const auto& candidate : candidates) {
        if (std::chrono::steady_clock::now() > limit)
            break;
        if (TryOpen(device, candidate[0], candidate[1], latency))
            return S_OK;
    }
    return SPERR_DEVICE_BUSY;
}

bool DeviceOutput::TryOpen(int device, int rateHz, int channels, double latencySeconds)
{
    PaStreamParameters parameters = {};
    parameters.device = device;
    parameters.channelCount = channels;
    parameters.sampleFormat = paInt16;
    parameters.suggestedLatency = latencySeconds;
    const unsigned long frames = static_cast<unsigned long>(rateHz) / 50;
    PaStream* stream = nullptr;
    {
        const qxPortAudioTurn turn(qxPortAudioTurn::Opening);
        if (Pa_OpenStream(&stream, nullptr, &parameters, rateHz, frames, paClipOff, nullptr, nullptr) != paNoError)
            return false;
    }
    if (Pa_StartStream(stream) != paNoError || !m_converter.Open(rateHz, channels)) {
        const qxPortAudioTurn turn(qxPortAudioTurn::Closing);
        Pa_CloseStream(stream);
        return false;
    }
    m_stream = stream;
    const PaStreamInfo* const info = Pa_GetStreamInfo(stream);
    const double reported = info ? info->outputLatency : latencySeconds;
    m_tail = std::chrono::microseconds(static_cast<int64_t>(reported * 1e6)) + kTailMargin;
    return true;
}

bool DeviceOutput::Write(const int16_t* samples, size_t count)
{
    m_scratch.clear();
    if (!m_converter.Convert(samples, count, m_scratch))
        return false;
    const unsigned long frames =
        static_cast<unsigned long>(m_scratch.size()) / static_cast<unsigned long>(m_converter.Channels());
    if (frames == 0)
        return true;
    const PaError error = Pa_WriteStream(m_stream, m_scratch.data(), frames);
    // An underflow tells of a gap before this write; the samples were taken all the same.
    return error == paNoError || error == paOutputUnderflowed;
}

bool DeviceOutput::WriteSilence()
{
    static const int16_t silence[kDeviceBlockSamples] = {};
    return Write(silence, kDeviceBlockSamples);
}

void DeviceOutput::Close()
{
    if (!m_stream)
        return;
    Pa_StopStream(m_stream);
    const qxPortAudioTurn turn(qxPortAudioTurn::Closing);
    Pa_CloseStream(m_stream);
    m_stream = nullptr;
}

} // namespace qxvoice
