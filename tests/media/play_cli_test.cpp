// qxspeech-play, run as a user runs it: what is heard and seen, exit statuses, keys. MIT licence.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "childprocess.h"
#include "support/mediafile.h"
#include "support/pulse_sink.h"
#include "support/run_tests.h"
#include "xserver.h"

namespace
{

namespace fs = std::filesystem;
using Result = ChildProcess::Result;
using Arguments = std::vector<std::string>;
using Clock = std::chrono::steady_clock;

constexpr int kRateHz = 48000;

ChildProcess Play(Arguments arguments)
{
    arguments.insert(arguments.begin(), QX_PLAY_PROGRAM);
    ChildProcess child;
    child.arguments = std::move(arguments);
    return child;
}

Result RunPlay(Arguments arguments)
{
    return Play(std::move(arguments)).Run();
}

size_t Lines(const std::string& text)
{
    return static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
}

bool Contains(const std::string& text, const std::string& word)
{
    return text.find(word) != std::string::npos;
}

void ExpectNoDevice(const Result& result)
{
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(Lines(result.err), 1U) << result.err;
    EXPECT_TRUE(Contains(result.err, "device")) << result.err;
}

// Seconds of silence, then of a tone.
std::vector<int16_t> SilenceThenTone(double silence, double tone)
{
    std::vector<int16_t> samples(static_cast<size_t>(silence * kRateHz), 0);
    const std::vector<int16_t> loud = MakeTone(kRateHz, 1, tone);
    samples.insert(samples.end(), loud.begin(), loud.end());
    return samples;
}

double LoudSeconds(const Sound& sound)
{
    double seconds = 0;
    for (const Stretch& stretch : LoudStretches(sound, 0.05))
        seconds += stretch.to - stretch.from;
    return seconds;
}

// Without pacing: the device takes whatever comes at once and keeps it in a file, 48000 Hz stereo.
class PlayCli : public testing::Test
{
protected:
    PlayCli()
    {
        Configure("pcm.!default { type file slave.pcm { type null } file \"" + m_folder / "heard.raw" +
                  "\" format raw }\n");
        unsetenv("DISPLAY");
        unsetenv("WAYLAND_DISPLAY");
    }
    void Configure(const std::string& text)
    {
        std::ofstream(m_folder / "sound.conf") << text;
        setenv("ALSA_CONFIG_PATH", (m_folder / "sound.conf").c_str(), 1);
    }
    // The first channel of what the device got since the last call.
    Sound Heard()
    {
        const std::string path = m_folder / "heard.raw";
        std::ifstream file(path, std::ios::binary); // absent if no device was opened
        const std::string bytes((std::istreambuf_iterator<char>(file)), {});
        fs::remove(path);
        Sound sound;
        sound.rateHz = kRateHz;
        sound.samples.resize(bytes.size() / 4);
        for (size_t i = 0; i < sound.samples.size(); ++i)
            std::memcpy(&sound.samples[i], &bytes[4 * i], 2);
        return sound;
    }
    std::string Wav(const std::string& name, const std::vector<int16_t>& samples)
    {
        return MakeWavFile(m_folder, name, kRateHz, 1, samples);
    }

    ScratchDir m_folder;
};

TEST_F(PlayCli, EveryKindOfFileIsHeardWhole)
{
    QX_REQUIRE_FFMPEG();
    for (const char* name :
         {"a.wav", "a.mp3", "a.flac", "a.ogg", "a.m4a", "a.mkv", "a.mp4", "with: colon.wav", "caf\xC3\xA9.mp3"}) {
        SCOPED_TRACE(name);
        MediaSpec spec;
        spec.name = name;
        spec.seconds = 2;
        spec.width = Contains(name, ".mk") || Contains(name, ".mp4") ? 64 : 0;
        spec.height = spec.width * 3 / 4;
        const Result result = RunPlay({"--no-video", MakeMediaFile(m_folder, spec)});
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.out + result.err, "");
        EXPECT_NEAR(LoudSeconds(Heard()), 2, 0.2);
    }
}

