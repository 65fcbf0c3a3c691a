// Recording over a pretended PortAudio: gaps, blocks, levels, and the reader that waits. MIT licence.
#include <gmock/gmock.h>

#include <cmath>
#include <future>
#include <numeric>

extern "C" {
#include <libavutil/frame.h>
}

#include "mediakit/audio_io.h"
#include "mediakit/devicemanager.h"
#include "mediakit/portaudiostream.h"
#include "support/log_capture.h"
#include "support/portaudio_double.h"

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;

namespace
{

constexpr int kRate = 8000;

class AudioInput : public testing::Test
{
protected:
    AudioInput()
    {
        m_audio.Reset();
        MKAudioDeviceManager::Get();
        wxLog::FlushActive(); // what threads of former cases logged
        m_log.records.clear();
    }

    static MKStreamParameters Wanted(int32_t format, int32_t channels, int32_t frameSize)
    {
        MKStreamParameters wanted;
        wanted.channels = channels;
        wanted.rateNum = kRate;
        wanted.format = format;
        wanted.frameSize = frameSize;
        return wanted;
    }

    // The stream starts at 100 s of its clock.
    void OpenAndStart(int32_t format = MKSampleS16, int32_t channels = 1, int32_t frameSize = 0)
    {
        MKStreamParameters params = Wanted(format, channels, frameSize);
        ASSERT_TRUE(m_capture.OpenStream(0, &params));
        ASSERT_TRUE(m_capture.StartStream());
        m_log.records.clear();
    }

    int Feed(const std::vector<int16_t>& samples, double seconds)
    {
        return m_audio.Feed(samples.data(), samples.size(), 100 + seconds);
    }

    // The next frame's samples of 16 bits, one channel.
    std::vector<int16_t> Read()
    {
        EXPECT_EQ(m_capture.Read(0, &m_frame), 1);
        const AVFrame* const data = m_frame.GetAVFrame();
        const int16_t* const samples = reinterpret_cast<const int16_t*>(data->data[0]);
        return {samples, samples + data->nb_samples};
    }

    std::vector<std::string> Texts() const
    {
        wxLog::FlushActive();
        std::vector<std::string> texts;
        for (const LogCapture::Record& record : m_log.records)
            texts.emplace_back(record.text.utf8_str());
        return texts;
    }

    PortAudioDouble& m_audio = PortAudioDouble::Get();
    LogCapture m_log;
    MKAudioCapture m_capture;
    MKFrame m_frame;
};

} // namespace

TEST_F(AudioInput, OpensTheDefaultInputForTheCallback)
{
    MKStreamParameters params = Wanted(MKSampleS16, 1, -1);
    m_log.records.clear();
    ASSERT_TRUE(m_capture.OpenStream(0, &params));
    EXPECT_EQ(Texts().front(),
              "Probing to record audio from: Microphone. Channel: 1. Sample rate: 8000. Pa Sample Format: 8");
    const PortAudioDouble::Open open = m_audio.Opens().at(0);
    EXPECT_TRUE(open.isInput);
    EXPECT_TRUE(open.hasCallback);
    EXPECT_EQ(open.parameters.device, 2);
    EXPECT_EQ(open.parameters.suggestedLatency, 0.01);
    EXPECT_EQ(params.frameSize, 0);
    m_capture.Close();
    m_audio.defaultInput = paNoDevice;
    EXPECT_FALSE(m_capture.OpenStream(0, &params));
    EXPECT_EQ(Texts().back(), "Could not open audio input stream, invalid device");
}

