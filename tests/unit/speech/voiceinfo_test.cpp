// Voice descriptors: equality, the JSON form and what bad text leaves behind. MIT licence.
#include "speech/ttsvoiceinfo.h"

#include <gtest/gtest.h>
#include <wx/log.h>

#include "json/jsondocument.h"

namespace
{

// Collects what is logged while it lives.
class LogLines : public wxLog
{
public:
    LogLines() : m_old(wxLog::SetActiveTarget(this)) {}
    ~LogLines() override { wxLog::SetActiveTarget(m_old); }
    LogLines(const LogLines&) = delete;
    LogLines& operator=(const LogLines&) = delete;
    std::vector<wxString> lines;

private:
    void DoLogRecord(wxLogLevel, const wxString& message, const wxLogRecordInfo&) override { lines.push_back(message); }
    wxLog* m_old;
};

QXTTSVoiceInfo Voice()
{
    QXTTSVoiceInfo voice;
    voice.SetHandlerId("Amazon Polly");
    voice.SetId("Vicki");
    voice.SetName(wxString::FromUTF8("J\xc3\xbcrgen"));
    voice.SetLangCode("de-DE");
    voice.SetLangName("German");
    voice.SetGender("Female");
    voice.SetEngine("neural");
    return voice;
}

std::vector<wxString> Fields(const QXTTSVoiceInfo& voice)
{
    return {voice.GetHandlerId(), voice.GetId(),     voice.GetName(),  voice.GetLangCode(),
            voice.GetLangName(),  voice.GetGender(), voice.GetEngine()};
}

} // namespace

TEST(VoiceInfo, EqualityLooksAtTheFieldsThatIdentifyAVoice)
{
    struct Row {
        const char* label;
        void (QXTTSVoiceInfo::*set)(const wxString&);
        bool isEqual;
    };
    const Row rows[] = {
        {"handler id", &QXTTSVoiceInfo::SetHandlerId, false},
        {"id", &QXTTSVoiceInfo::SetId, false},
        {"name", &QXTTSVoiceInfo::SetName, false},
        {"language code", &QXTTSVoiceInfo::SetLangCode, false},
        {"language name", &QXTTSVoiceInfo::SetLangName, true},
        {"gender", &QXTTSVoiceInfo::SetGender, true},
        {"engine", &QXTTSVoiceInfo::SetEngine, false},
    };
    EXPECT_TRUE(QXTTSVoiceInfo() == QXTTSVoiceInfo());
    for (const Row& row : rows) {
        SCOPED_TRACE(row.label);
        QXTTSVoiceInfo other = Voice();
        (other.*row.set)("other");
        EXPECT_EQ(Voice() == other, row.isEqual);
        EXPECT_EQ(Voice() != other, !row.isEqual);
    }
    QXTTSVoiceInfo upper = Voice();
    upper.SetId("VICKI");
    EXPECT_FALSE(Voice() == upper);
}

TEST(VoiceInfo, LanguageCodeDoesNotCountForVoicesOfTheSystem)
{
    for (const char* handler : {"Microsoft SAPI", "Speech Synthesis API"}) {
        QXTTSVoiceInfo left = Voice();
        left.SetHandlerId(handler);
        QXTTSVoiceInfo right = left;
        right.SetLangCode("en-US");
        EXPECT_TRUE(left == right) << handler;
    }
}

TEST(VoiceInfo, TextRoundTripKeepsAllFields)
{
    QXTTSVoiceInfo copy;
    ASSERT_TRUE(copy.ParseFromString(Voice().GetAsString()));
    EXPECT_TRUE(copy == Voice());
    EXPECT_EQ(Fields(copy), Fields(Voice()));
}

TEST(VoiceInfo, TextHasTheSevenKeysAndNonAsciiLettersThemselves)
{
    wxJSONDocument document;
    const wxJSONValue value = document.Parse(Voice().GetAsString());
    ASSERT_EQ(value.Size(), 7);
    const char* const keys[] = {"handler_id", "id", "name", "lang_code", "lang_name", "gender", "engine"};
    for (size_t i = 0; i < 7; ++i)
        EXPECT_EQ(value.AsMap()->at(keys[i]).AsString(), Fields(Voice())[i]) << keys[i];
    EXPECT_TRUE(Voice().GetAsString().Contains(wxString::FromUTF8("\"J\xc3\xbcrgen\"")));
}

TEST(VoiceInfo, ParseTouchesOnlyTheKeysThatAreThereAndTakesAnyTypeAsText)
{
    wxJSONValue value;
    value["name"] = 5;
    value["gender"]; // null
    value["other"] = "x";
    QXTTSVoiceInfo voice = Voice();
    EXPECT_TRUE(voice.Parse(value));
    std::vector<wxString> expected = Fields(Voice());
    expected[2] = "5";
    expected[5] = "null";
    EXPECT_EQ(Fields(voice), expected);
    EXPECT_EQ(value.Size(), 3);
}

TEST(VoiceInfo, TextThatIsNoJsonIsLoggedAndChangesNothing)
{
    LogLines log;
    QXTTSVoiceInfo voice = Voice();
    EXPECT_FALSE(voice.ParseFromString(""));
    EXPECT_EQ(Fields(voice), Fields(Voice()));
    EXPECT_EQ(log.lines, std::vector<wxString>{"QXTTSVoiceInfo: Could not load voice info"});
}

TEST(VoiceInfo, MovingCopies)
{
    QXTTSVoiceInfo source = Voice();
    const QXTTSVoiceInfo moved = std::move(source);
    EXPECT_EQ(Fields(moved), Fields(source)); // NOLINT(bugprone-use-after-move): the source stays as it was
}

TEST(VoiceInfoList, RoundTripKeepsOrder)
{
    QXTTSVoiceInfo second = Voice();
    second.SetId("Hans");
    const std::vector<QXTTSVoiceInfo> voices =
        QXTTSVoiceInfo::ParseListFromString(QXTTSVoiceInfo::GetListAsString({Voice(), second}));
    ASSERT_EQ(voices.size(), 2U);
    EXPECT_EQ(Fields(voices[0]), Fields(Voice()));
    EXPECT_EQ(Fields(voices[1]), Fields(second));
}

TEST(VoiceInfoList, WhatTextGives)
{
    EXPECT_EQ(QXTTSVoiceInfo::GetListAsString({}), "null");
    struct Row {
        const char* text;
        std::vector<wxString> names;
        bool isLogged;
    };
    const Row rows[] = {
        {"null", {}, true},
        {"", {}, true},
        {"[]", {}, false},
        {"{}", {}, false},
        {"{\"name\":\"a\",\"id\":\"b\"}", {""}, false},
        {"[{\"name\":\"a\"},3,{\"name\":\"b\"}]", {"a", "", "b"}, false},
        {"[{\"name\":\"a\"},{\"name\":\"b\",\"id\":\"", {"a", "b"}, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        LogLines log;
        std::vector<wxString> names;
        for (const QXTTSVoiceInfo& voice : QXTTSVoiceInfo::ParseListFromString(row.text))
            names.push_back(voice.GetName());
        EXPECT_EQ(names, row.names);
        const std::vector<wxString> message(row.isLogged ? 1 : 0, "QXTTSVoiceInfo: Could not load voices info");
        EXPECT_EQ(log.lines, message);
    }
}
