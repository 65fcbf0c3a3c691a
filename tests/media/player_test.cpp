// The player on a private null sink: what is heard there, and when. MIT licence.
#include "support/log_capture.h"
#include "support/mediafile.h"
#include "support/playing.h"
#include "support/recordingsurface.h"
#include "support/sink_suite.h"
#include "support/wav.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <random>
#include <thread>

extern "C" {
#include <libavutil/time.h>
}

#include <gtest/gtest.h>

namespace
{

constexpr int kRate = 48000;

class Player : public SinkSuite<>
{
protected:
    // A file of stretches of tone (level above 0) and silence, each so many seconds long.
    struct Piece {
        double seconds;
        double level;
    };
    std::string Tones(const std::vector<Piece>& pieces, double frequencyHz = 440)
    {
        std::vector<int16_t> samples;
        for (const Piece& piece : pieces) {
            const std::vector<int16_t> tone = MakeTone(kRate, 1, piece.seconds, frequencyHz, piece.level);
            samples.insert(samples.end(), tone.begin(), tone.end());
        }
        return MakeWavFile(dir, "tones" + std::to_string(++files) + ".wav", kRate, 1, samples);
    }
    std::string Film(double seconds, int framesPerSecond, int audioStreams = 1, std::vector<std::string> extraArgs = {})
    {
        MediaSpec spec;
        spec.name = "film" + std::to_string(++files) + ".nut";
        spec.audioCodec = "pcm_s16le";
        spec.videoCodec =
            "rawvideo"; // a decoder without threads of its own, which the thread sanitizer cannot see into
        spec.seconds = seconds;
        spec.audioStreams = audioStreams;
        spec.width = 64;
        spec.height = 48;
        spec.framesPerSecond = framesPerSecond;
        spec.extraArgs = std::move(extraArgs);
        return MakeMediaFile(dir, spec);
    }
    // Stereo, so that nothing converts the samples: each one is the number of the hundredth of a second it lies in,
    // beginning with 1.
    std::string Counted(double seconds)
    {
        std::vector<int16_t> samples(static_cast<size_t>(2 * kRate * seconds));
        for (size_t i = 0; i < samples.size(); ++i)
            samples[i] = static_cast<int16_t>(1 + i / 2 / (kRate / 100));
        return MakeWavFile(dir, "counted" + std::to_string(++files) + ".wav", kRate, 2, samples);
    }
    bool AwaitPlayed(const MKMediaPlayer& aPlayer, double seconds)
    {
        return Await([&] { return static_cast<double>(PlayedTime(aPlayer)) >= seconds * 1e6; });
    }

    ScratchDir dir;
    int files = 0;
    MKMediaPlayer player;
};

double HeardSeconds(const Sound& sound)
{
    double seconds = 0;
    for (const Stretch& stretch : LoudStretches(sound, 0.02))
        seconds += stretch.to - stretch.from;
    return seconds;
}

// Which parts of a counted file were heard, one after the other, seconds. What the sink added where it had nothing for
// a moment does not count.
std::vector<Stretch> HeardParts(const Sound& sound)
{
    std::vector<Stretch> parts;
    int last = 0;
    for (const int16_t sample : sound.samples) {
        if (sample == 0)
            continue;
        if (parts.empty() || (sample != last && sample != last + 1))
            parts.push_back({(sample - 1) / 100.0, 0});
        last = sample;
        parts.back().to = last / 100.0;
    }
    return parts;
}

// Looks at the clock of an open player from a thread of its own.
class ClockWatch
{
public:
    explicit ClockWatch(const MKMediaPlayer& player) : m_player(player), m_thread([this] { Watch(); }) {}
    ~ClockWatch() { Stop(); }

