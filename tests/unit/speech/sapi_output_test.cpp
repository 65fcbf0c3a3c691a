// The local engine's file output on a scripted voice. MIT licence.
#include "speech/tts_sapi.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <utility>
#include <wx/app.h>

#include "speech/qxtexttospeech.h"
#include "support/scripted_voice.h"

using testing::ElementsAre;
using testing::IsEmpty;
namespace control = qxplatform::control;

namespace
{

const char kBind[] = "BindToFile out.wav 3 wave 1/1/16000/32000/2/16/0 all";

// Initialised, with the calls of the start forgotten.
struct SapiOutput : testing::Test {
    void SetUp() override
    {
        ASSERT_TRUE(handler.Initialize());
        speech.TakeCalls();
    }
    void TearDown() override
    {
        handler.Uninitialize();
        EXPECT_EQ(speech.liveOutputs + speech.liveStreams + speech.liveVoices, 0);
    }
    // Speaks into the file and gives what was called after the rates were set.
    std::vector<std::string> SpeakToFile(int options)
    {
        EXPECT_TRUE(handler.Speak("hello", options, "out.wav"));
        std::vector<std::string> calls = speech.TakeCalls();
        const auto rates = std::find(calls.begin(), calls.end(), "SetPriority 0");
        calls.erase(calls.begin(), rates == calls.end() ? rates : rates + 1);
        return calls;
    }

    ScriptedSpeech speech;
    wxTTSSapiHandler handler;
};

} // namespace

TEST_F(SapiOutput, BlockingSpeechKeepsTheFileUntilItIsStopped)
{
    EXPECT_THAT(SpeakToFile(0),
                ElementsAre("GetOutputStream", "stream made", kBind, "SetOutput stream 1", "Speak hello 2"));
    speech.PostEnd();
    wxYield();
    EXPECT_TRUE(handler.IsSpeaking());
    EXPECT_THAT(speech.TakeCalls(), IsEmpty()) << "no poll without the option";
    EXPECT_TRUE(handler.Stop());
    EXPECT_THAT(speech.TakeCalls(),
                ElementsAre("Speak (null) 2", "WaitUntilDone for ever", "stream gone", "SetOutput device 0"));
    EXPECT_FALSE(handler.IsSpeaking());
}

TEST_F(SapiOutput, AsynchronousSpeechClosesTheFileAtTheFirstLookAfterItsEnd)
{
    SpeakToFile(wxTTS_SPEAK_ASYNC);
    speech.Answer("WaitUntilDone", {S_FALSE, S_FALSE});
    EXPECT_TRUE(handler.IsSpeaking());
    EXPECT_TRUE(handler.IsSpeaking());
    EXPECT_THAT(speech.TakeCalls(), ElementsAre("WaitUntilDone 10", "WaitUntilDone 10"));
    EXPECT_FALSE(handler.IsSpeaking());
    EXPECT_THAT(speech.TakeCalls(), ElementsAre("WaitUntilDone 10", "stream gone", "SetOutput device 0"));
    EXPECT_FALSE(handler.IsSpeaking());
    EXPECT_THAT(speech.TakeCalls(), IsEmpty());
}

TEST_F(SapiOutput, CloseOptionClosesBehindTheCall)
{
    EXPECT_THAT(SpeakToFile(wxTTS_SPEAK_CLOSE_OUTPUT),
                ElementsAre("GetOutputStream", "stream made", kBind, "SetOutput stream 1", "Speak hello 2",
                            "stream gone", "SetOutput device 0"));
    EXPECT_TRUE(handler.IsSpeaking()) << "the notice of the end is still to come";
    speech.lastResult = static_cast<HRESULT>(0x80070070u); // the disk is full
    speech.PostEnd();
    wxYield();
    EXPECT_FALSE(handler.IsSpeaking());
    EXPECT_EQ(handler.GetLastFailure().category, wxTTS_FAILURE_STORAGE);
}

TEST_F(SapiOutput, WaitOptionServesTheHostUntilTheFileIsComplete)
{
    int served = 0;
    speech.Answer("WaitUntilDone", {S_FALSE, S_FALSE, S_OK});
    speech.during["WaitUntilDone"] = [&] { wxAppConsole::GetInstance()->CallAfter([&] { ++served; }); };
    EXPECT_THAT(SpeakToFile(wxTTS_SPEAK_WAIT),
                ElementsAre("GetOutputStream", "stream made", kBind, "SetOutput stream 1", "Speak hello 3",
                            "WaitUntilDone 10", "WaitUntilDone 10", "WaitUntilDone 10", "stream gone",
                            "SetOutput device 0"));
    EXPECT_EQ(served, 2);
    EXPECT_FALSE(handler.IsSpeaking());
    wxYield();
}

