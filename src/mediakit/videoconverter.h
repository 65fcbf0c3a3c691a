// Converts one stream's pictures into another format, size, range and matrix. MIT licence.
#ifndef QXSPEECH_MEDIAKIT_VIDEOCONVERTER_H
#define QXSPEECH_MEDIAKIT_VIDEOCONVERTER_H

#include <memory>

extern "C" {
#include <libavutil/frame.h>
}

#include "mediakit/hardwareways.h"

struct SwsContext;

// The video branch of a frame converter, which owns it. One thread. Frames are never owned. What is made for a pair of
// formats is kept until one of them changes.
class MKVideoConverter
{
public:
    // hardware, taken over, may be null: then pictures are converted in system memory only.
    explicit MKVideoConverter(std::unique_ptr<MKHardwareWays> hardware);
    ~MKVideoConverter();
    MKVideoConverter(const MKVideoConverter&) = delete;
    MKVideoConverter& operator=(const MKVideoConverter&) = delete;

    // False skips the hardware ways; true at first.
    void SetHardwareConversion(bool enable) { hardwareConversion = enable; }
    // By the first way that succeeds, the cheapest first. dst tells the format wanted and has buffers already. 0 or
    // more: dst is ready. Negative: the failure of the last way, -12 for formats that cannot be converted.
    int Convert(const AVFrame* src, AVFrame* dst);

private:
    // What the kept objects were made for, at one end.
    struct Key {
        int width = 0;
        int height = 0;
        int format = -1;         // AVPixelFormat, never one of the full-range kind
        int softwareFormat = -1; // AVPixelFormat of what a frame on a device holds, else -1
        bool fullRange = false;
        int primaries = 0; // AVColorPrimaries
        MKHardwareWays::Device device{};

        bool operator==(const Key& other) const;
    };

    Key KeyOf(const AVFrame* frame) const;
    void Rekey(const AVFrame* src, const AVFrame* dst);
    int ConvertOnDevice(const AVFrame* src, AVFrame* dst);
    int SWTransferAndConvert(const AVFrame* src, AVFrame* dst);
    int TransferAndConvert(const AVFrame* src, AVFrame* dst);
    int ConvertInMemory(const AVFrame* src, AVFrame* dst);

    const std::unique_ptr<MKHardwareWays> hardware; // null without such ways
    bool hardwareConversion = true;
    bool swTransferFailed = false; // set while the way is tried; stays set if it fails, so that it is skipped then
    Key srcKey;
    Key dstKey;
    SwsContext* sws = nullptr;  // owned
    AVFrame* srcTemp = nullptr; // owned; in system memory, for transfers
    AVFrame* dstTemp = nullptr; // likewise
};

// A converter with the ways of this platform. Which source defines it is decided when the build is configured.
std::unique_ptr<MKVideoConverter> mkMakeVideoConverter();

// The SWS_CS_ value of the matrix that goes with these primaries (AVColorPrimaries).
int GetSWS_CS(int primaries);

#endif
