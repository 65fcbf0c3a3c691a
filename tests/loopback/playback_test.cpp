// What the engines on the network play, on a private null sink. MIT licence.
#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <portaudio.h>
#include <thread>

#include "speech/tts_awsapi.h"
#include "speech/tts_azureapi.h"
#include "speech/tts_googleapi.h"
#include "support/cloud_host.h"
#include "support/sink_suite.h"

using loopback::ErrorBody;
using loopback::Fault;

namespace
{

struct Engine {
    const char* name;
    std::function<wxTTSHandler*()> make;
    const char* voice;
    const char* speechPath;
    const char* noAudio; // an answer that holds something else
    const char* extension;
    bool stopsFirst; // before the request
};

void PrintTo(const Engine& engine, std::ostream* out)
{
    *out << engine.name;
}

template <class Condition>
bool Await(Condition condition)
{
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > limit)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

class Playback : public SinkSuite<testing::TestWithParam<Engine>>
{
protected:
    void SetUp() override
    {
        SinkSuite::SetUp();
        if (!IsReady())
            return;
        host = std::make_unique<CloudHost>();
        handler.reset(GetParam().make());
        QXTTSVoiceInfo voice;
        voice.SetId(GetParam().voice);
        voice.SetName(GetParam().voice);
        voice.SetLangCode("en-US");
        voice.SetGender("Female");
        voice.SetEngine("neural"); // where it matters
        handler->SetVoice(voice);
    }
    void TearDown() override
    {
        handler.reset();
        host.reset();
    }

    bool Play(const wxString& text) { return handler->Speak(text, 0, ""); }
    void RefuseNext()
    {
        host->services.Inject("", GetParam().speechPath, 1, Fault::Status(500, ErrorBody::kJson, "no"));
    }
    bool AwaitEnd()
    {
        return Await([this] { return !handler->IsSpeaking(); });
    }
    // The audio files that the engine has made for itself.
    std::vector<std::string> AudioFiles() const
    {
        std::vector<std::string> files;
        for (const auto& entry : std::filesystem::directory_iterator(host->folder.Path())) {
            if (entry.path().extension() == GetParam().extension)
                files.push_back(entry.path());
        }
        return files;
    }

    const wxString longText = wxString('x', 200); // 12 seconds
    std::unique_ptr<CloudHost> host;
    std::unique_ptr<wxTTSHandler> handler;
};

class PlaybackInTurns : public Playback
{
};

class PlaybackOfGoogle : public Playback
{
};

class PlaybackOfPolly : public Playback
{
};

const Engine kPolly = {"Polly", [] { return new wxTTSAWSHandler; }, "Joanna", "/v1/speech", "no audio", ".mp3", true};
const Engine kAzure = {
    "Azure", [] { return new wxTTSAzureHandler; }, "en-US-JennyNeural", "/cognitiveservices/v1", "no audio", ".wav",
    false};
const Engine kGoogle = {"Google",
                        [] { return new wxTTSGoogleHandler; },
                        "",
                        "/v1/text:synthesize",
                        R"({"audioContent":"bm8gYXVkaW8="})",
                        ".wav",
                        false};

std::string EngineName(const testing::TestParamInfo<Engine>& info)
{
    return info.param.name;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Cloud, Playback, testing::Values(kPolly, kAzure, kGoogle), EngineName);
INSTANTIATE_TEST_SUITE_P(Cloud, PlaybackInTurns, testing::Values(kAzure, kGoogle), EngineName);
INSTANTIATE_TEST_SUITE_P(Cloud, PlaybackOfPolly, testing::Values(kPolly), EngineName);
INSTANTIATE_TEST_SUITE_P(Cloud, PlaybackOfGoogle, testing::Values(kGoogle), EngineName);

TEST_P(Playback, SpeechIsHeardAndItsEndShowsByItself)
{
    SinkRecording recording(*s_sink);
    ASSERT_TRUE(Play(wxString('x', 20))) << handler->GetLastErrorMessage(); // 1.2 s, or longer at a slow speed
    EXPECT_TRUE(handler->IsSpeaking());
    EXPECT_FALSE(handler->IsPaused());
    EXPECT_EQ(handler->GetLastFailure().category, wxTTS_FAILURE_NONE);
    EXPECT_EQ(std::filesystem::status(AudioFiles().at(0)).permissions(), std::filesystem::perms(0600));
    EXPECT_TRUE(AwaitEnd());
    EXPECT_FALSE(handler->IsPaused());
    EXPECT_TRUE(handler->Stop()); // what the device holds is heard first
    const std::vector<Stretch> heard = LoudStretches(recording.Stop(), 0.5);
    ASSERT_EQ(heard.size(), 1u);
    const double seconds = heard[0].to - heard[0].from;
    EXPECT_GT(seconds, 1.1);
    EXPECT_LT(seconds, 2.6);
}

TEST_P(Playback, PausesResumesAndStops)
{
    EXPECT_FALSE(handler->Pause());
    EXPECT_FALSE(handler->Resume());
    EXPECT_TRUE(handler->Stop()) << "nothing to stop";
    ASSERT_TRUE(Play(longText)) << handler->GetLastErrorMessage();
    EXPECT_TRUE(handler->Pause());
    EXPECT_TRUE(handler->IsPaused());
    EXPECT_FALSE(handler->IsSpeaking());
    EXPECT_TRUE(handler->Resume());
    EXPECT_TRUE(handler->IsSpeaking());
    EXPECT_TRUE(handler->Pause());
    EXPECT_TRUE(handler->Stop());
    EXPECT_FALSE(handler->IsPaused());
    EXPECT_FALSE(handler->IsSpeaking());
    EXPECT_TRUE(Play("again")) << "and is ready for the next";
    EXPECT_TRUE(handler->Skip(1, wxTTS_SKIP_SENTENCE));
    EXPECT_TRUE(handler->IsSpeaking());
}

TEST_P(Playback, RefusedRequestStopsOnlyWhatStopsFirst)
{
    ASSERT_TRUE(Play(longText)) << handler->GetLastErrorMessage();
    RefuseNext();
    EXPECT_FALSE(Play("other"));
    EXPECT_EQ(handler->IsSpeaking(), !GetParam().stopsFirst);
}

TEST_P(Playback, OutputFileStopsOnlyWhatStopsFirst)
{
    ASSERT_TRUE(Play(longText)) << handler->GetLastErrorMessage();
    ASSERT_TRUE(handler->Speak("other", 0, host->Path("out")));
    EXPECT_EQ(handler->IsSpeaking(), !GetParam().stopsFirst);
    EXPECT_FALSE(ReadFileBytes(host->Path("out")).empty());
}

TEST_P(Playback, UninitializeStopsOnceInitialized)
{
    ASSERT_TRUE(Play(longText)) << handler->GetLastErrorMessage();
    handler->SetInitialized(true);
    EXPECT_TRUE(handler->Uninitialize());
    EXPECT_FALSE(handler->IsSpeaking());
}

TEST_P(Playback, AnswerThatIsNoAudioIsToldByThePlayer)
{
    host->services.Inject("", GetParam().speechPath, 1, Fault::Text("application/json", GetParam().noAudio));
    EXPECT_FALSE(Play("hello"));
    EXPECT_EQ(handler->GetLastErrorMessage(), "Could not open media for playing.");
    EXPECT_FALSE(handler->IsSpeaking());
    EXPECT_TRUE(Play("hello")) << handler->GetLastErrorMessage();
}

TEST_P(PlaybackInTurns, OnePathServesAsLongAsNothingPlaysFromIt)
{
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(Play("a")) << handler->GetLastErrorMessage();
        EXPECT_TRUE(AwaitEnd());
        EXPECT_EQ(AudioFiles().size(), 1u);
    }
    ASSERT_TRUE(Play(longText));
    EXPECT_TRUE(handler->Stop());
    ASSERT_TRUE(Play("a"));
    EXPECT_EQ(AudioFiles().size(), 1u);
}

