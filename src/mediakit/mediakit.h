// The vocabulary of the media kit: stream parameters, formats, frames, nodes and clocks.
// MIT licence.
#ifndef QXSPEECH_MEDIAKIT_MEDIAKIT_H
#define QXSPEECH_MEDIAKIT_MEDIAKIT_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "../common/export.h"

// Times in the kit are signed 64-bit microseconds; FFmpeg's AV_NOPTS_VALUE means "not set". A stream is addressed by an
// index that is local to its node. Nodes throw nothing: operations answer false or a negative number, where -1 is
// end of stream (from Read), -2 no such thing or wrong state, -11 not yet, -12 out of memory, -22 invalid argument; the
// reason stands in the log.

struct AVFrame;
struct AVCodecParameters;
class MKNodeImpl;
class MKNodeStreamClock;

enum MKMediaType : int32_t {
    MKMediaNone = 0, // data, attachments, unknown; a filter sets it to refuse a stream
    MKMediaAudio = 1,
    MKMediaVideo = 2,
    MKMediaSubtitle = 4,
};

// Values of MKStreamParameters::codec that have a name here; 32767 stands for any other codec.
enum MKCodecId : int32_t {
    MKCodecPcmS16LE = 0,
    MKCodecPcmS16BE = 1,
    MKCodecMp3 = 2,
    MKCodecAac = 4,
    MKCodecH264 = 10001,
    MKCodecHevc = 10002,
    MKCodecVp8 = 10003,
    MKCodecVp9 = 10004,
    MKCodecRawVideo = 10007,
    MKCodecOther = 32767,
};

// Values of MKStreamParameters::format for audio. A planar format is the interleaved one plus 100. The 24 bits of S24
// stand in the upper bits of 32.
enum MKSampleFormat : int32_t {
    MKSampleU8 = 0,
    MKSampleS16 = 1,
    MKSampleS24 = 2,
    MKSampleS32 = 3,
    MKSampleS64 = 4,
    MKSampleFloat = 5,
    MKSampleDouble = 6,
    MKSampleU8Planar = 100,
    MKSampleS16Planar = 101,
    MKSampleS24Planar = 102,
    MKSampleS32Planar = 103,
    MKSampleS64Planar = 104,
    MKSampleFloatPlanar = 105,
    MKSampleDoublePlanar = 106,
    MKSampleUnknown = 200,
};

// Values of MKStreamParameters::format for video, named as in FFmpeg.
enum MKPixelFormat : int32_t {
    MKPixelYuv420P = 0,
    MKPixelNv12 = 1,
    MKPixelRgb24 = 2,
    MKPixelRgba = 3,
    MKPixelRgb0 = 4,
    MKPixelBgr24 = 5,
    MKPixelBgra = 6,
    MKPixelBgr0 = 7,
    MKPixelArgb = 8,
    MKPixel0Rgb = 9,
    MKPixelVideoToolbox = 10,
    MKPixelD3D11Nv12 = 11, // a Direct3D 11 texture
    MKPixelD3D11Bgr0 = 12, // a Direct3D 11 texture
    MKPixelYuyv422 = 13,
    MKPixelP010LE = 14,
    MKPixelP016LE = 15,
    MKPixelUyvy422 = 16,
    MKPixelUnknown = 32767,
};

// A colour space goes by the numbers of Windows' DXGI_COLOR_SPACE_TYPE (0 to 24, -1 for custom), so that it can be
// handed to Direct3D 11 as it stands. Source: Microsoft's dxgicommon.h.
using MKColorSpace = int32_t;
constexpr MKColorSpace MKColorSpaceRgbFull709 = 0;
constexpr MKColorSpace MKColorSpaceRgbStudio709 = 2;
constexpr MKColorSpace MKColorSpaceYuvStudio709 = 8;
constexpr MKColorSpace MKColorSpaceYuvFull709 = 9;

// What a stream carries, or is to carry. A plain record, copied by value.
struct MKStreamParameters {
    int32_t type = MKMediaNone; // MKMediaType
    int32_t codec = -1;         // MKCodecId
    int32_t format = -1;        // MKSampleFormat or MKPixelFormat
    int32_t width = 0;          // pixels
    int32_t height = 0;         // pixels
    int32_t channels = 0;
    int32_t frameSize = 0; // audio samples per channel in one frame; below 1: no fixed size
    int32_t rateNum = 0;   // audio: samples per second; video: denominator of the time base
    int32_t rateDen = 1;   // audio: 1; video: numerator of the time base
    int32_t bitRate = 0;   // bits per second, the low 32 bits
    int32_t colorSpace = MKColorSpaceYuvStudio709;
};

enum MKFailureCategory : int32_t {
    MKFailureNone = 0,
    MKFailureDevice = 1, // the audio device is missing, refuses, failed or no longer answers
    MKFailureFile = 2,   // the media does not open, or holds nothing that can be played
};

// Why something did not open or came to an end before its time. A plain record, copied by value.
struct MKFailure {
    MKFailureCategory category = MKFailureNone;
    std::string reason; // one English sentence, UTF-8, for a log or a person; empty for none
};

// Fills a record from a stream's codec parameters (neither owned); other media than audio and video leave it as it is.
QXSPEECH_API void FillStreamParameters(MKStreamParameters* params, const AVCodecParameters* codecParameters);
// The colour space that fits the frame's own colour properties best.
QXSPEECH_API MKColorSpace MKColorSpaceFromFrame(const AVFrame* frame);

