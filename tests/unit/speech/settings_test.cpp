// The two settings bundles on a front object. MIT licence.
#include "speech/ttssettings.h"

#include <gtest/gtest.h>

#include "speech/texttospeech.h"
#include "support/log_capture.h"
#include "support/recording_handler.h"
#include "support/scoped_translation.h"

namespace
{

class Settings : public testing::Test
{
protected:
    void SetUp() override
    {
        front.AddHandler(one);
        front.AddHandler(two);
        front.SetCurrentHandler(one);
    }

    wxTextToSpeech front;
    RecordingHandler* one = new RecordingHandler("one"); // taken over by the front object
    RecordingHandler* two = new RecordingHandler("two");
};

} // namespace

TEST_F(Settings, DefaultsAreThoseOfANewBundle)
{
    QXTTSSettings voiceBased;
    EXPECT_EQ(voiceBased.m_speed, 50);
    EXPECT_EQ(voiceBased.m_volume, 90);
    EXPECT_EQ(voiceBased.m_pitch, 50);
    EXPECT_EQ(voiceBased.m_engine, nullptr);
    EXPECT_EQ(voiceBased.m_voice.GetHandlerId(), "Microsoft SAPI");
    EXPECT_EQ(voiceBased.m_voice.GetName(), "");
    EXPECT_FALSE(voiceBased.ApplySettings());

    wxTTSSpeechSettingsInfo engineBased;
    EXPECT_EQ(engineBased.m_speed, 50);
    EXPECT_EQ(engineBased.m_volume, 90);
    EXPECT_EQ(engineBased.m_pitch, 50);
    EXPECT_EQ(engineBased.m_engine, nullptr);
    EXPECT_EQ(engineBased.m_engineId, "");
    EXPECT_FALSE(engineBased.ApplySettings());
}

TEST_F(Settings, InitKeepsTheChoiceOfVoiceListAndEngineId)
{
    QXTTSSettings voiceBased;
    voiceBased.m_speed = voiceBased.m_volume = voiceBased.m_pitch = 1;
    voiceBased.m_engine = &front;
    voiceBased.m_voice.SetHandlerId("two");
    voiceBased.m_voice.SetName("Ada");
    voiceBased.m_voices.resize(2);
    voiceBased.Init();
    EXPECT_EQ(voiceBased.m_speed + voiceBased.m_volume + voiceBased.m_pitch, 190);
    EXPECT_EQ(voiceBased.m_engine, nullptr);
    EXPECT_EQ(voiceBased.m_voice.GetHandlerId(), "Microsoft SAPI");
    EXPECT_EQ(voiceBased.m_voice.GetName(), "Ada");
    EXPECT_EQ(voiceBased.m_voices.size(), 2u);

    wxTTSSpeechSettingsInfo engineBased;
    engineBased.m_engine = &front;
    engineBased.m_engineId = "two";
    engineBased.m_previewText = "mine";
    engineBased.Init();
    EXPECT_EQ(engineBased.m_engine, nullptr);
    EXPECT_EQ(engineBased.m_engineId, "two");
    EXPECT_EQ(engineBased.m_previewText, "Testing text to speech settings.");
}

TEST_F(Settings, VoiceBundleSelectsTheEngineOfItsVoice)
{
    QXTTSSettings settings;
    settings.m_speed = 100;
    settings.m_volume = 40;
    settings.m_pitch = 0;
    settings.m_engine = &front;
    settings.m_voice.SetHandlerId("two");
    settings.m_voice.SetName("Ada");
    QXTTSSettings copy;
    copy = settings;
    EXPECT_TRUE(copy.ApplySettings()) << "a copy acts on the same front object";
    EXPECT_EQ(front.GetEngine(), "two");
    EXPECT_EQ(two->GetVoice(), settings.m_voice);
    EXPECT_EQ(two->GetSpeed(wxTTS_QUANTITY_NATIVE), 9);
    EXPECT_EQ(two->GetVolume(wxTTS_QUANTITY_NATIVE), 3);
    EXPECT_EQ(two->GetPitch(wxTTS_QUANTITY_NATIVE), -20);
}

TEST_F(Settings, VoiceBundleGoesToTheCurrentEngineIfItsOwnIsUnknown)
{
    QXTTSSettings settings;
    settings.m_engine = &front;
    settings.m_voice.SetHandlerId("nobody");
    settings.m_volume = 100;
    EXPECT_TRUE(settings.ApplySettings());
    EXPECT_EQ(front.GetEngine(), "one");
    EXPECT_EQ(one->GetVoice(), settings.m_voice);
    EXPECT_EQ(one->GetVolume(wxTTS_QUANTITY_NATIVE), 9);
}

TEST_F(Settings, EngineBundleChangesNothingUnlessItsEngineStarts)
{
    LogCapture log;
    wxTTSSpeechSettingsInfo settings;
    settings.m_engine = &front;
    settings.m_volume = 100;
    EXPECT_FALSE(settings.ApplySettings()) << "no engine id";
    settings.m_engineId = "nobody";
    EXPECT_FALSE(settings.ApplySettings());
    settings.m_engineId = "two";
    two->initializes = false;
    EXPECT_FALSE(settings.ApplySettings());
    EXPECT_EQ(one->GetVolume(wxTTS_QUANTITY_NATIVE), 7);
    EXPECT_EQ(two->GetVolume(wxTTS_QUANTITY_NATIVE), 7);

    two->initializes = true;
    wxTTSSpeechSettingsInfo copy(settings);
    EXPECT_TRUE(copy.ApplySettings());
    EXPECT_EQ(front.GetEngine(), "two");
    EXPECT_EQ(two->GetVolume(wxTTS_QUANTITY_NATIVE), 9);
    EXPECT_EQ(two->CountOf("SetVoice "), 0);
}

TEST_F(Settings, FindsTheHandlerOfAVoiceByName)
{
    QXTTSVoiceInfo voice;
    voice.SetName("Ada");
    two->voices = {QXTTSVoiceInfo(), voice};
    QXTTSSettings settings;
    EXPECT_EQ(settings.GetHandlerIdFromVoice("Ada"), "") << "no front object";
    settings.m_engine = &front;
    EXPECT_EQ(settings.GetHandlerIdFromVoice("Ada"), "two");
    EXPECT_EQ(settings.GetHandlerIdFromVoice("ada"), "");
    one->voices = {voice};
    EXPECT_EQ(settings.GetHandlerIdFromVoice("Ada"), "one") << "the first in order";
}

TEST_F(Settings, TextsForPeopleAreTranslated)
{
    EXPECT_EQ(QXTTSSettings::GetPreviewText(), "Type your preview text to speech here");
    const ScopedTranslation german({{"Type your preview text to speech here", "H\xc3\xb6rprobe"},
                                    {"Testing text to speech settings.", "Pr\xc3\xbc"
                                                                         "fung"}});
    EXPECT_EQ(QXTTSSettings::GetPreviewText(), wxString::FromUTF8("H\xc3\xb6rprobe"));
    EXPECT_EQ(wxTTSSpeechSettingsInfo().m_previewText, wxString::FromUTF8("Pr\xc3\xbc"
                                                                          "fung"));
}
