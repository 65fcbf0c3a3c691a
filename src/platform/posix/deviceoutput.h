// The default audio device through the PortAudio that the host has started. MIT licence.
#ifndef QXSPEECH_PLATFORM_POSIX_DEVICEOUTPUT_H
#define QXSPEECH_PLATFORM_POSIX_DEVICEOUTPUT_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <windows.h>

#include "platform/posix/pcmconverter.h"

namespace qxvoice
{

// One block is what goes to the device in one call: short, so that pause and stop are heard at once.
constexpr size_t kDeviceBlockSamples = kSynthRateHz / 50;

// One stream on the default output device, owned and called by the thread that plays a voice. Every call may block for
// as long as the sound server does. The stream runs from Open to Close.
class DeviceOutput
{
public:
    DeviceOutput() = default;
    ~DeviceOutput();
    DeviceOutput(const DeviceOutput&) = delete;
    DeviceOutput& operator=(const DeviceOutput&) = delete;

    // False if the host's PortAudio runs and knows no output device, or does not run. Does not block; any thread.
    static bool HasDefaultDevice();

    // S_OK, SPERR_DEVICE_NOT_SUPPORTED without a device, SPERR_DEVICE_BUSY if the device refuses every configuration.
    HRESULT Open();
    bool IsOpen() const { return m_stream != nullptr; }
    // Mono samples at kSynthRateHz. False: the device is gone.
    bool Write(const int16_t* samples, size_t count);
    bool WriteSilence();
    // From the end of a write until its last sample has been heard: the reported latency plus 20 ms.
    std::chrono::microseconds Tail() const { return m_tail; }
    // Ends the stream without waiting for the tail.
    void Close();

private:
    bool TryOpen(int device, int rateHz, int channels, double latencySeconds);

    void* m_stream = nullptr;
    PcmConverter m_converter;
    std::vector<int16_t> m_scratch;
    std::chrono::microseconds m_tail{0};
};

} // namespace qxvoice

#endif
