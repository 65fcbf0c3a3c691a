// The local engine's handler on a scripted voice: start, voices, speaking, control. MIT licence.
#include "speech/tts_sapi.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <wx/app.h>

#include "support/handler_contract.h"
#include "support/log_capture.h"
#include "support/scripted_voice.h"

using qxplatform::VoiceToken;
using testing::ElementsAre;
using testing::IsEmpty;
namespace control = qxplatform::control;

namespace
{

struct SapiHandler : testing::Test {
    // Starts and forgets the calls of the start.
    void Start()
    {
        ASSERT_TRUE(handler->Initialize());
        speech.TakeCalls();
    }
    // Speaks and gives the calls that this made.
    std::vector<std::string> Speak(const wxString& text, int options = wxTTS_SPEAK_ASYNC)
    {
        EXPECT_TRUE(handler->Speak(text, options, ""));
        return speech.TakeCalls();
    }
    void ChooseVoice(const wxString& name)
    {
        QXTTSVoiceInfo voice;
        voice.SetId(name);
        handler->SetVoice(voice);
    }
    // What the first installed voice is called.
    wxString FirstVoice()
    {
        const std::vector<QXTTSVoiceInfo> voices = handler->GetAvailableVoices();
        return voices.empty() ? wxString("(none)") : voices[0].GetName();
    }
    void TearDown() override
    {
        if (handler)
            handler->Uninitialize();
    }

