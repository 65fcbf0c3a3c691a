// What every engine promises, the library's or a host's: one suite, instantiated for each engine. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_HANDLER_CONTRACT_H
#define QXSPEECH_TESTS_SUPPORT_HANDLER_CONTRACT_H

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "speech/qxtexttospeech.h"
#include "speech/texttospeech.h"
#include "speech/ttshandler.h"

// One engine under test. Each rate is minimum, maximum and the native value that a new handler stores.
struct HandlerContract {
    struct Rate {
        int min;
        int max;
        int stored;
    };
    std::string name; // letters and digits, for the case's name
    std::function<wxTTSHandler*()> make;
    wxString id;
    wxString className; // empty if the class is not to be made by name
    Rate speed;
    Rate volume;
    Rate pitch;
    std::set<int> capabilities;
    wxString webSite;
    bool fetchesVoices = false;     // has a voice list on the network
    bool keepsRequestTimes = false; // has a rate limit
};

inline void PrintTo(const HandlerContract& contract, std::ostream* out)
{
    *out << contract.name;
}

inline std::string HandlerContractName(const testing::TestParamInfo<HandlerContract>& info)
{
    return info.param.name;
}

class HandlerContractTest : public testing::TestWithParam<HandlerContract>
{
protected:
    void SetUp() override { handler.reset(GetParam().make()); }

    std::unique_ptr<wxTTSHandler> handler;
};

TEST_P(HandlerContractTest, NewHandlerHasItsIdentityAndNothingElse)
{
    EXPECT_EQ(handler->GetId(), GetParam().id);
    EXPECT_FALSE(handler->GetDisplayName().empty());
    EXPECT_EQ(handler->GetDescription(), "");
    EXPECT_EQ(handler->GetErrorCode(), 0);
    EXPECT_EQ(handler->GetOptions(), 0);
    EXPECT_FALSE(handler->GetInitialized());
    EXPECT_EQ(handler->GetTextToSpeechObject(), nullptr);
    EXPECT_EQ(handler->GetTransformer(), nullptr);
    EXPECT_EQ(handler->GetVoice(), QXTTSVoiceInfo());
    EXPECT_EQ(handler->GetLastErrorMessage(), "");
    EXPECT_EQ(handler->GetLastCommand(), "");
    EXPECT_FALSE(handler->IsCloudTTS());
    EXPECT_TRUE(handler->ProcessInput());
    EXPECT_FALSE(handler->IsSpeaking());
    EXPECT_FALSE(handler->IsPaused());
    EXPECT_EQ(handler->GetDefaultVoiceVariant(), "None");
}

TEST_P(HandlerContractTest, IsMadeByItsClassName)
{
    EXPECT_TRUE(handler->IsKindOf(wxCLASSINFO(wxTTSHandler)));
    if (GetParam().className.empty())
        GTEST_SKIP() << "no class name to make it by";
    EXPECT_EQ(wxString(handler->GetClassInfo()->GetClassName()), GetParam().className);
    const std::unique_ptr<wxObject> made(wxCreateDynamicObject(GetParam().className));
    const wxTTSHandler* const twin = wxDynamicCast(made.get(), wxTTSHandler);
    ASSERT_NE(twin, nullptr);
    EXPECT_EQ(twin->GetId(), GetParam().id);
}

