// PortAudio's functions as a test wants them to behave. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_PORTAUDIO_DOUBLE_H
#define QXSPEECH_TESTS_SUPPORT_PORTAUDIO_DOUBLE_H

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <portaudio.h>
#include <string>
#include <vector>

// A program that lists portaudio_double.cpp among its sources gets these functions in the place of the library's, since
// its own come first. One object for the process. The settings are made by the test's thread while no stream is used,
// but for the atomic ones.
class PortAudioDouble
{
public:
    struct Device {
        std::string name;
        int hostApi; // 0 "ALSA", 1 "OSS", any other: unknown
        int inputs;
        int outputs;
        double rate;
        double lowInputLatency;   // seconds
        double highOutputLatency; // seconds
        PaDeviceInfo info;        // made from the others
    };
    // What a stream was opened with.
    struct Open {
        bool isInput;
        PaStreamParameters parameters;
        double rate;
        unsigned long frames;
        PaStreamFlags flags;
        bool hasCallback;
    };

    static PortAudioDouble& Get();
    // Everything as at the start: ALSA devices 0 "Speakers" (2 outputs, 44100 Hz), 1 "Speakers" (8 outputs, 48000 Hz)
    // and 2 "Microphone" (2 inputs, 48000 Hz); defaults 0 and 2; the clock stands at 100 s.
    void Reset();

    std::vector<Device> devices;
    int countOverride = 0; // if negative, what Pa_GetDeviceCount answers
    std::atomic<int> defaultInput{2};
    std::atomic<int> defaultOutput{0};

    int refusedOpens = 0;                                                // so many configurations are refused first
    std::function<bool(const PaStreamParameters&, double rate)> accepts; // empty: all
    PaTime latency = 0.03;                                               // reported by a stream, seconds
    double reportedRate = 0;                                             // 0: the rate it was opened with
    PaError startResult = paNoError;
    PaError stopResult = paNoError;
    PaError closeResult = paNoError;

    // Runs inside of Pa_WriteStream before it takes the samples; n counts from 1. May block. Its answer is the result.
    std::function<PaError(int n)> onWrite;
    // Above 0: the clock runs that many times as fast as time, and a write returns when its samples but for the
    // latency's worth have been played. 0: the clock stands where SetTime puts it, and writes return at once.
    double timeScale = 0;
    // The device is unplugged: opening and writing fail.
    std::atomic<bool> vanished{false};

    void SetTime(PaTime seconds) { m_time = seconds; }
    // Calls the callback of the open input stream on this thread, as PortAudio's would.
    int Feed(const void* input, unsigned long frames, PaTime recordedAt);

    // What happened.
    std::vector<Open> Opens();
    // "open", "start", "stop", "abort", "close", in order.
    std::vector<std::string> Calls();
    // The samples of all writes; planes one after the other within a write.
    std::vector<uint8_t> Written();
    int OpenStreams();
    std::chrono::steady_clock::time_point StoppedAt(); // of the last Pa_StopStream

    // One open stream, made by Pa_OpenStream.
    struct Stream {
        Open open;
        PaStreamCallback* callback;
        void* userData;
        PaStreamInfo info;
        bool isStopped;
        std::chrono::steady_clock::time_point started;
        double written; // samples per channel since the start
    };

    // For the functions.
    const PaDeviceInfo* Info(PaDeviceIndex device);
    PaError OpenStream(PaStream** stream, const Open& open, PaStreamCallback* callback, void* userData);
    PaError EndStream(PaStream* stream, const char* call, PaError result);
    PaError CloseStream(PaStream* stream);
    PaError StartStream(PaStream* stream);
    PaError IsStopped(PaStream* stream);
    const PaStreamInfo* StreamInfo(PaStream* stream);
    PaTime Time(PaStream* stream);
    PaError Write(PaStream* stream, const void* buffer, unsigned long frames);

private:
    Stream* Find(PaStream* stream); // under m_lock
    PaTime TimeOf(const Stream& stream) const;
    void Keep(const Stream& stream, const void* buffer, unsigned long frames);

    std::mutex m_lock;
    // guarded by m_lock
    std::list<Stream> m_streams;
    std::vector<Open> m_opens;
    std::vector<std::string> m_calls;
    std::vector<uint8_t> m_written;
    int m_writes = 0;
    std::chrono::steady_clock::time_point m_stoppedAt;

    std::atomic<PaTime> m_time{100.0};
};

#endif
