// A node that reads a media file: sound and pictures, decoded. MIT licence.
#ifndef QXSPEECH_MEDIAKIT_FILEPROVIDER_H
#define QXSPEECH_MEDIAKIT_FILEPROVIDER_H

#include <string>

#include "mediakit.h"

struct ID3D11Device;
struct ID3D11DeviceContext;
class MKFileProviderImpl;

// How the pictures of a stream are meant to be seen; frames come without any of it. In this order: as wide as the
// pixels say, mirrored, turned.
struct MKPictureShape {
    int32_t pixelWidth = 1;  // of a pixel as the file holds it, before it is turned, in proportion to
    int32_t pixelHeight = 1; // its height
    bool isMirrored = false; // left and right are to be exchanged
    int32_t rotation = 0;    // to be turned clockwise by so many degrees: 0, 90, 180 or 270
};

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
    // True: from the next Seek on, Read leaves out the frames that end before the place sought (0 is answered for
    // each). Sound then begins with the frame that holds the place, a picture with the one that is to be seen there;
    // one that is seen there only because no other follows it has the place as its time stamp. False at first.
    void SetExactSeek(bool exact);
    // While one stream is read, packets of others wait: 20 of them, or, if this is true, as many more as make 2 s or
    // 16 MB. A file whose sound lies further from its picture than fits plays with gaps. False at first.
    void SetDeepReadAhead(bool deep);

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
    // That of the last frame given; AV_NOPTS_VALUE before the first; after a Seek, where it went to; -2 is failure.
    int64_t GetStreamTimeStamp(size_t index) override;
    // Of an opened file's stream, opened or not; square pixels, neither mirrored nor turned, where it has no pictures.
    MKPictureShape GetPictureShape(size_t index);
    bool AllocateFrame(size_t index, MKFrame* frame) override;
    int GetBufferSize(size_t index) override;

    // Goes to a place before timestamp (microseconds): 0.1 s before, 1.1 s within the last second, and from there back
    // to where the file can be entered. With pictures that is the key frame before, often seconds earlier, for all
    // streams. Where reading goes on is for SetExactSeek to say. Frames that were given before stay as they are.
    bool Seek(int64_t timestamp) override;
    // 1: a frame was decoded into frame (not owned). 0: none yet, call again at once; it waits by itself for up to
    // 2 ms while only packets of other streams could be read, so a stream that nobody reads is to be closed or
    // discarded. -1: end of stream, until Seek; a stream of subtitles gives nothing else. -2: not open, no such stream.
    // -22: no frame to decode into. A frame that has no time stamp in the file gets one by counting durations from the
    // beginning or the place sought, which stamps in between do not correct: pictures of an AVI file with B-frames get
    // times that go back and forth, and without sound to follow play a third too slowly.
    int Read(size_t index, MKFrame* frame) override;

private:
    MKFileProviderImpl* Impl() const;
};

#endif