    // The greatest step back, microseconds.
    int64_t Stop()
    {
        m_done = true;
        if (m_thread.joinable())
            m_thread.join();
        return m_back;
    }
    int64_t Looks() const { return m_looks; }

private:
    void Watch()
    {
        int64_t last = PlayedTime(m_player);
        for (; !m_done; ++m_looks) {
            const int64_t clock = PlayedTime(m_player);
            m_back = std::max(m_back, last - clock);
            last = clock;
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    }

    const MKMediaPlayer& m_player;
    std::atomic<bool> m_done{false};
    std::atomic<int64_t> m_looks{0};
    int64_t m_back = 0; // watching thread, read when it has ended
    std::thread m_thread;
};

// One channel spread to two is 3 dB lower in each.
double ToneRms(double level, int channels = 1)
{
    return 32767 * level / std::sqrt(channels == 1 ? 4 : 2);
}

// A surface that takes its time, as a slow graphics card does.
class SlowSurface : public RecordingSurface
{
public:
    void Present() override
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        RecordingSurface::Present();
    }
};

// A surface that uses its player from the writing thread.
class CallingSurface : public RecordingSurface
{
public:
    explicit CallingSurface(MKMediaPlayer& player) : m_player(player) {}
    void Present() override
    {
        state = m_player.GetState();
        refused = !m_player.Pause() && !m_player.Stop() && !m_player.Close() && !m_player.Play() &&
                  !m_player.Resume() && !m_player.OpenMedia();
        RecordingSurface::Present();
    }

    std::atomic<MKTransformState> state{MKTransformClosed};
    std::atomic<bool> refused{false};

private:
    MKMediaPlayer& m_player;
};

} // namespace

// The end is stopped by hand as soon as it is seen, as hosts do.
TEST_F(Player, FileIsHeardToItsLastSyllable)
{
    SinkRecording recording(*s_sink);
    ASSERT_TRUE(OpenFile(player, Tones({{0.3, 0.5}, {0.7, 0}, {0.2, 0.5}})));
    ASSERT_TRUE(player.Play());
    EXPECT_EQ(player.GetState(), MKTransformRunning);
    ASSERT_TRUE(AwaitEnd(player));
    EXPECT_TRUE(player.Stop());
    const Sound heard = recording.Stop();
    const std::vector<Stretch> stretches = LoudStretches(heard, 0.1);
    ASSERT_EQ(stretches.size(), 2u);
    EXPECT_NEAR(stretches[0].to - stretches[0].from, 0.3, 0.06);
    EXPECT_NEAR(stretches[1].from - stretches[0].from, 1.0, 0.06);
    EXPECT_NEAR(stretches[1].to - stretches[1].from, 0.2, 0.06);
    EXPECT_NEAR(heard.Rms(stretches[1].from + 0.03, stretches[1].to - 0.03), ToneRms(0.5), 0.02 * ToneRms(0.5));
}

TEST_F(Player, SoundThatDoesNotFillABlockIsHeardWithItsTail)
{
    for (const bool tail : {false, true}) {
        SinkRecording recording(*s_sink);
        player.SetPlayTail(tail);
        ASSERT_TRUE(OpenFile(player, Tones({{0.06, 0.5}})));
        ASSERT_TRUE(player.Play());
        ASSERT_TRUE(AwaitEnd(player));
        EXPECT_TRUE(player.Stop());
        const std::vector<Stretch> stretches = LoudStretches(recording.Stop(), 0.1);
        ASSERT_EQ(stretches.size(), tail ? 1u : 0u);
        if (tail) {
            EXPECT_NEAR(stretches[0].to - stretches[0].from, 0.06, 0.02);
        }
    }
}

TEST_F(Player, OtherRatesChannelsAndCodecsComeOutAtTheSameLevelAndLength)
{
    QX_REQUIRE_FFMPEG();
    MediaSpec specs[3];
    specs[1].name = "tone.mp3";
    specs[2].name = "stereo.mp3";
    specs[2].rateHz = 44100;
    specs[2].channels = 2;
    specs[2].frequencyHz = 220;
    for (const MediaSpec& spec : specs) {
        SCOPED_TRACE(spec.name);
        SinkRecording recording(*s_sink);
        ASSERT_TRUE(OpenFile(player, MakeMediaFile(dir, spec)));
        ASSERT_TRUE(player.Play());
        ASSERT_TRUE(AwaitEnd(player));
        EXPECT_TRUE(player.Close());
        EXPECT_EQ(player.GetState(), MKTransformClosed);
        const Sound heard = recording.Stop();
        const std::vector<Stretch> stretches = LoudStretches(heard, 0.5);
        ASSERT_EQ(stretches.size(), 1u);
        EXPECT_NEAR(HeardSeconds(heard), 1.0, 0.13);
        const double expected = ToneRms(0.5, spec.channels);
        EXPECT_NEAR(heard.Rms(stretches[0].from + 0.1, stretches[0].to - 0.1), expected, 0.1 * expected);
    }
}

