// The media kit's audio chain beside FFmpeg's libraries in a plain loop and beside the ffmpeg command. MIT licence.
#include <atomic>
#include <chrono>
#include <map>
#include <string>
#include <thread>

#include <benchmark/benchmark.h>
#include <wx/init.h>

extern "C" {
#include <libavutil/log.h>
}

#include "childrun.h"
#include "countednew.h"
#include "libavloop.h"
#include "mediakit/fileprovider.h"
#include "mediakit/transform.h"
#include "support/scratch_dir.h"

namespace
{

using Clock = std::chrono::steady_clock;

// Takes the format that the player asks for and throws the frames away.
class Sink : public MKConsumer
{
public:
    explicit Sink(int slots) : queueSize(slots) {}
    bool Open() override { return true; }
    bool Close() override { return true; }
    int GetStreamCount() override { return 0; }
    MKMediaType GetStreamType(size_t) override { return MKMediaAudio; }
    bool OpenStream(size_t, MKStreamParameters* wanted) override
    {
        wanted->frameSize = 4096;
        params = *wanted;
        return true;
    }
    bool QueryStreamParameters(size_t, MKStreamParameters* out) override
    {
        *out = params;
        return true;
    }
    bool CloseStream(size_t) override { return true; }
    bool IsStreamOpened(size_t) override { return true; }
    int64_t GetDuration() override { return 0; }
    int64_t GetStreamDuration(size_t) override { return 0; }
    int64_t GetStreamTimeStamp(size_t) override { return 0; }
    int GetBufferSize(size_t) override { return queueSize; }
    int Write(size_t, MKFrame*) override
    {
        if (frames == 0)
            firstFrame = Clock::now();
        const uint64_t count = ++frames;
        if (count == 100)
            allocationsAt100 = AllocationCount();
        if (count > 100)
            steadyAllocations = AllocationCount() - allocationsAt100;
        return 1;
    }