TEST_P(HandlerContractTest, NewHandlerHoldsTheCommonPropertiesInOrder)
{
    struct Expected {
        wxString name;
        wxString type;
        wxString value;
    };
    const HandlerContract& contract = GetParam();
    const std::vector<Expected> expected = {
        {"Speed", "long", wxString::Format("%d", contract.speed.stored)},
        {"Volume", "long", wxString::Format("%d", contract.volume.stored)},
        {"Pitch", "long", wxString::Format("%d", contract.pitch.stored)},
        {"Voice variant", "string", "None"},
        {"Input format", "string", "Text"},
        {"No pronunciation substitutions", "bool", "0"},
        {"Simplify punctuation", "bool", "0"},
        {"Text encoding", "string", "utf-8"},
        {"Web site", "string", contract.webSite},
        {"Priority", "long", "0"},
    };
    ASSERT_EQ(handler->GetPropertyCount(), static_cast<int>(expected.size()));
    const wxArrayString names = handler->EnumerateProperties();
    for (size_t i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE(expected[i].name);
        EXPECT_EQ(names[i], expected[i].name);
        EXPECT_EQ(handler->GetProperty(i).GetName(), expected[i].name);
        EXPECT_EQ(handler->GetPropertyValue(expected[i].name).GetType(), expected[i].type);
        if (expected[i].type != "bool")
            EXPECT_EQ(handler->GetPropertyString(expected[i].name), expected[i].value);
        else
            EXPECT_EQ(handler->GetPropertyBool(expected[i].name), 0);
    }
}

TEST_P(HandlerContractTest, RatesHaveTheirRangeAndConvertPercent)
{
    struct Quantity {
        const char* label;
        HandlerContract::Rate rate;
        void (wxTTSHandler::*set)(int, wxTTSQuantityType);
        int (wxTTSHandler::*get)(wxTTSQuantityType) const;
        int (wxTTSHandler::*min)() const;
        int (wxTTSHandler::*max)() const;
    };
    using H = wxTTSHandler;
    const HandlerContract& contract = GetParam();
    for (const Quantity& q :
         {Quantity{"speed", contract.speed, &H::SetSpeed, &H::GetSpeed, &H::GetMinSpeed, &H::GetMaxSpeed},
          Quantity{"volume", contract.volume, &H::SetVolume, &H::GetVolume, &H::GetMinVolume, &H::GetMaxVolume},
          Quantity{"pitch", contract.pitch, &H::SetPitch, &H::GetPitch, &H::GetMinPitch, &H::GetMaxPitch}}) {
        SCOPED_TRACE(q.label);
        H& h = *handler;
        EXPECT_EQ((h.*q.min)(), q.rate.min);
        EXPECT_EQ((h.*q.max)(), q.rate.max);
        EXPECT_EQ((h.*q.get)(wxTTS_QUANTITY_NATIVE), q.rate.stored);
        (h.*q.set)(0, wxTTS_QUANTITY_PERCENT);
        EXPECT_EQ((h.*q.get)(wxTTS_QUANTITY_NATIVE), q.rate.min);
        EXPECT_EQ((h.*q.get)(wxTTS_QUANTITY_PERCENT), 0);
        (h.*q.set)(100, wxTTS_QUANTITY_PERCENT);
        EXPECT_EQ((h.*q.get)(wxTTS_QUANTITY_NATIVE), q.rate.max);
        EXPECT_EQ((h.*q.get)(wxTTS_QUANTITY_PERCENT), 100);
        (h.*q.set)(2 * q.rate.max - q.rate.min, wxTTS_QUANTITY_NATIVE);
        EXPECT_EQ((h.*q.get)(wxTTS_QUANTITY_NATIVE), 2 * q.rate.max - q.rate.min) << "not clamped";
        EXPECT_EQ((h.*q.get)(wxTTS_QUANTITY_PERCENT), 200);
    }
}

TEST_P(HandlerContractTest, AnswersExactlyItsCapabilities)
{
    for (const int value : {-1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 15}) {
        EXPECT_EQ(handler->HasCapability(static_cast<wxTTSCapability>(value)),
                  GetParam().capabilities.count(value) == 1)
            << value;
    }
}

