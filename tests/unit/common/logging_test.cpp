// What a log record carries. MIT licence.
#include "common/logging.h"

#include <gtest/gtest.h>

#include "speech/ttsvoiceinfo.h"
#include "support/log_capture.h"

TEST(Logging, FunctionNameIsClassQualified)
{
    for (const char* signature :
         {"virtual const char* const* {anonymous}::Named::Find(const char*) const",
          "virtual const char *const *(anonymous namespace)::Named::Find(const char *) const",
          "const char *const *__cdecl `anonymous-namespace'::Named::Find(const char *) const", "Named::Find()"})
        EXPECT_EQ(qxQualifiedFunctionName(signature), "Named::Find") << signature;
}

TEST(Logging, RecordHoldsTextLevelAndFunctionAndRespectsTheLevel)
{
    LogCapture log;
    QX_LOG("%s of %d", wxString::FromUTF8("caf\xc3\xa9"), 3);
    const wxLogLevel level = wxLog::GetLogLevel();
    wxLog::SetLogLevel(wxLOG_Warning);
    QX_LOG("not seen");
    wxLog::SetLogLevel(level);
    ASSERT_EQ(log.records.size(), 1u);
    EXPECT_EQ(log.records[0].text, wxString::FromUTF8("caf\xc3\xa9 of 3"));
    EXPECT_EQ(log.records[0].level, static_cast<wxLogLevel>(wxLOG_Message));
    EXPECT_NE(log.records[0].function.find("TestBody"), std::string::npos);
}

TEST(Logging, TheLibrarysRecordsAreSilencedByTheirComponentAndNameNoBuildersPath)
{
    LogCapture log;
    EXPECT_TRUE(QXTTSVoiceInfo::ParseListFromString("").empty());
    wxLog::SetComponentLevel("qxspeech", wxLOG_Warning);
    EXPECT_TRUE(QXTTSVoiceInfo::ParseListFromString("").empty());
    wxLog::SetComponentLevel("qxspeech", wxLOG_Max);
    ASSERT_EQ(log.records.size(), 1u);
    EXPECT_EQ(log.records[0].component, "qxspeech/speech");
    EXPECT_EQ(log.records[0].file, "speech/ttsvoiceinfo.cpp");
}
