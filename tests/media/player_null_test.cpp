// The player on devices that take sound without delay: many plays in a short time, and every sample. MIT licence.
#include "support/mediafile.h"
#include "support/playing.h"
#include "support/wav.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <portaudio.h>
#include <wx/log.h>

namespace
{

constexpr int kRate = 48000;
constexpr size_t kBlock = 2 * 4096; // samples of both channels

// A device that drops all sound, which is the default, and one that keeps it in a file; the list of devices is made
// once in a process.
#if defined(__SANITIZE_ADDRESS__)
constexpr size_t kSlackBytes = size_t{48} << 20; // its allocator keeps more; leaks show by themselves
#else
constexpr size_t kSlackBytes = size_t{8} << 20;
#endif

class PlayerOnNullDevice : public testing::Test
{
public:
    static void SetUpTestSuite()
    {
        s_dir = std::make_unique<ScratchDir>();
        const std::string path = *s_dir / "asound.conf";
        std::ofstream(path) << "pcm.!default { type null }\n"
                            << "pcm.kept { type file slave.pcm { type null } format wav file \""
                            << (*s_dir / "kept.wav") << "\" hint { show on description kept } }\n";
        setenv("ALSA_CONFIG_PATH", path.c_str(), 1);
        s_started = Pa_Initialize() == paNoError;
    }
    static void TearDownTestSuite()
    {
        if (s_started)
            Pa_Terminate();
        s_dir.reset();
    }

protected:
    void SetUp() override { ASSERT_TRUE(s_started); }

    // Plays the file to its end on the device that keeps what it is given.
    static void Keep(const std::string& path, Sound& kept)
    {
        const wxLogNull quiet;
        MKMediaPlayer player;
        player.SetAudioDevice("ALSA:kept");
        ASSERT_TRUE(OpenFile(player, path));
        ASSERT_TRUE(player.Play());
        ASSERT_TRUE(AwaitEnd(player));
        ASSERT_TRUE(player.Close());
        std::string why;
        ASSERT_TRUE(ReadWav(*s_dir / "kept.wav", kept, why)) << why;
        ASSERT_EQ(kept.rateHz, kRate);
        ASSERT_EQ(kept.channels, 2);
    }

    static std::unique_ptr<ScratchDir> s_dir;
    static bool s_started;
    ScratchDir dir;
};

std::unique_ptr<ScratchDir> PlayerOnNullDevice::s_dir;
bool PlayerOnNullDevice::s_started = false;

// The same samples in the same order, but for a last block that is not full.
void ExpectWholeBlocks(const std::vector<int16_t>& kept, const std::vector<int16_t>& file)
{
    ASSERT_EQ(kept.size(), file.size() / kBlock * kBlock);
    for (size_t i = 0; i < kept.size(); ++i)
        ASSERT_EQ(kept[i], file[i]) << "sample " << i / 2 << " of channel " << i % 2;
}

// Each player on a thread of its own.
void PlayTimes(std::vector<MKMediaPlayer>& players, const std::string& path, int times)
{
    std::vector<std::thread> threads;
    threads.reserve(players.size());
    for (MKMediaPlayer& player : players) {
        threads.emplace_back([&player, &path, times] {
            const wxLogNull quiet;
            for (int i = 0; i < times; ++i) {
                ASSERT_TRUE(OpenFile(player, path));
                ASSERT_TRUE(player.Play());
                ASSERT_TRUE(AwaitEnd(player));
            }
            EXPECT_TRUE(player.Stop());
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace

TEST_F(PlayerOnNullDevice, AThousandPlaysNeedNoMoreMemoryThanTen)
{
    const wxLogNull quiet;
    const std::string path = MakeWavFile(dir, "a.wav", 24000, 1, MakeTone(24000, 1, 0.4));
    std::vector<MKMediaPlayer> players(10); // each play waits for the device's latency, so many at once
    PlayTimes(players, path, 1);
    const size_t early = ResidentBytes();
    PlayTimes(players, path, 99);
    const size_t late = ResidentBytes();
    std::printf("%zu kB after 10 plays, %zu kB after 1000\n", early / 1024, late / 1024);
    ASSERT_GT(early, 0u);
    EXPECT_LT(late, early + kSlackBytes);
}

TEST_F(PlayerOnNullDevice, EverySampleOfWholeBlocksReachesTheDevice)
{
    for (const int frames : {24 * 4096, 1 * 4096, 10 * 4096 - 1, 10 * 4096 + 1, 2 * kRate}) {
        SCOPED_TRACE(frames);
        const std::vector<int16_t> samples = MakeTone(kRate, 2, static_cast<double>(frames) / kRate, 437, 0.9);
        ASSERT_EQ(samples.size(), static_cast<size_t>(2 * frames));
        Sound kept;
        Keep(MakeWavFile(dir, "stereo.wav", kRate, 2, samples), kept);
        ExpectWholeBlocks(kept.samples, samples);
    }
}

TEST_F(PlayerOnNullDevice, WhatACodecDecodesReachesTheDeviceUnchanged)
{
    QX_REQUIRE_FFMPEG();
    for (const char* name : {"tone.flac", "tone.wv", "tone.au"}) {
        SCOPED_TRACE(name);
        MediaSpec spec;
        spec.name = name;
        spec.rateHz = kRate;
        spec.channels = 2;
        spec.seconds = 3;
        const std::string path = MakeMediaFile(dir, spec);
        const std::string decoded = DecodeWithFFmpeg(dir, path, 0, "s16le");
        std::vector<int16_t> samples(decoded.size() / sizeof(int16_t));
        std::memcpy(samples.data(), decoded.data(), samples.size() * sizeof(int16_t));
        Sound kept;
        Keep(path, kept);
        ExpectWholeBlocks(kept.samples, samples);
    }
}

TEST_F(PlayerOnNullDevice, OtherRatesAndChannelsKeepLengthAndLevel)
{
    struct Row {
        int rateHz;
        int channels;
    };
    for (const Row& row : {Row{8000, 1}, Row{24000, 1}, Row{44100, 2}, Row{kRate, 1}, Row{96000, 2}}) {
        SCOPED_TRACE(std::to_string(row.rateHz) + " Hz, channels " + std::to_string(row.channels));
        Sound kept;
        Keep(MakeWavFile(dir, "other.wav", row.rateHz, row.channels, MakeTone(row.rateHz, row.channels, 3)), kept);
        EXPECT_EQ(kept.samples.size() % kBlock, 0u);
        EXPECT_LE(kept.samples.size(), size_t{3 * 2 * kRate});
        EXPECT_GT(kept.samples.size(), 3 * 2 * kRate - 2 * kBlock);
        // One channel spread to two is 3 dB lower in each.
        const double level = 32767 * 0.5 / std::sqrt(row.channels == 1 ? 4 : 2);
        EXPECT_NEAR(kept.Rms(0.1, 1.4), level, 0.01 * level);
        EXPECT_NEAR(kept.Rms(1.4, kept.Seconds()), level, 0.01 * level) << "to the end";
    }
}
