// Notices: order, coalescing, dropping, and the two ways in which they are delivered. MIT licence.
#include "platform/posix/messages.h"

#include "platform/posix/control.h"

#include <gtest/gtest.h>
#include <thread>
#include <vector>
#include <windows.h>
#include <wx/app.h>
#include <wx/init.h>

using namespace qxplatform;

namespace
{

bool TakeOne()
{
    MSG message;
    if (!PeekMessageW(&message, nullptr, WM_APP, WM_APP, PM_REMOVE))
        return false;
    TranslateMessage(&message);
    DispatchMessageW(&message);
    return true;
}

void RunPendingEvents()
{
    wxAppConsole::GetInstance()->ProcessPendingEvents();
}

// Nothing is left over from one case to the next.
struct Messages : testing::Test {
    void TearDown() override
    {
        while (TakeOne())
            ;
        RunPendingEvents();
    }

    std::shared_ptr<NoticeQueue> queue = CurrentThreadNotices();
    const uint64_t first = NoticeQueue::NewOwner();
    const uint64_t second = NoticeQueue::NewOwner();
    std::vector<int> delivered;
    NoticeQueue::Delivery Note(int what)
    {
        return [this, what] { delivered.push_back(what); };
    }
};

} // namespace

TEST_F(Messages, OneNoticeOfEachOwnerWaitsInTheOrderPosted)
{
    queue->Post(first, Note(1));
    queue->Post(second, Note(2));
    for (int i = 0; i < 1000; ++i)
        queue->Post(first, Note(3));
    while (TakeOne())
        ;
    EXPECT_EQ(delivered, (std::vector<int>{1, 2}));
    queue->Post(first, Note(4));
    EXPECT_TRUE(TakeOne());
    EXPECT_EQ(delivered.back(), 4);
}

TEST_F(Messages, PeekRespectsItsFilterAndLeavesTheNoticeUnlessToldToRemoveIt)
{
    queue->Post(first, Note(1));
    MSG message;
    EXPECT_FALSE(PeekMessageW(&message, nullptr, 1, WM_APP - 1, PM_REMOVE));
    EXPECT_TRUE(PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE));
    EXPECT_TRUE(PeekMessageW(&message, nullptr, WM_APP, WM_APP, PM_REMOVE));
    EXPECT_EQ(message.message, static_cast<UINT>(WM_APP));
    EXPECT_FALSE(PeekMessageW(&message, nullptr, WM_APP, WM_APP, PM_REMOVE));
    EXPECT_TRUE(delivered.empty());
    DispatchMessageW(&message);
    DispatchMessageW(&message); // the second time there is nothing to deliver
    EXPECT_EQ(delivered, std::vector<int>{1});
}

TEST_F(Messages, DroppedOwnerIsNotCalledEvenAfterItsNoticeWasTaken)
{
    queue->Post(first, Note(1));
    queue->Post(second, Note(2));
    MSG message;
    ASSERT_TRUE(PeekMessageW(&message, nullptr, WM_APP, WM_APP, PM_REMOVE));
    queue->Drop(first);
    queue->Drop(second);
    DispatchMessageW(&message);
    EXPECT_FALSE(TakeOne());
    RunPendingEvents();
    EXPECT_TRUE(delivered.empty());
}

TEST_F(Messages, MainThreadsNoticesAreDeliveredByPendingEvents)
{
    queue->Post(first, Note(1));
    queue->Post(second, Note(2));
    EXPECT_TRUE(wxAppConsole::GetInstance()->HasPendingEvents());
    RunPendingEvents();
    EXPECT_EQ(delivered, (std::vector<int>{1, 2}));
    EXPECT_FALSE(wxAppConsole::GetInstance()->HasPendingEvents());
    queue->Post(first, Note(3));
    TakeOne();
    RunPendingEvents(); // the event finds nothing any more
    EXPECT_EQ(delivered, (std::vector<int>{1, 2, 3}));
}