TEST_P(HandlerContractTest, ReadingAnAbsentPropertyCreatesNothing)
{
    const int count = handler->GetPropertyCount();
    EXPECT_EQ(handler->GetPropertyLong("absent"), 0);
    EXPECT_EQ(handler->GetPropertyString("absent"), "");
    EXPECT_EQ(handler->GetPropertyDouble("absent"), 0.0);
    EXPECT_EQ(handler->GetPropertyBool("absent"), 0);
    EXPECT_EQ(handler->GetPropertyValue("absent").GetType(), "string");
    EXPECT_EQ(handler->GetProperty("absent").GetName(), "");
    EXPECT_TRUE(handler->GetProperty(static_cast<size_t>(count)).IsShown());
    EXPECT_EQ(handler->GetProgramLocation() + handler->GetDataLocation(), "");
    EXPECT_FALSE(handler->HasProperty("absent"));
    EXPECT_EQ(handler->GetPropertyCount(), count);
}

TEST_P(HandlerContractTest, PropertiesDecideTheTransformation)
{
    EXPECT_EQ(handler->CreateTransformerOptions(0), 1);
    EXPECT_EQ(handler->CreateTransformerOptions(0x20), 0x21);
    handler->SetProperty("Simplify punctuation", true);
    EXPECT_EQ(handler->CreateTransformerOptions(0), 5);
    handler->SetProperty("No pronunciation substitutions", true);
    EXPECT_EQ(handler->CreateTransformerOptions(0), 4);
    EXPECT_EQ(handler->DoTransformation("some file.txt", 0xfff), "some file.txt") << "no transformer";
}

TEST_P(HandlerContractTest, InitializeRepeatsItsAnswerAndUninitializeIsAlwaysTrue)
{
    EXPECT_TRUE(handler->Uninitialize()) << "before the first Initialize";
    const bool first = handler->Initialize();
    EXPECT_EQ(handler->Initialize(), first);
    EXPECT_TRUE(handler->Uninitialize());
    EXPECT_FALSE(handler->GetInitialized());
    EXPECT_TRUE(handler->Uninitialize());
    EXPECT_EQ(handler->Initialize(), first) << "can be started again";
}

TEST_P(HandlerContractTest, KeepsACopyOfTheVoice)
{
    QXTTSVoiceInfo voice;
    voice.SetHandlerId(GetParam().id);
    voice.SetId("some id");
    voice.SetName("A voice");
    handler->SetVoice(voice);
    const QXTTSVoiceInfo copy = handler->GetVoice();
    EXPECT_EQ(copy, voice);
    voice.SetName("Another");
    EXPECT_EQ(handler->GetVoice(), copy);
}

TEST_P(HandlerContractTest, AnswersForTheNetworkOnlyWhereItHasOne)
{
    const std::list<wxLongLong> times = {1, 2, 3};
    handler->SetPrevRequestTime(times);
    EXPECT_EQ(handler->GetPrevRequestTime().size(), GetParam().keepsRequestTimes ? 3u : 0u);
    if (GetParam().fetchesVoices)
        return;
    std::vector<QXTTSVoiceInfo> voices;
    EXPECT_FALSE(handler->TestAuthentication(QXTTSAuthInfo()));
    EXPECT_FALSE(handler->GetAllVoices(voices));
    EXPECT_TRUE(voices.empty());
}

TEST_P(HandlerContractTest, FrontObjectDrivesAndDeletesIt)
{
    wxTextToSpeech front;
    wxTTSHandler* const raw = handler.release();
    ASSERT_TRUE(front.AddHandler(raw));
    EXPECT_EQ(raw->GetTextToSpeechObject(), &front);
    front.SetCurrentHandler(raw);
    EXPECT_EQ(front.GetEngine(), GetParam().id);
    EXPECT_EQ(front.GetSpeed(wxTTS_QUANTITY_NATIVE), GetParam().speed.stored);
    front.SetPriority(3);
    EXPECT_EQ(raw->GetPropertyLong("Priority"), 3);
    EXPECT_FALSE(front.IsPlaying());
    EXPECT_FALSE(front.CanPause());
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(HandlerContractTest);

#endif