    ScriptedSpeech speech;
    std::unique_ptr<wxTTSSapiHandler> handler = std::make_unique<wxTTSSapiHandler>();
};

HandlerContract SapiContract()
{
    HandlerContract contract;
    contract.name = "Sapi";
    contract.make = [] { return new wxTTSSapiHandler; };
    contract.id = "Microsoft SAPI";
    contract.className = "wxTTSSapiHandler";
    contract.speed = {-10, 10, 0};
    contract.volume = {0, 100, 80};
    contract.pitch = {0, 100, 50};
    contract.capabilities = {3, 4, 5, 8, 9, 10, 11};
    contract.webSite = "https://learn.microsoft.com/en-us/previous-versions/windows/desktop/ms723627(v=vs.85)";
    return contract;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Engines, HandlerContractTest, testing::Values(SapiContract()), HandlerContractName);

TEST_F(SapiHandler, InitializeSetsTheVoiceUpInOrderAndOnce)
{
    ASSERT_TRUE(handler->Initialize());
    EXPECT_THAT(speech.TakeCalls(),
                ElementsAre("create voice", "voice made", "SetNotifyCallbackFunction 0", "SetInterest all",
                            "SetAlertBoundary 6", "GetRate", "GetVolume", "GetVoice"));
    EXPECT_EQ(handler->GetPropertyLong("Speed"), 3);
    EXPECT_EQ(handler->GetPropertyLong("Volume"), 70);
    EXPECT_EQ(handler->GetPropertyString("Voice"), "Anna");
    EXPECT_TRUE(handler->Initialize());
    EXPECT_THAT(speech.TakeCalls(), IsEmpty());
}

TEST_F(SapiHandler, SettingsThatTheVoiceDoesNotTellStayAsTheyWere)
{
    for (const char* method : {"SetNotifyCallbackFunction", "SetInterest", "SetAlertBoundary", "GetRate", "GetVolume"})
        speech.Answer(method, {E_FAIL});
    speech.voiceTokenId.clear();
    ASSERT_TRUE(handler->Initialize());
    EXPECT_EQ(handler->GetPropertyLong("Speed"), 0);
    EXPECT_EQ(handler->GetPropertyLong("Volume"), 80);
    EXPECT_FALSE(handler->HasProperty("Voice"));
    EXPECT_EQ(handler->GetDefaultVoice().GetName(), "");
}

TEST_F(SapiHandler, WithoutASpeechSystemNothingSpeaksAndNothingIsSaid)
{
    control::SetClassFactory(CLSID_SpVoice, {});
    EXPECT_FALSE(handler->Initialize());
    EXPECT_EQ(handler->GetLastFailure().message, "The speech system is not available.");
    EXPECT_FALSE(handler->GetInitialized());
    EXPECT_FALSE(handler->Speak("hello", 0, ""));
    EXPECT_FALSE(handler->SpeakFile("file", 0, "out.wav"));
    EXPECT_EQ(handler->GetLastErrorMessage(), "");
    EXPECT_THAT(handler->GetAvailableVoices(), IsEmpty());
    EXPECT_TRUE(handler->Stop());
}

TEST_F(SapiHandler, UninitializeStopsAndLetsGoOfTheVoiceOnce)
{
    Start();
    Speak("hello");
    EXPECT_TRUE(handler->Uninitialize());
    EXPECT_THAT(speech.TakeCalls(), ElementsAre("Speak (null) 2", "WaitUntilDone for ever", "voice gone"));
    EXPECT_FALSE(handler->IsSpeaking());
    EXPECT_TRUE(handler->Uninitialize());
    EXPECT_THAT(speech.TakeCalls(), IsEmpty());
    EXPECT_FALSE(handler->Speak("hello", 0, ""));
    EXPECT_EQ(handler->GetLastErrorMessage(), "The speech engine is not initialized.");
}

TEST_F(SapiHandler, DestructorReleasesButDoesNotStop)
{
    Start();
    ASSERT_TRUE(handler->Speak("hello", wxTTS_SPEAK_ASYNC, "out.wav"));
    speech.TakeCalls();
    handler.reset();
    EXPECT_THAT(speech.TakeCalls(), ElementsAre("stream gone", "voice gone"));
    EXPECT_EQ(speech.liveOutputs + speech.liveStreams + speech.liveVoices, 0);
    CoUninitialize();
}

TEST_F(SapiHandler, StartedAgainItListsTheVoicesOnceAndSetsTheVoiceAnew)
{
    Start();
    ChooseVoice("Bruno");
    EXPECT_EQ(Speak("one")[0], "SetVoice Bruno");
    handler->Uninitialize();
    Start();
    EXPECT_EQ(handler->GetAvailableVoices().size(), 3u);
    EXPECT_EQ(Speak("two")[0], "SetVoice Bruno");
}

TEST_F(SapiHandler, ListsTheInstalledVoicesWithTheirLocales)
{
    Start();
    const std::vector<QXTTSVoiceInfo> voices = handler->GetAvailableVoices();
    ASSERT_EQ(voices.size(), 3u);
    const char* const names[] = {"Anna", "Bruno", "Clara"};
    const char* const languages[] = {"en-US", "de-DE", "es-ES"};
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(voices[i].GetHandlerId(), "Microsoft SAPI");
        EXPECT_EQ(voices[i].GetId(), names[i]);
        EXPECT_EQ(voices[i].GetName(), names[i]);
        EXPECT_EQ(voices[i].GetLangCode(), languages[i]);
        EXPECT_EQ(voices[i].GetLangName() + voices[i].GetGender() + voices[i].GetEngine(), "");
    }
    EXPECT_EQ(handler->GetDefaultVoice().GetId(), "Anna");
    EXPECT_EQ(handler->GetDefaultVoice().GetLangCode(), "en-US");
}

TEST_F(SapiHandler, BrokenTokensAreLeftOutOrKeepAnEmptyLocale)
{
    std::vector<VoiceToken> voices = ScriptedSpeech::ThreeVoices();
    voices[0].values.clear();
    voices[1].attributes.clear();
    voices[2].attributes = {{L"Language", L"zzz"}};
    control::SetVoices(voices);
    Start();
    const std::vector<QXTTSVoiceInfo> listed = handler->GetAvailableVoices();
    ASSERT_EQ(listed.size(), 2u);
    EXPECT_EQ(listed[0].GetName() + listed[0].GetLangCode(), "Bruno");
    EXPECT_EQ(listed[1].GetName() + listed[1].GetLangCode(), "Clara");
}

TEST_F(SapiHandler, NoCategoryOrNoVoicesLeaveTheListEmpty)
{
    control::SetClassFactory(CLSID_SpObjectTokenCategory, {});
    Start();
    EXPECT_EQ(FirstVoice(), "(none)");
    handler->Uninitialize();
    control::RestoreAll();
}