TEST_P(PlaybackInTurns, NewAudioGoesToTheOtherPathWhileOnePlaysOrIsPaused)
{
    ASSERT_TRUE(Play(longText)) << handler->GetLastErrorMessage();
    const std::vector<std::string> first = AudioFiles();
    ASSERT_EQ(first.size(), 1u);
    const std::string firstAudio = ReadFileBytes(wxString::FromUTF8(first[0]));
    EXPECT_TRUE(handler->Pause());
    ASSERT_TRUE(Play(longText + longText));
    EXPECT_TRUE(handler->IsSpeaking());
    ASSERT_EQ(AudioFiles().size(), 2u);
    EXPECT_EQ(ReadFileBytes(wxString::FromUTF8(first[0])), firstAudio) << "it was still open";

    ASSERT_TRUE(Play("a"));
    EXPECT_EQ(AudioFiles().size(), 2u) << "the two take turns";
    EXPECT_NE(ReadFileBytes(wxString::FromUTF8(first[0])), firstAudio);
}

TEST_P(PlaybackInTurns, AudioThatBreaksOffLeavesTheOneThatPlays)
{
    ASSERT_TRUE(Play(longText)) << handler->GetLastErrorMessage();
    const std::string playing = AudioFiles().at(0);
    const std::string audio = ReadFileBytes(wxString::FromUTF8(playing));
    for (int i = 0; i < 2; ++i) {
        host->services.Inject("", GetParam().speechPath, 1, Fault::Close(loopback::Stage::kWithinBody));
        EXPECT_FALSE(Play("other"));
        EXPECT_TRUE(handler->IsSpeaking());
        EXPECT_EQ(ReadFileBytes(wxString::FromUTF8(playing)), audio);
    }
}

TEST_P(PlaybackOfGoogle, AnswerWithoutAudioPlaysWhatWasWrittenLast)
{
    ASSERT_TRUE(Play(longText)) << handler->GetLastErrorMessage();
    ASSERT_TRUE(Play(longText));
    ASSERT_EQ(AudioFiles().size(), 2u);
    for (const std::string& file : AudioFiles())
        EXPECT_GT(ReadFileBytes(wxString::FromUTF8(file)).size(), 44u);
    EXPECT_TRUE(handler->Stop());
    for (int i = 0; i < 2; ++i) { // idle, then while it plays
        host->services.Inject("", GetParam().speechPath, 1, Fault::Text("application/json", "{}"));
        EXPECT_TRUE(Play("nothing")) << handler->GetLastErrorMessage();
        EXPECT_TRUE(handler->IsSpeaking());
    }
    EXPECT_EQ(AudioFiles().size(), 2u);
}

TEST_P(PlaybackOfPolly, EachSpeechHasAFileOfItsOwn)
{
    for (size_t i = 1; i < 3; ++i) {
        ASSERT_TRUE(Play("a")) << handler->GetLastErrorMessage();
        EXPECT_TRUE(AwaitEnd());
        EXPECT_EQ(AudioFiles().size(), i);
    }
}
