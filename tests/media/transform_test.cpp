// A transform and its threads between a provider and a consumer that do as they are told: states, order and number of
// frames, failures at every place, and calls in any order at any moment. MIT licence.
#include "support/log_capture.h"
#include "support/medianodes.h"

#include <cstdlib>
#include <memory>
#include <numeric>
#include <pthread.h>
#include <random>
#include <system_error>
#include <thread>

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/frame.h>
}

#include "mediakit/transform.h"

namespace
{

constexpr int kEndless = 1 << 30;

void TakeAll(MKStreamParameters*) {}

Source::Stream Stream(int frames)
{
    Source::Stream stream;
    stream.frames = frames;
    return stream;
}

// A transform with its ends; the ends outlive it.
struct Graph {
    explicit Graph(std::vector<Source::Stream> streams = {Stream(kEndless)}, int bufferSize = 4)
        : transform(std::make_unique<MKTransform>())
    {
        source.streams = std::move(streams);
        sink.bufferSize = bufferSize;
    }
    ~Graph()
    {
        source.valve.Open();
        sink.valve.Open();
    }
    Graph(const Graph&) = delete;
    Graph& operator=(const Graph&) = delete;

    bool Open(const std::function<void(MKStreamParameters*)>& filter = TakeAll)
    {
        return transform->Open(new ScriptedProvider(source), new ScriptedConsumer(sink), filter);
    }
    bool AwaitState(MKTransformState state)
    {
        return Await([&] { return transform->GetState() == state; });
    }
    int Nodes() const { return source.alive + sink.alive; }

    Source source;
    Sink sink;
    std::unique_ptr<MKTransform> transform; // the first to go
};

std::vector<int> FirstNumbers(int count)
{
    std::vector<int> numbers(static_cast<size_t>(count));
    std::iota(numbers.begin(), numbers.end(), 0);
    return numbers;
}

unsigned Seed()
{
    const char* const given = std::getenv("QX_SEED");
    const unsigned seed = given ? static_cast<unsigned>(std::strtoul(given, nullptr, 10)) : std::random_device{}();
    std::printf("QX_SEED=%u\n", seed);
    return seed;
}

enum Operation { DoStart, DoPause, DoResume, DoStop, DoClose, DoOpen, kOperations };

const char* const kOperationNames[kOperations] = {"Start", "Pause", "Resume", "Stop", "Close", "Open"};

// What each operation answers in each state, what it leads to and what it says.
struct Edge {
    MKTransformState from;
    Operation operation;
    bool result;
    MKTransformState to;
    const char* message;
};

const char* const kNotReady = "MKTransform not ready";
const char* const kNotRunning = "MKTransform not running";
const char* const kNotPausing = "MKTransform not pausing";

const Edge kEdges[] = {
    {MKTransformClosed, DoStart, false, MKTransformClosed, kNotReady},
    {MKTransformClosed, DoPause, false, MKTransformClosed, kNotRunning},
    {MKTransformClosed, DoResume, false, MKTransformClosed, kNotPausing},
    {MKTransformClosed, DoStop, true, MKTransformClosed, nullptr},
    {MKTransformReady, DoStart, true, MKTransformRunning, nullptr},
    {MKTransformReady, DoPause, false, MKTransformReady, kNotRunning},
    {MKTransformReady, DoResume, false, MKTransformReady, kNotPausing},
    {MKTransformReady, DoStop, true, MKTransformReady, nullptr},
    {MKTransformRunning, DoStart, false, MKTransformRunning, kNotReady},
    {MKTransformRunning, DoPause, true, MKTransformPaused, nullptr},
    {MKTransformRunning, DoResume, false, MKTransformRunning, kNotPausing},
    {MKTransformRunning, DoStop, true, MKTransformStopped, nullptr},
    {MKTransformPaused, DoStart, false, MKTransformPaused, kNotReady},
    {MKTransformPaused, DoPause, false, MKTransformPaused, kNotRunning},
    {MKTransformPaused, DoResume, true, MKTransformRunning, nullptr},
    {MKTransformPaused, DoStop, true, MKTransformStopped, nullptr},
    {MKTransformStopped, DoStart, true, MKTransformRunning, nullptr},
    {MKTransformStopped, DoPause, false, MKTransformStopped, kNotRunning},
    {MKTransformStopped, DoResume, false, MKTransformStopped, kNotPausing},
    {MKTransformStopped, DoStop, true, MKTransformStopped, nullptr},
};

Edge EdgeFor(MKTransformState from, Operation operation)
{
    for (const Edge& edge : kEdges) {
        if (edge.from == from && edge.operation == operation)
            return edge;
    }
    return {from, operation, true, operation == DoOpen ? MKTransformReady : MKTransformClosed, nullptr};
}

bool Do(Graph& graph, int operation)
{
    switch (operation) {
    case DoStart:
        return graph.transform->Start();
    case DoPause:
        return graph.transform->Pause();
    case DoResume:
        return graph.transform->Resume();
    case DoStop:
        return graph.transform->Stop();
    case DoClose:
        return graph.transform->Close();
    default:
        return graph.Open();
    }
}

void Check(Graph& graph, const Edge& edge)
{
    LogCapture log;
    EXPECT_EQ(Do(graph, edge.operation), edge.result);
    EXPECT_EQ(graph.transform->GetState(), edge.to);
    ASSERT_EQ(log.records.size(), edge.message ? 1u : 0u);
    if (edge.message) {
        EXPECT_EQ(log.records[0].text, edge.message);
    }
}

} // namespace

