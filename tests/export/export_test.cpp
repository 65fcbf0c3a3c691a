// The shared library from a host's side: run-time types, dynamic classes and the one instance across the boundary.
// MIT licence.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <string>
#include <typeinfo>

#include "core/qxtempfile.h"
#include "speech/tts.h"
#include "support/recording_handler.h"

extern int hostsClassCalls; // how often the class of samename_host.cpp was used

namespace
{

// A host's engine without anything but what it must have.
class HostEngine : public wxTTSHandler
{
public:
    HostEngine() : wxTTSHandler("Host engine", "Host engine") { CreateCommonProperties(75); }
    bool Speak(const wxString& text, int, const wxString&) override
    {
        spoken = text;
        return text.empty() ? Fail("nothing to say") : true;
    }
    bool SpeakFile(const wxString&, int, const wxString&) override { return Fail("no files"); }
    bool IsSpeaking() const override { return !spoken.empty(); }
    bool Stop() override { return true; }
    bool HasCapability(wxTTSCapability capability) const override { return capability == wxTTS_CAP_PAUSE; }
    QXTTSVoiceInfo GetDefaultVoice() const override { return QXTTSVoiceInfo(); }
    std::vector<QXTTSVoiceInfo> GetAvailableVoices() const override { return std::vector<QXTTSVoiceInfo>(2); }
    wxString GetDefaultVoiceVariant() const override { return "None"; }
    int GetMinSpeed() const override { return 0; }
    int GetMaxSpeed() const override { return 4; }
    int GetMinVolume() const override { return 0; }
    int GetMaxVolume() const override { return 9; }
    int GetMinPitch() const override { return 0; }
    int GetMaxPitch() const override { return 9; }

    wxString spoken;
};

std::string FileOf(const void* address)
{
    Dl_info info{};
    return dladdr(address, &info) && info.dli_fname ? info.dli_fname : "";
}

} // namespace

TEST(Export, HostsEngineIsDrivenByTheLibrary)
{
    wxTextToSpeech front;
    HostEngine* const engine = new HostEngine;
    ASSERT_TRUE(front.AddHandler(engine));
    ASSERT_TRUE(front.SetEngine("Host engine"));
    EXPECT_TRUE(front.Speak("words", 0, ""));
    EXPECT_EQ(engine->spoken, "words");
    EXPECT_TRUE(front.IsPlaying());
    EXPECT_TRUE(front.CanPause());
    EXPECT_FALSE(front.Pause()) << "the library's own answer";
    EXPECT_FALSE(front.SpeakFile("x", 0, ""));
    EXPECT_EQ(front.GetLastErrorMessage(), "no files");
    EXPECT_EQ(front.GetSpeed(wxTTS_QUANTITY_NATIVE), 3);
    EXPECT_EQ(front.GetAvailableVoices().size(), 2u);
}

TEST(Export, RunTimeTypesAreTheSameOnBothSides)
{
    wxTextToSpeech front;
    front.AddHandler(new RecordingHandler);
    front.AddHandler(new HostEngine);
    wxTTSHandler* const recorder = front.GetHandler(0);
    wxTTSHandler* const plain = front.GetHandler(1);
    EXPECT_NE(dynamic_cast<RecordingHandler*>(recorder), nullptr);
    EXPECT_EQ(dynamic_cast<RecordingHandler*>(plain), nullptr);
    EXPECT_NE(wxDynamicCast(recorder, RecordingHandler), nullptr);
    EXPECT_EQ(wxDynamicCast(plain, RecordingHandler), nullptr);
    EXPECT_TRUE(recorder->GetClassInfo()->IsKindOf(wxCLASSINFO(wxTTSHandler)));

    const std::unique_ptr<wxObject> made(wxCreateDynamicObject("wxTextToSpeech"));
    ASSERT_NE(made, nullptr);
    EXPECT_NE(dynamic_cast<wxTextToSpeech*>(made.get()), nullptr);
    EXPECT_NE(wxDynamicCast(made.get(), wxTextToSpeech), nullptr);
    const std::unique_ptr<wxClientData> data(new QXTTSVoiceInfo);
    EXPECT_NE(dynamic_cast<QXTTSVoiceInfo*>(data.get()), nullptr);
}