// Owns one AVFrame. Made and deleted by whoever needs a frame: a queue's slots, a thread's scratch frame. Not copied;
// its data moves only through MKFrameConverter and Swap. One thread at a time.
class QXSPEECH_API MKFrame
{
public:
    MKFrame();
    ~MKFrame();
    MKFrame(const MKFrame&) = delete;
    MKFrame& operator=(const MKFrame&) = delete;

    // The frame, owned by this object; null only when memory ran out. Allocate may replace it.
    AVFrame* GetAVFrame() const;
    // Samples per channel that the frame was last allocated for (the frameSize of the parameters); 0 at first.
    int32_t GetFrameSize() const;
    // Drops the data. The frame then counts as empty, which in a queue means end of stream.
    void Unref();
    // Exchanges what the two hold.
    void Swap(MKFrame& other) noexcept;
    // Microseconds, or AV_NOPTS_VALUE.
    int64_t GetTimeStamp() const;
    // By what the frame holds: a picture, sound, or MKMediaNone.
    MKMediaType GetMediaType() const;
    // Makes buffers that fit the parameters, keeping those that fit already. An audio frame then has room for frameSize
    // samples (192000 without a fixed size) and holds none. False: no memory or no such format; the old buffers may be
    // gone.
    bool Allocate(const MKStreamParameters& params);

private:
    struct Record;
    bool AllocateVideo(const MKStreamParameters& params);
    bool AllocateAudio(const MKStreamParameters& params);

    Record* record; // owned
};

// A place in the graph that offers or takes streams. Made with plain new; an MKTransform that opened it deletes it.
// Threads and waiting are told at each class. Operations on a node that is not open, or with an index that it does not
// have, log why and answer false, 0 or a negative number.
class QXSPEECH_API MKNode
{
public:
    MKNode() = default;
    virtual ~MKNode() = default;
    MKNode(const MKNode&) = delete;
    MKNode& operator=(const MKNode&) = delete;

    virtual bool Open() = 0;
    // Closes all streams and the node.
    virtual bool Close() = 0;
    virtual int GetStreamCount() = 0;
    virtual MKMediaType GetStreamType(size_t index) = 0;
    virtual bool QueryFlag() { return false; }
    // A provider fills the record with what the stream holds; a consumer writes back what it really opened.
    virtual bool OpenStream(size_t index, MKStreamParameters* params) = 0;
    virtual bool QueryStreamParameters(size_t index, MKStreamParameters* params) = 0;
    virtual bool CloseStream(size_t index) = 0;
    virtual bool IsStreamOpened(size_t index) = 0;
    // A discarded stream stays open but gives no more data. A transform does it to a stream that failed, while another
    // thread may be inside Read.
    virtual bool DiscardStream(size_t index, bool discard);
    virtual bool IsStreamDiscarded(size_t index);
    // Microseconds.
    virtual int64_t GetDuration() = 0;
    virtual int64_t GetStreamDuration(size_t index) = 0;
    // The position of the stream, microseconds.
    virtual int64_t GetStreamTimeStamp(size_t index) = 0;
    // Prepares a frame (not owned) for this stream; unless overridden, by the stream's own parameters.
    virtual bool AllocateFrame(size_t index, MKFrame* frame);
    // How many frames a queue in front of this stream holds.
    virtual int GetBufferSize(size_t index);

    // The lowest index from first up with this type, -1 if there is none.
    int FindStream(MKMediaType type, size_t first);
    // A clock that reads this stream's time stamp. The caller owns it; it must not outlive the node.
    MKNodeStreamClock* CreateStreamClock(size_t stream);

protected:
    MKNodeImpl* impl = nullptr; // owned by the class that makes it; null where a class does the work itself
};

// A node that gives frames.
class QXSPEECH_API MKProvider : public MKNode
{
public:
    // To a position in microseconds.
    virtual bool Seek(int64_t timestamp) = 0;
    // Fills frame (not owned): 1 a frame, 0 none now, call again, negative the end of the stream or a failure.
    virtual int Read(size_t index, MKFrame* frame) = 0;
};

// A node that takes frames.
class QXSPEECH_API MKConsumer : public MKNode
{
public:
    // Uses the frame (not owned, stays the queue's) until it returns; it may block for as long as the frame lasts,
    // which is what paces a graph. Negative: failure, which ends the stream.
    virtual int Write(size_t index, MKFrame* frame) = 0;
};

// A time that runs, such as that of the sound that is heard.
class QXSPEECH_API MKClock
{
public:
    MKClock() = default;
    virtual ~MKClock() = default;
    MKClock(const MKClock&) = delete;
    MKClock& operator=(const MKClock&) = delete;

    virtual bool IsRunning() { return false; }
    virtual bool CanPause() { return false; }
    virtual bool CanSeek() { return false; }
    // Microseconds. Any thread.
    virtual int64_t GetTime() = 0;
};

// The time stamp of one stream of a node (not owned, outlives the clock).
class QXSPEECH_API MKNodeStreamClock : public MKClock
{
public:
    MKNodeStreamClock(MKNode* source, size_t index) : node(source), stream(index) {}

    int64_t GetTime() override;

private:
    MKNode* node;
    size_t stream;
};

#endif