TEST_F(AudioInput, RecordedBlocksAreReadWithTheirTimes)
{
    OpenAndStart();
    EXPECT_EQ(Feed({1, 2, 3, 4}, 0.01), paContinue);
    EXPECT_EQ(Feed({5, 6}, 0.02), paContinue);
    EXPECT_THAT(Read(), ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(m_frame.GetTimeStamp(), 0);
    EXPECT_THAT(Read(), ElementsAre(5, 6));
    EXPECT_EQ(m_frame.GetTimeStamp(), 500);
    EXPECT_EQ(m_capture.GetDuration(), 750);
    EXPECT_EQ(m_capture.GetStreamTimeStamp(0), 750);
    EXPECT_EQ(m_capture.Read(0, &m_frame), 0);
    EXPECT_THAT(m_audio.Calls(), ElementsAre("open", "start"));
}

TEST_F(AudioInput, WhatWasRecordedBeforeTheStartIsDropped)
{
    OpenAndStart();
    EXPECT_EQ(Feed({1, 2}, -0.001), paContinue);
    EXPECT_EQ(m_capture.GetDuration(), 0);
}

TEST_F(AudioInput, LongGapIsFilledWithSilence)
{
    OpenAndStart();
    EXPECT_EQ(Feed({1, 1}, 0.1), paContinue); // not longer than a tenth of a second: left alone
    EXPECT_EQ(m_capture.GetDuration(), 250);
    EXPECT_EQ(Feed({7}, 0.25), paContinue); // 2000 samples should be there, 2 are
    EXPECT_THAT(Read(), ElementsAre(1, 1));
    for (const size_t size : {512U, 512U, 512U, 462U}) {
        const std::vector<int16_t> silence = Read();
        EXPECT_EQ(silence.size(), size);
        EXPECT_THAT(silence, Each(0));
    }
    EXPECT_THAT(Read(), ElementsAre(7));
    EXPECT_EQ(m_frame.GetTimeStamp(), 250000);
}

TEST_F(AudioInput, SilenceComesInFixedFramesWhereTheyAreFixed)
{
    OpenAndStart(MKSampleS16, 1, 400);
    std::vector<int16_t> block(400, 3);
    EXPECT_EQ(Feed(block, 0.125), paContinue); // 1000 samples are missing
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(Read(), std::vector<int16_t>(400, 0));
    EXPECT_EQ(Read(), block);
    EXPECT_EQ(m_frame.GetTimeStamp(), 150000);
}

TEST_F(AudioInput, BlockThatDoesNotFitTheFixedSizeIsCutOrFilledUp)
{
    OpenAndStart(MKSampleS16, 1, 4);
    EXPECT_EQ(Feed({1, 2}, 0), paContinue);
    EXPECT_EQ(Feed({3, 4, 5, 6, 7, 8}, 0), paContinue);
    EXPECT_THAT(Texts(), Each("Received audio frame has different frame size, this should not occur"));
    EXPECT_THAT(Read(), ElementsAre(1, 2, 0, 0));
    EXPECT_THAT(Read(), ElementsAre(3, 4, 5, 6));
}

TEST_F(AudioInput, PauseDropsAndLeavesNoGapBehind)
{
    OpenAndStart();
    EXPECT_EQ(Feed({1}, 0), paContinue);
    m_audio.SetTime(101);
    ASSERT_TRUE(m_capture.PauseStream());
    EXPECT_EQ(Feed({2}, 1.5), paContinue);
    m_audio.SetTime(105);
    ASSERT_TRUE(m_capture.ResumeStream());
    EXPECT_EQ(Feed({3}, 4.05), paContinue); // 4 s of pause, 0.05 s of recording
    EXPECT_THAT(Read(), ElementsAre(1));
    EXPECT_THAT(Read(), ElementsAre(3));
    EXPECT_EQ(m_frame.GetTimeStamp(), 125);
}

TEST_F(AudioInput, CallbackEndsWhenTheStreamDoesNotRun)
{
    MKStreamParameters params = Wanted(MKSampleS16, 1, 0);
    ASSERT_TRUE(m_capture.OpenStream(0, &params));
    EXPECT_EQ(Feed({1}, 0), paAbort);
    ASSERT_TRUE(m_capture.StartStream());
    EXPECT_EQ(Feed({1}, 0), paContinue);
    ASSERT_TRUE(m_capture.StopStream());
    EXPECT_EQ(Feed({1}, 0), paAbort);
    EXPECT_THAT(m_audio.Calls(), ElementsAre("open", "start", "abort"));
}

TEST_F(AudioInput, StopDropsWhatWasNotReadAndStartBeginsAnew)
{
    OpenAndStart();
    Feed({1}, 0);
    Feed({2}, 0);
    ASSERT_TRUE(m_capture.StopStream());
    EXPECT_EQ(m_capture.Read(0, &m_frame), -1);
    ASSERT_TRUE(m_capture.StartStream());
    EXPECT_EQ(m_capture.Read(0, &m_frame), 0);
    Feed({3}, 0);
    EXPECT_THAT(Read(), ElementsAre(3));
    EXPECT_EQ(m_frame.GetTimeStamp(), 0);
}

TEST_F(AudioInput, FramesOfAReaderMayBeKept)
{
    OpenAndStart();
    Feed({1, 2}, 0);
    Feed({3, 4}, 0);
    EXPECT_THAT(Read(), ElementsAre(1, 2));
    AVFrame* kept = av_frame_clone(m_frame.GetAVFrame());
    EXPECT_THAT(Read(), ElementsAre(3, 4));
    EXPECT_EQ(reinterpret_cast<const int16_t*>(kept->data[0])[0], 1);
    av_frame_free(&kept);
}

TEST_F(AudioInput, ChannelsAndPlanesKeepTheirPlaces)
{
    OpenAndStart(MKSampleFloatPlanar, 2);
    const float left[] = {0.25F, 0.5F};
    const float right[] = {-0.25F, -0.5F};
    const float* planes[] = {left, right};
    EXPECT_EQ(m_audio.Feed(planes, 2, 100), paContinue);
    ASSERT_EQ(m_capture.Read(0, &m_frame), 1);
    const AVFrame* const data = m_frame.GetAVFrame();
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(reinterpret_cast<const float*>(data->data[0])[i], left[i]);
        EXPECT_EQ(reinterpret_cast<const float*>(data->data[1])[i], right[i]);
    }
}

