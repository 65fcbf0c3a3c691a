// Plays a media file: the ready-made graph of a provider, an audio device and a video surface. MIT licence.
#ifndef QXSPEECH_MEDIAKIT_MEDIAPLAYER_H
#define QXSPEECH_MEDIAKIT_MEDIAPLAYER_H

#include <memory>
#include <string>

#include "transform.h"

class MKAudioDisplay;
class MKFailureRecord;
class MKVideoDisplay;
class MKVideoSurface;

// Routes one audio stream to an audio device and one video stream to a surface, which follows the sound. Made with new;
// the transform that opened it deletes it. Streams are opened and closed by one thread while none is written; Write and
// what only asks may then come from any.
class QXSPEECH_API MKAVDisplay : public MKConsumer
{
public:
    MKAVDisplay();
    ~MKAVDisplay() override;

    // For streams that are opened from now on. The device by an id of MKAudioDeviceManager, empty for the default one;
    // the surface is not owned and outlives this display.
    void SetAudioDevice(const std::string& id) { audioDevice = id; }
    void SetSurface(MKVideoSurface* newSurface) { surface = newSurface; }
    // Owned by this display; null while there is no such stream.
    MKAudioDisplay* GetAudioDisplay() const { return audio.get(); }
    MKVideoDisplay* GetVideoDisplay() const { return video.get(); }

    bool Open() override;
    bool Close() override;
    int GetStreamCount() override;
    MKMediaType GetStreamType(size_t index) override;
    // index is the one that the stream is known by from then on. A stream that its display refuses stays, unopened.
    bool OpenStream(size_t index, MKStreamParameters* params) override;
    bool QueryStreamParameters(size_t index, MKStreamParameters* params) override;
    bool CloseStream(size_t index) override;
    bool IsStreamOpened(size_t index) override;
    int64_t GetDuration() override;
    int64_t GetStreamDuration(size_t index) override;
    int64_t GetStreamTimeStamp(size_t index) override;
    bool AllocateFrame(size_t index, MKFrame* frame) override;
    int GetBufferSize(size_t index) override;
    int Write(size_t index, MKFrame* frame) override;

private:
    friend class MKMediaPlayer; // sets failures

    MKConsumer* Display(size_t index) const;
    bool OpenAudio(size_t index, MKStreamParameters* params);
    bool OpenVideo(size_t index, MKStreamParameters* params);

    std::unique_ptr<MKAudioDisplay> audio; // null until an audio stream opens
    size_t audioIndex = 0;
    std::string audioDevice;
    std::unique_ptr<MKVideoDisplay> video; // null until a video stream opens; its clock reads audio
    size_t videoIndex = 0;
    MKVideoSurface* surface = nullptr;
    std::shared_ptr<MKFailureRecord> failures; // null: each display has its own
};

// Plays one file after another: SetProvider, OpenMedia, Play, then ask GetState until it is neither Running nor Paused.
// The first audio stream goes to the device, the first video stream to the surface, if there is one. The host makes and
// deletes it and has started PortAudio. One thread calls, GetState and GetLastFailure also any other; the states are
// those of MKTransform. The end of a file is seen in GetState only, up to a device's latency before its last sound is
// heard; the device runs on until Stop, Close or the next OpenMedia.
class QXSPEECH_API MKMediaPlayer : private MKTransform
{
public:
    MKMediaPlayer();
    // As Close.
    ~MKMediaPlayer() override;

    // For the next OpenMedia. Taken over; one that was set before and not used is deleted.
    void SetProvider(MKProvider* provider);
    // For the next OpenMedia. Not owned, outlives the open graph; null, as at first: video is not played.
    void SetSurface(MKVideoSurface* surface);
    // For the next OpenMedia, by an id of MKAudioDeviceManager; empty, as at first: the default output device.
    void SetAudioDevice(const std::string& id);

    // Closes what is open, then opens the provider and hands it to the graph. False: it does not open, no stream of it
    // can be played, or the device refuses the sound; the reason stands in the log.
    bool OpenMedia();
    // Starts the device, then the threads, from where the provider stands: to seek, call Stop, the provider's Seek,
    // then Play. False: nothing open, already playing, or the device does not start.
    bool Play();

    using MKTransform::Open;
    // Stops, then deletes the graph and a provider that was not used.
    bool Close() override;
    using MKTransform::Start;
    // The clock stands at once; what the device holds already is still heard.
    bool Pause() override;
    bool Resume() override;
    // Waits for a write of sound that is under way (85 ms) and until the device has played what it holds, for no
    // picture's time; for a device that does not answer, five seconds. What is queued is dropped.
    bool Stop() override;

    // Why OpenMedia or Play was refused, or what ended the sound before its time: the device does not open, does not
    // start, fails or is gone (also told by a thread of the graph while it plays), or the media does not open. The
    // first failure stays until the next OpenMedia, or the next Play of what is not playing; Stop, Close and the end
    // of the media leave it. Any thread, also while another call is under way.
    MKFailure GetLastFailure() const;

    using MKTransform::GetConsumer;
    using MKTransform::GetState;
    using MKTransform::SetHardwareConversion;
    using MKTransform::SetPlayTail;

private:
    struct Record;

    MKAVDisplay* Display() const;

    Record* record; // owned
};

#endif