TEST(Export, EachClassIsRegisteredOnce)
{
    std::multiset<wxString> names;
    for (const wxClassInfo* info = wxClassInfo::GetFirst(); info; info = info->GetNext())
        names.insert(info->GetClassName());
    for (const char* name : {"wxTextToSpeech", "wxTTSHandler", "wxTTSProperty", "wxTTSProperties", "RecordingHandler"})
        EXPECT_EQ(names.count(name), 1u) << name;
}

TEST(Export, HostAndLibraryShareOneInstance)
{
    using Getter = QXTextToSpeech* (*)();
    const Getter viaTemplate = &QXSingleton<QXTextToSpeech>::Get;
    EXPECT_NE(FileOf(reinterpret_cast<const void*>(viaTemplate)).find("libqxspeech"), std::string::npos);

    void* const library = dlopen(FileOf(reinterpret_cast<const void*>(viaTemplate)).c_str(), RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(library, nullptr) << dlerror();
    const Getter ofLibrary = reinterpret_cast<Getter>(dlsym(library, "_ZN11QXSingletonI14QXTextToSpeechE3GetEv"));
    ASSERT_NE(ofLibrary, nullptr);
    QXTextToSpeech* const instance = QXTextToSpeech::Get();
    EXPECT_EQ(ofLibrary(), instance);
    EXPECT_EQ(QXSingleton<QXTextToSpeech>::Get(), instance);
    QXTextToSpeech::DestroyInstance();
    EXPECT_EQ(ofLibrary(), QXTextToSpeech::Get());
    dlclose(library);
}

TEST(Export, ValuesCrossTheBoundary)
{
    wxTTSProperties store;
    {
        const wxTTSPropertyCategory category("Group");
        EXPECT_EQ(wxTTSPropertyCategory::sm_category, "Group");
        EXPECT_EQ(wxTTSProperty().GetParentName(), "Group");
    }
    store.AddProperty(new wxTTSProperty("name", "value"));
    EXPECT_EQ(store.FindPropertyValueString("name"), "value");

    QXTTSAuthInfo info;
    info.azureRegion = "a b";
    QXTextToSpeech::SetAuthInfo(info);
    EXPECT_EQ(QXTextToSpeech::GetAuthInfo().azureRegion, "a%20b");

    wxTextToSpeech front;
    front.AddHandler(new HostEngine);
    wxTTSSpeechSettingsInfo settings;
    settings.m_engine = &front;
    settings.m_engineId = "Host engine";
    settings.m_speed = 100;
    EXPECT_TRUE(settings.ApplySettings());
    EXPECT_EQ(front.GetSpeed(wxTTS_QUANTITY_NATIVE), 4);
    EXPECT_FALSE(QXTTSSettings().ApplySettings());
}

TEST(Export, HostsClassOfTheSameNameIsNotTheLibrarys)
{
    EXPECT_EQ(QXTTSVoiceInfo::ParseListFromString("[{\"id\":\"one\"},{\"id\":\"two\"}]").size(), 2u);
    const bool untouched = hostsClassCalls == 0;
    EXPECT_TRUE(untouched) << "the library called the host's functions";
    EXPECT_EQ(typeid(QXTempFileMan).name(), std::string("13QXTempFileMan"));
}

// The instance is left for the exit handler on purpose: a clean exit is part of what is tried here.
TEST(Export, InstanceWithAHostsEngineMayLiveUntilExit)
{
    wxTextToSpeech& front = QXTextToSpeech::Get()->GetEngine();
    ASSERT_TRUE(front.AddHandler(new HostEngine));
    EXPECT_TRUE(front.SetEngine("Host engine"));
}
