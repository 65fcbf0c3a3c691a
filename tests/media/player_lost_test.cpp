// The player when its sound server dies under it. MIT licence.
#include "support/mediafile.h"
#include "support/playing.h"
#include "support/pulse_sink.h"
#include "support/recordingsurface.h"

#include <chrono>
#include <cstdlib>

#include <gtest/gtest.h>
#include <portaudio.h>
#include <wx/log.h>

TEST(PlayerOnLostServer, EndsAndCanBeStoppedWhetherTheServerHangsOrDies)
{
    PulseSink sink;
    if (!sink.Ok() && !std::getenv("QXSPEECH_NO_SKIP"))
        GTEST_SKIP() << sink.Why();
    ASSERT_TRUE(sink.Ok()) << sink.Why();
    ASSERT_EQ(Pa_Initialize(), paNoError);
    const wxLogNull quiet;
    ScratchDir dir;
    const std::string path = MakeWavFile(dir, "a.wav", 48000, 1, MakeTone(48000, 1, 30));
    {
        MKMediaPlayer hung;
        ASSERT_TRUE(OpenFile(hung, path));
        ASSERT_TRUE(hung.Play());
        ASSERT_TRUE(Await([&] { return PlayedTime(hung) > 300000; }));
        sink.Freeze();
        const auto frozen = std::chrono::steady_clock::now();
        EXPECT_TRUE(hung.Stop());
        EXPECT_LT(std::chrono::steady_clock::now() - frozen, std::chrono::seconds(6));
        EXPECT_EQ(hung.GetLastFailure().reason, "The audio device does not answer.");
        EXPECT_FALSE(hung.Play());
        EXPECT_FALSE(OpenFile(hung, path)) << "one call that hangs is enough: no other format is tried";
        EXPECT_LT(std::chrono::steady_clock::now() - frozen, std::chrono::seconds(12));
        EXPECT_EQ(hung.GetLastFailure().category, MKFailureDevice);
        sink.Thaw();

        MKMediaPlayer playing;
        MKMediaPlayer paused;
        ASSERT_TRUE(OpenFile(playing, path));
        ASSERT_TRUE(OpenFile(paused, path));
        ASSERT_TRUE(playing.Play());
        ASSERT_TRUE(paused.Play());
        ASSERT_TRUE(Await([&] { return PlayedTime(playing) > 300000 && PlayedTime(paused) > 300000; }));
        ASSERT_TRUE(paused.Pause());
        sink.Kill();
        EXPECT_TRUE(AwaitEnd(playing)) << "nobody calls Stop";
        EXPECT_EQ(playing.GetLastFailure().category, MKFailureDevice);
        EXPECT_EQ(paused.GetState(), MKTransformPaused);
        paused.Resume();
        EXPECT_TRUE(AwaitEnd(paused));
        playing.Stop();
        paused.Close();
        EXPECT_EQ(paused.GetLastFailure().category, MKFailureDevice) << "it outlives the graph";
        EXPECT_FALSE(OpenFile(playing, path)) << "the device is gone";
        EXPECT_EQ(playing.GetLastFailure().reason, "The audio device does not open.");
        playing.SetProvider(new MKFileProvider(std::string()));
        EXPECT_FALSE(playing.OpenMedia());
        EXPECT_EQ(playing.GetLastFailure().category, MKFailureFile);
    }
    Pa_Terminate();
}
