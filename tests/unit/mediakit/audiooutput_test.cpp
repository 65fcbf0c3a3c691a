// Playing over a pretended PortAudio: opening, states, writing, the clock. MIT licence.
#include <gmock/gmock.h>

#include <future>

extern "C" {
#include <libavutil/frame.h>
}

#include "common/portaudiolock.h"
#include "mediakit/audio_io.h"
#include "mediakit/devicemanager.h"
#include "mediakit/portaudiostream.h"
#include "support/log_capture.h"
#include "support/portaudio_double.h"

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace
{

using Clock = std::chrono::steady_clock;

class AudioOutput : public testing::Test
{
protected:
    AudioOutput()
    {
        m_audio.Reset();
        MKAudioDeviceManager::Get(); // lists its devices once
    }

    static MKStreamParameters Wanted()
    {
        MKStreamParameters wanted;
        wanted.channels = 2;
        wanted.rateNum = 48000;
        wanted.format = MKSampleS16;
        return wanted;
    }

    // A stereo frame of 16-bit samples 1, 2, 3 ..., up to the stream's 4096 of a channel.
    void Fill(MKFrame& frame, int32_t samples, int64_t pts)
    {
        ASSERT_TRUE(m_display.AllocateFrame(0, &frame));
        ASSERT_LE(samples, frame.GetFrameSize());
        AVFrame* const data = frame.GetAVFrame();
        data->nb_samples = samples;
        data->pts = pts;
        for (int i = 0; i < 2 * samples; ++i)
            reinterpret_cast<int16_t*>(data->data[0])[i] = static_cast<int16_t>(i + 1);
    }

    void OpenAndStart()
    {
        MKStreamParameters params = Wanted();
        ASSERT_TRUE(m_display.OpenStream(0, &params));
        ASSERT_TRUE(m_display.StartStream());
    }

    std::vector<std::string> Texts() const
    {
        std::vector<std::string> texts;
        for (const LogCapture::Record& record : m_log.records)
            texts.emplace_back(record.text.utf8_str());
        return texts;
    }

    PortAudioDouble& m_audio = PortAudioDouble::Get();
    LogCapture m_log;
    MKAudioDisplay m_display;
};

} // namespace

TEST_F(AudioOutput, WantedConfigurationOpensFirst)
{
    m_log.records.clear();
    MKStreamParameters params = Wanted();
    params.frameSize = -1;
    EXPECT_FALSE(m_display.IsStreamOpened(0));
    ASSERT_TRUE(m_display.OpenStream(0, &params));
    EXPECT_TRUE(m_display.IsStreamOpened(0));
    EXPECT_THAT(Texts(), ElementsAre("Probing to play audio from: Speakers. Channel: 2. Sample rate: 48000. Pa Sample "
                                     "Format: 8",
                                     "Open audio device successes!"));
    const PortAudioDouble::Open open = m_audio.Opens().at(0);
    EXPECT_FALSE(open.isInput);
    EXPECT_FALSE(open.hasCallback);
    EXPECT_EQ(open.frames, 0U);
    EXPECT_EQ(open.flags, paNoFlag);
    EXPECT_EQ(open.parameters.device, 0);
    EXPECT_EQ(open.parameters.suggestedLatency, 0.035);
    MKStreamParameters real;
    ASSERT_TRUE(m_display.QueryStreamParameters(0, &real));
    for (const MKStreamParameters& record : {params, real}) {
        EXPECT_EQ(record.type, MKMediaAudio);
        EXPECT_EQ(record.codec, MKCodecOther);
        EXPECT_EQ(record.format, MKSampleS16);
        EXPECT_EQ(record.channels, 2);
        EXPECT_EQ(record.rateNum, 48000);
        EXPECT_EQ(record.rateDen, 1);
        EXPECT_EQ(record.frameSize, 4096);
    }
    EXPECT_EQ(m_display.GetBufferSize(0), 2048);
}