TEST_F(Player, PauseIsSilentWithAStandingClockAndNothingIsLost)
{
    SinkRecording recording(*s_sink);
    ASSERT_TRUE(OpenFile(player, Tones({{1.5, 0.5}})));
    ASSERT_TRUE(player.Play());
    ASSERT_TRUE(AwaitPlayed(player, 0.5));
    ASSERT_TRUE(player.Pause());
    EXPECT_EQ(player.GetState(), MKTransformPaused);
    EXPECT_FALSE(player.Pause());
    PassSeconds(0.3); // the write that was under way has ended
    const int64_t standing = PlayedTime(player);
    const double load = LoadDuring(1.0);
    EXPECT_EQ(PlayedTime(player), standing);
    EXPECT_LT(load, 0.2) << "a paused player does not spin";
    RecordProperty("paused_load_percent", std::to_string(100 * load));
    ASSERT_TRUE(player.Resume());
    ASSERT_TRUE(AwaitEnd(player));
    EXPECT_TRUE(player.Stop());
    const Sound heard = recording.Stop();
    const std::vector<Stretch> stretches = LoudStretches(heard, 0.5);
    ASSERT_EQ(stretches.size(), 2u);
    EXPECT_GT(stretches[1].from - stretches[0].to, 1.0) << "silence";
    EXPECT_NEAR(HeardSeconds(heard), 1.5, 0.12);
}

TEST_F(Player, StopEndsTheSoundPromptly)
{
    SinkRecording recording(*s_sink);
    ASSERT_TRUE(OpenFile(player, Tones({{20, 0.5}})));
    ASSERT_TRUE(player.Play());
    ASSERT_TRUE(AwaitPlayed(player, 1.0));
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(player.Stop());
    const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - begin;
    std::printf("stop took %.1f ms\n", taken.count());
    EXPECT_EQ(player.GetState(), MKTransformStopped);
    EXPECT_LT(HeardSeconds(recording.Stop()), 2.0);
}

TEST_F(Player, ClockTellsWhatIsHeard)
{
    SinkRecording recording(*s_sink);
    ASSERT_TRUE(OpenFile(player, Tones({{1.0, 0}, {1.0, 0.5}})));
    ASSERT_TRUE(player.Play());
    EXPECT_LT(PlayedTime(player), int64_t(1000000) * 4096 / kRate)
        << "at most the first block, which the device takes at once";
    double before = 0; // the clock just before and after the look at the recording
    double after = 0;
    double heard = 0; // of second 1
    ASSERT_TRUE(Await([&] {
        before = static_cast<double>(PlayedTime(player)) / 1e6;
        const Sound sound = recording.SoFar();
        after = static_cast<double>(PlayedTime(player)) / 1e6;
        const std::vector<Stretch> stretches = LoudStretches(sound, 0.1);
        if (!stretches.empty())
            heard = sound.Seconds() - stretches[0].from;
        return !stretches.empty();
    }));
    std::printf("clock %.3f to %.3f s with %.3f s of second 1 heard\n", before, after, heard);
    EXPECT_GT(after - 1.0 - heard, -0.15);
    EXPECT_LT(before - 1.0 - heard, 0.8) << "on a busy machine the recorder lags";
    ASSERT_TRUE(AwaitEnd(player));
    EXPECT_NEAR(static_cast<double>(player.GetConsumer()->GetDuration()), 2e6, 90000);
}

