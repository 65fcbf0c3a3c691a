// The player on a device that takes sound without delay: many plays in a short time. MIT licence.
#include "support/mediafile.h"
#include "support/playing.h"

#include <cstdlib>
#include <fstream>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <portaudio.h>
#include <wx/log.h>

namespace
{

// Each player on a thread of its own.
void PlayTimes(std::vector<MKMediaPlayer>& players, const std::string& path, int times)
{
    std::vector<std::thread> threads;
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

TEST(PlayerOnNullDevice, AThousandPlaysNeedNoMoreMemoryThanTen)
{
    ScratchDir dir;
    std::ofstream(dir / "asound.conf") << "pcm.!default { type null }\n";
    setenv("ALSA_CONFIG_PATH", (dir / "asound.conf").c_str(), 1);
    ASSERT_EQ(Pa_Initialize(), paNoError);
    const wxLogNull quiet;
    const std::string path = MakeWavFile(dir, "a.wav", 24000, 1, MakeTone(24000, 1, 0.4));
    {
        std::vector<MKMediaPlayer> players(10); // each play waits for the device's latency, so many at once
        PlayTimes(players, path, 1);
        const size_t early = ResidentBytes();
        PlayTimes(players, path, 99);
        const size_t late = ResidentBytes();
        std::printf("%zu kB after 10 plays, %zu kB after 1000\n", early / 1024, late / 1024);
        ASSERT_GT(early, 0u);
        EXPECT_LT(late, early + (size_t{8} << 20));
    }
    Pa_Terminate();
}