TEST_F(AudioOutput, RefusedConfigurationsAreLoggedAndTheNextOneIsTried)
{
    m_audio.refusedOpens = 2;
    m_log.records.clear();
    MKStreamParameters params = Wanted();
    params.frameSize = 1000;
    ASSERT_TRUE(m_display.OpenStream(0, &params));
    const char* const fixed = "Using fixed frame buffer may decrease performance: 1000";
    const char* const sync = "Fixed buffer is larger than sync threshold";
    const char* const refused = "Failed to open audio stream. Error: Invalid sample rate.";
    EXPECT_THAT(Texts(), ElementsAre(HasSubstr("Channel: 2. Sample rate: 48000. Pa Sample Format: 8"), fixed, sync,
                                     refused, HasSubstr("Channel: 2. Sample rate: 44100. Pa Sample Format: 8"), fixed,
                                     sync, refused, HasSubstr("Channel: 2. Sample rate: 44100. Pa Sample Format: 1"),
                                     fixed, sync, "Open audio device successes!"));
    EXPECT_EQ(params.format, MKSampleFloat);
    EXPECT_EQ(params.rateNum, 44100);
    EXPECT_EQ(params.frameSize, 1000);
    EXPECT_EQ(m_audio.Opens().back().frames, 1000U);
}

TEST_F(AudioOutput, DeviceThatRefusesAllIsTriedWithAllAndDoesNotOpen)
{
    m_audio.vanished = true;
    MKStreamParameters params = Wanted();
    EXPECT_FALSE(m_display.OpenStream(0, &params));
    EXPECT_EQ(m_audio.Opens().size(), 120U);
    EXPECT_EQ(Texts().back(), "Could not open audio output stream, null paStream");
    EXPECT_EQ(params.frameSize, 0);
    EXPECT_FALSE(m_display.IsStreamOpened(0));
}

TEST_F(AudioOutput, FailuresToOpenSayWhy)
{
    MKPortAudio stream(false);
    MKStreamParameters params = Wanted();
    m_log.records.clear();
    EXPECT_EQ(stream.OpenStream(nullptr), -22);
    stream.SetDevice("ALSA:Nobody");
    EXPECT_EQ(stream.OpenStream(&params), -2);
    stream.SetDevice("ALSA:Speakers#2");
    EXPECT_EQ(stream.OpenStream(&params), 0);
    EXPECT_EQ(m_audio.Opens().back().parameters.device, 1);
    EXPECT_EQ(stream.OpenStream(&params), -2);
    stream.CloseStream();
    m_audio.devices.pop_back();
    m_audio.devices.pop_back();
    EXPECT_EQ(stream.OpenStream(&params), -2);
    m_audio.defaultOutput = paNoDevice;
    stream.SetDevice("");
    EXPECT_EQ(stream.OpenStream(&params), -2);
    EXPECT_THAT(Texts(),
                ElementsAre("Could not open audio output stream, null pointer",
                            "Could not open audio output stream, invalid device", HasSubstr("Probing"),
                            "Open audio device successes!", "Could not open audio output stream, already opened",
                            "Could not open audio output stream, invalid device info",
                            "MKAudioDeviceManager -> GetDefaultOutputDevice: Invalid index",
                            "Could not open audio output stream, invalid device"));
}

TEST_F(AudioOutput, QueueInFrontIsAsLongAsTheFormatAsks)
{
    EXPECT_EQ(m_display.GetBufferSize(0), 5);
    EXPECT_EQ(Texts().back(), "Could not get stream buffer size, stream is not opened");
    MKStreamParameters params = Wanted();
    params.channels = 1;
    params.frameSize = 1024;
    ASSERT_TRUE(m_display.OpenStream(0, &params));
    EXPECT_EQ(m_display.GetBufferSize(0), 4096);
}

TEST_F(AudioOutput, WrongIndexIsLoggedAndAnswered)
{
    m_log.records.clear();
    MKStreamParameters params;
    MKFrame frame;
    EXPECT_EQ(m_display.GetStreamCount(), 1);
    EXPECT_EQ(m_display.GetStreamType(0), MKMediaAudio);
    EXPECT_EQ(m_display.GetStreamType(1), MKMediaNone);
    EXPECT_FALSE(m_display.OpenStream(1, &params));
    EXPECT_FALSE(m_display.QueryStreamParameters(1, &params));
    EXPECT_FALSE(m_display.CloseStream(1));
    EXPECT_FALSE(m_display.IsStreamOpened(1));
    EXPECT_EQ(m_display.GetStreamDuration(1), 0);
    EXPECT_EQ(m_display.GetStreamTimeStamp(1), 0);
    EXPECT_EQ(m_display.GetBufferSize(1), 5);
    EXPECT_EQ(m_display.Write(1, &frame), 0);
    EXPECT_THAT(
        Texts(),
        ElementsAre("Could not get stream type, invalid index", "Could not open stream, invalid index",
                    "Could not get stream parameters, invalid index", "Could not close stream, invalid index",
                    "Could not get stream opened state, invalid index", "Could not get stream duration, invalid index",
                    "Could not get stream timestamp, invalid index", "Could not get stream buffer size, invalid index",
                    "Could not write stream, invalid index"));
}