TEST_F(Player, SeekGoesThroughTheProviderBetweenStopAndPlay)
{
    SinkRecording recording(*s_sink);
    MKFileProvider* const provider = OpenFile(player, Tones({{3, 0.5}, {1, 0}, {1, 0.1}}));
    ASSERT_TRUE(provider);
    ASSERT_TRUE(player.Play());
    ASSERT_TRUE(AwaitPlayed(player, 0.3));
    ASSERT_TRUE(player.Stop());
    ASSERT_TRUE(provider->Seek(3500000));
    ASSERT_TRUE(player.Play());
    ASSERT_TRUE(AwaitEnd(player));
    EXPECT_TRUE(player.Stop());
    const Sound heard = recording.Stop();
    const std::vector<Stretch> stretches = LoudStretches(heard, 0.2);
    ASSERT_EQ(stretches.size(), 2u);
    EXPECT_LT(stretches[0].to - stretches[0].from, 1.5);
    EXPECT_NEAR(stretches[1].to - stretches[1].from, 1.0, 0.13);
    EXPECT_NEAR(heard.Rms(stretches[1].from + 0.1, stretches[1].to - 0.1), ToneRms(0.1), 0.05 * ToneRms(0.1));
}

// What the clock says is what was heard last, but for the latency.
TEST_F(Player, ClockAndSoundGoWhereTheSeekWent)
{
    SinkRecording recording(*s_sink);
    MKFileProvider* const provider = OpenFile(player, Counted(12));
    ASSERT_TRUE(provider);
    const double latency = -static_cast<double>(PlayedTime(player)) / 1e6;
    ASSERT_GT(latency, 0);
    const double places[] = {0, 6, 2, 9, 0};
    std::vector<double> clocks;
    for (const double place : places) {
        SCOPED_TRACE(place);
        if (!clocks.empty()) {
            ASSERT_TRUE(provider->Seek(static_cast<int64_t>(place * 1e6)));
        }
        ASSERT_TRUE(player.Play());
        ASSERT_TRUE(AwaitPlayed(player, place + 0.3));
        ASSERT_TRUE(player.Stop());
        clocks.push_back(static_cast<double>(PlayedTime(player)) / 1e6);
    }
    const std::vector<Stretch> parts = HeardParts(recording.Stop());
    ASSERT_EQ(parts.size(), std::size(places));
    for (size_t i = 0; i < parts.size(); ++i) {
        SCOPED_TRACE(places[i]);
        EXPECT_NEAR(parts[i].from, places[i], 0.15);
        EXPECT_NEAR(clocks[i] + latency, parts[i].to, 0.011);
    }
}

TEST_F(Player, PlayWhilePlayingOrPausedIsRefusedAndTheSoundGoesOn)
{
    SinkRecording recording(*s_sink);
    ASSERT_TRUE(OpenFile(player, Counted(2)));
    ASSERT_TRUE(player.Play());
    ASSERT_TRUE(AwaitPlayed(player, 0.4));
    const wxLogNull quiet;
    ClockWatch watch(player);
    EXPECT_FALSE(player.Play());
    EXPECT_EQ(player.GetState(), MKTransformRunning);
    ASSERT_TRUE(AwaitPlayed(player, 0.8));
    ASSERT_TRUE(player.Pause());
    EXPECT_FALSE(player.Play());
    EXPECT_EQ(player.GetState(), MKTransformPaused);
    EXPECT_TRUE(player.Resume());
    ASSERT_TRUE(AwaitEnd(player));
    EXPECT_EQ(watch.Stop(), 0) << "the clock does not begin again";
    EXPECT_TRUE(player.Stop());
    const std::vector<Stretch> parts = HeardParts(recording.Stop());
    ASSERT_EQ(parts.size(), 1u);
    EXPECT_EQ(parts[0].from, 0);
    EXPECT_GT(parts[0].to, 2 - 0.1) << "but for a last block that is not full";
}

// The server stands still for a while, so that a write takes longer than its samples last.
TEST_F(Player, ClockNeverGoesBackAndStandsInAPause)
{
    ASSERT_TRUE(OpenFile(player, Counted(4)));
    const int64_t latency = -PlayedTime(player);
    ASSERT_TRUE(player.Play());
    ClockWatch watch(player);
    ASSERT_TRUE(AwaitPlayed(player, 0.5));
    s_sink->Freeze();
    PassSeconds(0.5);
    s_sink->Thaw();
    ASSERT_TRUE(AwaitPlayed(player, 1.2));
    ASSERT_TRUE(player.Pause());
    MKConsumer* const display = player.GetConsumer();
    ASSERT_TRUE(Await([&] { return PlayedTime(player) + latency == display->GetDuration(); })) << "no write under way";
    const int64_t standing = PlayedTime(player);
    PassSeconds(0.5);
    EXPECT_EQ(PlayedTime(player), standing);
    ASSERT_TRUE(player.Resume());
    ASSERT_TRUE(AwaitPlayed(player, 2.5));
    ASSERT_TRUE(AwaitEnd(player));
    EXPECT_EQ(watch.Stop(), 0);
    EXPECT_GT(watch.Looks(), 1000);
}

