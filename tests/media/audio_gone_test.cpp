// A sound server that ends, and one that was never there. A program of its own: it takes its server away. MIT licence.
#include "support/log_capture.h"
#include "support/pulse_sink.h"
#include "support/scratch_dir.h"

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <future>
#include <memory>

extern "C" {
#include <libavutil/frame.h>
}

#include <gtest/gtest.h>
#include <portaudio.h>
#include <windows.h>

#include "mediakit/audio_io.h"
#include "mediakit/devicemanagerimpl.h"
#include "platform/posix/devicenotices.h"

// First: opening a device makes the process's own manager, whose thread would be told of these devices, too, and log.
// wxWidgets keeps a few bytes for a thread that has logged and still runs at exit.
TEST(ServerGone, NoticesComeBackWithANewServer)
{
    PulseSink sink;
    if (!sink.Ok() && !std::getenv("QXSPEECH_NO_SKIP"))
        GTEST_SKIP() << sink.Why();
    ASSERT_TRUE(sink.Ok()) << sink.Why();
    std::promise<std::string> added;
    qxplatform::DeviceNotices notices([&](const qxplatform::DeviceNotice& notice) {
        if (notice.kind == qxplatform::DeviceNotice::Added)
            added.set_value(notice.id);
    });
    ASSERT_TRUE(notices.Start());
    sink.Kill();
    std::ofstream(sink.FileInDir("pulse.pa"), std::ios::app) << "load-module module-null-sink sink_name=second\n";
    ASSERT_TRUE(sink.Restart());
    std::future<std::string> id = added.get_future();
    ASSERT_EQ(id.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    EXPECT_EQ(id.get(), "PulseAudio:second") << "the first one is no news";
}

TEST(ServerGone, WritingFailsAndEverythingStillCloses)
{
    auto sink = std::make_unique<PulseSink>();
    if (!sink->Ok() && !std::getenv("QXSPEECH_NO_SKIP"))
        GTEST_SKIP() << sink->Why();
    ASSERT_TRUE(sink->Ok()) << sink->Why();
    ASSERT_EQ(Pa_Initialize(), paNoError);
    MKAudioDeviceManagerImpl manager;
    manager.StartNotification();
    MKAudioDisplay display;
    MKStreamParameters params;
    params.channels = 2;
    params.rateNum = 48000;
    params.format = MKSampleS16;
    ASSERT_TRUE(display.OpenStream(0, &params));
    ASSERT_TRUE(display.StartStream());
    MKFrame frame;
    ASSERT_TRUE(display.AllocateFrame(0, &frame));
    frame.GetAVFrame()->nb_samples = params.frameSize;
    ASSERT_EQ(display.Write(0, &frame), 1);
    sink.reset();
    int written = 1;
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (written == 1 && std::chrono::steady_clock::now() < limit)
        written = display.Write(0, &frame);
    EXPECT_EQ(written, -2);
    EXPECT_TRUE(display.StopStream());
    EXPECT_TRUE(display.Close());
    Pa_Terminate();
}

TEST(NoServer, NoticesStayOffAndTheManagerWorks)
{
    const ScratchDir nowhere;
    for (const char* variable : {"HOME", "XDG_RUNTIME_DIR", "PULSE_RUNTIME_PATH", "PULSE_STATE_PATH"})
        setenv(variable, nowhere.Path().c_str(), 1);
    unsetenv("PULSE_SERVER");
    {
        MKAudioDeviceManagerImpl manager;
        LogCapture log;
        manager.StartNotification();
        ASSERT_EQ(log.records.size(), 1U);
        EXPECT_EQ(log.records[0].text, "Cannot initialize audio endpoint notification.");
        EXPECT_EQ(manager.GetDeviceCount(), 0);
    }
}