TEST_F(AudioOutput, ParametersNeedAnOpenStreamAndARecord)
{
    m_log.records.clear();
    MKStreamParameters params;
    EXPECT_FALSE(m_display.QueryStreamParameters(0, &params));
    EXPECT_FALSE(m_display.QueryStreamParameters(0, nullptr));
    EXPECT_THAT(Texts(), ElementsAre("Could not get audio stream parameters, not opened",
                                     "Could not get audio stream parameters, null pointer"));
}

TEST_F(AudioOutput, WhatIsWrittenReachesTheDeviceAsItIs)
{
    OpenAndStart();
    MKFrame frame;
    Fill(frame, 3, AV_NOPTS_VALUE);
    EXPECT_EQ(m_display.Write(0, &frame), 1);
    EXPECT_THAT(m_audio.Written(), ElementsAre(1, 0, 2, 0, 3, 0, 4, 0, 5, 0, 6, 0));
}

TEST_F(AudioOutput, PlanesAreHandedOverOneByOne)
{
    MKStreamParameters params = Wanted();
    params.format = MKSampleS16Planar;
    params.channels = 10; // more than the plane pointers within a frame
    m_audio.devices[0].outputs = 10;
    ASSERT_TRUE(m_display.OpenStream(0, &params));
    ASSERT_TRUE(m_display.StartStream());
    std::vector<uint8_t*> planes(10);
    MKFrame frame;
    AVFrame* const data = frame.GetAVFrame();
    std::vector<int16_t> values(10);
    for (size_t i = 0; i < 10; ++i) {
        values[i] = static_cast<int16_t>(i);
        planes[i] = reinterpret_cast<uint8_t*>(&values[i]);
    }
    uint8_t** const own = data->extended_data;
    data->extended_data = planes.data();
    data->nb_samples = 1;
    EXPECT_EQ(m_display.Write(0, &frame), 1);
    data->extended_data = own;
    EXPECT_THAT(m_audio.Written(), ElementsAre(0, 0, 1, 0, 2, 0, 3, 0, 4, 0, 5, 0, 6, 0, 7, 0, 8, 0, 9, 0));
}

TEST_F(AudioOutput, TwentyFourBitsArePackedForTheDevice)
{
    for (const int32_t format : {MKSampleS24, MKSampleS24Planar}) {
        MKStreamParameters params = Wanted();
        params.format = format;
        ASSERT_TRUE(m_display.OpenStream(0, &params));
        ASSERT_TRUE(m_display.StartStream());
        MKFrame frame;
        ASSERT_TRUE(m_display.AllocateFrame(0, &frame));
        AVFrame* const data = frame.GetAVFrame();
        data->nb_samples = 1;
        int32_t* const left = reinterpret_cast<int32_t*>(data->data[0]);
        int32_t* const right = format == MKSampleS24 ? left + 1 : reinterpret_cast<int32_t*>(data->data[1]);
        *left = 0x01020300;
        *right = 0x04050600;
        EXPECT_EQ(m_display.Write(0, &frame), 1);
        EXPECT_THAT(m_audio.Written(), ElementsAre(3, 2, 1, 6, 5, 4)) << format;
        EXPECT_TRUE(m_display.Close());
        m_audio.Reset();
    }
}

TEST_F(AudioOutput, WriteAnswersByWhatTheDeviceSays)
{
    MKFrame frame;
    EXPECT_EQ(m_display.Write(0, &frame), -22);
    EXPECT_EQ(Texts().back(), "Could not write audio output stream, not opened");
    OpenAndStart();
    EXPECT_EQ(m_display.Write(0, nullptr), -22);
    EXPECT_EQ(Texts().back(), "Could not write audio output stream, frame is null");
    Fill(frame, 480, AV_NOPTS_VALUE);
    m_audio.onWrite = [](int n) { return n == 1 ? paOutputUnderflowed : n == 2 ? paNoError : paInternalError; };
    EXPECT_EQ(m_display.Write(0, &frame), 1);
    EXPECT_EQ(m_display.Write(0, &frame), 1);
    EXPECT_EQ(m_display.GetDuration(), 20000);
    EXPECT_EQ(m_display.Write(0, &frame), -2);
    EXPECT_EQ(Texts().back(), "Could not write audio output stream, paError: -9986");
    EXPECT_EQ(m_display.GetDuration(), 20000);
    MKPortAudio input(true);
    EXPECT_EQ(input.Write(&frame), -2);
    EXPECT_EQ(Texts().back(), "Could not write audio output stream, object is initiliazed as input");
}

