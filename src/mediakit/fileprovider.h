// A node that reads a media file: sound and pictures, decoded. MIT licence.
#ifndef QXSPEECH_MEDIAKIT_FILEPROVIDER_H
#define QXSPEECH_MEDIAKIT_FILEPROVIDER_H

#include <string>

#include "mediakit/mediakit.h"

struct ID3D11Device;
struct ID3D11DeviceContext;
class MKFileProviderImpl;

// Opens a container, a decoder for each stream that is opened, and gives decoded frames with time stamps in
// microseconds. Made with plain new; an MKTransform that opened it deletes it, else whoever made it. Any thread may
// call; each stream is read by one thread, and several may be read at once, one decoding at a time. Questions wait for
// at most one decode, besides an Open or Seek under way. Until Open has succeeded every operation but the setters and
// Close logs why and fails.
class QXSPEECH_API MKFileProvider : public MKProvider
{
public:
    // UTF-8, a path or whatever else FFmpeg opens.
    explicit MKFileProvider(const std::string& fileName);
    ~MKFileProvider() override;

    // Takes effect at the next Open.
    void SetFileName(const std::string& fileName);
    // A device and its immediate context for decoding pictures on it, from the next OpenStream on; both nulls end that.
    // The provider takes a reference to each. False, and nothing kept, where the library has no Direct3D 11.
    bool SetD3D11Device(ID3D11Device* device, ID3D11DeviceContext* context);

    bool Open() override;
    bool Close() override;
    int GetStreamCount() override;
    MKMediaType GetStreamType(size_t index) override;
    bool QueryFlag() override { return false; }
    bool OpenStream(size_t index, MKStreamParameters* params) override;
    bool QueryStreamParameters(size_t index, MKStreamParameters* params) override;
    bool CloseStream(size_t index) override;
    bool IsStreamOpened(size_t index) override;
    // Packets that wait for the stream are dropped, and those that follow are thrown away as they are met.
    bool DiscardStream(size_t index, bool discard) override;
    bool IsStreamDiscarded(size_t index) override;
    // Microseconds; 1 means unknown. Of some files it is known only once a stream was opened.
    int64_t GetDuration() override;
    int64_t GetStreamDuration(size_t index) override;
    // That of the last frame given, AV_NOPTS_VALUE before the first, the place sought after Seek; -2 is failure.
    int64_t GetStreamTimeStamp(size_t index) override;
    bool AllocateFrame(size_t index, MKFrame* frame) override;
    int GetBufferSize(size_t index) override;

    // Goes to a place shortly before timestamp (microseconds): 0.1 s, and 1.1 s within the last second. Frames that
    // were given before stay as they are.
    bool Seek(int64_t timestamp) override;
    // 1: a frame was decoded into frame (not owned). 0: none yet, call again at once; it waits by itself for up to
    // 2 ms while only packets of other streams could be read, so a stream that nobody reads is to be closed or
    // discarded. -1: end of stream, until Seek; a stream of subtitles gives nothing else. -2: not open, no such stream.
    // -22: no frame to decode into.
    int Read(size_t index, MKFrame* frame) override;

private:
    MKFileProviderImpl* Impl() const;
};

#endif
