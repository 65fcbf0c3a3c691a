// The player and the AV display where no audio device is to be had. MIT licence.
#include "support/log_capture.h"
#include "support/mediafile.h"
#include "support/playing.h"
#include "support/recordingsurface.h"

#include <gtest/gtest.h>

// PortAudio is not started in this program, so there is no device.
TEST(PlayerWithoutDevice, SoundAloneDoesNotOpen)
{
    const wxLogNull quiet;
    ScratchDir dir;
    MKMediaPlayer player;
    EXPECT_FALSE(OpenFile(player, MakeWavFile(dir, "a.wav", 48000, 1, MakeTone(48000, 1, 0.2))));
    EXPECT_EQ(player.GetLastFailure().category, MKFailureDevice);
    EXPECT_TRUE(player.Close());
}

TEST(PlayerWithoutDevice, PicturesArePlayedByTheirTimeStampsAlone)
{
    QX_REQUIRE_FFMPEG();
    const wxLogNull quiet;
    ScratchDir dir;
    MediaSpec spec;
    spec.name = "film.nut";
    spec.audioCodec = "pcm_s16le";
    spec.videoCodec = "rawvideo"; // a decoder without threads of its own, which the thread sanitizer cannot see into
    spec.seconds = 1;
    spec.width = 64;
    spec.height = 48;
    RecordingSurface surface;
    MKMediaPlayer player;
    player.SetSurface(&surface);
    MKFileProvider* const provider = OpenFile(player, MakeMediaFile(dir, spec));
    ASSERT_TRUE(provider);
    EXPECT_EQ(player.GetConsumer()->GetStreamCount(), 1);
    EXPECT_EQ(player.GetConsumer()->GetStreamType(0), MKMediaVideo);
    ASSERT_TRUE(player.Play());
    const double load = LoadDuring(0.5);
    EXPECT_LT(load, 0.5) << "packets of the closed stream do not make the reader spin";
    ASSERT_TRUE(player.Pause());
    ASSERT_TRUE(player.Resume());
    ASSERT_TRUE(AwaitEnd(player));
    const std::vector<RecordingSurface::Shown> frames = surface.Frames();
    ASSERT_GE(frames.size(), 2u);
    EXPECT_GE(frames.back().due - frames.front().due, frames.back().pts - frames.front().pts);
    EXPECT_EQ(surface.Input().width, 64);
    player.Close();
}

TEST(AVDisplay, RefusesIndicesThatNoStreamHas)
{
    LogCapture log;
    MKAVDisplay display;
    MKStreamParameters params;
    MKFrame frame;
    EXPECT_TRUE(display.Open());
    EXPECT_EQ(display.GetStreamType(0), MKMediaNone);
    EXPECT_FALSE(display.QueryStreamParameters(0, &params));
    EXPECT_FALSE(display.CloseStream(0));
    EXPECT_FALSE(display.IsStreamOpened(0));
    EXPECT_EQ(display.GetStreamDuration(0), 0);
    EXPECT_EQ(display.GetStreamTimeStamp(0), 0);
    EXPECT_EQ(display.Write(0, &frame), -1);
    EXPECT_FALSE(display.OpenStream(0, &params));
    EXPECT_FALSE(display.AllocateFrame(0, &frame));
    EXPECT_EQ(display.GetBufferSize(0), 0);
    EXPECT_EQ(display.GetDuration(), 0);
    const char* const texts[] = {"Could not get stream type, invalid stream index",
                                 "Could not get stream parameters, invalid stream index",
                                 "Could not close stream, invalid stream index",
                                 "Could not get stream opened state, invalid stream index",
                                 "Could not get stream duration, invalid stream index",
                                 "Could not get stream time stamp, invalid stream index",
                                 "Could not write to stream, invalid stream index",
                                 "Could not open stream, type is not supported"};
    ASSERT_EQ(log.records.size(), std::size(texts));
    for (size_t i = 0; i < std::size(texts); ++i)
        EXPECT_EQ(log.records[i].text, texts[i]);
}

TEST(AVDisplay, KeepsOneStreamOfEachKindWhateverOpensFirst)
{
    for (const bool audioFirst : {true, false}) {
        SCOPED_TRACE(audioFirst);
        LogCapture log;
        RecordingSurface surface;
        MKAVDisplay display;
        display.SetSurface(&surface);
        MKStreamParameters audio;
        audio.type = MKMediaAudio;
        MKStreamParameters video;
        video.type = MKMediaVideo;
        EXPECT_EQ(display.OpenStream(0, audioFirst ? &audio : &video), !audioFirst) << "there is no device";
        EXPECT_EQ(display.OpenStream(1, audioFirst ? &video : &audio), audioFirst);
        const size_t audioIndex = audioFirst ? 0 : 1;
        EXPECT_EQ(display.GetStreamCount(), 2);
        EXPECT_EQ(display.GetStreamType(audioIndex), MKMediaAudio);
        EXPECT_EQ(display.GetStreamType(1 - audioIndex), MKMediaVideo);
        EXPECT_EQ(display.GetBufferSize(1 - audioIndex), 4);
        log.records.clear();
        EXPECT_FALSE(display.OpenStream(2, &audio));
        EXPECT_FALSE(display.OpenStream(2, &video));
        ASSERT_EQ(log.records.size(), 2u);
        EXPECT_EQ(log.records[0].text, "Could not open stream, audio stream already opened");
        EXPECT_TRUE(display.CloseStream(audioIndex)) << "the picture loses its clock with it";
        MKFrame frame;
        ASSERT_TRUE(display.AllocateFrame(1 - audioIndex, &frame));
        EXPECT_EQ(display.Write(1 - audioIndex, &frame), 1);
        EXPECT_EQ(display.GetStreamCount(), 1);
        EXPECT_TRUE(display.Close());
        EXPECT_EQ(display.GetStreamCount(), 0);
    }
}