TEST_F(AudioOutput, ClockCountsWhatIsWrittenLessTheLatency)
{
    MKStreamParameters params = Wanted();
    ASSERT_TRUE(m_display.OpenStream(0, &params));
    EXPECT_EQ(m_display.GetStreamTimeStamp(0), -30000);
    ASSERT_TRUE(m_display.StartStream());
    MKFrame frame;
    Fill(frame, 4096, 5000000);
    ASSERT_EQ(m_display.Write(0, &frame), 1);
    EXPECT_EQ(m_display.GetDuration(), 85333);
    EXPECT_EQ(m_display.GetStreamDuration(0), 5085333);
    EXPECT_EQ(m_display.GetStreamTimeStamp(0), 5055333);
    Fill(frame, 4096, 9000000); // the first time stamp stays the origin
    ASSERT_EQ(m_display.Write(0, &frame), 1);
    EXPECT_EQ(m_display.GetStreamTimeStamp(0), 5000000 - 30000 + 170666);
    ASSERT_TRUE(m_display.StopStream());
    ASSERT_TRUE(m_display.StartStream());
    EXPECT_EQ(m_display.GetDuration(), 0);
}

TEST_F(AudioOutput, ReopenedStreamHasATimeLineOfItsOwn)
{
    OpenAndStart();
    MKFrame frame;
    Fill(frame, 480, 5000000);
    ASSERT_EQ(m_display.Write(0, &frame), 1);
    ASSERT_TRUE(m_display.Close());
    OpenAndStart();
    EXPECT_EQ(m_display.GetStreamTimeStamp(0), -30000);
}

TEST_F(AudioOutput, ClockRunsDuringAWriteAndStandsInAPause)
{
    OpenAndStart();
    std::promise<void> entered;
    std::promise<void> leave;
    m_audio.onWrite = [&](int n) {
        if (n == 2) {
            entered.set_value();
            leave.get_future().wait();
        }
        return paNoError;
    };
    MKFrame frame;
    Fill(frame, 2400, 0);
    ASSERT_EQ(m_display.Write(0, &frame), 1);
    auto writing = std::async(std::launch::async, [&] { return m_display.Write(0, &frame); });
    entered.get_future().wait();
    EXPECT_EQ(m_display.GetStreamTimeStamp(0), 20000);
    m_audio.SetTime(100.025);
    EXPECT_EQ(m_display.GetStreamTimeStamp(0), 45000);
    ASSERT_TRUE(m_display.PauseStream());
    m_audio.SetTime(103);
    EXPECT_EQ(m_display.GetStreamTimeStamp(0), 45000);
    leave.set_value();
    EXPECT_EQ(writing.get(), 1);
    EXPECT_EQ(m_display.GetStreamTimeStamp(0), 70000);
    ASSERT_TRUE(m_display.ResumeStream());
    EXPECT_EQ(m_display.GetStreamTimeStamp(0), 70000);
}

// Writes that take less or more time than their samples last, or tell of an underflow, with pauses within and between
// them; the clock is looked at all along.
TEST_F(AudioOutput, ClockNeverGoesBackHoweverLongWritesTake)
{
    OpenAndStart();
    double now = 100;
    int64_t last = m_display.GetStreamTimeStamp(0);
    const auto pass = [&](double seconds) {
        m_audio.SetTime(now += seconds);
        const int64_t clock = m_display.GetStreamTimeStamp(0);
        EXPECT_GE(clock, last);
        last = clock;
    };
    m_audio.onWrite = [&](int n) {
        const double takes[] = {0.02, 0.05, 0.15, 0.4}; // of 0.05 that the samples last
        for (int step = 0; step < 10; ++step) {
            pass(takes[n % 4] / 10);
            if (n % 5 != 0 || step != 3)
                continue;
            EXPECT_TRUE(m_display.PauseStream());
            pass(0.3);
            EXPECT_TRUE(m_display.ResumeStream());
            pass(0);
        }
        return n % 3 == 0 ? paOutputUnderflowed : paNoError;
    };
    MKFrame frame;
    for (int i = 0; i < 60; ++i) {
        SCOPED_TRACE(i);
        Fill(frame, 2400, i * 50000);
        const bool beginsInPause = i % 7 == 6 && (i + 1) % 5 != 0;
        if (beginsInPause) {
            EXPECT_TRUE(m_display.PauseStream());
        }
        pass(0.01);
        ASSERT_EQ(m_display.Write(0, &frame), 1);
        pass(0.01);
        if (beginsInPause) {
            EXPECT_TRUE(m_display.ResumeStream());
        }
        ASSERT_EQ(last, (i + 1) * 50000 - 30000) << "what has been written is what counts";
    }
}

