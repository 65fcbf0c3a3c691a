// The audio nodes on a private null sink and on devices made of it: what is heard, recorded and told. MIT licence.
#include "support/log_capture.h"
#include "support/pulse_sink.h"
#include "support/wav.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <future>
#include <iterator>
#include <memory>
#include <mutex>
#include <random>
#include <thread>

extern "C" {
#include <libavutil/frame.h>
}

#include <gmock/gmock.h>
#include <portaudio.h>
#include <unistd.h>
#include <windows.h>

#include "mediakit/audio_io.h"
#include "mediakit/devicemanager.h"

using testing::HasSubstr;

namespace
{

using Clock = std::chrono::steady_clock;
constexpr int kRate = 48000;
constexpr int kBlock = 4096;
constexpr std::chrono::seconds kPatience(30);

// The server, PortAudio and the device manager, started once for all cases of this program.
class AudioNodes : public testing::Test
{
public:
    static void SetUpTestSuite()
    {
        s_sink = std::make_unique<PulseSink>();
        if (!s_sink->Ok())
            return;
        WriteDevices();
        s_started = Pa_Initialize() == paNoError;
        // wxWidgets makes the key of its threads' storage at the first log outside of the main thread and drops it at
        // exit in reverse order. Made before the manager it outlives the notices' thread, whose 8 bytes it frees.
        std::thread([] { wxLog::IsLevelEnabled(wxLOG_Message, "audio"); }).join();
        MKAudioDeviceManager::Get();
    }
    static void TearDownTestSuite()
    {
        if (s_started)
            Pa_Terminate();
        s_sink.reset();
    }

protected:
    void SetUp() override
    {
        if (!s_sink->Ok() && !std::getenv("QXSPEECH_NO_SKIP"))
            GTEST_SKIP() << s_sink->Why();
        ASSERT_TRUE(s_sink->Ok()) << s_sink->Why();
        ASSERT_TRUE(s_started);
    }

    // Beside the sink: a device that keeps what it is given, one with a single channel, and the sink's monitor.
    static void WriteDevices()
    {
        const std::string pulse = "type pulse server \"" + s_sink->Socket() + "\" device ";
        const std::string path = s_sink->FileInDir("devices.conf");
        std::ofstream(path) << "pcm.!default { " << pulse << "testsink }\n"
                            << "ctl.!default { type pulse server \"" << s_sink->Socket() << "\" }\n"
                            << "pcm.kept { type file slave.pcm { type null } format raw file \""
                            << s_sink->FileInDir("kept.raw") << "\" hint { show on description kept } }\n"
                            << "pcm.nothing { type null }\n"
                            << "pcm.single { type multi slaves.a.pcm nothing slaves.a.channels 1 bindings.0.slave a "
                            << "bindings.0.channel 0 hint { show on description single } }\n"
                            << "pcm.monitor { " << pulse << "testsink.monitor hint { show on description monitor } }\n";
        setenv("ALSA_CONFIG_PATH", path.c_str(), 1);
    }

    static MKStreamParameters Stereo()
    {
        MKStreamParameters wanted;
        wanted.channels = 2;
        wanted.rateNum = kRate;
        wanted.format = MKSampleS16;
        return wanted;
    }

    // What the command says, without the line's end; a failed one says nothing.
    static std::string Pactl(const std::string& arguments)
    {
        std::string said;
        FILE* const pipe = popen(("pactl -s " + s_sink->Socket() + " " + arguments).c_str(), "r");
        for (int c = pipe ? std::fgetc(pipe) : EOF; c != EOF; c = std::fgetc(pipe))
            said += static_cast<char>(c);
        if (pipe)
            pclose(pipe);
        return said.substr(0, said.find('\n'));
    }