TEST_F(SapiHandler, DescriptionComesFromTheResourceElseFromTheTokenItself)
{
    std::vector<VoiceToken> voices = {ScriptedSpeech::ThreeVoices()[0]};
    voices[0].values = {{L"", L"by default"}, {L"Description", L"by resource"}, {L"407", L"by language"}};
    const struct {
        const char* label;
        std::function<void()> set;
        const char* name;
    } rows[] = {
        {"modern system", [] {}, "by resource"},
        {"no language of its own", [] { control::SetMUIStringStatus(ERROR_FILE_NOT_FOUND); }, "by default"},
        {"function missing", [] { control::SetMUIStringPresent(false); }, "by default"},
        {"its own language",
         [] {
             control::SetUILanguage(0x0407);
             control::SetMUIStringPresent(false);
         },
         "by language"},
        {"old system", [] { control::SetSystemVersion(VER_PLATFORM_WIN32_NT, 5); }, "by default"},
        {"other platform", [] { control::SetSystemVersion(1, 6); }, "by default"},
        {"version unknown", [] { control::SetSystemVersion(0, 10); }, "by default"},
        {"first with the resource", [] { control::SetSystemVersion(VER_PLATFORM_WIN32_NT, 6); }, "by resource"},
    };
    for (const auto& row : rows) {
        control::SetVoices(voices);
        control::SetSystemVersion(VER_PLATFORM_WIN32_NT, 10);
        control::SetUILanguage(0x0409);
        control::SetMUIStringStatus(ERROR_SUCCESS);
        control::SetMUIStringPresent(true);
        row.set();
        Start();
        EXPECT_EQ(FirstVoice(), row.name) << row.label;
        EXPECT_EQ(handler->GetDefaultVoice().GetName(), row.name) << row.label;
        handler->Uninitialize();
    }
}

TEST_F(SapiHandler, TokenIdOutsideTheTwoRootsFallsBackToTheTokenItself)
{
    std::vector<VoiceToken> voices = {ScriptedSpeech::ThreeVoices()[0]};
    voices[0].id = L"HKEY_USERS\\Somewhere";
    voices[0].values[L""] = L"by default";
    control::SetVoices(voices);
    Start();
    EXPECT_EQ(FirstVoice(), "by default");
}

TEST_F(SapiHandler, SpeakSetsVoiceAndRatesBeforeItSpeaks)
{
    Start();
    ChooseVoice("Clara");
    handler->SetSpeed(-4, wxTTS_QUANTITY_NATIVE);
    handler->SetVolume(55, wxTTS_QUANTITY_NATIVE);
    handler->SetProperty("Priority", 2L);
    EXPECT_THAT(Speak(wxString::FromUTF8("caf\xc3\xa9")),
                ElementsAre("SetVoice Clara", "SetRate -4", "SetVolume 55", "SetPriority 2", "Speak caf\xc3\xa9 3"));
    EXPECT_TRUE(handler->IsSpeaking());
    EXPECT_EQ(handler->GetOptions(), wxTTS_SPEAK_ASYNC);
}

TEST_F(SapiHandler, VoiceIsSetOnlyWhenAnotherListedOneWasChosen)
{
    Start();
    const auto setVoice = [this](const wxString& name) {
        ChooseVoice(name);
        const std::vector<std::string> calls = Speak("text", 0);
        speech.PostEnd();
        wxYield();
        return calls[0];
    };
    EXPECT_EQ(setVoice(""), "SetRate 3");
    EXPECT_EQ(setVoice("Bruno"), "SetVoice Bruno");
    EXPECT_EQ(setVoice("Bruno"), "SetRate 3") << "the same again";
    EXPECT_EQ(setVoice("bruno"), "SetRate 3") << "not in the list";
    EXPECT_EQ(setVoice("Bruno"), "SetRate 3") << "an unknown one in between changes nothing";
    EXPECT_EQ(setVoice("Anna"), "SetVoice Anna");
}

TEST_F(SapiHandler, VoiceWhoseTokenFailsIsNotTriedAgainUntilAnotherWasChosen)
{
    Start();
    ChooseVoice("Bruno");
    control::SetVoices({ScriptedSpeech::ThreeVoices()[0]}); // the others were removed meanwhile
    EXPECT_EQ(Speak("one", 0)[0], "SetRate 3");
    control::SetVoices(ScriptedSpeech::ThreeVoices());
    speech.PostEnd();
    wxYield();
    EXPECT_EQ(Speak("two", 0)[0], "SetRate 3");
    speech.PostEnd();
    wxYield();
    ChooseVoice("Anna");
    Speak("three", 0);
    speech.PostEnd();
    wxYield();
    ChooseVoice("Bruno");
    EXPECT_EQ(Speak("four", 0)[0], "SetVoice Bruno");
}

