// The local engine as a host drives it, on the real voice: files by every option, the device, the instance's lives.
// MIT licence.
#include "support/pulse_sink.h"
#include "support/scratch_dir.h"
#include "support/wav.h"

#include <chrono>
#include <fstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>
#include <portaudio.h>
#include <wx/app.h>

#include "speech/tts.h"
#include "speech/tts_sapi.h"

namespace
{

using Clock = std::chrono::steady_clock;

wxTextToSpeech& Engine()
{
    return QXSingleton<QXTextToSpeech>::Get()->GetEngine();
}

class LocalEngine : public testing::Test
{
protected:
    void TearDown() override { QXSingleton<QXTextToSpeech>::DestroyInstance(); }

    double Seconds(const std::string& name) const
    {
        Sound sound;
        std::string why;
        EXPECT_TRUE(ReadWav(dir / name, sound, why)) << why;
        return sound.Seconds();
    }
    wxString Path(const std::string& name) const { return wxString::FromUTF8(dir / name); }

    ScratchDir dir;
};

// As a host waits: it serves its events between two polls.
bool AwaitEnd(wxTextToSpeech& engine)
{
    const Clock::time_point limit = Clock::now() + std::chrono::seconds(30);
    while (engine.IsSpeaking()) {
        if (Clock::now() > limit)
            return false;
        wxTheApp->Yield(true);
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

wxTTSFailure Failure(const wxTextToSpeech& engine)
{
    return engine.GetCurrentHandler()->GetLastFailure();
}

const char kText[] = "Two sentences are spoken here. This is the second one.";

} // namespace

TEST_F(LocalEngine, FileIsCompleteAsEachOptionPromises)
{
    wxTextToSpeech& engine = Engine();
    ASSERT_TRUE(engine.Speak(kText, wxTTS_SPEAK_WAIT, Path("wait.wav")));
    EXPECT_FALSE(engine.IsSpeaking());
    const double whole = Seconds("wait.wav");
    EXPECT_GT(whole, 2);

    ASSERT_TRUE(engine.Speak(kText, wxTTS_SPEAK_ASYNC, Path("async.wav")));
    EXPECT_TRUE(AwaitEnd(engine));
    EXPECT_NEAR(Seconds("async.wav"), whole, 0.1);

    ASSERT_TRUE(engine.Speak(kText, wxTTS_SPEAK_CLOSE_OUTPUT, Path("close.wav")));
    EXPECT_NEAR(Seconds("close.wav"), whole, 0.1); // the call to the voice is synchronous

    ASSERT_TRUE(engine.Speak(kText, 0, Path("zero.wav")));
    EXPECT_TRUE(engine.IsSpeaking()) << "until somebody stops it";
    EXPECT_NEAR(Seconds("zero.wav"), whole, 0.1);
    EXPECT_TRUE(engine.Stop());
    EXPECT_FALSE(engine.IsSpeaking());
}

TEST_F(LocalEngine, ChosenVoiceAndRatesAreHeard)
{
    wxTextToSpeech& engine = Engine();
    const wxString numbers = "987654 1234567 777777";
    ASSERT_TRUE(engine.Speak(numbers, wxTTS_SPEAK_WAIT, Path("default.wav")));
    QXTTSVoiceInfo german;
    for (const QXTTSVoiceInfo& voice : engine.GetAvailableVoices()) {
        if (voice.GetName() == "German")
            german = voice;
    }
    ASSERT_EQ(german.GetLangCode(), "de-DE");
    engine.SetVoice(german);
    ASSERT_TRUE(engine.Speak(numbers, wxTTS_SPEAK_WAIT, Path("german.wav")));
    EXPECT_GT(std::abs(Seconds("german.wav") - Seconds("default.wav")), 0.2);

    engine.SetSpeed(100, wxTTS_QUANTITY_PERCENT);
    ASSERT_TRUE(engine.Speak(numbers, wxTTS_SPEAK_WAIT, Path("fast.wav")));
    EXPECT_LT(Seconds("fast.wav"), Seconds("german.wav") / 2);

    QXTTSVoiceInfo nobody;
    nobody.SetId("Nobody");
    engine.SetVoice(nobody);
    ASSERT_TRUE(engine.Speak(numbers, wxTTS_SPEAK_WAIT, Path("same.wav")));
    EXPECT_NEAR(Seconds("same.wav"), Seconds("fast.wav"), 0.1);
    EXPECT_EQ(Failure(engine).message, "There is no voice Nobody.");
    EXPECT_FALSE(engine.GetDefaultVoice().GetName().empty());
}

TEST_F(LocalEngine, ForkedCopyOfASpeakingProcessFailsAtOnce)
{
    wxTextToSpeech& engine = Engine();
    ASSERT_TRUE(engine.Speak(wxString('a', 20000), wxTTS_SPEAK_ASYNC, Path("long.wav")));
    const pid_t copy = fork();
    if (copy == 0) {
        alarm(20);
        const bool refused = !engine.Speak(kText, 0, "") && engine.GetLastErrorMessage().Contains("fork()") &&
                             !engine.IsSpeaking() && !engine.Speak(kText, wxTTS_SPEAK_WAIT, Path("copy.wav"));
        QXTextToSpeech::DestroyInstance();
        _exit(refused ? 0 : 1);
    }
    int status = -1;
    waitpid(copy, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(AwaitEnd(engine)) << "the original goes on";
    EXPECT_GT(Seconds("long.wav"), 10);
}

TEST_F(LocalEngine, RefusalsHaveWords)
{
    wxTextToSpeech& engine = Engine();
    EXPECT_FALSE(engine.SpeakFile(Path("none.txt"), wxTTS_SPEAK_WAIT, Path("a.wav")));
    EXPECT_EQ(engine.GetLastErrorMessage(), "Cannot generate SAPI voice. Error Code: -2147024894");
    EXPECT_EQ(Failure(engine).message, "The file cannot be read.");
    EXPECT_FALSE(engine.Speak("<sapi><emph>x</sapi>", wxTTS_SPEAK_WAIT, Path("a.wav")));
    EXPECT_EQ(engine.GetLastErrorMessage(), "The xml parser failed due to bad syntax.");
    EXPECT_FALSE(engine.Speak("", wxTTS_SPEAK_WAIT, Path("a.wav")));
    EXPECT_EQ(engine.GetLastErrorMessage(), "The string cannot be empty.");
    EXPECT_FALSE(engine.Speak("No PortAudio was started.", wxTTS_SPEAK_ASYNC, ""));
    EXPECT_EQ(engine.GetLastErrorMessage(), "The wave device is not supported.");
    EXPECT_EQ(Failure(engine).message, "There is no audio device.");
    EXPECT_FALSE(engine.Speak(kText, wxTTS_SPEAK_WAIT, "/dev/full"));
    EXPECT_EQ(Failure(engine).message, "The file /dev/full cannot be written.") << "whatever became of it then";
}

// Under the leak checker nothing of an earlier life may stay.
TEST_F(LocalEngine, InstanceCanBeDestroyedInTheMiddleOfSpeechAndMadeAgain)
{
    wxString longText;
    for (int i = 0; i < 200; ++i)
        longText += wxString(kText) + " ";
    for (int life = 0; life < 3; ++life) {
        wxTextToSpeech& engine = Engine();
        EXPECT_EQ(engine.GetEngine(), "Microsoft SAPI");
        ASSERT_TRUE(engine.Speak(longText, wxTTS_SPEAK_WAIT, Path("a.wav")));
        ASSERT_TRUE(engine.Speak(longText, wxTTS_SPEAK_ASYNC, Path("b.wav")));
        if (life == 1)
            engine.Pause();
        QXSingleton<QXTextToSpeech>::DestroyInstance();
        Seconds("b.wav"); // valid, however much was written
    }
    wxTheApp->Yield(true); // late notices of the dead find nobody
}

TEST_F(LocalEngine, SpeechOnTheDeviceEndsByItself)
{
    PulseSink sink;
    if (!sink.Ok() && !std::getenv("QXSPEECH_NO_SKIP"))
        GTEST_SKIP() << sink.Why();
    ASSERT_TRUE(sink.Ok()) << sink.Why();
    ASSERT_EQ(Pa_Initialize(), paNoError);
    {
        SinkRecording recording(sink);
        wxTextToSpeech& engine = Engine();
        ASSERT_TRUE(engine.Speak(kText, wxTTS_SPEAK_ASYNC, ""));
        EXPECT_TRUE(engine.IsPlaying());
        EXPECT_TRUE(engine.CanPause());
        EXPECT_TRUE(engine.Pause());
        EXPECT_TRUE(engine.Pause());
        EXPECT_TRUE(engine.Resume());
        EXPECT_TRUE(engine.IsPaused()) << "pauses count";
        EXPECT_TRUE(engine.Resume());
        EXPECT_TRUE(AwaitEnd(engine));
        EXPECT_FALSE(engine.IsPaused());

        // New speech replaces what is spoken.
        ASSERT_TRUE(engine.Speak(kText, wxTTS_SPEAK_ASYNC, ""));
        ASSERT_TRUE(engine.Speak("Instead.", wxTTS_SPEAK_ASYNC, ""));
        EXPECT_TRUE(engine.Skip(0, wxTTS_SKIP_SENTENCE));
        EXPECT_TRUE(AwaitEnd(engine));
        EXPECT_FALSE(engine.Skip(1, wxTTS_SKIP_SENTENCE));
        EXPECT_GT(LoudStretches(recording.Stop(), 0.3).size(), 1u);

        ASSERT_TRUE(engine.Speak(kText, wxTTS_SPEAK_ASYNC, ""));
        EXPECT_EQ(Failure(engine).category, wxTTS_FAILURE_NONE);
        sink.Kill();
        EXPECT_TRUE(AwaitEnd(engine));
        EXPECT_EQ(Failure(engine).message, "The audio device is no longer available.");
        QXSingleton<QXTextToSpeech>::DestroyInstance(); // before PortAudio ends
    }
    Pa_Terminate();
}
