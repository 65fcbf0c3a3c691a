// A provider and a consumer that count and do as they are told, to stand at the two ends of a transform. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_MEDIANODES_H
#define QXSPEECH_TESTS_SUPPORT_MEDIANODES_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

#include "mediakit/mediakit.h"

// Threads pass it while it is open, and otherwise wait until it is opened or closed for good by an allowance.
class Valve
{
public:
    void Shut();
    void Open();
    // Lets so many pass a shut valve.
    void Allow(int count);
    void Pass();
    // Until so many threads stand before the shut valve; false after half a minute.
    bool AwaitWaiting(int count = 1);

private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    bool m_open = true;
    int m_allowed = 0;
    int m_waiting = 0;
};

// What a provider is to do, and what became of it. Outlives the provider, which a transform deletes.
struct Source {
    struct Stream {
        MKMediaType type = MKMediaAudio;
        int frames = 0;        // then Read gives -1
        int failReadAt = -1;   // this Read gives -5 instead
        int spoilFrameAt = -1; // this frame has a layout that nobody can convert
        int zeroEvery = 0;     // each so-manieth Read gives 0
        bool opens = true;
    };
    std::vector<Stream> streams;
    bool opens = true;
    Valve valve;                          // passed by each Read
    std::atomic<int> readMicroseconds{0}; // at most; the time is random

    std::atomic<int> alive{0};
    std::atomic<int> inside{0}; // threads inside Read
    std::atomic<int> reads{0};
    std::atomic<int> discarded{0}; // streams
};

// What a consumer is to do, and what it got.
struct Sink {
    int bufferSize = 4;
    int failWriteAt = -1;    // by the number of the Write, over all streams
    int failAllocateAt = -1; // by the number of the AllocateFrame
    int refuseStream = -1;   // OpenStream of this index
    int keepEvery = 0;       // each so-manieth frame is referenced for later, from the first
    bool opens = true;
    Valve valve;                           // passed by each Write
    std::atomic<int> writeMicroseconds{0}; // at most; the time is random

    std::atomic<int> alive{0};
    std::atomic<int> inside{0}; // threads inside Write
    std::atomic<int> writes{0};
    std::atomic<int> allocations{0};

    // The first sample of each frame that was written to a stream.
    std::vector<int> Written(size_t stream) const;
    // Until so many Writes have begun; false after half a minute.
    bool AwaitWrites(int count) const;

    mutable std::mutex lock;
    std::vector<std::vector<int>> written;      // guarded by lock
    std::vector<std::shared_ptr<AVFrame>> kept; // guarded by lock
};

// 16-bit stereo at 48000 Hz in frames of 32 samples; all samples of a frame hold its number.
constexpr int kTestFrameSize = 32;

class ScriptedProvider : public MKProvider
{
public:
    explicit ScriptedProvider(Source& source);
    ~ScriptedProvider() override;

    bool Open() override { return m_source.opens; }
    bool Close() override { return true; }
    int GetStreamCount() override { return static_cast<int>(m_source.streams.size()); }
    MKMediaType GetStreamType(size_t index) override { return m_source.streams.at(index).type; }
    bool OpenStream(size_t index, MKStreamParameters* params) override;
    bool QueryStreamParameters(size_t index, MKStreamParameters* params) override;
    bool CloseStream(size_t) override { return true; }
    bool IsStreamOpened(size_t index) override { return m_source.streams.at(index).opens; }
    bool DiscardStream(size_t index, bool discard) override;
    int64_t GetDuration() override { return 0; }
    int64_t GetStreamDuration(size_t) override { return 0; }
    int64_t GetStreamTimeStamp(size_t) override { return 0; }
    bool Seek(int64_t) override { return false; }
    int Read(size_t index, MKFrame* frame) override;

private:
    Source& m_source;
    std::vector<int> m_nextFrame;
    std::vector<int> m_readCount;
};

class ScriptedConsumer : public MKConsumer
{
public:
    explicit ScriptedConsumer(Sink& sink);
    ~ScriptedConsumer() override;

    bool Open() override { return m_sink.opens; }
    bool Close() override { return true; }
    int GetStreamCount() override { return m_streams; }
    MKMediaType GetStreamType(size_t) override { return MKMediaAudio; }
    bool OpenStream(size_t index, MKStreamParameters* params) override;
    bool QueryStreamParameters(size_t index, MKStreamParameters* params) override;
    bool CloseStream(size_t) override { return true; }
    bool IsStreamOpened(size_t index) override { return static_cast<int>(index) < m_streams; }
    int64_t GetDuration() override { return 0; }
    int64_t GetStreamDuration(size_t) override { return 0; }
    int64_t GetStreamTimeStamp(size_t) override { return 0; }
    bool AllocateFrame(size_t index, MKFrame* frame) override;
    int GetBufferSize(size_t) override { return m_sink.bufferSize; }
    int Write(size_t index, MKFrame* frame) override;

private:
    Sink& m_sink;
    int m_streams = 0;
};

// Asks until it is so; false after half a minute.
template <class Condition>
bool Await(Condition condition)
{
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    std::mutex lock;
    std::condition_variable never;
    std::unique_lock<std::mutex> hold(lock);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > limit)
            return false;
        never.wait_for(hold, std::chrono::milliseconds(1));
    }
    return true;
}

#endif