TEST_F(AudioOutput, ClockRunsOnAfterAFailedWriteAndNeverAheadOfAnother)
{
    OpenAndStart();
    MKFrame frame;
    Fill(frame, 2400, 0);
    m_audio.onWrite = [&](int n) {
        m_audio.SetTime(101);
        EXPECT_EQ(m_display.GetStreamTimeStamp(0), 20000) << "no more than this write's samples";
        return n == 1 ? paInternalError : paNoError;
    };
    ASSERT_EQ(m_display.Write(0, &frame), -2);
    m_audio.SetTime(102);
    EXPECT_EQ(m_display.GetStreamTimeStamp(0), 1970000);
    ASSERT_TRUE(m_display.StopStream());
    m_audio.SetTime(100);
    ASSERT_TRUE(m_display.StartStream());
    EXPECT_EQ(m_display.Write(0, &frame), 1) << "the failure is forgotten";
}

TEST_F(AudioOutput, EachStartBeginsATimeLine)
{
    OpenAndStart();
    MKFrame frame;
    for (const int64_t pts : {int64_t{5000000}, int64_t{90000000}, int64_t{2000000}, int64_t{0}}) {
        SCOPED_TRACE(pts);
        EXPECT_EQ(m_display.GetStreamTimeStamp(0), -30000);
        Fill(frame, 2400, AV_NOPTS_VALUE); // no origin yet
        ASSERT_EQ(m_display.Write(0, &frame), 1);
        EXPECT_EQ(m_display.GetStreamTimeStamp(0), 20000);
        Fill(frame, 2400, pts);
        ASSERT_EQ(m_display.Write(0, &frame), 1);
        EXPECT_EQ(m_display.GetStreamTimeStamp(0), pts + 70000);
        EXPECT_EQ(m_display.GetStreamDuration(0), pts + 100000);
        ASSERT_TRUE(m_display.StopStream());
        ASSERT_TRUE(m_display.StartStream());
    }
}

TEST_F(AudioOutput, RateOfTheClockIsTheOneTheDeviceReports)
{
    m_audio.reportedRate = 47999.6;
    OpenAndStart();
    MKFrame frame;
    Fill(frame, 2400, AV_NOPTS_VALUE);
    ASSERT_EQ(m_display.Write(0, &frame), 1);
    EXPECT_EQ(m_display.GetDuration(), 50000);
}

TEST_F(AudioOutput, PauseAndResumeKnowTheirStates)
{
    m_log.records.clear();
    EXPECT_FALSE(m_display.PauseStream());
    EXPECT_FALSE(m_display.ResumeStream());
    OpenAndStart();
    m_log.records.clear();
    EXPECT_FALSE(m_display.ResumeStream());
    EXPECT_TRUE(m_display.PauseStream());
    EXPECT_FALSE(m_display.PauseStream());
    EXPECT_TRUE(m_display.ResumeStream());
    EXPECT_TRUE(m_display.StopStream());
    EXPECT_FALSE(m_display.PauseStream());
    EXPECT_THAT(Texts(),
                ElementsAre("MKPortAudio::ResumeStream invalid state", "MKPortAudio::PauseStream invalid state",
                            "MKPortAudio::PauseStream invalid state"));
    EXPECT_TRUE(m_display.StartStream());
    EXPECT_TRUE(m_display.PauseStream());
    EXPECT_TRUE(m_display.StartStream());
    EXPECT_TRUE(m_display.PauseStream());
}

TEST_F(AudioOutput, StartThatFailsLeavesTheStreamStarted)
{
    MKStreamParameters params = Wanted();
    ASSERT_TRUE(m_display.OpenStream(0, &params));
    m_audio.startResult = paInternalError;
    EXPECT_FALSE(m_display.StartStream());
    EXPECT_EQ(Texts().back(), "Could not start audio output stream, Pa_StartStream failed");
    EXPECT_TRUE(m_display.PauseStream());
}

