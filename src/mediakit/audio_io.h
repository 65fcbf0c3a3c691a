// The nodes that play to and record from an audio device. MIT licence.
#ifndef QXSPEECH_MEDIAKIT_AUDIO_IO_H
#define QXSPEECH_MEDIAKIT_AUDIO_IO_H

#include <memory>
#include <string>

#include "mediakit.h"

class MKAudioDisplayImpl;
class MKAudioCaptureImpl;
class MKFailureRecord;

// Plays frames on one audio device, as its only stream, index 0. Made with new and deleted by whoever made it; deleting
// closes the device. The host has started PortAudio before. Life of the stream:
//
//   OpenStream -> opened, StartStream -> started <-> paused (PauseStream, ResumeStream), StopStream -> stopped,
//   StartStream again from there, CloseStream -> closed
//
// Opening, starting, pausing, stopping and closing belong to one thread; Write to the writing one, which must have
// left Write before the stream is closed. A device that does not come back from a call for five seconds is left behind
// with a thread of its own: nothing waits longer, all that follows fails, and OpenStream after CloseStream tries anew.
// The operations that only ask, the time stamp above all, are for any thread.
// Before OpenStream there are no parameters, Write fails and the times are those of an empty stream.
class QXSPEECH_API MKAudioDisplay : public MKConsumer
{
public:
    MKAudioDisplay();
    ~MKAudioDisplay() override;

    // The device for the next OpenStream, by an id of MKAudioDeviceManager; empty, as at first, is the default device.
    void SetDevice(const std::string& id);

    bool Open() override;
    bool Close() override;
    int GetStreamCount() override;
    MKMediaType GetStreamType(size_t index) override;
    // Finds a configuration that the device takes, the wanted one first, and writes it back. May take seconds where a
    // device refuses all. Frames to write must come in that configuration.
    bool OpenStream(size_t index, MKStreamParameters* params) override;
    bool QueryStreamParameters(size_t index, MKStreamParameters* params) override;
    bool CloseStream(size_t index) override;
    bool IsStreamOpened(size_t index) override;
    bool DiscardStream(size_t index, bool discard) override;
    bool IsStreamDiscarded(size_t index) override;
    // What has been written since StartStream.
    int64_t GetDuration() override;
    // The same on the time line of the frames' time stamps.
    int64_t GetStreamDuration(size_t index) override;
    // The time stamp of what is heard now. It lags what was written by the device's latency, stands still in a pause,
    // and is below the first frame's at the start; it counts from the first frame after StartStream.
    int64_t GetStreamTimeStamp(size_t index) override;
    bool AllocateFrame(size_t index, MKFrame* frame) override;
    int GetBufferSize(size_t index) override;
    // Blocks until the device has taken the frame's samples. 1, or negative when the device failed, or has not come
    // back for five seconds longer than the samples last.
    int Write(size_t index, MKFrame* frame) override;

    bool StartStream();
    // Waits until what was written has been heard, for the device's latency and 20 ms at most.
    bool StopStream();
    // The clock stands at once; what the device holds already is still heard.
    bool PauseStream();
    bool ResumeStream();
    // Why the device did not open or start, or what ended it while it played; none again from the next OpenStream or
    // StartStream. Any thread.
    MKFailure GetLastFailure() const;

private:
    friend class MKAVDisplay;

    void ShareFailures(const std::shared_ptr<MKFailureRecord>& record); // of the graph, before OpenStream

    MKAudioDisplayImpl* stream; // the same object as impl
};

// Records from one audio device, as its only stream, index 0. Made with new and deleted by whoever made it; deleting
// closes the device. Its life is that of MKAudioDisplay's stream, and so are its threads, with Read in the place of
// Write: Read may be under way while the stream is stopped or closed, which ends its wait.
class QXSPEECH_API MKAudioCapture : public MKProvider
{
public:
    MKAudioCapture();
    ~MKAudioCapture() override;

    // As at MKAudioDisplay.
    void SetDevice(const std::string& id);

    bool Open() override;
    bool Close() override;
    int GetStreamCount() override;
    MKMediaType GetStreamType(size_t index) override;
    // As at MKAudioDisplay; without a frameSize the device chooses how many samples come in a frame.
    bool OpenStream(size_t index, MKStreamParameters* params) override;
    bool QueryStreamParameters(size_t index, MKStreamParameters* params) override;
    bool CloseStream(size_t index) override;
    bool IsStreamOpened(size_t index) override;
    bool DiscardStream(size_t index, bool discard) override;
    bool IsStreamDiscarded(size_t index) override;
    // What has been recorded since StartStream, silence in the place of gaps included.
    int64_t GetDuration() override;
    int64_t GetStreamDuration(size_t index) override;
    int64_t GetStreamTimeStamp(size_t index) override;
    bool AllocateFrame(size_t index, MKFrame* frame) override;
    int GetBufferSize(size_t index) override;
    // Always false: a recording has no positions.
    bool Seek(int64_t timestamp) override;
    // Copies the next recorded frame into frame (not owned), its time stamp counted from StartStream. 1 a frame; 0 none
    // within 100 ms, or in a pause; -1 the stream was stopped, closed or never started; -2 the device is gone.
    int Read(size_t index, MKFrame* frame) override;

    bool StartStream();
    // Ends at once; what was recorded but not read is dropped.
    bool StopStream();
    // What is recorded in a pause is dropped, and the time stamps go on without a gap.
    bool PauseStream();
    bool ResumeStream();
    // The smoothed level of all channels, 0 to 1. Any thread.
    double GetLevel();

private:
    MKAudioCaptureImpl* stream; // the same object as impl
};

#endif
