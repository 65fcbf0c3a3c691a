// One PortAudio stream: a device that frames are written to, or that fills a queue with recorded ones. MIT licence.
#ifndef QXSPEECH_MEDIAKIT_PORTAUDIOSTREAM_H
#define QXSPEECH_MEDIAKIT_PORTAUDIOSTREAM_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <portaudio.h>
#include <string>
#include <vector>
#include <wx/string.h>

#include "common/devicethread.h"
#include "mediakit/circularqueue.h"
#include "mediakit/failurerecord.h"
#include "mediakit/mediakit.h"

constexpr char kNoAnswer[] = "The audio device does not answer."; // a failure's reason

struct AVFrame;
struct MKAudioCandidate;

enum MKPortAudioState : int32_t {
    MKPortAudioClosed = -1,
    MKPortAudioOpened = 0,  // by OpenStream
    MKPortAudioStarted = 1, // by StartStream from anywhere, by ResumeStream from paused
    MKPortAudioPaused = 2,  // by PauseStream from started; the device runs on
    MKPortAudioStopped = 3, // by StopStream from anywhere
};

// The base of the audio nodes. One thread opens, starts, pauses, stops and closes; an output has a writing thread, an
// input a reading one and PortAudio's, which calls __OnPaStreamInputCallback; the clock, the level and the queries are
// for any thread. No Write may be under way in CloseStream. Results are 0 (Write, Read: 1) on success, -2 wrong state
// or the device refused, -22 wrong argument or not open; the reason is in the log.
//
// An output whose device has not come back from a call for kDevicePatience is lost: that call and all later ones fail,
// StopStream and CloseStream return, and its clock runs on by itself. OpenStream wants a CloseStream before, as ever.
//
// Locks: stateLock is held for short stretches and never while PortAudio blocks. callbackLock, held for one block of
// the callback, comes before stateLock and readLock; those two and the queue's are never held together.
class MKPortAudio
{
public:
    explicit MKPortAudio(bool input);
    virtual ~MKPortAudio();
    MKPortAudio(const MKPortAudio&) = delete;
    MKPortAudio& operator=(const MKPortAudio&) = delete;

    // For the next OpenStream.
    void SetDevice(const std::string& id) { deviceName = id; }
    // For the next OpenStream: a record that others share, in the place of its own.
    void SetFailures(const std::shared_ptr<MKFailureRecord>& record) { failures = record; }
    // Why the device did not open or start, or failed; OpenStream and StartStream clear it. Any thread.
    MKFailure GetLastFailure() const { return failures->Get(); }
    // Tries all configurations of the device until one opens, and writes it back.
    int OpenStream(MKStreamParameters* params);
    int CloseStream();
    int StartStream();
    // An output first waits until what was written has been heard: the latency and 20 ms at most after the end of the
    // last write. An input ends at once, and so does a wait in Read.
    int StopStream();
    int PauseStream();
    int ResumeStream();
    int QueryStreamParameters(MKStreamParameters* params);
    bool IsStreamOpen();
    // Blocks until the device has taken the samples of frame (not owned), which are in the opened format.
    int Write(MKFrame* frame);
    // Copies the next recorded frame into frame (not owned). 0: none came within 100 ms; -1: not started; -2: the
    // device gives no more; -12: no memory.
    int Read(MKFrame* frame);

    // Microseconds: what has been written, less the latency, and smooth while a write is under way. Below 0 at the
    // start.
    int64_t GetPlayTime();
    // Microseconds written or recorded since the start.
    int64_t GetSampleTime();
    // 0 to 1.
    double GetInputLevel() const { return inputLevel; }

    // The body of PortAudio's callback for an input.
    int __OnPaStreamInputCallback(const void* input, unsigned long frameCount,
                                  const PaStreamCallbackTimeInfo* timeInfo);

private:
    // What the device's thread has in hand.
    struct Handle {
        PaStream* stream = nullptr; // from Pa_OpenStream to Pa_CloseStream

        PaError Close();
    };
    // One write's samples as PortAudio takes them.
    struct Samples {
        std::vector<uint8_t> bytes;
        std::vector<const void*> planes; // into bytes; empty if interleaved

        const void* Get() const { return planes.empty() ? static_cast<const void*>(bytes.data()) : planes.data(); }
    };

    static constexpr int kFailed = -2;
    static constexpr int kInvalid = -22;