TEST_F(AudioInput, TwentyFourBitsAreUnpacked)
{
    OpenAndStart(MKSampleS24, 2);
    const uint8_t packed[] = {3, 2, 1, 0, 0, 0x80};
    EXPECT_EQ(m_audio.Feed(packed, 1, 100), paContinue);
    ASSERT_EQ(m_capture.Read(0, &m_frame), 1);
    const int32_t* const samples = reinterpret_cast<const int32_t*>(m_frame.GetAVFrame()->data[0]);
    EXPECT_EQ(samples[0], 0x01020300);
    EXPECT_EQ(samples[1], INT32_MIN);
}

TEST_F(AudioInput, LevelFollowsFiftyMillisecondsAtATime)
{
    OpenAndStart();
    EXPECT_EQ(m_capture.GetLevel(), 0.0);
    Feed(std::vector<int16_t>(400, 16384), 0); // exactly 50 ms are not enough
    EXPECT_EQ(m_capture.GetLevel(), 0.0);
    Feed(std::vector<int16_t>(1, 16384), 0);
    const double half = 16384.0 / 32767;
    EXPECT_NEAR(m_capture.GetLevel(), 0.05 * half, 1e-9);
    Feed(std::vector<int16_t>(401, 16384), 0);
    EXPECT_NEAR(m_capture.GetLevel(), 0.05 * half * (1 + 0.95), 1e-9);
    ASSERT_TRUE(m_capture.StopStream());
    EXPECT_EQ(m_capture.GetLevel(), 0.0);
}

TEST_F(AudioInput, LevelIsLimitedToOne)
{
    OpenAndStart(MKSampleFloat, 1);
    std::vector<float> loud(401, 1000.0F);
    loud[7] = std::nanf("");
    EXPECT_EQ(m_audio.Feed(loud.data(), loud.size(), 100), paContinue);
    EXPECT_NEAR(m_capture.GetLevel(), 0.05, 1e-9);
}