TEST_F(Player, TwoPlayersAreHeardAtOnce)
{
    SinkRecording recording(*s_sink);
    MKMediaPlayer other;
    ASSERT_TRUE(OpenFile(player, Tones({{1.5, 0.2}})));
    ASSERT_TRUE(OpenFile(other, Tones({{1.5, 0.2}}, 1000)));
    ASSERT_TRUE(player.Play());
    ASSERT_TRUE(other.Play());
    ASSERT_TRUE(AwaitEnd(player));
    ASSERT_TRUE(AwaitEnd(other));
    EXPECT_TRUE(player.Close());
    EXPECT_TRUE(other.Close());
    const Sound heard = recording.Stop();
    const std::vector<Stretch> stretches = LoudStretches(heard, 0.1);
    ASSERT_EQ(stretches.size(), 1u);
    const double middle = (stretches[0].from + stretches[0].to) / 2;
    EXPECT_NEAR(heard.Rms(middle - 0.3, middle + 0.3), std::sqrt(2) * ToneRms(0.2), 0.05 * ToneRms(0.2));
}

TEST_F(Player, OnePlayerPlaysFileAfterFile)
{
    SinkRecording recording(*s_sink);
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(OpenFile(player, Tones({{0.3, 0.5}, {0.5, 0}})));
        ASSERT_TRUE(player.Play());
        ASSERT_TRUE(AwaitEnd(player));
    }
    EXPECT_TRUE(player.Close());
    EXPECT_EQ(LoudStretches(recording.Stop(), 0.2).size(), 3u);
}

TEST_F(Player, WithoutASurfaceOnlyTheFirstSoundIsPlayed)
{
    QX_REQUIRE_FFMPEG();
    MKFileProvider* const provider = OpenFile(player, Film(0.5, 10, 2));
    ASSERT_TRUE(provider);
    const int video = provider->FindStream(MKMediaVideo, 0);
    const int first = provider->FindStream(MKMediaAudio, 0);
    const int second = provider->FindStream(MKMediaAudio, static_cast<size_t>(first) + 1);
    ASSERT_GE(video, 0);
    ASSERT_GE(second, 0);
    EXPECT_FALSE(provider->IsStreamOpened(static_cast<size_t>(video)));
    EXPECT_TRUE(provider->IsStreamOpened(static_cast<size_t>(first)));
    EXPECT_FALSE(provider->IsStreamOpened(static_cast<size_t>(second)));
    EXPECT_EQ(player.GetConsumer()->GetStreamCount(), 1);
    ASSERT_TRUE(player.Play());
    EXPECT_TRUE(AwaitEnd(player));
}

TEST_F(Player, PictureKeepsToTheSound)
{
    QX_REQUIRE_FFMPEG();
    SinkRecording recording(*s_sink);
    RecordingSurface surface;
    player.SetSurface(&surface);
    ASSERT_TRUE(OpenFile(player, Film(4, 25)));
    MKConsumer* const display = player.GetConsumer();
    const int audio = display->FindStream(MKMediaAudio, 0);
    ASSERT_GE(audio, 0);
    surface.clock = [display, audio] { return display->GetStreamTimeStamp(static_cast<size_t>(audio)); };
    ASSERT_TRUE(player.Play());
    const double load = LoadDuring(3);
    EXPECT_LT(load, 0.5) << "a full sound queue does not make the reader spin";
    ASSERT_TRUE(AwaitEnd(player));
    EXPECT_TRUE(player.Stop());
    const std::vector<RecordingSurface::Shown> frames = surface.Frames();
    EXPECT_GT(surface.Presented(), 20u);
    std::vector<int64_t> off;
    for (const RecordingSurface::Shown& shown : frames) {
        if (shown.presented >= 0 && shown.pts > 1000000 && shown.pts < 3500000)
            off.push_back(std::abs(shown.pts - shown.clock));
    }
    ASSERT_FALSE(off.empty());
    std::sort(off.begin(), off.end());
    std::printf("load %.1f %%, %zu of %zu pictures shown, at most %lld us off\n", 100 * load, surface.Presented(),
                frames.size(), static_cast<long long>(off.back()));
    EXPECT_LE(off[off.size() / 2], 100000);
    EXPECT_LE(off[off.size() * 9 / 10], 150000) << "a busy machine may delay a few";
    EXPECT_NEAR(HeardSeconds(recording.Stop()), 4.0, 0.2);
    EXPECT_LE(surface.freshFrames, 5) << "a queue of four is filled from memory that is there";
    player.Close();
}

