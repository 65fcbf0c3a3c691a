// The real voice on a private null sink: what is heard there, and when. MIT licence.
#include "support/scratch_dir.h"
#include "support/sink_suite.h"
#include "support/speech_voice.h"
#include "support/wav.h"

#include <chrono>
#include <memory>
#include <thread>

#include <gtest/gtest.h>
#include <portaudio.h>

namespace
{

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point begin)
{
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

// The server and PortAudio, started once for all cases of this program.
class VoiceOnDevice : public SinkSuite<>
{
};

const wchar_t kThree[] = L"The first one is here. The second one is here. The third one is here.";

// The same text as a file, for lengths and levels to compare with.
Sound AsFile(const wchar_t* text)
{
    ScratchDir dir;
    SpeechVoice voice;
    EXPECT_EQ(voice.SpeakToFile(dir / "a.wav", text), S_OK);
    Sound sound;
    std::string why;
    EXPECT_TRUE(ReadWav(dir / "a.wav", sound, why)) << why;
    return sound;
}

double LoudSeconds(const std::vector<Stretch>& stretches)
{
    double sum = 0;
    for (const Stretch& stretch : stretches)
        sum += stretch.to - stretch.from;
    return sum;
}

template <class Condition>
bool Await(Condition condition)
{
    const Clock::time_point limit = Clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (Clock::now() > limit)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

// Waits until the voice tells a sentence, and gives how many it has told since the start.
void AwaitSentence(SpeechVoice& voice, int number)
{
    int told = 0;
    ASSERT_TRUE(Await([&] {
        for (const SeenEvent& event : voice.TakeEvents())
            told += event.id == SPEI_SENTENCE_BOUNDARY ? 1 : 0;
        return told >= number;
    }));
}

} // namespace

TEST_F(VoiceOnDevice, EveryWordIsHeardToTheLastSyllable)
{
    const Sound file = AsFile(kThree);
    const std::vector<Stretch> expected = LoudStretches(file, 0.15);
    SinkRecording recording(*s_sink);
    SpeechVoice voice;
    ASSERT_EQ(voice->Speak(kThree, 0, nullptr), S_OK); // returns when it has been heard
    const std::vector<Stretch> heard = LoudStretches(recording.Stop(), 0.15);
    ASSERT_EQ(heard.size(), expected.size());
    const double shift = heard[0].from - expected[0].from;
    for (size_t i = 0; i < heard.size(); ++i) {
        EXPECT_NEAR(heard[i].from - shift, expected[i].from, 0.06);
        EXPECT_NEAR(heard[i].to - shift, expected[i].to, 0.06);
    }
}

TEST_F(VoiceOnDevice, PauseIsSilenceWithinATenthAndResumeLosesNothing)
{
    const Sound file = AsFile(kThree);
    SinkRecording recording(*s_sink);
    SpeechVoice voice;
    const Clock::time_point begin = Clock::now();
    ASSERT_EQ(voice->Speak(kThree, SPF_ASYNC, nullptr), S_OK);
    std::this_thread::sleep_for(std::chrono::milliseconds(900)); // into the first sentence: what is paused is sound
    voice->Pause();
    const double pausedAfter = SecondsSince(begin);
    std::this_thread::sleep_for(std::chrono::milliseconds(800));
    voice->Resume();
    ASSERT_TRUE(voice.WaitUntilDone());
    const Sound sound = recording.Stop();
    const std::vector<Stretch> heard = LoudStretches(sound, 0.6); // only the pause is that long
    ASSERT_EQ(heard.size(), 2u);
    // Sound began after the call, so what lies between the first sound and the gap is at most this.
    EXPECT_LT(heard[0].to - heard[0].from, pausedAfter + 0.1);
    EXPECT_EQ(sound.Rms(heard[0].to + 0.02, heard[1].from - 0.02), 0);
    EXPECT_NEAR(LoudSeconds(LoudStretches(sound, 0.03)), LoudSeconds(LoudStretches(file, 0.03)), 0.15);
}

TEST_F(VoiceOnDevice, SkipLandsOnTheNextSentence)
{
    const std::vector<Stretch> expected = LoudStretches(AsFile(L"The third one is here."), 0.15);
    SinkRecording recording(*s_sink);
    SpeechVoice voice;
    voice.ListenToEverything();
    ASSERT_EQ(voice->Speak(kThree, SPF_ASYNC, nullptr), S_OK);
    AwaitSentence(voice, 1);
    ULONG skipped = 0;
    EXPECT_EQ(voice->Skip(L"Sentence", 2, &skipped), S_OK);
    EXPECT_EQ(skipped, 2u);
    ASSERT_TRUE(voice.WaitUntilDone());
    std::vector<size_t> positions;
    for (const SeenEvent& event : voice.TakeEvents()) {
        if (event.id == SPEI_SENTENCE_BOUNDARY)
            positions.push_back(event.position);
    }
    EXPECT_EQ(positions, std::vector<size_t>{std::wstring(kThree).find(L"The third")});
    const std::vector<Stretch> heard = LoudStretches(recording.Stop(), 0.15);
    ASSERT_FALSE(heard.empty());
    EXPECT_NEAR(heard.back().to - heard.back().from, expected[0].to - expected[0].from, 0.4);
    EXPECT_LT(heard.back().to - heard.front().from, 2.5) << "the second sentence was not spoken";
}

TEST_F(VoiceOnDevice, StopIsHeardAtOnce)
{
    SinkRecording recording(*s_sink);
    SpeechVoice voice;
    const Clock::time_point begin = Clock::now();
    ASSERT_EQ(voice->Speak(kThree, SPF_ASYNC, nullptr), S_OK);
    std::this_thread::sleep_for(std::chrono::milliseconds(700));
    ASSERT_EQ(voice->Speak(nullptr, SPF_PURGEBEFORESPEAK, nullptr), S_OK);
    EXPECT_EQ(voice->WaitUntilDone(INFINITE), S_OK);
    const double stoppedAfter = SecondsSince(begin);
    const std::vector<Stretch> heard = LoudStretches(recording.Stop(), 0.3);
    ASSERT_EQ(heard.size(), 1u);
    EXPECT_LT(heard[0].to - heard[0].from, stoppedAfter + 0.1);
}

TEST_F(VoiceOnDevice, OneVoiceSpeaksWhileAnotherIsPaused)
{
    SinkRecording recording(*s_sink);
    SpeechVoice paused;
    SpeechVoice speaking;
    ASSERT_EQ(paused->Speak(kThree, SPF_ASYNC, nullptr), S_OK);
    paused->Pause();
    ASSERT_EQ(speaking->Speak(kThree, 0, nullptr), S_OK);
    EXPECT_EQ(paused->WaitUntilDone(0), S_FALSE);
    paused->Resume();
    ASSERT_TRUE(paused.WaitUntilDone());
    const double once = LoudSeconds(LoudStretches(AsFile(kThree), 0.03));
    EXPECT_NEAR(LoudSeconds(LoudStretches(recording.Stop(), 0.03)), 2 * once, 0.3);
}

TEST_F(VoiceOnDevice, AlertVoiceHoldsNormalOnes)
{
    SpeechVoice normal;
    SpeechVoice alert;
    alert->SetPriority(SPVPRI_ALERT);
    ASSERT_EQ(normal->Speak(L"This one is held.", SPF_ASYNC, nullptr), S_OK);
    ASSERT_EQ(alert->Speak(kThree, SPF_ASYNC, nullptr), S_OK);
    ASSERT_TRUE(alert.WaitUntilDone());
    EXPECT_EQ(normal->WaitUntilDone(0), S_FALSE) << "a short text would be over long ago";
    EXPECT_TRUE(normal.WaitUntilDone());
}

TEST_F(VoiceOnDevice, FrozenSoundServerHangsNobody)
{
    const Clock::time_point begin = Clock::now();
    {
        SpeechVoice voice;
        ASSERT_EQ(voice->Speak(kThree, SPF_ASYNC, nullptr), S_OK);
        s_sink->Freeze();
        std::this_thread::sleep_for(std::chrono::milliseconds(300)); // until a write is stuck
        EXPECT_EQ(voice->Speak(nullptr, SPF_PURGEBEFORESPEAK, nullptr), S_OK);
        EXPECT_EQ(voice->WaitUntilDone(INFINITE), S_OK);
        EXPECT_LT(SecondsSince(begin), 2);
    }
    EXPECT_LT(SecondsSince(begin), 4); // the last release does not wait for the device either

    SpeechVoice waiting;
    EXPECT_EQ(waiting->Speak(kThree, SPF_ASYNC, nullptr), SPERR_DEVICE_BUSY);
    EXPECT_LT(SecondsSince(begin), 15);
    s_sink->Thaw();

    // What was stuck comes back, and speech goes on.
    EXPECT_TRUE(Await([] {
        SpeechVoice voice;
        return voice->Speak(L"Back again.", 0, nullptr) == S_OK;
    }));
}

// Last: nothing speaks after this.
TEST_F(VoiceOnDevice, WithoutDeviceSpeechIsRefusedAndFilesAreWritten)
{
    Pa_Terminate();
    s_started = false;
    SpeechVoice voice;
    EXPECT_EQ(voice->Speak(kThree, SPF_ASYNC, nullptr), SPERR_DEVICE_NOT_SUPPORTED);
    ISpStreamFormat* output = nullptr;
    EXPECT_EQ(voice->GetOutputStream(&output), S_OK);
    EXPECT_EQ(voice->SetOutput(output, FALSE), S_OK);
    output->Release();
    EXPECT_GT(AsFile(kThree).Seconds(), 2);
}
