// Local speech beside its peers: whole programs, the first samples, the library's load time. MIT licence.
#include <chrono>
#include <fstream>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <benchmark/benchmark.h>
#include <espeak-ng/speak_lib.h>
#include <wx/init.h>

#include "platform/posix/espeak_engine.h"
#include "support/scratch_dir.h"
#include "support/speech_voice.h"

namespace
{

using Clock = std::chrono::steady_clock;

std::string FiveThousandWords()
{
    const char* const sentence =
        "The quick reader turns another page of the long book, and nobody in the room says a word. ";
    constexpr int wordsInSentence = 18;
    std::string text;
    for (int words = 0; words < 5000; words += wordsInSentence)
        text += sentence;
    return text;
}

// Runs a program to its end with its output thrown away; false unless it ends with 0.
bool RunProgram(const std::vector<std::string>& command)
{
    std::vector<char*> arguments;
    for (const std::string& part : command)
        arguments.push_back(const_cast<char*>(part.c_str()));
    arguments.push_back(nullptr);
    const pid_t child = vfork();
    if (child == 0) {
        execvp(arguments[0], arguments.data());
        _exit(127);
    }
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

void RunEach(benchmark::State& state, const std::vector<std::string>& command)
{
    for (auto _ : state) {
        if (!RunProgram(command)) {
            state.SkipWithError((command[0] + " failed").c_str());
            return;
        }
    }
}

void SayToWav(benchmark::State& state)
{
    ScratchDir dir;
    std::ofstream(dir / "text.txt") << FiveThousandWords();
    RunEach(state, {QX_SAY, "-v", "English (America)", "-f", dir / "text.txt", "-o", dir / "out.wav"});
}

void EspeakCommandToWav(benchmark::State& state)
{
    ScratchDir dir;
    std::ofstream(dir / "text.txt") << FiveThousandWords();
    RunEach(state, {"espeak-ng", "-v", "en-us", "-f", dir / "text.txt", "-w", dir / "out.wav"});
}

// From Speak to the event that the first block tells, on a voice that has spoken before.
void SpeakToFirstBlock(benchmark::State& state)
{
    ScratchDir dir;
    SpeechVoice voice;
    voice.BindToFile(dir / "a.wav");
    voice->SetInterest(SPFEI(SPEI_START_INPUT_STREAM), SPFEI(SPEI_START_INPUT_STREAM));
    voice->Speak(L"Warm.", 0, nullptr);
    voice.TakeEvents();
    for (auto _ : state) {
        const Clock::time_point begin = Clock::now();
        voice->Speak(L"The first samples of this sentence are awaited. Others follow.", SPF_ASYNC, nullptr);
        SPEVENT event = {};
        while (voice->GetEvents(1, &event, nullptr) != S_OK)
            std::this_thread::yield();
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - begin).count());
        voice->WaitUntilDone(INFINITE);
    }
}

Clock::time_point g_firstSamples;

int StopAtFirstSamples(short* samples, int count, espeak_EVENT*)
{
    if (!samples || count == 0)
        return 0;
    g_firstSamples = Clock::now();
    return 1;
}

// The synthesizer alone, called directly.
void SynthesizerToFirstSamples(benchmark::State& state)
{
    qxplatform::StartEspeak();
    const std::string text = "The first samples of this sentence are awaited. Others follow.";
    std::lock_guard<std::mutex> lock(qxplatform::EspeakLock());
    espeak_SetVoiceByName("gmw/en-US");
    for (auto _ : state) {
        espeak_SetSynthCallback(StopAtFirstSamples);
        const Clock::time_point begin = Clock::now();
        espeak_Synth(text.c_str(), text.size() + 1, 0, POS_SENTENCE, 0, espeakCHARS_UTF8 | espeakENDPAUSE, nullptr,
                     nullptr);
        state.SetIterationTime(std::chrono::duration<double>(g_firstSamples - begin).count());
    }
}

void LoadLibrary(benchmark::State& state)
{
    RunEach(state, {QX_LOADER, QX_LIBRARY});
}

void LoadDependencies(benchmark::State& state)
{
    RunEach(state, {QX_LOADER, QX_DEPENDENCIES});
}

BENCHMARK(SayToWav)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(EspeakCommandToWav)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(SpeakToFirstBlock)->Unit(benchmark::kMicrosecond)->UseManualTime();
BENCHMARK(SynthesizerToFirstSamples)->Unit(benchmark::kMicrosecond)->UseManualTime();
BENCHMARK(LoadLibrary)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(LoadDependencies)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int argc, char** argv)
{
    wxInitializer wx;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