TEST_F(SapiOutput, HostMayShutTheHandlerDownWhileItWaits)
{
    speech.during["Speak"] = [this, asked = false]() mutable {
        if (asked)
            return; // the purge of shutting down comes here, too
        asked = true;
        wxAppConsole::GetInstance()->CallAfter([this] { handler.Uninitialize(); });
    };
    speech.Answer("WaitUntilDone", {S_OK, S_FALSE});
    EXPECT_TRUE(handler.Speak("hello", wxTTS_SPEAK_WAIT, "out.wav"));
    EXPECT_EQ(speech.liveVoices, 0);
    EXPECT_FALSE(handler.IsSpeaking());
}

TEST_F(SapiOutput, HostMayDestroyTheInstanceWhileItWaits)
{
    speech.during["Speak"] = [asked = false]() mutable {
        if (!std::exchange(asked, true))
            wxAppConsole::GetInstance()->CallAfter([] { QXTextToSpeech::DestroyInstance(); });
    };
    speech.Answer("WaitUntilDone", {S_OK, S_FALSE});
    EXPECT_FALSE(QXTextToSpeech::Get()->GetEngine().Speak("hello", wxTTS_SPEAK_WAIT, "out.wav"));
    EXPECT_EQ(speech.liveStreams, 0);
    EXPECT_EQ(speech.liveVoices, 1) << "that of the other handler here";
}

TEST_F(SapiOutput, WithoutAFileWaitDoesNotWait)
{
    ASSERT_TRUE(handler.Speak("hello", wxTTS_SPEAK_WAIT | wxTTS_SPEAK_CLOSE_OUTPUT, ""));
    EXPECT_EQ(speech.TakeCalls().back(), "Speak hello 3");
    EXPECT_TRUE(handler.IsSpeaking());
}

TEST_F(SapiOutput, FileThatCannotBeBoundIsNotReported)
{
    speech.Answer("BindToFile", {E_ACCESSDENIED});
    EXPECT_THAT(
        SpeakToFile(wxTTS_SPEAK_CLOSE_OUTPUT),
        ElementsAre("GetOutputStream", "stream made", kBind, "stream gone", "Speak hello 2", "SetOutput device 0"));
    EXPECT_EQ(handler.GetLastErrorMessage(), "");
    EXPECT_EQ(handler.GetLastFailure().message, "The file out.wav cannot be written.") << "but by the record";
}

TEST_F(SapiOutput, VoiceWithoutOutputOrStreamsStillSpeaks)
{
    speech.Answer("GetOutputStream", {S_FALSE});
    EXPECT_THAT(SpeakToFile(wxTTS_SPEAK_CLOSE_OUTPUT),
                ElementsAre("GetOutputStream", "Speak hello 2", "SetOutput null 0"));
    speech.PostEnd();
    wxYield();
    control::SetClassFactory(CLSID_SpStream, {});
    const wxLogNull quiet;
    EXPECT_THAT(SpeakToFile(wxTTS_SPEAK_CLOSE_OUTPUT),
                ElementsAre("GetOutputStream", "Speak hello 2", "SetOutput device 0"));
}

TEST_F(SapiOutput, NextSpeechClosesTheFormerFile)
{
    SpeakToFile(0);
    ASSERT_TRUE(handler.Speak("again", 0, ""));
    const std::vector<std::string> calls = speech.TakeCalls();
    EXPECT_THAT(std::vector<std::string>(calls.begin(), calls.begin() + 4),
                ElementsAre("Speak (null) 2", "WaitUntilDone for ever", "stream gone", "SetOutput device 0"));
    EXPECT_EQ(calls.back(), "Speak again 2");
    EXPECT_EQ(speech.liveStreams, 0);
}

TEST_F(SapiOutput, FailedSpeechKeepsTheFileUntilTheNextCall)
{
    speech.Answer("Speak", {E_FAIL});
    const wxLogNull quiet;
    EXPECT_FALSE(handler.Speak("hello", 0, "out.wav"));
    EXPECT_EQ(speech.liveStreams, 1);
    EXPECT_TRUE(handler.IsSpeaking());
    EXPECT_TRUE(handler.Stop());
    EXPECT_EQ(speech.liveStreams, 0);
}