TEST_F(PlayCli, NameWithAColonIsAFileBeforeItIsAnAddress)
{
    Wav("a:b.wav", MakeTone(kRateHz, 1, 1));
    ChildProcess child;
    child.arguments = {"/bin/sh", "-c", "cd \"$1\" && exec \"$0\" a:b.wav", QX_PLAY_PROGRAM, m_folder.Path()};
    EXPECT_EQ(child.Run().status, 0);
    EXPECT_NEAR(LoudSeconds(Heard()), 1, 0.2);
}

TEST_F(PlayCli, FailuresHaveTheirStatusAndOneLine)
{
    const std::string tone = Wav("tone.wav", MakeTone(kRateHz, 1, 1));
    const std::string text = MakeFile(m_folder, "text.txt", "This is no media file, just a line of text.\n");
    const struct {
        const char* label;
        Arguments arguments;
        int status;
        std::string word; // that the line holds
    } rows[] = {
        {"nothing to play", {}, 2, "--help"},
        {"unknown option", {"--nonsense", tone}, 2, "nonsense"},
        {"no time", {"--from", "soon", tone}, 2, "soon"},
        {"behind the end", {"--from", "1:00", tone}, 2, "lasts 0:01.0"},
        {"recording without a length", {"--record", m_folder / "r.wav"}, 2, "seconds"},
        {"unknown device", {"--device", "Nobody", tone}, 3, "--list-devices"},
        {"no such file", {m_folder / "absent.wav"}, 4, "No such file"},
        {"folder", {m_folder.Path()}, 4, "directory"},
        {"text", {text}, 4, "no media file"},
        {"empty file", {MakeFile(m_folder, "empty.wav", "")}, 4, "no media file"},
        {"recording into no folder", {"--record", m_folder / "none/r.wav", "1"}, 4, "none/r.wav"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        const Result result = RunPlay(row.arguments);
        EXPECT_EQ(result.status, row.status);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(Lines(result.err), 1U) << result.err;
        EXPECT_TRUE(Contains(result.err, row.word)) << result.err;
        EXPECT_EQ(LoudSeconds(Heard()), 0);
    }
}

TEST_F(PlayCli, FileThatCannotBePlayedKeepsNoOtherFromBeingPlayed)
{
    const std::string tone = Wav("tone.wav", MakeTone(kRateHz, 1, 1));
    const Result result = RunPlay({tone, m_folder / "absent.wav", tone});
    EXPECT_EQ(result.status, 4);
    EXPECT_EQ(Lines(result.err), 1U) << result.err;
    EXPECT_NEAR(LoudSeconds(Heard()), 1, 0.2); // the device's file begins anew with each opening
}

TEST_F(PlayCli, SoundlessPictureFileIsToldWithoutAScreen)
{
    QX_REQUIRE_FFMPEG();
    MediaSpec spec;
    spec.name = "silent.mp4";
    spec.audioStreams = 0;
    spec.width = 64;
    spec.height = 48;
    const std::string file = MakeMediaFile(m_folder, spec);
    const struct {
        Arguments arguments;
        const char* display;
        bool isDisplayNamed;
    } rows[] = {{{"--no-video", file}, "", false}, {{file}, "", true}, {{file}, ":4711", true}};
    for (const auto& row : rows) {
        setenv("DISPLAY", row.display, 1);
        const Result result = RunPlay(row.arguments);
        EXPECT_EQ(result.status, 4);
        EXPECT_EQ(Lines(result.err), 1U) << result.err;
        EXPECT_TRUE(Contains(result.err, "no sound")) << result.err;
        EXPECT_EQ(Contains(result.err, "no display"), row.isDisplayNamed) << result.err;
    }
}

TEST_F(PlayCli, FromBeginsInTheMiddleOfTheFirstFile)
{
    const std::string file = Wav("late.wav", SilenceThenTone(4, 1));
    EXPECT_EQ(RunPlay({"--from", "4", file}).status, 0);
    const Sound heard = Heard();
    EXPECT_LT(heard.Seconds(), 2.5); // a seek lands a little before
    EXPECT_NEAR(LoudSeconds(heard), 1, 0.2);
}

TEST_F(PlayCli, NoDeviceIsOneLine)
{
    Configure("pcm.!default { type hw card 77 }\n");
    const std::string tone = Wav("tone.wav", MakeTone(kRateHz, 1, 1));
    for (const Arguments& arguments : {Arguments{tone}, Arguments{"--record", m_folder / "r.wav", "1"}}) {
        const Result result = RunPlay(arguments);
        ExpectNoDevice(result);
    }
    EXPECT_FALSE(fs::exists(m_folder / "r.wav"));
    EXPECT_EQ(RunPlay({"-L", "--json"}).out, "[]\n");
}

TEST_F(PlayCli, ListNamesTheDevicesThatPlayOnThem)
{
    Configure("pcm.!default { type null }\n"
              "pcm.other { type file slave.pcm { type null } file \"" +
              m_folder / "heard.raw" + "\" format raw hint { show on description \"Other\" } }\n");
    const Result list = RunPlay({"--list-devices"});
    EXPECT_EQ(list.status, 0);
    EXPECT_EQ(list.err, "");
    EXPECT_TRUE(Contains(list.out, "(default output)")) << list.out;
    const Result json = RunPlay({"--list-devices", "--json"});
    EXPECT_EQ(json.out.compare(0, 2, "[{"), 0) << json.out;
    EXPECT_TRUE(Contains(json.out, "\"default_output\":true")) << json.out;
    const std::string tone = Wav("tone.wav", MakeTone(kRateHz, 1, 1));
    const size_t at = json.out.find("\"id\":\"ALSA:other");
    ASSERT_NE(at, std::string::npos) << json.out;
    const std::string id = json.out.substr(at + 6, json.out.find('"', at + 6) - at - 6);
    EXPECT_EQ(RunPlay({"--device", id, tone}).status, 0);
    EXPECT_NEAR(LoudSeconds(Heard()), 1, 0.2);
}

TEST_F(PlayCli, FiftyFilesPlayOneAfterTheOther)
{
    const std::string tone = Wav("short.wav", MakeTone(kRateHz, 1, 0.3));
    ChildProcess child = Play(Arguments(50, tone));
    child.onTerminal = true;
    const Result result = child.Run();
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_TRUE(Contains(result.err, "[50/50] short.wav")) << result.err;
    EXPECT_NEAR(LoudSeconds(Heard()), 0.3, 0.1); // the last one
}

TEST_F(PlayCli, ScreenIsNotAskedForWhereOnlySoundPlays)
{
    QX_REQUIRE_FFMPEG();
    setenv("DISPLAY", ":4711", 1);
    MediaSpec cover;
    cover.name = "cover.mp3";
    cover.hasCover = true;
    for (const std::string& file : {Wav("tone.wav", MakeTone(kRateHz, 1, 1)), MakeMediaFile(m_folder, cover)}) {
        const Result result = RunPlay({file});
        EXPECT_EQ(result.status, 0) << file;
        EXPECT_EQ(result.err, "") << file;
    }
}

TEST_F(PlayCli, LogIsShownOnRequestOnly)
{
    const std::string record = "Could not open input file";
    const std::string absent = m_folder / "absent.wav";
    EXPECT_FALSE(Contains(RunPlay({absent}).err, record));
    const Result result = RunPlay({"--verbose", absent});
    EXPECT_EQ(result.status, 4);
    EXPECT_TRUE(Contains(result.err, record)) << result.err;
}

// In real time, on a sound server of its own.
class PlayCliInTime : public PlayCli
{
protected:
    void SetUp() override
    {
        if (!m_sink.Ok())
            GTEST_SKIP() << m_sink.Why();
        // Without a device's name recording takes the server's only source, the monitor of its sink.
        Configure("pcm.!default { type pulse server \"" + m_sink.Socket() +
                  "\" }\nctl.!default { type pulse server \"" + m_sink.Socket() + "\" }\n");
    }
    bool IsPlaying() const
    {
        const std::string ask = "pactl -s " + m_sink.Socket() + " list short sink-inputs 2>/dev/null | grep -q .";
        return std::system(ask.c_str()) == 0;
    }

    PulseSink m_sink;
};

TEST_F(PlayCliInTime, TwoProcessesPlayAtOnce)
{
    const std::string tone = Wav("tone.wav", MakeTone(kRateHz, 1, 2));
    SinkRecording recording(m_sink);
    Result second;
    std::thread other([&] { second = RunPlay({tone}); });
    const Result first = RunPlay({tone});
    other.join();
    EXPECT_EQ(first.status, 0) << first.err;
    EXPECT_EQ(second.status, 0) << second.err;
    const double loud = LoudSeconds(recording.Stop());
    EXPECT_GT(loud, 1.7);
    EXPECT_LT(loud, 3.5); // not one after the other
}

TEST_F(PlayCliInTime, ServerThatDiesIsOneLine)
{
    ChildProcess child = Play({Wav("long.wav", MakeTone(kRateHz, 1, 30))});
    bool killed = false;
    child.whileRunning = [&](pid_t) {
        if (!killed && IsPlaying()) {
            m_sink.Kill();
            killed = true;
        }
    };
    const Result result = child.Run();
    EXPECT_TRUE(killed);
    ExpectNoDevice(result);
}

// Half a minute of a tone, as a WAV file that comes through a pipe. The pipe stays open for writing: no end is seen.
class TonePipe
{
public:
    explicit TonePipe(const ScratchDir& folder)
        : path(folder / "pipe"),
          m_whole(MakeWavFile(folder, "whole.wav", kPipeRateHz, 2, MakeTone(kPipeRateHz, 2, 30)), std::ios::binary)
    {
        if (mkfifo(path.c_str(), 0600) == 0)
            m_pipe = open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    }
    ~TonePipe() { close(m_pipe); }
    TonePipe(const TonePipe&) = delete;
    TonePipe& operator=(const TonePipe&) = delete;

    bool Ok() const { return m_pipe >= 0; }
    // Up to so many seconds from the beginning, as far as the pipe has room.
    void Feed(double seconds)
    {
        std::string bytes(static_cast<size_t>(seconds * kPipeRateHz) * 4 - m_fed, '\0');
        m_whole.clear();
        m_whole.seekg(static_cast<std::streamoff>(m_fed));
        m_whole.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        const ssize_t taken = write(m_pipe, bytes.data(), static_cast<size_t>(m_whole.gcount()));
        m_fed += taken > 0 ? static_cast<size_t>(taken) : 0;
    }

    static constexpr double kToOpen = 1; // seconds without which the file does not open: a quarter of a megabyte
    const std::string path;

private:
    static constexpr int kPipeRateHz = 96000;

    std::ifstream m_whole;
    int m_pipe = -1;
    size_t m_fed = 0;
};

// When it dies, hardly more was read than was heard: how much was played does not tell it from the end.
TEST_F(PlayCliInTime, ServerThatDiesUnderAPipeIsOneLine)
{
    TonePipe pipe(m_folder);
    ASSERT_TRUE(pipe.Ok());
    ChildProcess child = Play({pipe.path});
    Clock::time_point start;
    bool plays = false;
    bool killed = false;
    child.whileRunning = [&](pid_t) {
        if (!plays && IsPlaying()) {
            plays = true;
            start = Clock::now();
        }
        const std::chrono::duration<double> played = plays ? Clock::now() - start : Clock::duration(0);
        pipe.Feed(std::max(TonePipe::kToOpen, played.count() + 0.2));
        if (!killed && played.count() > TonePipe::kToOpen + 0.5) {
            m_sink.Kill();
            killed = true;
        }
    };
    const Result result = child.Run();
    EXPECT_TRUE(killed);
    ExpectNoDevice(result);
}

TEST_F(PlayCliInTime, SpacePausesAndGoesOn)
{
    ChildProcess child = Play({Wav("tone.wav", MakeTone(kRateHz, 1, 3))});
    child.onTerminal = true;
    Clock::time_point pausedAt;
    int typed = 0;
    child.type = [&](const std::string& shown) -> std::string {
        if (typed == 0 && Contains(shown, "playing, 0:01.")) {
            ++typed;
            return " ";
        }
        if (typed == 1 && Contains(shown, "paused at ")) {
            ++typed;
            pausedAt = Clock::now();
        }
        if (typed == 2 && Clock::now() - pausedAt > std::chrono::milliseconds(1500)) {
            ++typed;
            return " ";
        }
        return "";
    };
    SinkRecording recording(m_sink);
    const Result result = child.Run();
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_TRUE(result.terminalRestored);
    const std::vector<Stretch> loud = LoudStretches(recording.Stop(), 0.3);
    ASSERT_EQ(loud.size(), 2U);
    EXPECT_GT(loud[1].from - loud[0].to, 1.0);
    EXPECT_NEAR(loud[0].to - loud[0].from + loud[1].to - loud[1].from, 3, 0.4);
}

TEST_F(PlayCliInTime, ArrowsGoForwardAndBack)
{
    ChildProcess child = Play({Wav("late.wav", SilenceThenTone(5, 20))});
    child.onTerminal = true;
    int typed = 0;
    size_t seen = 0;
    const auto shownSince = [&](const std::string& shown, const char* word) {
        const size_t at = shown.find(word, seen);
        if (at == std::string::npos)
            return false;
        seen = shown.size();
        ++typed;
        return true;
    };
    child.type = [&](const std::string& shown) -> std::string {
        if (typed == 0 && shownSince(shown, "playing, 0:00.5"))
            return "\x1b[C\x1b[C\x1b[C"; // quicker than the sound begins
        if (typed == 1 && shownSince(shown, "playing, 0:16."))
            return "\x1b[D\x1b[D\x1b[D";
        if (typed == 2 && shownSince(shown, "playing, 0:01."))
            return "q";
        return "";
    };
    SinkRecording recording(m_sink);
    const Result result = child.Run();
    EXPECT_EQ(result.status, 130) << result.err;
    EXPECT_EQ(typed, 3) << result.err;
    EXPECT_TRUE(result.terminalRestored);
    EXPECT_FALSE(Contains(result.err, "playing, 0:04.0")) << result.err;
    const double loud = LoudSeconds(recording.Stop()); // from where it went to until it came back
    EXPECT_GT(loud, 0.3);
    EXPECT_LT(loud, 2.5);
}

TEST_F(PlayCliInTime, SeekInAPauseTakesEffectWhenItEnds)
{
    ChildProcess child = Play({Wav("tone.wav", MakeTone(kRateHz, 1, 20))});
    child.onTerminal = true;
    int typed = 0;
    child.type = [&](const std::string& shown) -> std::string {
        if (typed == 0 && Contains(shown, "playing, 0:00.5"))
            return ++typed, " \x1b[C\x1b[C";
        if (typed == 1 && Contains(shown, "paused at 0:10."))
            return ++typed, " ";
        if (typed == 2 && Contains(shown, "playing, 0:10."))
            return ++typed, "q";
        return "";
    };
    SinkRecording recording(m_sink);
    const Result result = child.Run();
    EXPECT_EQ(result.status, 130) << result.err;
    EXPECT_EQ(typed, 3) << result.err;
    EXPECT_FALSE(Contains(result.err, "playing, 0:05.")) << result.err;
    EXPECT_LT(LoudSeconds(recording.Stop()), 3);
}

TEST_F(PlayCliInTime, SignalStopsAtOnce)
{
    ChildProcess child = Play({Wav("long.wav", MakeTone(kRateHz, 1, 30))});
    child.whileRunning = [&](pid_t pid) {
        if (IsPlaying())
            kill(pid, SIGINT);
    };
    const Result result = child.Run();
    EXPECT_EQ(result.status, 130);
    EXPECT_EQ(result.err, "");
}

TEST_F(PlayCliInTime, RecordsWhatAnotherProcessPlays)
{
    const std::string tone = Wav("tone.wav", MakeTone(kRateHz, 1, 6));
    std::thread player([&] { EXPECT_EQ(RunPlay({tone}).status, 0); });
    const Result result = RunPlay({"--record", m_folder / "r.wav", "2.5"});
    player.join();
    EXPECT_EQ(result.status, 0) << result.err;
    Sound sound;
    std::string why;
    ASSERT_TRUE(ReadWav(m_folder / "r.wav", sound, why)) << why;
    EXPECT_EQ(sound.channels, 2);
    EXPECT_DOUBLE_EQ(sound.Seconds(), 2.5);
    EXPECT_GT(sound.Rms(1, 2.5), 5000);
}

TEST_F(PlayCliInTime, InterruptedRecordingIsAWholeFile)
{
    const std::string file = m_folder / "r.wav";
    ChildProcess child = Play({"--record", file, "30"});
    child.whileRunning = [&](pid_t pid) {
        std::error_code none;
        const uintmax_t size = fs::file_size(file, none);
        if (!none && size > 100000)
            kill(pid, SIGINT);
    };
    EXPECT_EQ(child.Run().status, 130);
    Sound sound;
    std::string why;
    ASSERT_TRUE(ReadWav(file, sound, why)) << why;
    EXPECT_GT(sound.Seconds(), 0.4);
    EXPECT_LT(sound.Seconds(), 20);
}

// Four colours, each a quarter of the picture.
class PlayCliVideo : public PlayCliInTime
{
protected:
    void SetUp() override
    {
        if (!HaveFFmpeg())
            GTEST_SKIP() << "no ffmpeg command";
        PlayCliInTime::SetUp();
        m_file = m_folder / "colours.mkv";
        const std::string size = ":s=160x120:r=25:d=4";
        const std::string command =
            "ffmpeg -nostdin -y -v error -f lavfi -i \"color=red" + size + "[a];color=lime" + size + "[b];color=blue" +
            size + "[c];color=white" + size +
            "[d];[a][b]hstack[e];[c][d]hstack[f];[e][f]vstack\" -f lavfi -i sine=d=4 -c:v mpeg4 -q:v 2 " + m_file;
        ASSERT_EQ(std::system(command.c_str()), 0);
    }

    std::string MakeSwitching(int quietSeconds)
    {
        std::string file = m_folder / "switching.mkv";
        const std::string quiet = std::to_string(quietSeconds);
        const std::string end = std::to_string(quietSeconds + 2);
        const std::string command =
            "ffmpeg -nostdin -y -v error -f lavfi -i color=black:s=320x240:r=25:d=" + quiet +
            " -f lavfi -i color=white:s=320x240:r=25:d=2 -f lavfi -i \"sine=d=" + end + ",volume=enable='lt(t," +
            quiet + ")':volume=0\" -filter_complex \"[0][1]concat=n=2[v]\" -map \"[v]\" -map 2:a -c:v mpeg4 -q:v 2 " +
            file;
        EXPECT_EQ(std::system(command.c_str()), 0);
        return file;
    }

    std::string m_file;
};

// Where pixels near a colour lie.
struct Patch {
    size_t count = 0;
    double x = 0; // means
    double y = 0;
};

Patch FindColour(const Screenshot& shot, uint32_t colour)
{
    Patch patch;
    for (size_t i = 0; i < shot.pixels.size(); ++i) {
        bool isNear = true;
        for (int shift = 0; shift < 24; shift += 8)
            isNear = isNear && std::abs(static_cast<int>(shot.pixels[i] >> shift & 0xff) -
                                        static_cast<int>(colour >> shift & 0xff)) < 24;
        if (!isNear)
            continue;
        ++patch.count;
        patch.x += static_cast<double>(i % static_cast<size_t>(shot.width));
        patch.y += static_cast<double>(i / static_cast<size_t>(shot.width));
    }
    patch.x /= static_cast<double>(std::max<size_t>(patch.count, 1));
    patch.y /= static_cast<double>(std::max<size_t>(patch.count, 1));
    return patch;
}

TEST_F(PlayCliVideo, PictureIsSeenInTheWindowWhileTheSoundPlays)
{
    const XServer server;
    if (!server.Ok())
        GTEST_SKIP() << "no Xvfb command";
    setenv("DISPLAY", server.Name().c_str(), 1);
    const std::string turned = m_folder / "turned.mp4"; // to the left, and half as wide as its pixels
    const std::string command = "ffmpeg -nostdin -y -v error -i " + m_file +
                                " -c:v copy -c:a aac -strict -2 -aspect 2:3 -metadata:s:v:0 rotate=90 " + turned;
    ASSERT_EQ(std::system(command.c_str()), 0);
    const struct {
        std::string file;
        double right[2]; // from the picture's left to its right, in pixels
        double down[2];
    } rows[] = {{m_file, {160, 0}, {0, 120}}, {turned, {0, -80}, {120, 0}}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.file);
        const double size = std::abs(row.right[0] * row.down[1] - row.right[1] * row.down[0]);
        Patch red;
        Patch green;
        Patch blue;
        Patch white;
        ChildProcess child = Play({row.file});
        child.whileRunning = [&](pid_t) {
            // A look may come upon a window that is just being drawn.
            if (static_cast<double>(std::min({red.count, green.count, blue.count, white.count})) > size - 2000)
                return;
            const Screenshot shot = server.Look();
            red = FindColour(shot, 0xff0000);
            green = FindColour(shot, 0x00ff00);
            blue = FindColour(shot, 0x0000ff);
            white = FindColour(shot, 0xffffff);
        };
        SinkRecording recording(m_sink);
        const Result result = child.Run();
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.err, "");
        EXPECT_NEAR(LoudSeconds(recording.Stop()), 4, 0.4);
        for (const Patch& patch : {red, green, blue, white})
            EXPECT_NEAR(static_cast<double>(patch.count), size, 2000);
        EXPECT_NEAR(green.x - red.x, row.right[0], 8);
        EXPECT_NEAR(green.y - red.y, row.right[1], 8);
        EXPECT_NEAR(blue.x - red.x, row.down[0], 8);
        EXPECT_NEAR(blue.y - red.y, row.down[1], 8);
    }
}

