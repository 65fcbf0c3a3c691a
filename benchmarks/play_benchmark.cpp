// Playing on a private sound server beside other players: time to the first sound, gaps, processor time. MIT licence.
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <benchmark/benchmark.h>
#include <portaudio.h>
#include <wx/init.h>

extern "C" {
#include <libavutil/log.h>
}

#include "childrun.h"
#include "listener.h"
#include "mediakit/fileprovider.h"
#include "mediakit/mediaplayer.h"
#include "support/pulse_sink.h"
#include "support/scratch_dir.h"

namespace
{

using Clock = Listener::Clock;

std::string g_wav; // 2 s of a full tone
std::string g_mp3;
std::string g_minute; // 60 s of it
PulseSink* g_sink = nullptr;

void LetTheSinkFallSilent()
{
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
}

void PlayToFirstSound(benchmark::State& state, const std::string& file)
{
    Pa_Initialize();
    Listener listener(*g_sink);
    for (auto _ : state) {
        MKMediaPlayer player;
        MKFileProvider* const provider = new MKFileProvider(file);
        listener.Forget();
        const Clock::time_point begin = Clock::now();
        player.SetProvider(provider);
        if (!player.OpenMedia() || !player.Play() || !listener.AwaitSound()) {
            state.SkipWithError("nothing was heard");
            break;
        }
        state.SetIterationTime(std::chrono::duration<double>(listener.FirstSound() - begin).count());
        player.Close();
        LetTheSinkFallSilent();
    }
    Pa_Terminate();
}

void ProgramToFirstSound(benchmark::State& state, const std::vector<std::string>& command)
{
    Listener listener(*g_sink);
    for (auto _ : state) {
        listener.Forget();
        const Clock::time_point begin = Clock::now();
        const pid_t child = StartProgram(command);
        if (!listener.AwaitSound()) {
            state.SkipWithError("nothing was heard");
            break;
        }
        state.SetIterationTime(std::chrono::duration<double>(listener.FirstSound() - begin).count());
        AwaitProgram(child);
        LetTheSinkFallSilent();
    }
}

// Silent samples of a millisecond or more between the first and the last sound.
int Gaps(const Sound& sound)
{
    size_t first = 0;
    size_t last = sound.samples.size();
    while (first < last && sound.samples[first] == 0)
        ++first;
    while (last > first && sound.samples[last - 1] == 0)
        --last;
    int gaps = 0;
    int silent = 0;
    for (size_t i = first; i < last; ++i) {
        silent = sound.samples[i] == 0 ? silent + 1 : 0;
        if (silent == 48)
            ++gaps;
    }
    return gaps;
}

void PlayAMinute(benchmark::State& state, const std::vector<std::string>& command)
{
    for (auto _ : state) {
        SinkRecording recording(*g_sink);
        const ChildUsage usage = AwaitProgram(StartProgram(command));
        state.counters["gaps"] = Gaps(recording.Stop());
        state.counters["cpu_ms"] = usage.cpuSeconds * 1000;
        state.counters["peak_mb"] = usage.peakMegabytes;
        if (!usage.ok)
            state.SkipWithError("the program failed");
    }
}

bool MakeFiles(const ScratchDir& dir)
{
    g_wav = dir / "tone.wav";
    g_mp3 = dir / "tone.mp3";
    g_minute = dir / "minute.mp3";
    const std::string tone = "aevalsrc=0.8*sin(2*PI*440*t):s=44100:d=";
    for (const auto& [file, seconds] : {std::pair(g_wav, "2"), std::pair(g_mp3, "2"), std::pair(g_minute, "60")}) {
        if (!AwaitProgram(StartProgram({"ffmpeg", "-y", "-f", "lavfi", "-i", tone + seconds, file})).ok)
            return false;
    }
    return true;
}

template <class Function, class... Arguments>
benchmark::internal::Benchmark* Register(const char* name, Function function, Arguments... arguments)
{
    return benchmark::RegisterBenchmark(name, function, arguments...)->Unit(benchmark::kMillisecond);
}

using Command = std::vector<std::string>;

void RegisterAll()
{
    const auto first = [](benchmark::internal::Benchmark* made) { made->UseManualTime()->Iterations(10); };
    first(Register("PlayToFirstSound/wav", PlayToFirstSound, g_wav));
    first(Register("PlayToFirstSound/mp3", PlayToFirstSound, g_mp3));
    first(Register("ffplay/wav", ProgramToFirstSound, Command{"ffplay", "-nodisp", "-autoexit", g_wav}));
    first(Register("ffplay/mp3", ProgramToFirstSound, Command{"ffplay", "-nodisp", "-autoexit", g_mp3}));
    first(Register("paplay/wav", ProgramToFirstSound, Command{"paplay", "-s", g_sink->Socket(), g_wav}));
    Register("Minute/qxspeech-play", PlayAMinute, Command{QX_PLAY, g_minute})->Iterations(1)->UseRealTime();
    Register("Minute/ffplay", PlayAMinute, Command{"ffplay", "-nodisp", "-autoexit", g_minute})
        ->Iterations(1)
        ->UseRealTime();
}

} // namespace

int main(int argc, char** argv)
{
    PulseSink sink;
    const ScratchDir dir;
    g_sink = &sink;
    if (!sink.Ok() || !MakeFiles(dir))
        return 77;
    setenv("SDL_AUDIODRIVER", "pulseaudio", 1); // for ffplay
    setenv("PULSE_SERVER", sink.Socket().c_str(), 1);
    wxInitializer wx;
    av_log_set_level(AV_LOG_QUIET);
    RegisterAll();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
