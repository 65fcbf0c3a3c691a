// Pause, resume, skip, stop and release from every state with random timing: nothing hangs or races. MIT licence.
#include "support/pulse_sink.h"
#include "support/scratch_dir.h"
#include "support/speech_voice.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <portaudio.h>

namespace
{

std::wstring Text(size_t sentences)
{
    std::wstring text;
    for (size_t i = 0; i < sentences; ++i)
        text += L"This is a sentence, with a clause. ";
    return text;
}

void Hammer(SpeechVoice& voice, unsigned seed, int rounds)
{
    std::mt19937 random(seed);
    const std::wstring shortText = Text(2);
    const std::wstring longText = Text(500);
    for (int i = 0; i < rounds; ++i) {
        switch (random() % 9) {
        case 0:
            voice->Speak(shortText.c_str(), SPF_ASYNC, nullptr);
            break;
        case 1:
            voice->Speak(longText.c_str(), SPF_ASYNC | SPF_PURGEBEFORESPEAK, nullptr);
            break;
        case 2:
            voice->Pause();
            break;
        case 3:
            voice->Resume();
            break;
        case 4:
            voice->Skip(L"Sentence", static_cast<LONG>(random() % 7) - 3, nullptr);
            break;
        case 5:
            voice->Speak(nullptr, SPF_PURGEBEFORESPEAK, nullptr);
            EXPECT_EQ(voice->WaitUntilDone(INFINITE), S_OK);
            break;
        case 6:
            voice.TakeEvents();
            break;
        case 7:
            voice->SetRate(static_cast<LONG>(random() % 21) - 10);
            break;
        default:
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 3000));
            break;
        }
    }
}

} // namespace

TEST(VoiceThreads, FileVoicesSurviveEveryOrderOfCalls)
{
    ScratchDir dir;
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < 3; ++i) {
        threads.emplace_back([&dir, i] {
            for (unsigned round = 0; round < 5; ++round) {
                SpeechVoice voice;
                voice.ListenToEverything();
                ASSERT_EQ(voice.BindToFile(dir / ("v" + std::to_string(i) + ".wav")), S_OK);
                Hammer(voice, i * 100 + round, 200);
            } // released in whatever state it is
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    SpeechVoice voice;
    EXPECT_EQ(voice.SpeakToFile(dir / "after.wav", Text(1)), S_OK);
}

TEST(VoiceThreads, SeveralThreadsShareOneVoice)
{
    ScratchDir dir;
    SpeechVoice voice;
    voice.ListenToEverything();
    ASSERT_EQ(voice.BindToFile(dir / "a.wav"), S_OK);
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < 3; ++i)
        threads.emplace_back([&voice, i] { Hammer(voice, 7000 + i, 300); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(voice->Speak(nullptr, SPF_PURGEBEFORESPEAK, nullptr), S_OK);
    EXPECT_EQ(voice->WaitUntilDone(INFINITE), S_OK);
}

TEST(VoiceThreads, DeviceVoicesSurviveEveryOrderOfCalls)
{
    PulseSink sink;
    if (!sink.Ok() && !std::getenv("QXSPEECH_NO_SKIP"))
        GTEST_SKIP() << sink.Why();
    ASSERT_TRUE(sink.Ok()) << sink.Why();
    ASSERT_EQ(Pa_Initialize(), paNoError);
    for (unsigned round = 0; round < 3; ++round) {
        SpeechVoice first;
        SpeechVoice second;
        std::thread other([&] { Hammer(second, 500 + round, 400); });
        Hammer(first, 900 + round, 400);
        other.join();
    }
    Pa_Terminate();
}
