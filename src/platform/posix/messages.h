// Notices: what the platform has to tell a thread, delivered only on that thread. MIT licence.
#ifndef QXSPEECH_PLATFORM_MESSAGES_H
#define QXSPEECH_PLATFORM_MESSAGES_H

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

namespace qxplatform
{

// The notices of one thread. Made by CurrentThreadNotices() on the thread that it serves and shared by whoever posts to
// it; the main thread's lives until the process ends, exit handlers included. Post and Drop may be called on any
// thread.
//
// A notice waits until its thread takes messages (PeekMessageW then DispatchMessageW) or, if that thread is the main
// one and an application exists, until wxWidgets processes pending events: one event is pending at a time, for all
// notices. At most one notice of each owner waits, so an owner's delivery has to fetch everything that it has to tell.
// A delivery runs with no lock held; it may post, drop, take messages itself or delete its owner.
class NoticeQueue : public std::enable_shared_from_this<NoticeQueue>
{
public:
    using Delivery = std::function<void()>;

    explicit NoticeQueue(bool servesMainThread);
    NoticeQueue(const NoticeQueue&) = delete;
    NoticeQueue& operator=(const NoticeQueue&) = delete;

    // An id that no other owner of this process has; never 0.
    static uint64_t NewOwner();

    // Nothing is added if a notice of this owner waits already.
    void Post(uint64_t owner, Delivery deliver);

    // Forgets what waits for the owner, also a notice that was taken by PeekMessageW and not yet dispatched. Does not
    // wait for a delivery that runs now: on the queue's own thread there is none but the caller's own.
    void Drop(uint64_t owner);

    // The queue's own thread only.

    // Gives the owner whose notice came first, or 0. With remove that notice can from now on only be dispatched.
    uint64_t Peek(bool remove);
    // Delivers the notice that Peek removed, if its owner was not dropped since. False if there was none.
    bool Dispatch(uint64_t owner);
    // Delivers what waits at the moment of the call; what is posted meanwhile waits for the next turn.
    void DeliverWaiting();

private:
    void RequestEvent();
    Delivery TakeFront();

    // set once by the constructor
    const bool mainThread;

    // guarded by lock
    std::mutex lock;
    std::deque<std::pair<uint64_t, Delivery>> waiting;
    std::map<uint64_t, Delivery> taken;
    std::weak_ptr<void> pendingEvent; // alive as long as the event is
};

// The calling thread's queue, made by the first call on that thread.
std::shared_ptr<NoticeQueue> CurrentThreadNotices();

} // namespace qxplatform

#endif
