// Takes the log for one scope and keeps its records. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_LOG_CAPTURE_H
#define QXSPEECH_TESTS_SUPPORT_LOG_CAPTURE_H

#include <string>
#include <vector>
#include <wx/log.h>

// Records of other threads than the main one arrive at wxLog::FlushActive().
class LogCapture : public wxLog
{
public:
    struct Record {
        wxLogLevel level;
        wxString text;
        std::string function;
        std::string component;
        std::string file;
    };

    LogCapture() : m_old(wxLog::SetActiveTarget(this)) {}
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    ~LogCapture() override { wxLog::SetActiveTarget(m_old); }

    std::vector<Record> records;

protected:
    void DoLogRecord(wxLogLevel level, const wxString& text, const wxLogRecordInfo& info) override
    {
        records.push_back({level, text, info.func ? info.func : "", info.component ? info.component : "",
                           info.filename ? info.filename : ""});
    }

private:
    wxLog* m_old;
};

#endif