TEST_F(PlayCliVideo, DisplayThatGoesAwayIsOneLine)
{
    auto server = std::make_unique<XServer>();
    if (!server->Ok())
        GTEST_SKIP() << "no Xvfb command";
    setenv("DISPLAY", server->Name().c_str(), 1);
    ChildProcess child = Play({m_file});
    child.whileRunning = [&](pid_t) {
        if (server && FindColour(server->Look(), 0xff0000).count > 1000)
            server.reset();
    };
    const Result result = child.Run();
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(Lines(result.err), 1U) << result.err;
    EXPECT_TRUE(Contains(result.err, "display")) << result.err;
}

// The file is black and silent at first, white and loud from a moment on.
TEST_F(PlayCliVideo, PictureAndSoundChangeTogether)
{
    const XServer server;
    if (!server.Ok())
        GTEST_SKIP() << "no Xvfb command";
    setenv("DISPLAY", server.Name().c_str(), 1);
    const struct {
        const char* label;
        const char* keys;
        int quiet; // seconds
    } rows[] = {{"from the beginning", "", 2}, {"after going forward", "\x1b[C", 7}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        const std::string file = MakeSwitching(row.quiet);
        ChildProcess child = Play({file});
        child.input = row.keys;
        child.onTerminal = true;
        child.typeAfter = "playing, 0:00.5";
        Clock::time_point seen;
        Clock::time_point heard;
        SinkRecording recording(m_sink);
        child.whileRunning = [&](pid_t) {
            if (seen == Clock::time_point() && FindColour(server.Look(), 0xffffff).count > 10000)
                seen = Clock::now();
            if (heard == Clock::time_point() && LoudSeconds(recording.SoFar()) > 0)
                heard = Clock::now();
        };
        const Result result = child.Run();
        EXPECT_EQ(result.status, 0) << result.err;
        ASSERT_NE(seen, Clock::time_point()) << result.err;
        ASSERT_NE(heard, Clock::time_point()) << result.err;
        const double apart = std::chrono::duration<double>(seen - heard).count();
        RecordProperty(row.label, std::to_string(apart));
        EXPECT_LT(std::abs(apart), 0.8); // a loaded machine draws late
    }
}

TEST_F(PlayCliVideo, WithoutAScreenTheSoundPlaysWithANote)
{
    for (const char* display : {"", ":4711"}) {
        SCOPED_TRACE(display);
        setenv("DISPLAY", display, 1);
        SinkRecording recording(m_sink);
        const Result result = RunPlay({m_file});
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(Lines(result.err), 1U) << result.err;
        EXPECT_TRUE(Contains(result.err, "no display")) << result.err;
        EXPECT_NEAR(LoudSeconds(recording.Stop()), 4, 0.4);
    }
}

} // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    std::signal(SIGPIPE, SIG_IGN);
    return RunTests();
}