TEST_F(Player, SlowSurfaceDropsPicturesAndTheSoundGoesOn)
{
    QX_REQUIRE_FFMPEG();
    SinkRecording recording(*s_sink);
    SlowSurface surface;
    player.SetSurface(&surface);
    ASSERT_TRUE(OpenFile(player, Film(2, 25)));
    ASSERT_TRUE(player.Play());
    ASSERT_TRUE(AwaitEnd(player));
    EXPECT_TRUE(player.Stop());
    EXPECT_GT(surface.Presented(), 2u);
    EXPECT_LT(surface.Presented(), 35u) << "of 50";
    EXPECT_EQ(LoudStretches(recording.Stop(), 0.2).size(), 1u) << "no gaps";
    player.Close();
}

TEST_F(Player, PictureStandsInAPauseAndGoesOnWithTheSound)
{
    QX_REQUIRE_FFMPEG();
    RecordingSurface surface;
    player.SetSurface(&surface);
    ASSERT_TRUE(OpenFile(player, Film(2, 25)));
    ASSERT_TRUE(player.Play());
    ASSERT_TRUE(Await([&] { return surface.Presented() >= 15; }));
    ASSERT_TRUE(player.Pause());
    PassSeconds(0.3);
    const size_t standing = surface.Presented();
    PassSeconds(0.5);
    EXPECT_EQ(surface.Presented(), standing);
    ASSERT_TRUE(player.Resume());
    ASSERT_TRUE(AwaitEnd(player));
    EXPECT_GT(surface.Presented(), standing);
    player.Close();
}

TEST_F(Player, StopWaitsForNoPicturesTime)
{
    QX_REQUIRE_FFMPEG();
    const wxLogNull quiet;
    CallingSurface surface(player);
    player.SetSurface(&surface);
    MKFileProvider* const provider = OpenFile(player, Film(2, 1, 0, {"-vf", "setpts=N*1200/TB", "-vsync", "vfr"}));
    ASSERT_TRUE(provider);
    for (size_t round = 1; round <= 2; ++round) {
        ASSERT_TRUE(provider->Seek(0));
        ASSERT_TRUE(player.Play());
        ASSERT_TRUE(Await([&] { return surface.Frames().size() == 2 * round; }));
        const auto begin = std::chrono::steady_clock::now();
        ASSERT_TRUE(player.Stop());
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10)) << "of 20 minutes";
        EXPECT_EQ(surface.Presented(), round);
        EXPECT_TRUE(surface.refused) << "what would wait for the thread that calls";
        EXPECT_EQ(surface.state, MKTransformRunning);
    }
    player.Close();
}

TEST_F(Player, AnswersFalseWhereThereIsNothingToDo)
{
    const wxLogNull quiet;
    EXPECT_FALSE(player.OpenMedia()) << "no provider";
    EXPECT_TRUE(player.Close());
    EXPECT_FALSE(player.Play());
    EXPECT_FALSE(player.Pause());
    EXPECT_FALSE(player.Resume());
    EXPECT_TRUE(player.Stop());
    EXPECT_FALSE(OpenFile(player, dir / "missing.wav"));
    EXPECT_FALSE(OpenFile(player, MakeFile(dir, "text.wav", "not a sound")));
    player.SetAudioDevice("no such device");
    EXPECT_FALSE(OpenFile(player, Tones({{0.2, 0.5}})));
    player.SetAudioDevice("");
    EXPECT_TRUE(OpenFile(player, Tones({{0.2, 0.5}})));
    EXPECT_EQ(player.GetState(), MKTransformReady);
    EXPECT_TRUE(player.Play());
    EXPECT_FALSE(player.Play());
    EXPECT_TRUE(player.Close());
    EXPECT_EQ(player.GetState(), MKTransformClosed);

    Source source;
    player.SetProvider(new ScriptedProvider(source));
    player.SetProvider(new ScriptedProvider(source));
    EXPECT_EQ(source.alive, 1) << "the one that was not used is gone";
    EXPECT_TRUE(player.Close());
    EXPECT_EQ(source.alive, 0);
}