TEST_F(SapiHandler, InputFormatDecidesFlagsAndWrapper)
{
    Start();
    ChooseVoice("Bruno");
    const std::string head = "<speak version=\"1.0\" xmlns:ssml=\"http://www.w3.org/2001/10/synthesis\" xml:lang=\"";
    const struct {
        const char* format;
        const char* text;
        std::string spoken;
    } rows[] = {
        {"Text", "<?xml?>", "<?xml?> 2"},
        {"HTML", "<?xml?>", "<?xml?> 2"},
        {"Native", "<?xml?>", "<?xml?> 10"},
        {"Native", " plain", " plain 2"},
        {"SSML", " hello", head + "de-DE\">hello</speak> 2"},
        {"SSML", " <speak>hello</speak>", "<speak>hello</speak> 2"},
    };
    for (const auto& row : rows) {
        handler->SetProperty("Input format", row.format);
        EXPECT_EQ(Speak(row.text, 0).back(), "Speak " + row.spoken) << row.format << row.text;
        speech.PostEnd();
        wxYield();
    }
    handler->SetProperty("Input format", "SSML");
    ChooseVoice("Nobody");
    EXPECT_EQ(Speak("hello", 0).back(), "Speak " + head + "en-US\">hello</speak> 2");
}

TEST_F(SapiHandler, FileGoesToTheVoiceByItsName)
{
    Start();
    handler->SetProperty("Input format", "SSML");
    ASSERT_TRUE(handler->SpeakFile("no such file.txt", wxTTS_SPEAK_WAIT, ""));
    EXPECT_EQ(speech.TakeCalls().back(), "Speak no such file.txt 7");
}

TEST_F(SapiHandler, FailureOfSpeakIsReportedInWords)
{
    Start();
    speech.Answer("Speak", {static_cast<HRESULT>(0x80045042u)});
    const LogCapture log;
    EXPECT_FALSE(handler->Speak("<a>", 0, ""));
    EXPECT_EQ(handler->GetLastErrorMessage(), "The xml parser failed due to bad syntax.");
    EXPECT_EQ(handler->GetLastFailure().category, wxTTS_FAILURE_TEXT);
    EXPECT_FALSE(handler->IsSpeaking());
    EXPECT_EQ(log.records.size(), 1u);
    Speak("fine", 0);
    EXPECT_EQ(handler->GetLastErrorMessage(), "The xml parser failed due to bad syntax.") << "a success clears nothing";
    EXPECT_EQ(handler->GetLastFailure().category, wxTTS_FAILURE_NONE) << "but the record";
    const LogCapture again;
    speech.Answer("Speak", {S_OK, SPERR_DEVICE_BUSY, SPERR_DEVICE_BUSY}); // first the purge
    handler->Speak("refused", wxTTS_SPEAK_ASYNC, "");
    EXPECT_EQ(handler->GetLastFailure().message, "The audio device does not open.");
    handler->Speak("heard in part, for all that is known", 0, "");
    EXPECT_EQ(handler->GetLastFailure().message, "The audio device is no longer available.");
}

TEST_F(SapiHandler, NoticeOfTheEndArrivesWithTheHostsEvents)
{
    Start();
    Speak("hello");
    EXPECT_TRUE(handler->CanSkip());
    handler->Pause();
    speech.PostEnd();
    EXPECT_TRUE(handler->IsSpeaking()) << "not before messages are taken";
    wxYield();
    EXPECT_FALSE(handler->IsSpeaking());
    EXPECT_FALSE(handler->IsPaused());
    EXPECT_FALSE(handler->CanSkip());
}

