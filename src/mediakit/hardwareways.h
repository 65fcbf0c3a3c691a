// What a platform with Direct3D 11 adds to the conversion of pictures. MIT licence.
#ifndef QXSPEECH_MEDIAKIT_HARDWAREWAYS_H
#define QXSPEECH_MEDIAKIT_HARDWAREWAYS_H

#include <array>

struct AVFrame;

// The ways that convert on a graphics device, cheaper than those of the processor and so tried before them. Owned by
// one video converter and used by its thread. A way answers 0 or more when dst is ready, negative when the next way is
// to be tried; one that failed stays out until Reset. Where there is no such device no class is derived from this one
// and the converter has none (see mkMakeVideoConverter).
class MKHardwareWays
{
public:
    // device, device_context, video_device and video_context of an AVD3D11VADeviceContext, not owned.
    using Device = std::array<const void*, 4>;

    MKHardwareWays() = default;
    virtual ~MKHardwareWays() = default;
    MKHardwareWays(const MKHardwareWays&) = delete;
    MKHardwareWays& operator=(const MKHardwareWays&) = delete;

    // The device a frame lies on; all null if on none.
    virtual Device DeviceOf(const AVFrame* frame) const = 0;
    // The frames to come differ from those before: drops what was made for these, and clears the failures.
    virtual void Reset() = 0;
    // From texture to texture of one device.
    virtual int HWConvert(const AVFrame* src, AVFrame* dst) = 0;
    // The same with a transfer, for frames of which one lies in system memory.
    virtual int HWTransferAndHWConvert(const AVFrame* src, AVFrame* dst) = 0;
};

#endif