    enum class Block { Recorded, QueueFull, Abort };
    // What one call of the callback still has to put into the queue, in samples per channel.
    struct Recording {
        const void* input;
        int64_t frameCount;
        int64_t compensate; // silence that goes before the data
        int64_t taken;      // 0, or all of frameCount
    };

    static int OnPaStream(const void* input, void* output, unsigned long frameCount,
                          const PaStreamCallbackTimeInfo* timeInfo, PaStreamCallbackFlags flags, void* self);

    // Records why the device cannot be used; -2.
    int Refuse(const std::string& reason)
    {
        failures->Set(MKFailureDevice, reason);
        return kFailed;
    }
    wxString Direction() const { return isInput ? "input" : "output"; }
    PaDeviceIndex FindDevice() const;
    PaStream* Probe(PaDeviceIndex index, const PaDeviceInfo& info, const MKStreamParameters& wanted,
                    MKAudioCandidate* opened);
    PaStream* TryOpen(PaDeviceIndex index, const PaDeviceInfo& info, const MKAudioCandidate& candidate, int32_t frames);
    PaError OpenPaStream(const PaStreamParameters& side, double rate, int32_t frames);
    bool StartDeviceThread();
    PaError OnDevice(const std::function<PaError()>& call, std::chrono::microseconds duration = {});
    void LoseDevice();
    bool IsLost();
    PaTime StreamTime();
    PaStream* OpenDevice(const MKStreamParameters& wanted, MKAudioCandidate* opened);
    void TakeOver(PaStream* opened, const MKAudioCandidate& candidate, MKStreamParameters* wanted);
    void Adopt(PaStream* opened);
    PaStream* GetStream();
    void Pack(const AVFrame& frame);
    int WritePacked(int64_t count);
    void AwaitHeard();
    void EndDevice();

    int64_t MissingSamples(PaTime recordedAt);
    Block RecordBlock(Recording& recording);
    int32_t NextBlockSize(Recording& recording);
    void FillBlock(AVFrame& frame, int32_t size, const Recording& recording);
    void UpdateLevel(const AVFrame& frame);
    void OpenReading();
    void CloseReading();
    bool HasVanished();

    // set before the stream opens
    std::string deviceName; // empty: the default device
    const bool isInput;
    std::shared_ptr<MKFailureRecord> failures; // never null

    // set while the stream opens
    MKStreamParameters params;
    PaSampleFormat paFormat = paCustomFormat;
    int64_t latency = 0;        // microseconds
    int32_t sampleRate = 48000; // samples per second
    std::unique_ptr<CircularQueue<MKFrame>> inputQueue;

    std::mutex stateLock;
    // guarded by stateLock; the times are seconds of the stream's clock, -1.0 where there is none
    int32_t state = MKPortAudioClosed;
    PaStream* stream = nullptr; // used without the lock by its own threads
    int64_t sampleCount = 0;    // samples per channel since the start
    PaTime startTime = -1.0;
    PaTime pausedTotal = 0;
    PaTime pauseStart = -1.0;
    PaTime writeStart = -1.0; // of the write under way
    std::chrono::steady_clock::time_point writeStartedAt;
    int64_t writeCount = 0;  // samples per channel in that write
    bool hasWritten = false; // since the start
    bool isRunning = false;  // the device was started and not yet stopped
    bool hasFailed = false;  // a write has, or the input has ended, since the start
    bool isLost = false;     // the device's thread was left behind with the stream, which only it may use from then on
    std::chrono::steady_clock::time_point lastWriteEnd;

    std::mutex callbackLock;

    std::mutex readLock;
    std::condition_variable readChange;
    // guarded by readLock
    bool isReadable = false; // from start to stop
    bool isReading = false;  // a slot is being copied
    size_t recordedCount = 0;

    std::atomic<double> inputLevel{0.0};
    // by PortAudio's thread; by the others only while it does not run
    double levelSum = 0;
    double levelCount = 0;

    // Every call on an output's device is made by a thread that can be left behind with it, and with what it uses. An
    // input has none.
    std::unique_ptr<qxDeviceThread> device; // from opening to closing
    std::shared_ptr<Handle> handle;         // never null; the thread's alone once it is left
    std::shared_ptr<Samples> packed;        // never null; writing thread, while no write is under way
};

#endif