TEST_F(AudioInput, FullQueueHoldsTheCallbackUntilSomebodyReads)
{
    OpenAndStart(MKSampleS16, 1, 4000);
    const std::vector<int16_t> block(4000, 1);
    for (int i = 0; i < 16; ++i) // four times two seconds
        ASSERT_EQ(Feed(block, 0), paContinue);
    auto feeding = std::async(std::launch::async, [&] { return Feed(std::vector<int16_t>(4000, 9), 0); });
    EXPECT_EQ(feeding.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    EXPECT_EQ(Read(), block);
    EXPECT_EQ(feeding.get(), paContinue);
    const std::vector<std::string> texts = Texts();
    ASSERT_GE(texts.size(), 2U);
    EXPECT_EQ(texts[0], "Input overflow. Discarding 4000 samples, current sample count: 64000");
    EXPECT_EQ(texts[1],
              "Compensate when queue is full which slows down the input callback. Consider increasing queue size");
}

TEST_F(AudioInput, StopFreesACallbackThatWaitsForRoom)
{
    OpenAndStart(MKSampleS16, 1, 16000);
    const std::vector<int16_t> block(16000, 1);
    auto feeding = std::async(std::launch::async, [&] {
        int result = paContinue;
        while (result == paContinue)
            result = Feed(block, 0);
        return result;
    });
    EXPECT_EQ(feeding.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    EXPECT_TRUE(m_capture.StopStream());
    EXPECT_EQ(feeding.get(), paAbort);
}

TEST_F(AudioInput, FrameLongerThanTwoSecondsStillFindsRoom)
{
    OpenAndStart(MKSampleS16, 1, 20000);
    const std::vector<int16_t> block(20000, 5);
    EXPECT_EQ(Feed(block, 0), paContinue);
    EXPECT_EQ(Read(), block);
}

TEST_F(AudioInput, ReadNeedsAStartedStreamAndAFrame)
{
    m_log.records.clear();
    EXPECT_EQ(m_capture.Read(0, &m_frame), -1);
    EXPECT_EQ(m_capture.Read(1, &m_frame), -2);
    EXPECT_EQ(m_capture.Read(0, nullptr), -22);
    EXPECT_FALSE(m_capture.Seek(0));
    EXPECT_THAT(Texts(), ElementsAre("Could not read stream, invalid index", "Could not read stream, frame is null"));
}

TEST_F(AudioInput, VanishedDeviceEndsReadingOnceItsFramesAreRead)
{
    OpenAndStart();
    Feed({1}, 0);
    m_audio.vanished = true;
    m_log.records.clear();
    EXPECT_EQ(m_capture.Read(0, &m_frame), 1);
    EXPECT_EQ(m_capture.Read(0, &m_frame), -2);
    EXPECT_EQ(m_capture.Read(0, &m_frame), -2);
    EXPECT_THAT(Texts(), ElementsAre("The audio input stream has ended, its device is gone"));
}

TEST_F(AudioInput, CloseEndsAReadersWait)
{
    OpenAndStart();
    for (const bool close : {false, true}) {
        ASSERT_TRUE(m_capture.StartStream());
        std::promise<void> readOnce;
        auto reading = std::async(std::launch::async, [&] {
            int result = m_capture.Read(0, &m_frame);
            readOnce.set_value();
            while (result >= 0)
                result = m_capture.Read(0, &m_frame);
            return result;
        });
        Feed({1}, 0);
        readOnce.get_future().wait();
        EXPECT_TRUE(close ? m_capture.Close() : m_capture.StopStream());
        EXPECT_EQ(reading.get(), -1);
    }
}

TEST_F(AudioInput, EveryRecordedSampleIsReadOnceInOrder)
{
    OpenAndStart();
    constexpr int blocks = 3000;
    auto feeding = std::async(std::launch::async, [&] {
        for (int i = 0; i < blocks; ++i)
            Feed(std::vector<int16_t>(3, static_cast<int16_t>(i)), 0);
    });
    for (int i = 0; i < blocks; ++i)
        ASSERT_THAT(Read(), Each(static_cast<int16_t>(i)));
    feeding.wait();
    EXPECT_TRUE(m_capture.Close());
}