TEST(Transform, EveryOrderOfFiveCallsFollowsTheTableOfStates)
{
    int sequences = 1;
    for (int i = 0; i < 5; ++i)
        sequences *= kOperations;
    for (int sequence = 0; sequence < sequences && !HasFailure(); ++sequence) {
        Graph graph;
        std::string done;
        MKTransformState state = MKTransformClosed;
        for (int rest = sequence, i = 0; i < 5; ++i, rest /= kOperations) {
            const Operation operation = static_cast<Operation>(rest % kOperations);
            const Edge edge = EdgeFor(state, operation);
            done += std::string(" ") + kOperationNames[operation];
            SCOPED_TRACE(done);
            Check(graph, edge);
            state = edge.to;
        }
        graph.transform.reset(); // from whatever state it is in
        ASSERT_EQ(graph.Nodes(), 0);
        ASSERT_EQ(graph.source.inside + graph.sink.inside, 0);
    }
}

TEST(Transform, EveryFrameArrivesInOrderAndThenItReadsStopped)
{
    struct Row {
        int frames;
        int bufferSize;
        int zeroEvery;
    };
    for (const Row& row : {Row{1, 1, 0}, Row{1, 8, 2}, Row{3, 2, 0}, Row{40, 1, 3}, Row{40, 64, 0}, Row{500, 7, 5}}) {
        SCOPED_TRACE(testing::Message() << row.frames << " frames through " << row.bufferSize << " slots");
        Graph graph({Stream(row.frames)}, row.bufferSize);
        graph.source.streams[0].zeroEvery = row.zeroEvery;
        ASSERT_TRUE(graph.Open());
        ASSERT_TRUE(graph.transform->Start());
        ASSERT_TRUE(graph.AwaitState(MKTransformStopped));
        EXPECT_EQ(graph.sink.Written(0), FirstNumbers(row.frames));
        EXPECT_EQ(graph.sink.allocations, row.frames + 1) << "a slot that is given again is not prepared again";
        LogCapture log;
        EXPECT_FALSE(graph.transform->Start()) << "the threads were not joined yet";
        EXPECT_TRUE(graph.transform->Stop());
        EXPECT_TRUE(graph.transform->Start());
    }
}

TEST(Transform, FrameThatAConsumerKeepsStaysAsItWas)
{
    Graph graph({Stream(60)}, 3);
    graph.sink.keepEvery = 3;
    ASSERT_TRUE(graph.Open());
    ASSERT_TRUE(graph.transform->Start());
    ASSERT_TRUE(graph.AwaitState(MKTransformStopped));
    EXPECT_EQ(graph.sink.Written(0), FirstNumbers(60));
    ASSERT_EQ(graph.sink.kept.size(), 20u);
    for (size_t i = 0; i < graph.sink.kept.size(); ++i) {
        const AVFrame& frame = *graph.sink.kept[i];
        ASSERT_EQ(frame.nb_samples, kTestFrameSize);
        const auto* const samples = reinterpret_cast<const int16_t*>(frame.data[0]);
        EXPECT_EQ(samples[0], static_cast<int>(3 * i));
        EXPECT_EQ(samples[2 * kTestFrameSize - 1], static_cast<int>(3 * i));
    }
}