    static std::unique_ptr<PulseSink> s_sink;
    static bool s_started;
};

std::unique_ptr<PulseSink> AudioNodes::s_sink;
bool AudioNodes::s_started = false;

// Noise without zeros, both channels the same, in whole blocks.
std::vector<int16_t> Noise(int blocks)
{
    std::mt19937 random(7);
    std::vector<int16_t> samples(static_cast<size_t>(2 * kBlock * blocks));
    for (size_t i = 0; i < samples.size(); i += 2)
        samples[i] = samples[i + 1] = static_cast<int16_t>(random() % 20000 + 1);
    return samples;
}

// Writes all blocks and answers whether the device took them.
bool Play(MKAudioDisplay& display, const std::vector<int16_t>& samples)
{
    MKFrame frame;
    for (size_t at = 0; at < samples.size(); at += 2 * kBlock) {
        if (!display.AllocateFrame(0, &frame))
            return false;
        AVFrame* const data = frame.GetAVFrame();
        data->nb_samples = kBlock;
        data->pts = static_cast<int64_t>(at) / 2 * 1000000 / kRate;
        std::memcpy(data->data[0], &samples[at], sizeof(int16_t) * 2 * kBlock);
        if (display.Write(0, &frame) != 1)
            return false;
    }
    return true;
}

size_t ResidentBytes()
{
    size_t all = 0;
    size_t resident = 0;
    std::ifstream("/proc/self/statm") >> all >> resident;
    return resident * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

} // namespace

TEST_F(AudioNodes, EverySampleIsHeardToTheLastOne)
{
    MKAudioDisplay display;
    MKStreamParameters params = Stereo();
    ASSERT_TRUE(display.OpenStream(0, &params));
    ASSERT_EQ(params.channels, 2);
    ASSERT_EQ(params.rateNum, kRate);
    SinkRecording recording(*s_sink);
    ASSERT_TRUE(display.StartStream());
    const std::vector<int16_t> played = Noise(12);
    ASSERT_TRUE(Play(display, played));
    ASSERT_TRUE(display.StopStream());
    const Sound heard = recording.Stop();
    size_t begin = 0;
    while (begin < heard.samples.size() && heard.samples[begin] == 0)
        ++begin;
    const size_t count = played.size() / 2;
    ASSERT_GE(heard.samples.size(), begin + count);
    size_t same = 0;
    for (size_t i = 0, at = begin; i < count && at < heard.samples.size(); ++at) {
        if (heard.samples[at] == 0)
            continue; // the sink had nothing for a moment: a machine that is busy, not a sample lost
        ASSERT_EQ(heard.samples[at], played[2 * i]) << "sample " << i;
        same = ++i;
    }
    EXPECT_EQ(same, count);
}

TEST_F(AudioNodes, ClockFollowsTheSound)
{
    MKAudioDisplay display;
    MKStreamParameters params = Stereo();
    ASSERT_TRUE(display.OpenStream(0, &params));
    ASSERT_TRUE(display.StartStream());
    const int64_t latency = -display.GetStreamTimeStamp(0);
    EXPECT_GT(latency, 0);
    const std::vector<int16_t> played = Noise(20);
    const Clock::time_point begin = Clock::now();
    auto playing = std::async(std::launch::async, [&] { return Play(display, played); });
    int64_t ahead = -latency;
    while (playing.wait_for(std::chrono::milliseconds(2)) != std::future_status::ready) {
        const int64_t clock = display.GetStreamTimeStamp(0);
        const auto passed = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin);
        ahead = std::max(ahead, clock - passed.count());
    }
    EXPECT_TRUE(playing.get());
    // Nothing is heard before its time, whatever the machine does meanwhile.
    EXPECT_LT(ahead, 150000);
    EXPECT_EQ(display.GetDuration(), 20LL * kBlock * 1000000 / kRate);
    EXPECT_EQ(display.GetStreamTimeStamp(0), display.GetDuration() - latency);
}

