// The voice on a device that fails at one of its first blocks: what Speak answers and the events tell the same story.
// MIT licence.
#include "support/portaudio_double.h"
#include "support/speech_voice.h"

#include <atomic>
#include <chrono>
#include <random>
#include <thread>

#include <gtest/gtest.h>

namespace
{

int Count(const std::vector<SeenEvent>& events, SPEVENTENUM id, ULONG stream)
{
    int count = 0;
    for (const SeenEvent& event : events)
        count += event.id == id && event.stream == stream ? 1 : 0;
    return count;
}

} // namespace

// The device may fail before, while and after Speak answers. A host that waits for the end waits for the event.
TEST(VoiceOnLostDevice, SpeechThatWasAcceptedTellsItsEnd)
{
    PortAudioDouble& device = PortAudioDouble::Get();
    device.Reset();
    std::atomic<int> good{0}; // blocks that are still taken
    std::mt19937 random(7);
    // While it opens, the first samples are made: then the first block follows at once.
    device.accepts = [](const PaStreamParameters&, double) {
        std::this_thread::sleep_for(std::chrono::milliseconds(3));
        return true;
    };
    device.onWrite = [&](int) { return good-- > 0 ? paNoError : paUnanticipatedHostError; };
    SpeechVoice voice;
    voice.ListenToEverything();
    int accepted = 0;
    for (int i = 0; i < 400; ++i) {
        good = i % 20 == 0 ? 1000 : static_cast<int>(random() % 3);
        ULONG stream = 0;
        const HRESULT hr = voice->Speak(L"One.", SPF_ASYNC, &stream);
        ASSERT_TRUE(voice.WaitUntilDone());
        const int ends = Count(voice.TakeEvents(), SPEI_END_INPUT_STREAM, stream);
        if (hr == S_OK) {
            ++accepted;
            ASSERT_EQ(ends, 1) << "speech " << i;
        } else {
            ASSERT_EQ(hr, SPERR_DEVICE_BUSY);
        }
    }
    EXPECT_GE(accepted, 20);
    device.onWrite = nullptr;
}
