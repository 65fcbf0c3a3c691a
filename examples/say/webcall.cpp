// The main thread looks after signals, keys, log records and the line that says what is waited for. MIT licence.
#include "webcall.h"

#include <atomic>
#include <chrono>
#include <exception>
#include <poll.h>
#include <thread>
#include <wx/log.h>

#include "../common/interrupt.h"
#include "../common/progressline.h"
#include "console.h"

namespace say
{
namespace
{

constexpr int kStopPollMs = 10;
constexpr std::chrono::seconds kPatience(1);

// Owned by the caller of the worker, which joins it.
struct Call {
    std::atomic<bool> isDone{false};
    bool answer = false; // these two are the worker's until isDone
    std::exception_ptr error;

    void Make(const std::function<bool()>& work)
    {
        try {
            answer = work();
        } catch (...) {
            error = std::current_exception();
        }
        isDone = true;
    }
};

class WaitNote
{
public:
    explicit WaitNote(bool showsWithoutTerminal) : m_line(true), m_showsWithoutTerminal(showsWithoutTerminal) {}

    void Update(const std::function<wxString()>& stage)
    {
        const auto waited = std::chrono::steady_clock::now() - m_start;
        if (waited < kPatience || !(m_line.IsShown() || m_showsWithoutTerminal))
            return;
        const wxString text = stage();
        if (m_line.IsShown())
            ShowLine(text, std::chrono::duration_cast<std::chrono::seconds>(waited).count());
        else if (text != m_last)
            PrintError(text);
        m_last = text;
    }
    void Clear() { m_line.Show(wxString()); }

private:
    void ShowLine(const wxString& text, long long seconds)
    {
        if (seconds != m_seconds || text != m_last)
            m_line.Show(wxString::Format("%s ... %lld s", text, seconds));
        m_seconds = seconds;
    }

    tool::ProgressLine m_line;
    const bool m_showsWithoutTerminal;
    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    wxString m_last;
    long long m_seconds = -1;
};

void Pause(tool::TerminalKeys* keys)
{
    if (!keys)
        poll(nullptr, 0, kStopPollMs);
    else if (keys->Wait(kStopPollMs) == 'q')
        RequestEnd();
    if (keys && TakeHaltRequest()) {
        keys->Leave();
        HaltProcess();
        keys->Enter();
    }
}

[[noreturn]] void Abandon(const Waiting& waiting, WaitNote& note)
{
    note.Clear();
    if (waiting.onAbandon)
        waiting.onAbandon();
    EndAtOnce();
}

} // namespace

bool CallOnWorker(const std::function<bool()>& work, const Waiting& waiting)
{
    ThrowIfInterrupted();
    Call call;
    WaitNote note(waiting.showsWithoutTerminal);
    std::thread worker(&Call::Make, &call, std::cref(work));
    while (!call.isDone) {
        Pause(waiting.keys);
        wxLog::FlushActive(); // the worker's records
        if (IsInterrupted() && !call.isDone)
            Abandon(waiting, note);
        note.Update(waiting.stage);
    }
    worker.join();
    note.Clear();
    wxLog::FlushActive();
    if (call.error)
        std::rethrow_exception(call.error);
    return call.answer;
}

} // namespace say
