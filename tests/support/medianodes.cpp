// The ends of a transform under test. MIT licence.
#include "support/medianodes.h"

#include <random>
#include <thread>

extern "C" {
#include <libavutil/frame.h>
}

#include "mediakit/ffmpegcompat.h"

namespace
{

constexpr std::chrono::seconds kPatience(30);

MKStreamParameters TestFormat()
{
    MKStreamParameters params;
    params.type = MKMediaAudio;
    params.format = MKSampleS16;
    params.channels = 2;
    params.frameSize = kTestFrameSize;
    params.rateNum = 48000;
    return params;
}

void Dawdle(int microseconds)
{
    thread_local std::mt19937 random(std::random_device{}());
    if (microseconds > 0)
        std::this_thread::sleep_for(std::chrono::microseconds(random() % static_cast<unsigned>(microseconds)));
}

// Counts a thread in and out.
class Inside
{
public:
    explicit Inside(std::atomic<int>& count) : m_count(count) { ++m_count; }
    ~Inside() { --m_count; }
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;

private:
    std::atomic<int>& m_count;
};

} // namespace

void Valve::Shut()
{
    std::lock_guard<std::mutex> hold(m_lock);
    m_open = false;
}

void Valve::Open()
{
    std::lock_guard<std::mutex> hold(m_lock);
    m_open = true;
    m_changed.notify_all();
}

void Valve::Allow(int count)
{
    std::lock_guard<std::mutex> hold(m_lock);
    m_allowed += count;
    m_changed.notify_all();
}

void Valve::Pass()
{
    std::unique_lock<std::mutex> hold(m_lock);
    ++m_waiting;
    m_changed.notify_all();
    m_changed.wait(hold, [this] { return m_open || m_allowed > 0; });
    --m_waiting;
    if (!m_open)
        --m_allowed;
}

bool Valve::AwaitWaiting(int count)
{
    std::unique_lock<std::mutex> hold(m_lock);
    return m_changed.wait_for(hold, kPatience, [&] { return !m_open && m_allowed == 0 && m_waiting >= count; });
}

std::vector<int> Sink::Written(size_t stream) const
{
    std::lock_guard<std::mutex> hold(lock);
    return stream < written.size() ? written[stream] : std::vector<int>();
}

bool Sink::AwaitWrites(int count) const
{
    return Await([&] { return writes >= count; });
}

ScriptedProvider::ScriptedProvider(Source& source)
    : m_source(source), m_nextFrame(source.streams.size()), m_readCount(source.streams.size())
{
    ++m_source.alive;
}

ScriptedProvider::~ScriptedProvider()
{
    --m_source.alive;
}

bool ScriptedProvider::DiscardStream(size_t, bool discard)
{
    m_source.discarded += discard ? 1 : -1;
    return true;
}

bool ScriptedProvider::OpenStream(size_t index, MKStreamParameters* params)
{
    return m_source.streams.at(index).opens && QueryStreamParameters(index, params);
}

bool ScriptedProvider::QueryStreamParameters(size_t, MKStreamParameters* params)
{
    *params = TestFormat();
    return true;
}

int ScriptedProvider::Read(size_t index, MKFrame* frame)
{
    const Inside inside(m_source.inside);
    ++m_source.reads;
    const Source::Stream& stream = m_source.streams.at(index);
    m_source.valve.Pass();
    Dawdle(m_source.readMicroseconds);
    const int read = m_readCount[index]++;
    if (read == stream.failReadAt)
        return -5;
    if (stream.zeroEvery > 0 && read % stream.zeroEvery == 0)
        return 0;
    const int number = m_nextFrame[index];
    if (number >= stream.frames || !frame->Allocate(TestFormat()))
        return -1;
    ++m_nextFrame[index];
    AVFrame* const data = frame->GetAVFrame();
    data->nb_samples = kTestFrameSize;
    data->pts = number * int64_t{kTestFrameSize} * 1000000 / 48000;
    int16_t* const samples = reinterpret_cast<int16_t*>(data->data[0]);
    for (int i = 0; i < 2 * kTestFrameSize; ++i)
        samples[i] = static_cast<int16_t>(number);
    if (number == stream.spoilFrameAt)
        mkSetFrameChannelLayout(data, 0);
    return 1;
}

ScriptedConsumer::ScriptedConsumer(Sink& sink) : m_sink(sink)
{
    ++m_sink.alive;
}

ScriptedConsumer::~ScriptedConsumer()
{
    --m_sink.alive;
}

bool ScriptedConsumer::OpenStream(size_t index, MKStreamParameters* params)
{
    if (static_cast<int>(index) == m_sink.refuseStream || static_cast<int>(index) != m_streams)
        return false;
    ++m_streams;
    std::lock_guard<std::mutex> hold(m_sink.lock);
    m_sink.written.resize(static_cast<size_t>(m_streams));
    *params = TestFormat();
    return true;
}

bool ScriptedConsumer::QueryStreamParameters(size_t, MKStreamParameters* params)
{
    *params = TestFormat();
    return true;
}

bool ScriptedConsumer::AllocateFrame(size_t, MKFrame* frame)
{
    return m_sink.allocations++ != m_sink.failAllocateAt && frame->Allocate(TestFormat());
}

int ScriptedConsumer::Write(size_t index, MKFrame* frame)
{
    const Inside inside(m_sink.inside);
    const int number = m_sink.writes++;
    m_sink.valve.Pass();
    Dawdle(m_sink.writeMicroseconds);
    if (number == m_sink.failWriteAt)
        return -2;
    std::lock_guard<std::mutex> hold(m_sink.lock);
    m_sink.written.at(index).push_back(reinterpret_cast<const int16_t*>(frame->GetAVFrame()->data[0])[0]);
    if (m_sink.keepEvery > 0 && number % m_sink.keepEvery == 0)
        m_sink.kept.emplace_back(av_frame_clone(frame->GetAVFrame()), [](AVFrame* kept) { av_frame_free(&kept); });
    return 1;
}