TEST(Transform, ShortFilesAreWrittenWholeEachTime)
{
    Graph graph({Stream(2)}, 3);
    for (int round = 0; round < 500; ++round) {
        ASSERT_TRUE(graph.Open());
        ASSERT_TRUE(graph.transform->Start());
        ASSERT_TRUE(graph.AwaitState(MKTransformStopped));
        ASSERT_EQ(graph.sink.Written(0).size(), 2u) << "round " << round;
        graph.transform->Close();
        graph.sink.written.clear();
    }
}

TEST(Transform, StreamWithoutFramesEndsWithoutAWrite)
{
    Graph graph({Stream(0)});
    ASSERT_TRUE(graph.Open());
    ASSERT_TRUE(graph.transform->Start());
    ASSERT_TRUE(graph.AwaitState(MKTransformStopped));
    EXPECT_EQ(graph.sink.writes, 0);
}

TEST(Transform, StreamsRunSideBySideAndItRunsUntilTheLastHasEnded)
{
    Graph graph({Stream(5), Stream(kEndless), Stream(30)});
    ASSERT_TRUE(graph.Open());
    ASSERT_TRUE(graph.transform->Start());
    ASSERT_TRUE(Await([&] { return graph.sink.Written(2).size() == 30 && graph.sink.Written(0).size() == 5; }));
    EXPECT_EQ(graph.transform->GetState(), MKTransformRunning);
    const size_t before = graph.sink.Written(1).size();
    EXPECT_TRUE(Await([&] { return graph.sink.Written(1).size() > before + 10; }));
    EXPECT_TRUE(graph.transform->Pause()) << "ended streams do not mind";
    EXPECT_TRUE(graph.transform->Resume());
    EXPECT_TRUE(graph.transform->Stop());
}

TEST(Transform, QueueBoundsHowFarReadingRunsAhead)
{
    Graph graph({Stream(kEndless)}, 5);
    graph.sink.valve.Shut();
    ASSERT_TRUE(graph.Open());
    ASSERT_TRUE(graph.transform->Start());
    ASSERT_TRUE(graph.sink.valve.AwaitWaiting());
    ASSERT_TRUE(Await([&] { return graph.source.reads >= 6; }));
    graph.sink.valve.Allow(20);
    ASSERT_TRUE(Await([&] { return graph.sink.Written(0).size() == 20; }));
    ASSERT_TRUE(graph.sink.valve.AwaitWaiting());
    // Five slots, one frame that waits for a slot, and what the converter holds back.
    EXPECT_LE(graph.source.reads, 20 + 5 + 1 + 3);
}

TEST(Transform, NothingIsWrittenWhilePausedAndNothingIsLost)
{
    Graph graph({Stream(200)});
    graph.sink.valve.Shut();
    ASSERT_TRUE(graph.Open());
    ASSERT_TRUE(graph.transform->Start());
    ASSERT_TRUE(graph.sink.valve.AwaitWaiting());
    ASSERT_TRUE(graph.transform->Pause());
    graph.sink.valve.Open(); // the write that is under way comes to its end, no other begins
    ASSERT_TRUE(Await([&] { return graph.sink.Written(0).size() == 1; }));
    EXPECT_FALSE(graph.sink.inside > 0 && graph.sink.writes > 1);
    graph.sink.valve.Shut();
    ASSERT_TRUE(graph.transform->Resume());
    ASSERT_TRUE(graph.sink.valve.AwaitWaiting());
    EXPECT_EQ(graph.sink.writes, 2) << "the first write since the pause began";
    graph.sink.valve.Open();
    ASSERT_TRUE(graph.AwaitState(MKTransformStopped));
    EXPECT_EQ(graph.sink.Written(0), FirstNumbers(200));
}

TEST(Transform, StreamThatComesToItsEndInAPauseEndsOnlyOnResume)
{
    Graph graph({Stream(1)});
    graph.source.valve.Shut();
    ASSERT_TRUE(graph.Open());
    ASSERT_TRUE(graph.transform->Start());
    ASSERT_TRUE(graph.source.valve.AwaitWaiting());
    ASSERT_TRUE(graph.transform->Pause());
    graph.source.valve.Open();
    ASSERT_TRUE(Await([&] { return graph.source.inside == 0; }));
    EXPECT_EQ(graph.transform->GetState(), MKTransformPaused);
    EXPECT_EQ(graph.sink.writes, 0);
    ASSERT_TRUE(graph.transform->Resume());
    ASSERT_TRUE(graph.AwaitState(MKTransformStopped));
    EXPECT_EQ(graph.sink.writes, 1);
}

