// Notices, and the message calls that take them. MIT licence.
#include "platform/posix/messages.h"

#include "platform/posix/forkedcopy.h"

#include <algorithm>
#include <atomic>
#include <windows.h>
#include <wx/app.h>
#include <wx/event.h>
#include <wx/module.h>
#include <wx/thread.h>

namespace qxplatform
{

namespace
{

// Where pending events wait for the application. Never destroyed: an event may be posted while the process ends.
wxEvtHandler& EventSink()
{
    static wxEvtHandler* const sink = new wxEvtHandler;
    return *sink;
}

// wxWidgets keeps events that nobody processed beyond the application's end, where a later application never looks.
class QXNoticeModule : public wxModule
{
public:
    bool OnInit() override { return true; }
    void OnExit() override { EventSink().DeletePendingEvents(); }

private:
    wxDECLARE_DYNAMIC_CLASS(QXNoticeModule);
};

using SharedQueue = std::shared_ptr<NoticeQueue>;

// A plain pointer, so that the main thread's queue outlives the thread's own destructors.
thread_local SharedQueue* threadQueue = nullptr;

struct ThreadQueueEnd {
    ~ThreadQueueEnd()
    {
        delete threadQueue;
        threadQueue = nullptr;
    }
};

wxIMPLEMENT_DYNAMIC_CLASS(QXNoticeModule, wxModule);

} // namespace

NoticeQueue::NoticeQueue(bool servesMainThread) : mainThread(servesMainThread) {}

uint64_t NoticeQueue::NewOwner()
{
    static std::atomic<uint64_t> last{0};
    return ++last;
}

void NoticeQueue::Post(uint64_t owner, Delivery deliver)
{
    {
        const std::lock_guard<std::mutex> guard(lock);
        const auto isMine = [owner](const auto& notice) { return notice.first == owner; };
        if (std::none_of(waiting.begin(), waiting.end(), isMine))
            waiting.emplace_back(owner, std::move(deliver));
    }
    RequestEvent();
}

void NoticeQueue::Drop(uint64_t owner)
{
    // Destroyed outside the lock: what a delivery holds may run code of its own when it goes.
    std::deque<std::pair<uint64_t, Delivery>> dropped;
    const std::lock_guard<std::mutex> guard(lock);
    const auto isOthers = [owner](const auto& notice) { return notice.first != owner; };
    const auto mine = std::stable_partition(waiting.begin(), waiting.end(), isOthers);
    std::move(mine, waiting.end(), std::back_inserter(dropped));
    waiting.erase(mine, waiting.end());
    const auto peeked = taken.find(owner);
    if (peeked != taken.end()) {
        dropped.emplace_back(owner, std::move(peeked->second));
        taken.erase(peeked);
    }
}

uint64_t NoticeQueue::Peek(bool remove)
{
    if (IsForkedCopy())
        return 0; // what waits here is the other process's, under a lock that may be held for ever
    Delivery former;
    const std::lock_guard<std::mutex> guard(lock);
    if (waiting.empty())
        return 0;
    const uint64_t owner = waiting.front().first;
    if (remove) {
        former = std::exchange(taken[owner], std::move(waiting.front().second));
        waiting.pop_front();
    }
    return owner;
}

bool NoticeQueue::Dispatch(uint64_t owner)
{
    Delivery deliver;
    {
        const std::lock_guard<std::mutex> guard(lock);
        const auto found = taken.find(owner);
        if (found == taken.end())
            return false;
        deliver = std::move(found->second);
        taken.erase(found);
    }
    deliver();
    return true;
}

NoticeQueue::Delivery NoticeQueue::TakeFront()
{
    const std::lock_guard<std::mutex> guard(lock);
    if (waiting.empty())
        return {};
    Delivery deliver = std::move(waiting.front().second);
    waiting.pop_front();
    return deliver;
}

void NoticeQueue::DeliverWaiting()
{
    if (IsForkedCopy())
        return;
    size_t turn = 0;
    {
        const std::lock_guard<std::mutex> guard(lock);
        turn = waiting.size();
    }
    for (; turn > 0; --turn) {
        const Delivery deliver = TakeFront();
        if (!deliver)
            return;
        deliver();
    }
}

// The event carries a token that is alive exactly as long as wxWidgets holds the event, also where it throws the event
// away.
void NoticeQueue::RequestEvent()
{
    if (!mainThread || !wxAppConsole::GetInstance())
        return;
    std::shared_ptr<void> token;
    {
        const std::lock_guard<std::mutex> guard(lock);
        if (!pendingEvent.expired())
            return;
        token = std::make_shared<char>();
        pendingEvent = token;
    }
    EventSink().CallAfter([queue = shared_from_this(), token = std::move(token)]() mutable {
        token.reset();
        queue->DeliverWaiting();
    });
}

std::shared_ptr<NoticeQueue> CurrentThreadNotices()
{
    if (!threadQueue) {
        const bool servesMainThread = wxIsMainThread();
        threadQueue = new SharedQueue(std::make_shared<NoticeQueue>(servesMainThread));
        if (!servesMainThread) {
            thread_local const ThreadQueueEnd end{};
            static_cast<void>(end);
        }
    }
    return *threadQueue;
}

} // namespace qxplatform

BOOL PeekMessageW(LPMSG message, HWND window, UINT filterMin, UINT filterMax, UINT remove)
{
    const bool everything = filterMin == 0 && filterMax == 0;
    if (!message || window || (!everything && (WM_APP < filterMin || WM_APP > filterMax)))
        return FALSE;
    const uint64_t owner = qxplatform::CurrentThreadNotices()->Peek((remove & PM_REMOVE) != 0);
    if (owner == 0)
        return FALSE;
    *message = MSG();
    message->message = WM_APP;
    message->wParam = static_cast<WPARAM>(owner);
    return TRUE;
}

BOOL TranslateMessage(const MSG*)
{
    return FALSE; // there are no key messages
}

LRESULT DispatchMessageW(const MSG* message)
{
    if (message && message->message == WM_APP)
        qxplatform::CurrentThreadNotices()->Dispatch(message->wParam);
    return 0;
}
