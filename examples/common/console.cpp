// Plain descriptors instead of streams: they survive the silencing of standard error. MIT licence.
#include "console.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <wx/log.h>

#include "exitstatus.h"

namespace tool
{
namespace
{

int g_errors = STDERR_FILENO; // the real standard error
bool g_outputClosed = false;

std::string Utf8(const wxString& text)
{
    return std::string(text.utf8_str());
}

// Narrow output of wxWidgets' own target depends on the locale.
class ErrorLog : public wxLog
{
public:
    explicit ErrorLog(bool verbose) : m_verbose(verbose) {}

protected:
    // On the main thread; records of others wait until it flushes them.
    void DoLogRecord(wxLogLevel level, const wxString& text, const wxLogRecordInfo& info) override
    {
        if (m_verbose || level == wxLOG_FatalError)
            wxLog::DoLogRecord(level, text, info);
    }
    void DoLogText(const wxString& text) override { WriteAll(g_errors, Utf8(Printable(text) + "\n")); }

private:
    const bool m_verbose;
};

} // namespace

void SecureStandardFiles()
{
    g_outputClosed = fcntl(STDOUT_FILENO, F_GETFD) < 0;
    // Each open takes the lowest free number, so the three are filled in order.
    for (int file = open("/dev/null", O_RDWR); file >= 0; file = open("/dev/null", O_RDWR)) {
        if (file > STDERR_FILENO) {
            close(file);
            break;
        }
    }
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

int WriteAll(int file, const std::string& bytes)
{
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t written = write(file, bytes.data() + done, bytes.size() - done);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return written < 0 ? errno : ENOSPC;
        done += static_cast<size_t>(written);
    }
    return 0;
}

bool HasStandardOutput()
{
    return !g_outputClosed;
}

bool ErrorsGoToTerminal()
{
    return isatty(g_errors) == 1;
}

wxString Printable(const wxString& text)
{
    wxString printable;
    printable.reserve(text.length());
    for (wxString::const_iterator at = text.begin(); at != text.end(); ++at) {
        const wxUint32 code = (*at).GetValue();
        const bool isLineEnd = code == '\n' || (code == '\r' && at + 1 != text.end() && *(at + 1) == '\n');
        const bool isControl = code < 0x20 || (code >= 0x7F && code < 0xA0);
        printable += isControl && !isLineEnd && code != '\t' ? wxUniChar('?') : *at;
    }
    return printable;
}

void PrintError(const wxString& text)
{
    WriteAll(g_errors, Utf8(QX_PROGRAM_NAME ": " + Printable(text) + "\n"));
}

void PrintProgress(const wxString& text)
{
    WriteAll(g_errors, Utf8(text));
}

void PrintOutput(const wxString& text)
{
    if (g_outputClosed)
        throw Failure{kExitFile, "standard output is closed"};
    const int error = WriteAll(STDOUT_FILENO, Utf8(isatty(STDOUT_FILENO) == 1 ? Printable(text) : text));
    if (error != 0)
        throw Failure{kExitFile, "standard output: " + wxString::FromUTF8(std::strerror(error))};
}

void SilenceStandardError()
{
    if (g_errors != STDERR_FILENO)
        return;
    const int real = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (real >= 0 && nowhere >= 0 && dup2(nowhere, STDERR_FILENO) >= 0)
        g_errors = real;
    if (nowhere >= 0)
        close(nowhere);
}

void SetUpLog(bool verbose)
{
    // wxWidgets deletes the target when it ends.
    delete wxLog::SetActiveTarget(new ErrorLog(verbose)); // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks)
}

} // namespace tool