// Each row leaves one thread behind in a slot that nobody would give it.
TEST(Transform, FailureAtEitherEndEndsTheStreamWithoutAStop)
{
    struct Row {
        const char* label;
        int failWriteAt;
        int failAllocateAt;
        int failReadAt;
        int spoilFrameAt;
        int bufferSize;
    };
    const Row rows[] = {
        {"first write, reader waits for room", 0, -1, -1, -1, 1},
        {"sixth write", 5, -1, -1, -1, 3},
        {"late write, large queue", 50, -1, -1, -1, 200},
        {"first allocation, writer waits for data", -1, 0, -1, -1, 4},
        {"tenth allocation", -1, 9, -1, -1, 4},
        {"first read", -1, -1, 0, -1, 4},
        {"seventh read", -1, -1, 6, -1, 1},
        {"first conversion", -1, -1, -1, 0, 4},
        {"ninth conversion", -1, -1, -1, 8, 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.label);
        for (int round = 0; round < 100; ++round) {
            Graph graph({Stream(kEndless)}, row.bufferSize);
            graph.sink.failWriteAt = row.failWriteAt;
            graph.sink.failAllocateAt = row.failAllocateAt;
            graph.source.streams[0].failReadAt = row.failReadAt;
            graph.source.streams[0].spoilFrameAt = row.spoilFrameAt;
            ASSERT_TRUE(graph.Open());
            ASSERT_TRUE(graph.transform->Start());
            ASSERT_TRUE(graph.AwaitState(MKTransformStopped));
            ASSERT_EQ(graph.source.inside + graph.sink.inside, 0);
        }
    }
}

TEST(Transform, FailedStreamIsDiscardedUntilItIsStartedAgain)
{
    Graph graph({Stream(20), Stream(20)});
    graph.sink.failWriteAt = 3;
    ASSERT_TRUE(graph.Open());
    ASSERT_TRUE(graph.transform->Start());
    ASSERT_TRUE(graph.AwaitState(MKTransformStopped));
    EXPECT_EQ(graph.source.discarded, 1) << "the stream that came to its end is not";
    ASSERT_TRUE(graph.transform->Stop());
    graph.source.valve.Shut();
    ASSERT_TRUE(graph.transform->Start());
    EXPECT_EQ(graph.source.discarded, 0);
    graph.source.valve.Open();
    ASSERT_TRUE(graph.AwaitState(MKTransformStopped));
    EXPECT_EQ(graph.source.discarded, 0);
}

TEST(Transform, StreamWhoseLastWriteFailsIsDiscarded)
{
    Graph graph({Stream(2)}, 8);
    graph.sink.failWriteAt = 1;
    graph.sink.valve.Shut();
    ASSERT_TRUE(graph.Open());
    ASSERT_TRUE(graph.transform->Start());
    ASSERT_TRUE(Await([&] { return graph.source.reads == 3 && graph.source.inside == 0; })) << "all was read";
    graph.sink.valve.Open();
    ASSERT_TRUE(graph.AwaitState(MKTransformStopped));
    EXPECT_EQ(graph.source.discarded, 1);
}

TEST(Transform, FailedReadStillPlaysWhatWasRead)
{
    Graph graph({Stream(kEndless)}, 64);
    graph.source.streams[0].failReadAt = 20;
    ASSERT_TRUE(graph.Open());
    ASSERT_TRUE(graph.transform->Start());
    ASSERT_TRUE(graph.AwaitState(MKTransformStopped));
    EXPECT_EQ(graph.sink.Written(0), FirstNumbers(20));
}

TEST(Transform, StopWaitsForTheWriteThatIsUnderWay)
{
    Graph graph;
    graph.sink.valve.Shut();
    ASSERT_TRUE(graph.Open());
    ASSERT_TRUE(graph.transform->Start());
    ASSERT_TRUE(graph.sink.valve.AwaitWaiting());
    std::atomic<bool> stopped{false};
    std::thread stopping([&] {
        EXPECT_TRUE(graph.transform->Stop());
        EXPECT_EQ(graph.sink.inside, 0);
        stopped = true;
    });
    EXPECT_FALSE(stopped);
    EXPECT_TRUE(Await([&] {
        graph.sink.valve.Allow(1); // a write may begin before the stop does
        return stopped.load();
    }));
    stopping.join();
    EXPECT_EQ(graph.transform->GetState(), MKTransformStopped);
}