TEST_F(AudioOutput, StopWaitsUntilWhatWasWrittenHasBeenHeard)
{
    m_audio.latency = 0.1;
    OpenAndStart();
    MKFrame frame;
    Fill(frame, 480, AV_NOPTS_VALUE);
    ASSERT_EQ(m_display.Write(0, &frame), 1);
    const Clock::time_point written = Clock::now();
    ASSERT_TRUE(m_display.StopStream());
    // Written is read a little after the write has ended.
    EXPECT_GE(m_audio.StoppedAt() - written, std::chrono::milliseconds(115));
    EXPECT_THAT(m_audio.Calls(), ElementsAre("open", "start", "stop"));
}

TEST_F(AudioOutput, StopDoesNotWaitWhereNothingWasWritten)
{
    m_audio.latency = 3600; // a wait would be noticed
    OpenAndStart();
    EXPECT_TRUE(m_display.StopStream());
    EXPECT_THAT(m_audio.Calls(), ElementsAre("open", "start", "stop"));
}

TEST_F(AudioOutput, StopDoesNotWaitForAFailedDevice)
{
    m_audio.latency = 3600;
    OpenAndStart();
    MKFrame frame;
    Fill(frame, 480, AV_NOPTS_VALUE);
    ASSERT_EQ(m_display.Write(0, &frame), 1);
    m_audio.vanished = true;
    EXPECT_EQ(m_display.Write(0, &frame), -2);
    EXPECT_TRUE(m_display.Close());
    EXPECT_EQ(m_audio.OpenStreams(), 0);
}

TEST_F(AudioOutput, FailuresToStopAndCloseAreLoggedOnly)
{
    OpenAndStart();
    m_audio.stopResult = paInternalError;
    m_audio.closeResult = paInternalError;
    m_log.records.clear();
    EXPECT_TRUE(m_display.CloseStream(0));
    EXPECT_THAT(Texts(), ElementsAre("QXAudioDeviceMediaProviderImpl: Pa_AbortStream: -9986",
                                     "QXAudioDeviceMediaProviderImpl: Pa_CloseStream: -9986"));
    EXPECT_FALSE(m_display.IsStreamOpened(0));
    EXPECT_THAT(m_audio.Calls(), ElementsAre("open", "start", "stop", "close"));
}

TEST_F(AudioOutput, ClosingWhatIsNotOpenCallsNothing)
{
    EXPECT_TRUE(m_display.StopStream());
    EXPECT_TRUE(m_display.Close());
    EXPECT_THAT(m_audio.Calls(), IsEmpty());
    {
        MKAudioDisplay unused;
    }
    EXPECT_THAT(m_audio.Calls(), IsEmpty());
}

TEST_F(AudioOutput, DeletingClosesTheDevice)
{
    {
        MKAudioDisplay display;
        MKStreamParameters params = Wanted();
        ASSERT_TRUE(display.OpenStream(0, &params));
        ASSERT_TRUE(display.StartStream());
    }
    EXPECT_THAT(m_audio.Calls(), ElementsAre("open", "start", "stop", "close"));
    EXPECT_EQ(m_audio.OpenStreams(), 0);
}

TEST_F(AudioOutput, ClockMayBeReadByAnyThreadWhileOthersWriteAndStop)
{
    m_audio.timeScale = 50;
    OpenAndStart();
    std::atomic<bool> done{false};
    auto reading = std::async(std::launch::async, [&] {
        int64_t highest = 0;
        while (!done)
            highest = std::max(highest, m_display.GetStreamTimeStamp(0));
        return highest;
    });
    MKFrame frame;
    Fill(frame, 4096, 1000000);
    auto writing = std::async(std::launch::async, [&] {
        for (int i = 0; i < 50; ++i)
            EXPECT_EQ(m_display.Write(0, &frame), 1);
    });
    writing.wait();
    EXPECT_TRUE(m_display.PauseStream());
    EXPECT_TRUE(m_display.ResumeStream());
    EXPECT_TRUE(m_display.Close());
    done = true;
    EXPECT_GT(reading.get(), 1000000);
}

TEST(PortAudioTurn, CloseThatHangsHoldsUpNobodyAndAnOpeningIsWaitedFor)
{
    std::future<void> last;
    {
        const qxPortAudioTurn hung(qxPortAudioTurn::Closing);
        const qxPortAudioTurn opening(qxPortAudioTurn::Opening);
        last = std::async(std::launch::async, [] { qxPortAudioTurn(qxPortAudioTurn::Closing); });
        EXPECT_EQ(last.wait_for(kClosingTurn + std::chrono::milliseconds(100)), std::future_status::timeout);
    }
    last.get();
}
