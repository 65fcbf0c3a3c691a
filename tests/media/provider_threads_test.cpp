// Streams of one file provider, read by a thread each. MIT licence.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

extern "C" {
#include <libavutil/frame.h>
}

#include "mediakit/fileprovider.h"
#include "support/mediafile.h"

namespace
{

using Clock = std::chrono::steady_clock;
const auto kLongest = std::chrono::seconds(30); // against a hang only

class FileProviderThreads : public testing::Test
{
protected:
    // A file of ten seconds with two sound streams, both opened.
    void OpenBoth()
    {
        MediaSpec spec;
        spec.name = "two.mkv";
        spec.audioStreams = 2;
        spec.seconds = 10;
        spec.audioCodec = "pcm_s16le";
        provider.SetFileName(MakeMediaFile(folder, spec));
        MKStreamParameters params;
        ASSERT_TRUE(provider.Open());
        ASSERT_TRUE(provider.OpenStream(0, &params));
        ASSERT_TRUE(provider.OpenStream(1, &params));
    }

    // Reads to the end as a read thread does: again at once, whatever it was told.
    int64_t CountSamples(size_t index)
    {
        MKFrame frame;
        int64_t samples = 0;
        const auto end = Clock::now() + kLongest;
        for (int result = 0; result >= 0 && Clock::now() < end;) {
            result = provider.Read(index, &frame);
            if (result > 0)
                samples += frame.GetAVFrame()->nb_samples;
        }
        return samples;
    }

    ScratchDir folder;
    MKFileProvider provider{""};
};

} // namespace

TEST_F(FileProviderThreads, BothStreamsComeOutWhole)
{
    QX_REQUIRE_FFMPEG();
    OpenBoth();
    int64_t samples[2] = {};
    std::thread other([&] { samples[1] = CountSamples(1); });
    samples[0] = CountSamples(0);
    other.join();
    EXPECT_EQ(samples[0], 240000);
    EXPECT_EQ(samples[1], 240000);
}

TEST_F(FileProviderThreads, WaitingForTheOtherStreamDoesNotSpin)
{
    QX_REQUIRE_FFMPEG();
    OpenBoth();
    std::atomic<int> zeros{0};
    std::atomic<bool> isOver{false};
    std::thread reader([&] {
        MKFrame frame;
        while (!isOver) {
            if (provider.Read(0, &frame) == 0)
                ++zeros;
            else
                zeros = 0;
        }
    });
    // Wait until it is held up, then count its calls for 300 ms: spinning makes hundreds of thousands of them.
    const auto end = Clock::now() + kLongest;
    while (zeros < 20 && Clock::now() < end)
        std::this_thread::yield();
    const int before = zeros;
    const auto begin = Clock::now();
    while (Clock::now() - begin < std::chrono::milliseconds(300))
        provider.GetStreamTimeStamp(0);
    const auto waited = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin).count();
    const int calls = zeros - before;
    isOver = true;
    reader.join();
    EXPECT_GE(before, 20);
    EXPECT_LE(calls, waited / 2 + 1);
}

TEST_F(FileProviderThreads, HeldUpReaderGoesOnWhenTheOtherIsRead)
{
    QX_REQUIRE_FFMPEG();
    OpenBoth();
    std::atomic<int> zeros{0};
    int64_t samples = 0;
    std::thread reader([&] {
        MKFrame frame;
        const auto end = Clock::now() + kLongest;
        for (int result = 0; result >= 0 && Clock::now() < end;) {
            result = provider.Read(0, &frame);
            zeros = result == 0 ? zeros + 1 : 0;
            if (result > 0)
                samples += frame.GetAVFrame()->nb_samples;
        }
    });
    const auto end = Clock::now() + kLongest;
    while (zeros < 20 && Clock::now() < end)
        std::this_thread::yield();
    EXPECT_EQ(CountSamples(1), 240000);
    reader.join();
    EXPECT_EQ(samples, 240000);
}

TEST_F(FileProviderThreads, AnybodyMayAskSeekAndCloseMeanwhile)
{
    QX_REQUIRE_FFMPEG();
    OpenBoth();
    std::thread readers[2];
    for (size_t index = 0; index < 2; ++index)
        readers[index] = std::thread([this, index] {
            MKFrame frame;
            const auto end = Clock::now() + kLongest;
            while (provider.Read(index, &frame) != -2 && Clock::now() < end) {
            }
        });
    for (int i = 0; i < 50; ++i) {
        EXPECT_TRUE(provider.Seek(i * 200000));
        EXPECT_EQ(provider.GetDuration() / 1000000, 10);
        EXPECT_GE(provider.GetStreamTimeStamp(0), 0);
        EXPECT_TRUE(provider.DiscardStream(1, i % 2 == 0));
    }
    EXPECT_TRUE(provider.Close());
    for (std::thread& reader : readers)
        reader.join();
    EXPECT_EQ(provider.Read(0, nullptr), -22);
}