    std::atomic<uint64_t> frames{0};
    Clock::time_point firstFrame;
    uint64_t allocationsAt100 = 0;
    uint64_t steadyAllocations = 0;

private:
    MKStreamParameters params;
    const int queueSize;
};

void WantPlayersFormat(MKStreamParameters* params)
{
    if (params->type != MKMediaAudio) {
        params->type = MKMediaNone;
        return;
    }
    params->channels = 2;
    params->format = MKSampleS16;
    params->frameSize = -1;
    params->rateNum = 48000;
    params->rateDen = 1;
}

// Files that are made once: a tone with noise, 24 kHz mono.
class Files
{
public:
    std::string Get(const std::string& kind, int minutes)
    {
        const std::string file = m_dir / (kind + std::to_string(minutes) + "." + kind);
        if (!m_made[file]) {
            const std::string source =
                "sine=frequency=300:beep_factor=4:sample_rate=24000:duration=" + std::to_string(minutes * 60);
            m_made[file] =
                AwaitProgram(StartProgram({"ffmpeg", "-y", "-f", "lavfi", "-i", source, "-ac", "1", file})).ok;
        }
        return m_made[file] ? file : std::string();
    }

private:
    ScratchDir m_dir;
    std::map<std::string, bool> m_made;
};

Files& TestFiles()
{
    static Files files;
    return files;
}

std::string FileOf(benchmark::State& state, const std::string& kind)
{
    const std::string file = TestFiles().Get(kind, static_cast<int>(state.range(0)));
    if (file.empty())
        state.SkipWithError("the ffmpeg command makes no such file");
    return file;
}

void Report(benchmark::State& state, double cpuSeconds)
{
    const auto iterations = static_cast<double>(state.iterations());
    state.counters["x_real_time"] =
        benchmark::Counter(static_cast<double>(state.range(0)) * 60 * iterations, benchmark::Counter::kIsRate);
    state.counters["cpu_ms"] = cpuSeconds * 1000 / iterations;
}

void Chain(benchmark::State& state, const char* kind)
{
    const std::string file = FileOf(state, kind);
    const double before = OwnCpuSeconds();
    for (auto _ : state) {
        MKTransform transform;
        Sink* const sink = new Sink(2048);
        if (!transform.Open(new MKFileProvider(file), sink, WantPlayersFormat) || !transform.Start()) {
            state.SkipWithError("does not open");
            return;
        }
        while (transform.GetState() == MKTransformRunning)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        state.counters["frames"] = static_cast<double>(sink->frames);
        state.counters["allocations_after_frame_100"] = static_cast<double>(sink->steadyAllocations);
    }
    Report(state, OwnCpuSeconds() - before);
}

void DirectLoop(benchmark::State& state, const char* kind)
{
    const std::string file = FileOf(state, kind);
    const double before = OwnCpuSeconds();
    for (auto _ : state)
        state.counters["frames"] = static_cast<double>(DecodeDirectly(file, false)) / 4096;
    Report(state, OwnCpuSeconds() - before);
}

void FfmpegCommand(benchmark::State& state, const char* kind)
{
    const std::string file = FileOf(state, kind);
    double cpu = 0;
    for (auto _ : state) {
        const ChildUsage usage = AwaitProgram(StartProgram({"ffmpeg", "-threads", "1", "-i", file, "-ar", "48000",
                                                            "-ac", "2", "-c:a", "pcm_s16le", "-f", "null", "-"}));
        if (!usage.ok) {
            state.SkipWithError("ffmpeg failed");
            return;
        }
        cpu += usage.cpuSeconds;
    }
    Report(state, cpu);
}

void OpenToFirstFrame(benchmark::State& state, const char* kind)
{
    const std::string file = FileOf(state, kind);
    for (auto _ : state) {
        const Clock::time_point begin = Clock::now();
        MKTransform transform;
        Sink* const sink = new Sink(2048);
        if (!transform.Open(new MKFileProvider(file), sink, WantPlayersFormat) || !transform.Start()) {
            state.SkipWithError("does not open");
            return;
        }
        while (sink->frames == 0)
            std::this_thread::yield();
        state.SetIterationTime(std::chrono::duration<double>(sink->firstFrame - begin).count());
    }
}

void DirectToFirstBlock(benchmark::State& state, const char* kind)
{
    const std::string file = FileOf(state, kind);
    for (auto _ : state) {
        const Clock::time_point begin = Clock::now();
        benchmark::DoNotOptimize(DecodeDirectly(file, true));
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - begin).count());
    }
}

#define QX_FOR_KINDS(function)                                                                                         \
    BENCHMARK_CAPTURE(function, mp3, "mp3")->Arg(5)->Arg(10)->Unit(benchmark::kMillisecond)->UseRealTime();            \
    BENCHMARK_CAPTURE(function, wav, "wav")->Arg(5)->Arg(10)->Unit(benchmark::kMillisecond)->UseRealTime()

QX_FOR_KINDS(Chain);
QX_FOR_KINDS(DirectLoop);
QX_FOR_KINDS(FfmpegCommand);
BENCHMARK_CAPTURE(OpenToFirstFrame, mp3, "mp3")
    ->Arg(5)
    ->Iterations(100)
    ->Unit(benchmark::kMicrosecond)
    ->UseManualTime();
BENCHMARK_CAPTURE(DirectToFirstBlock, mp3, "mp3")
    ->Arg(5)
    ->Iterations(100)
    ->Unit(benchmark::kMicrosecond)
    ->UseManualTime();
BENCHMARK_CAPTURE(OpenToFirstFrame, wav, "wav")
    ->Arg(5)
    ->Iterations(100)
    ->Unit(benchmark::kMicrosecond)
    ->UseManualTime();
BENCHMARK_CAPTURE(DirectToFirstBlock, wav, "wav")
    ->Arg(5)
    ->Iterations(100)
    ->Unit(benchmark::kMicrosecond)
    ->UseManualTime();

} // namespace

int main(int argc, char** argv)
{
    wxInitializer wx;
    av_log_set_level(AV_LOG_QUIET);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