TEST(Transform, StopWakesBothThreadsWhereverTheyWait)
{
    struct Row {
        const char* label;
        bool paused;
        bool starved;
    };
    for (const Row& row : {Row{"at the gate", true, false}, Row{"for data", false, true}}) {
        SCOPED_TRACE(row.label);
        Graph graph({Stream(kEndless)}, 2);
        if (row.starved)
            graph.source.streams[0].zeroEvery = 1; // the write thread waits, the read thread asks on and on
        ASSERT_TRUE(graph.Open());
        ASSERT_TRUE(graph.transform->Start());
        ASSERT_TRUE(Await([&] { return graph.source.reads > 10; }));
        EXPECT_TRUE(!row.paused || graph.transform->Pause());
        EXPECT_TRUE(graph.transform->Stop());
        EXPECT_TRUE(graph.transform->Close());
        EXPECT_EQ(graph.Nodes(), 0);
    }
}

TEST(Transform, StartedAgainItGoesOnWhereTheProviderStands)
{
    Graph graph({Stream(kEndless)}, 2);
    ASSERT_TRUE(graph.Open());
    ASSERT_TRUE(graph.transform->Start());
    ASSERT_TRUE(graph.sink.AwaitWrites(10));
    ASSERT_TRUE(graph.transform->Stop());
    const size_t before = graph.sink.Written(0).size();
    const int last = graph.sink.Written(0).back();
    ASSERT_TRUE(graph.transform->Start());
    ASSERT_TRUE(Await([&] { return graph.sink.Written(0).size() > before + 5; }));
    EXPECT_GT(graph.sink.Written(0)[before], last);
}

TEST(Transform, OpenFailsWithoutAUsableStreamOrNode)
{
    struct Row {
        const char* label;
        std::function<void(Graph&)> spoil;
        std::function<void(MKStreamParameters*)> filter;
    };
    const auto refuseAll = [](MKStreamParameters* params) { params->type = MKMediaNone; };
    const Row rows[] = {
        {"filter refuses all", [](Graph&) {}, refuseAll},
        {"provider does not open", [](Graph& graph) { graph.source.opens = false; }, TakeAll},
        {"consumer does not open", [](Graph& graph) { graph.sink.opens = false; }, TakeAll},
        {"no stream of the provider opens",
         [](Graph& graph) { graph.source.streams[0].opens = graph.source.streams[1].opens = false; }, TakeAll},
        {"consumer refuses the second stream", [](Graph& graph) { graph.sink.refuseStream = 1; }, TakeAll},
        {"no streams at all", [](Graph& graph) { graph.source.streams.clear(); }, TakeAll},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.label);
        Graph graph({Stream(1), Stream(1)});
        row.spoil(graph);
        EXPECT_FALSE(graph.Open(row.filter));
        EXPECT_EQ(graph.Nodes(), 2) << "taken over also when it fails";
        EXPECT_TRUE(graph.transform->Close());
        EXPECT_EQ(graph.Nodes(), 0);
    }
}

TEST(Transform, FilterSeesTypeThenRealParametersOfEachStreamThatOpens)
{
    Graph graph({Stream(1), Stream(1), Stream(1)});
    graph.source.streams[0].type = MKMediaVideo;
    graph.source.streams[1].opens = false;
    std::vector<std::pair<int, int>> seen;
    EXPECT_TRUE(graph.Open([&](MKStreamParameters* params) {
        seen.emplace_back(params->type, params->rateNum);
        if (params->type == MKMediaVideo)
            params->type = MKMediaNone;
    }));
    const std::vector<std::pair<int, int>> expected = {
        {MKMediaVideo, 0}, {MKMediaAudio, 0}, {MKMediaAudio, 0}, {MKMediaAudio, 48000}};
    EXPECT_EQ(seen, expected);
    EXPECT_EQ(graph.transform->GetConsumer()->GetStreamCount(), 1);
}

