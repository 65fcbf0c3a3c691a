// What a log record carries. MIT licence.
#include "common/logging.h"

#include <gtest/gtest.h>

namespace
{

struct Named {
    explicit Named(int) { name = qxQualifiedFunctionName(__PRETTY_FUNCTION__); }
    const char* const* Find(const char*) const
    {
        name = qxQualifiedFunctionName(__PRETTY_FUNCTION__);
        return nullptr;
    }
    mutable std::string name;
};

struct Capture : wxLog {
    void DoLogRecord(wxLogLevel level, const wxString& message, const wxLogRecordInfo& info) override
    {
        text = message;
        function = info.func;
        seenLevel = level;
    }
    wxString text;
    std::string function;
    wxLogLevel seenLevel = 0;
};

} // namespace

TEST(Logging, FunctionNameIsClassQualified)
{
    Named named(1);
    EXPECT_EQ(named.name, "Named::Named");
    named.Find("");
    EXPECT_EQ(named.name, "Named::Find");
}

TEST(Logging, RecordHoldsTextLevelAndFunctionAndRespectsTheLevel)
{
    Capture capture;
    wxLog* const old = wxLog::SetActiveTarget(&capture);
    QX_LOG("%s of %d", wxString::FromUTF8("caf\xc3\xa9"), 3);
    EXPECT_EQ(capture.text, wxString::FromUTF8("caf\xc3\xa9 of 3"));
    EXPECT_EQ(capture.seenLevel, static_cast<wxLogLevel>(wxLOG_Message));
    EXPECT_NE(capture.function.find("TestBody"), std::string::npos);

    capture.text.clear();
    const wxLogLevel level = wxLog::GetLogLevel();
    wxLog::SetLogLevel(wxLOG_Warning);
    QX_LOG("not seen");
    wxLog::SetLogLevel(level);
    EXPECT_TRUE(capture.text.empty());
    wxLog::SetActiveTarget(old);
}