TEST_F(Player, PictureGoesOnAtOnceWhereTheSeekWent)
{
    QX_REQUIRE_FFMPEG();
    RecordingSurface surface;
    player.SetSurface(&surface);
    MKFileProvider* const provider = OpenFile(player, Film(9, 10));
    ASSERT_TRUE(provider);
    size_t seen = 0;
    for (const double place : {0.0, 7.0, 1.0, 6.0}) {
        SCOPED_TRACE(place);
        if (seen > 0) {
            ASSERT_TRUE(provider->Seek(static_cast<int64_t>(place * 1e6)));
        }
        const int64_t begin = av_gettime_relative();
        ASSERT_TRUE(player.Play());
        const size_t target = surface.Presented() + 5;
        EXPECT_TRUE(Await([&] { return surface.Presented() >= target; }));
        ASSERT_TRUE(player.Stop());
        const std::vector<RecordingSurface::Shown> frames = surface.Frames();
        ASSERT_GT(frames.size(), seen);
        EXPECT_NEAR(static_cast<double>(frames[seen].pts) / 1e6, place, 0.3) << "the place itself is shown first";
        const auto latest = std::max_element(frames.begin() + static_cast<std::ptrdiff_t>(seen), frames.end(),
                                             [](const auto& one, const auto& two) { return one.due < two.due; });
        EXPECT_LT(latest->due - begin, 3000000) << "half a second's worth of pictures";
        seen = frames.size();
    }
    player.Close();
}

// Two players at once, each by its own thread, in every state at random moments; a third thread asks.
TEST_F(Player, SurvivesEveryOrderOfCallsAtRandomMoments)
{
    const char* const given = std::getenv("QX_SEED");
    const unsigned seed = given ? static_cast<unsigned>(std::strtoul(given, nullptr, 10)) : std::random_device{}();
    std::printf("QX_SEED=%u\n", seed);
    const std::string paths[] = {Tones({{0.15, 0.2}}), Tones({{5, 0.1}}), HaveFFmpeg() ? Film(2, 25) : Tones({{1, 0}})};
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < 2; ++i) {
        threads.emplace_back([&paths, own = std::mt19937(seed + i)]() mutable {
            const wxLogNull quiet;
            RecordingSurface surface;
            MKMediaPlayer one;
            MKFileProvider* provider = nullptr;
            std::atomic<bool> done{false};
            std::thread asking([&] {
                while (!done)
                    one.GetState();
            });
            for (int step = 0; step < 400; ++step) {
                switch (own() % 9) {
                case 0:
                    one.SetSurface(own() % 2 ? &surface : nullptr);
                    provider = OpenFile(one, paths[own() % 3]);
                    break;
                case 1:
                case 2:
                    one.Play();
                    break;
                case 3:
                    one.Pause();
                    break;
                case 4:
                    one.Resume();
                    break;
                case 5:
                    one.Stop();
                    break;
                case 6:
                    if (provider)
                        provider->Seek(static_cast<int64_t>(own() % 2000000));
                    break;
                case 7:
                    if (own() % 3 == 0) {
                        one.Close();
                        provider = nullptr;
                    }
                    break;
                default:
                    std::this_thread::sleep_for(std::chrono::milliseconds(own() % 60));
                    break;
                }
            }
            done = true;
            asking.join();
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    ASSERT_TRUE(OpenFile(player, Tones({{0.2, 0.2}})));
    ASSERT_TRUE(player.Play());
    EXPECT_TRUE(AwaitEnd(player)) << "the next file is played as ever";
}