TEST(Transform, EmptyFilterRaisesAndTheNodesStayOwned)
{
    Graph graph;
    EXPECT_THROW(graph.Open({}), std::bad_function_call);
    EXPECT_EQ(graph.Nodes(), 2);
    EXPECT_TRUE(graph.Open()) << "the lock was given back";
    EXPECT_EQ(graph.Nodes(), 2);
}

TEST(Transform, WithoutAConsumerItOnlyChangesState)
{
    Graph graph;
    EXPECT_TRUE(graph.transform->Open(new ScriptedProvider(graph.source), nullptr, TakeAll));
    EXPECT_EQ(graph.transform->GetConsumer(), nullptr);
    EXPECT_TRUE(graph.transform->Start());
    EXPECT_EQ(graph.transform->GetState(), MKTransformStopped) << "no stream runs";
    EXPECT_TRUE(graph.transform->Stop());
    EXPECT_EQ(graph.source.reads, 0);
    EXPECT_FALSE(graph.transform->Open(nullptr, nullptr, TakeAll));
}

TEST(Transform, ConsumerThatWantsNoQueueKeepsItFromStarting)
{
    Graph graph;
    graph.sink.bufferSize = 0;
    ASSERT_TRUE(graph.Open());
    EXPECT_FALSE(graph.transform->Start());
    EXPECT_EQ(graph.transform->GetState(), MKTransformReady);
    EXPECT_EQ(graph.source.reads, 0);
}

TEST(Transform, RefusedThreadRaisesAndALaterStartWorks)
{
    Graph graph;
    ASSERT_TRUE(graph.Open());
    pthread_attr_t usual;
    ASSERT_EQ(pthread_getattr_default_np(&usual), 0);
    pthread_attr_t greedy;
    ASSERT_EQ(pthread_getattr_default_np(&greedy), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&greedy, size_t{1} << 46), 0); // more than there is
    ASSERT_EQ(pthread_setattr_default_np(&greedy), 0);
    EXPECT_THROW(graph.transform->Start(), std::system_error);
    ASSERT_EQ(pthread_setattr_default_np(&usual), 0);
    pthread_attr_destroy(&greedy);
    pthread_attr_destroy(&usual);
    EXPECT_EQ(graph.transform->GetState(), MKTransformReady);
    EXPECT_TRUE(graph.transform->Start());
    EXPECT_TRUE(graph.sink.AwaitWrites(3));
}

// One thread opens, starts, stops, closes and destroys; two others pause, resume, stop and ask, all at random moments.
TEST(Transform, SurvivesEveryOrderOfCallsAtRandomMoments)
{
    std::mt19937 random(Seed());
    int operations = 0;
    for (int round = 0; round < 150; ++round) {
        const int frames = random() % 3 == 0 ? kEndless : static_cast<int>(random() % 60);
        Graph graph({Stream(frames), Stream(kEndless)}, 1 + static_cast<int>(random() % 6));
        graph.source.streams[0].zeroEvery = static_cast<int>(random() % 4);
        graph.source.readMicroseconds = static_cast<int>(random() % 100);
        graph.sink.writeMicroseconds = static_cast<int>(random() % 100);
        graph.sink.failWriteAt = random() % 4 == 0 ? static_cast<int>(random() % 50) : -1;
        std::atomic<bool> done{false};
        std::vector<std::thread> others;
        for (unsigned i = 0; i < 2; ++i) {
            others.emplace_back([&graph, &done, seed = random()] {
                std::mt19937 own(static_cast<unsigned>(seed));
                const wxLogNull quiet;
                while (!done) {
                    const int operation = DoPause + static_cast<int>(own() % 3);
                    Do(graph, operation);
                    graph.transform->GetState();
                    std::this_thread::sleep_for(std::chrono::microseconds(own() % 200));
                }
            });
        }
        const wxLogNull quiet;
        for (int i = 0; i < 30; ++i, ++operations) {
            const int operation = random() % 2 ? static_cast<int>(DoStart) : static_cast<int>(random() % kOperations);
            Do(graph, operation);
            if (random() % 2)
                std::this_thread::sleep_for(std::chrono::microseconds(random() % 500));
        }
        done = true;
        for (std::thread& thread : others)
            thread.join();
        graph.transform.reset();
        ASSERT_EQ(graph.Nodes(), 0);
        ASSERT_EQ(graph.source.inside + graph.sink.inside, 0);
    }
    EXPECT_EQ(operations, 150 * 30);
}