TEST_F(AudioNodes, NamedDeviceGetsTheSamplesAsTheyAre)
{
    MKAudioDisplay display;
    display.SetDevice("ALSA:kept");
    MKStreamParameters params = Stereo();
    ASSERT_TRUE(display.OpenStream(0, &params));
    ASSERT_TRUE(display.StartStream());
    const std::vector<int16_t> played = Noise(6);
    ASSERT_TRUE(Play(display, played));
    ASSERT_TRUE(display.Close());
    std::ifstream file(s_sink->FileInDir("kept.raw"), std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    ASSERT_EQ(bytes.size(), played.size() * sizeof(int16_t));
    EXPECT_EQ(std::memcmp(bytes.data(), played.data(), bytes.size()), 0);
}

TEST_F(AudioNodes, DeviceWithOneChannelOpensWithOne)
{
    MKAudioDisplay display;
    display.SetDevice("ALSA:single");
    MKStreamParameters params = Stereo();
    LogCapture log;
    ASSERT_TRUE(display.OpenStream(0, &params));
    EXPECT_EQ(params.channels, 1);
    EXPECT_EQ(params.format, MKSampleS16);
    EXPECT_EQ(params.frameSize, kBlock);
    ASSERT_GE(log.records.size(), 4U);
    EXPECT_THAT(std::string(log.records[0].text.utf8_str()),
                HasSubstr("from: single. Channel: 2. Sample rate: 48000."));
    EXPECT_EQ(log.records[1].text, "Failed to open audio stream. Error: Invalid number of channels.");
    EXPECT_THAT(std::string(log.records[2].text.utf8_str()), HasSubstr("from: single. Channel: 1."));
    EXPECT_EQ(display.GetBufferSize(0), 1024); // it is not started: nothing behind it takes sound
}

TEST_F(AudioNodes, ThirtyTwoChannelsOpenWithoutMuchMemory)
{
    const size_t before = ResidentBytes();
    MKAudioDisplay display;
    MKStreamParameters params = Stereo();
    params.channels = 32;
    params.format = MKSampleFloat;
    ASSERT_TRUE(display.OpenStream(0, &params));
    EXPECT_EQ(params.channels, 32);
    ASSERT_TRUE(display.StartStream());
    EXPECT_LT(ResidentBytes(), before + (64U << 20));
}

TEST_F(AudioNodes, WhatTheSinkPlaysIsRecorded)
{
    MKAudioCapture capture;
    capture.SetDevice("ALSA:monitor");
    MKStreamParameters wanted = Stereo();
    ASSERT_TRUE(capture.OpenStream(0, &wanted));
    ASSERT_TRUE(capture.StartStream());
    MKAudioDisplay display;
    MKStreamParameters params = Stereo();
    ASSERT_TRUE(display.OpenStream(0, &params));
    ASSERT_TRUE(display.StartStream());
    const std::vector<int16_t> played = Noise(12);
    auto playing = std::async(std::launch::async, [&] { return Play(display, played); });
    MKFrame frame;
    size_t heard = 0;
    int64_t lastTime = -1;
    double level = 0;
    const Clock::time_point limit = Clock::now() + kPatience;
    while (heard < played.size() / 4 && Clock::now() < limit) {
        const int got = capture.Read(0, &frame);
        ASSERT_GE(got, 0);
        if (got == 0)
            continue;
        EXPECT_GT(frame.GetTimeStamp(), lastTime);
        lastTime = frame.GetTimeStamp();
        const AVFrame* const data = frame.GetAVFrame();
        const int16_t* const samples = reinterpret_cast<const int16_t*>(data->data[0]);
        for (int i = 0; i < data->nb_samples; ++i)
            heard += samples[2 * i] != 0;
        level = std::max(level, capture.GetLevel());
    }
    EXPECT_TRUE(playing.get());
    EXPECT_GE(heard, played.size() / 4);
    EXPECT_GT(level, 0.01);
    EXPECT_TRUE(capture.Close());
    EXPECT_TRUE(display.Close());
}

TEST_F(AudioNodes, ReaderLeavesWhenTheRecordingStops)
{
    MKAudioCapture capture;
    capture.SetDevice("ALSA:monitor");
    MKStreamParameters wanted = Stereo();
    ASSERT_TRUE(capture.OpenStream(0, &wanted));
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(capture.StartStream());
        std::promise<void> begun;
        auto reading = std::async(std::launch::async, [&] {
            MKFrame frame;
            int got = capture.Read(0, &frame);
            begun.set_value();
            while (got >= 0)
                got = capture.Read(0, &frame);
            return got;
        });
        begun.get_future().wait();
        EXPECT_TRUE(capture.StopStream());
        EXPECT_EQ(reading.get(), -1);
    }
}

TEST_F(AudioNodes, DevicesThatComeAndGoAreTold)
{
    struct Changes {
        std::mutex lock;
        std::condition_variable more;
        std::vector<std::pair<std::string, MKDeviceChangeMsg>> all;

        bool Await(const std::string& id, MKDeviceChangeMsg msg)
        {
            std::unique_lock<std::mutex> hold(lock);
            return more.wait_for(hold, kPatience, [&] {
                return std::find(all.begin(), all.end(), std::make_pair(id, msg)) != all.end();
            });
        }
    };
    const auto changes = std::make_shared<Changes>();
    MKAudioDeviceManager::Get()->SetChangeCallback([changes](const std::string& id, MKDeviceChangeMsg msg) {
        const std::lock_guard<std::mutex> hold(changes->lock);
        changes->all.emplace_back(id, msg);
        changes->more.notify_all();
    });
    const std::string module = Pactl("load-module module-null-sink sink_name=second");
    EXPECT_TRUE(changes->Await("PulseAudio:second", MKDeviceAdded));
    Pactl("set-default-sink second");
    EXPECT_TRUE(changes->Await("PulseAudio:second", MKDefaultDeviceChanged));
    Pactl("set-default-sink testsink");
    EXPECT_TRUE(changes->Await("PulseAudio:testsink", MKDefaultDeviceChanged));
    Pactl("unload-module " + module);
    EXPECT_TRUE(changes->Await("PulseAudio:second", MKDeviceRemoved));
    MKAudioDeviceManager::Get()->SetChangeCallback(nullptr);
    EXPECT_EQ(changes->all.size(), 4U);
}