TEST_F(Messages, DeliveryMayDrainPostAndDropItself)
{
    queue->Post(first, [this] {
        delivered.push_back(1);
        queue->Post(first, Note(3));
        queue->DeliverWaiting();
        queue->Drop(first);
    });
    queue->Post(second, Note(2));
    RunPendingEvents();
    RunPendingEvents();
    EXPECT_EQ(delivered, (std::vector<int>{1, 2, 3}));
}

TEST_F(Messages, OwnerMayBeDeletedByItsOwnDelivery)
{
    struct Owner {
        explicit Owner(std::shared_ptr<NoticeQueue> posts) : queue(std::move(posts)) {}
        ~Owner() { queue->Drop(id); }
        const std::shared_ptr<NoticeQueue> queue;
        const uint64_t id = NoticeQueue::NewOwner();
    };
    Owner* const owner = new Owner(queue);
    queue->Post(owner->id, [this, owner] {
        queue->Post(owner->id, Note(9));
        delete owner;
    });
    EXPECT_TRUE(TakeOne());
    EXPECT_FALSE(TakeOne());
    EXPECT_TRUE(delivered.empty());
}

TEST_F(Messages, DeliveryThatPostsAgainDoesNotHoldUpTheEventLoop)
{
    queue->Post(first, [this] {
        delivered.push_back(1);
        queue->Post(first, Note(2));
    });
    RunPendingEvents();
    if (delivered.size() == 1)
        RunPendingEvents();
    EXPECT_EQ(delivered, (std::vector<int>{1, 2}));
}

TEST_F(Messages, WorkersPostWhileTheMainThreadTakes)
{
    constexpr int kPosts = 2000;
    std::atomic<int> made{0};
    std::atomic<int> fetched{0};
    const auto fetchAll = [&] { fetched = made.load(); };
    const auto post = [&](uint64_t owner) {
        for (int i = 0; i < kPosts; ++i) {
            ++made;
            queue->Post(owner, fetchAll);
            if (i % 100 == 99)
                queue->Drop(second);
        }
        queue->Post(first, fetchAll);
    };
    std::thread one(post, first);
    std::thread two(post, second);
    bool pump = true;
    while (fetched < 2 * kPosts) {
        if (pump)
            TakeOne();
        else
            RunPendingEvents();
        pump = !pump;
    }
    one.join();
    two.join();
    EXPECT_EQ(fetched, 2 * kPosts);
    // A notice that was posted last may still wait; what it counts in goes with this function.
    queue->Drop(first);
    queue->Drop(second);
}

TEST_F(Messages, WorkersOwnQueueIsServedOnlyThere)
{
    std::thread::id deliveredOn;
    std::thread worker([&] {
        const auto own = CurrentThreadNotices();
        EXPECT_NE(own, queue);
        EXPECT_EQ(own, CurrentThreadNotices());
        own->Post(first, [&] { deliveredOn = std::this_thread::get_id(); });
        EXPECT_FALSE(wxAppConsole::GetInstance()->HasPendingEvents());
        EXPECT_TRUE(TakeOne());
        EXPECT_EQ(deliveredOn, std::this_thread::get_id());
        own->Post(first, Note(1)); // goes with the thread
    });
    worker.join();
    EXPECT_FALSE(TakeOne());
    EXPECT_TRUE(delivered.empty());
}

TEST_F(Messages, ControlPostsToTheCallingThread)
{
    control::PostNotice(first, Note(1));
    EXPECT_TRUE(TakeOne());
    EXPECT_EQ(delivered, std::vector<int>{1});
}

// The program's wxWidgets is shut down and started again: what the old application held must not block the new one.
TEST_F(Messages, NewApplicationDeliversWhatTheOldOneLeft)
{
    queue->Post(first, Note(1));
    wxUninitialize();
    ASSERT_EQ(wxAppConsole::GetInstance(), nullptr);
    queue->Post(second, Note(2));
    ASSERT_TRUE(wxInitialize());
    queue->Post(first, Note(3)); // coalesced, and still a reason to tell the new application
    RunPendingEvents();
    EXPECT_EQ(delivered, (std::vector<int>{1, 2}));
}
