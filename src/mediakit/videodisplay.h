// The node that shows video frames in time on a surface that the host supplies. MIT licence.
#ifndef QXSPEECH_MEDIAKIT_VIDEODISPLAY_H
#define QXSPEECH_MEDIAKIT_VIDEODISPLAY_H

#include "mediakit.h"

class MKVideoDisplayImpl;

// Where pictures go. A host derives from it, makes and deletes it; it outlives the display that it was given to.
// AllocateFrame comes from a stream's read thread, Write and Present from its write thread, with the display's lock
// held: they must not call the display; the transform or player above it refuses most calls from there. The others come
// from any of its threads.
class QXSPEECH_API MKVideoSurface
{
public:
    MKVideoSurface() = default;
    virtual ~MKVideoSurface() = default;
    MKVideoSurface(const MKVideoSurface&) = delete;
    MKVideoSurface& operator=(const MKVideoSurface&) = delete;

    // Takes the frame (not owned, good until Present has returned), which is due at dueTime: microseconds of
    // av_gettime_relative.
    virtual void Write(MKFrame* frame, int64_t dueTime) = 0;
    // Shows what the last Write took.
    virtual void Present() = 0;
    // In pixels; frames come in this size and format.
    virtual void GetSize(int* width, int* height) = 0;
    virtual MKPixelFormat GetFormat() = 0;
    // Gives a frame (not owned) buffers for a picture of this surface. It may hold those of a picture that was shown,
    // which MKFrame::Allocate keeps if they fit.
    virtual bool AllocateFrame(MKFrame* frame) = 0;
    // How many frames a queue in front of this surface holds.
    virtual int GetBufferSize() = 0;

protected:
    friend class MKVideoDisplayImpl;
    // What the stream holds before it is converted for this surface; set when the stream opens.
    MKStreamParameters input;
};

// Shows frames as its only stream, index 0: each at its time by the time stamps, pulled toward a clock if one is set
// and has moved since the last frame; a frame that is more than 10 ms late is dropped. Made with new and deleted by
// whoever made it. Write belongs to one thread, the rest is for any. Without a surface a stream does not open, and
// nothing waits in front of it.
class QXSPEECH_API MKVideoDisplay : public MKConsumer
{
public:
    MKVideoDisplay();
    ~MKVideoDisplay() override;

    // Not owned, outlives this display.
    void SetSurface(MKVideoSurface* surface);
    // The clock to follow, null for none. Taken over if owned, else it outlives this display; an owned one that was set
    // before is deleted. Its GetTime is called with this display's lock held.
    void SetClock(MKClock* clock, bool owned);
    // Between the two no time passes for the stream; a frame whose wait has begun is still shown. Always true.
    bool Pause();
    bool Resume();
    // The next frame counts as a first one, whatever the time stamp of the last; for a graph that is started again.
    void Restart();
    // True ends the wait of a Write under way, and until false, Restart or OpenStream no Write waits and no frame is
    // shown: a frame may be due in an hour, and whoever ends the threads waits for its Write.
    void SetInterrupted(bool interrupt);

    bool Open() override;
    bool Close() override;
    // Always 0: the stream is not counted.
    int GetStreamCount() override;
    MKMediaType GetStreamType(size_t index) override;
    // Tells the surface what comes in, and writes back what the surface wants.
    bool OpenStream(size_t index, MKStreamParameters* params) override;
    bool QueryStreamParameters(size_t index, MKStreamParameters* params) override;
    // Ends the wait of a Write.
    bool CloseStream(size_t index) override;
    bool IsStreamOpened(size_t index) override;
    bool DiscardStream(size_t index, bool discard) override;
    bool IsStreamDiscarded(size_t index) override;
    int64_t GetDuration() override;
    int64_t GetStreamDuration(size_t index) override;
    // The time stamp of the frame that came in last.
    int64_t GetStreamTimeStamp(size_t index) override;
    bool AllocateFrame(size_t index, MKFrame* frame) override;
    int GetBufferSize(size_t index) override;
    // Blocks until the frame was shown at its time. 1: shown or dropped; 0: closed or interrupted meanwhile, not shown.
    int Write(size_t index, MKFrame* frame) override;

private:
    MKVideoDisplayImpl* Impl() const;
};

#endif