TEST_F(SapiHandler, EventsAreFreedByTheirKindAndOnlyTheEndCounts)
{
    Start();
    Speak("hello");
    CountedUnknown token;
    CountedUnknown object;
    CountedUnknown untouched;
    const auto post = [this](SPEVENTENUM id, SPEVENTLPARAMTYPE kind, void* parameter) {
        SPEVENT event = {};
        event.eEventId = static_cast<WORD>(id);
        event.elParamType = static_cast<WORD>(kind);
        event.lParam = reinterpret_cast<LPARAM>(parameter);
        speech.Post(event);
    };
    post(SPEI_VOICE_CHANGE, SPET_LPARAM_IS_TOKEN, &token);
    post(SPEI_VISEME, SPET_LPARAM_IS_OBJECT, &object);
    post(SPEI_PHONEME, SPET_LPARAM_IS_UNDEFINED, &untouched);
    post(SPEI_TTS_BOOKMARK, SPET_LPARAM_IS_STRING, CoTaskMemAlloc(8)); // the leak checker watches these two
    post(SPEI_TTS_BOOKMARK, SPET_LPARAM_IS_POINTER, CoTaskMemAlloc(8));
    wxYield();
    EXPECT_TRUE(handler->IsSpeaking());
    EXPECT_EQ(token.references, 0u);
    EXPECT_EQ(object.references, 0u);
    EXPECT_EQ(untouched.references, 1u);
}

TEST_F(SapiHandler, SpeakWhileSpeakingStopsTheEarlierSpeech)
{
    Start();
    Speak("one");
    speech.during["WaitUntilDone"] = [this] { speech.PostEnd(); };
    EXPECT_THAT(Speak("two"), ElementsAre("Speak (null) 2", "WaitUntilDone for ever", "SetRate 3", "SetVolume 70",
                                          "SetPriority 0", "Speak two 3"));
    EXPECT_TRUE(handler->IsSpeaking());
}

TEST_F(SapiHandler, SpeakWhilePausedResumesFirst)
{
    Start();
    Speak("one");
    handler->Pause();
    speech.TakeCalls();
    const std::vector<std::string> calls = Speak("two");
    ASSERT_GE(calls.size(), 3u);
    EXPECT_EQ(calls[0], "Resume");
    EXPECT_EQ(calls[1], "Speak (null) 2");
    EXPECT_FALSE(handler->IsPaused());
}

TEST_F(SapiHandler, StopTakesTheNoticeOfTheEndItself)
{
    Start();
    Speak("one");
    speech.during["WaitUntilDone"] = [this] { speech.PostEnd(); };
    EXPECT_TRUE(handler->Stop());
    EXPECT_FALSE(handler->IsSpeaking());
    MSG message;
    EXPECT_FALSE(PeekMessageW(&message, nullptr, WM_APP, WM_APP, PM_REMOVE)) << "it was taken";
    speech.TakeCalls();
    EXPECT_TRUE(handler->Stop());
    EXPECT_THAT(speech.TakeCalls(), IsEmpty()) << "nothing had to be stopped";
}

TEST_F(SapiHandler, StopAnswersForThePurgeAndEndsWithoutANotice)
{
    Start();
    Speak("one");
    speech.Answer("Speak", {E_FAIL});
    EXPECT_FALSE(handler->Stop());
    EXPECT_FALSE(handler->IsSpeaking());
}

TEST_F(SapiHandler, PausesCount)
{
    Start();
    EXPECT_FALSE(handler->Pause());
    EXPECT_FALSE(handler->Resume());
    EXPECT_THAT(speech.TakeCalls(), IsEmpty());
    Speak("one");
    EXPECT_TRUE(handler->Pause());
    EXPECT_TRUE(handler->Pause());
    EXPECT_TRUE(handler->Resume());
    EXPECT_TRUE(handler->IsPaused());
    EXPECT_TRUE(handler->Resume());
    EXPECT_FALSE(handler->IsPaused());
    EXPECT_FALSE(handler->Resume());
    EXPECT_THAT(speech.TakeCalls(), ElementsAre("Pause", "Pause", "Resume", "Resume"));
    handler->Pause();
    handler->Stop();
    EXPECT_FALSE(handler->IsPaused());
    EXPECT_FALSE(handler->Resume());
}

TEST_F(SapiHandler, SkipsSentencesWhileSpeaking)
{
    Start();
    EXPECT_FALSE(handler->Skip(2, wxTTS_SKIP_SENTENCE));
    Speak("one");
    EXPECT_TRUE(handler->Skip(-2, wxTTS_SKIP_WORD));
    EXPECT_THAT(speech.TakeCalls(), ElementsAre("Skip Sentence -2"));
    speech.Answer("Skip", {E_FAIL});
    EXPECT_FALSE(handler->Skip(1, wxTTS_SKIP_SENTENCE));
}
