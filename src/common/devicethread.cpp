// A thread for the calls on one device. MIT licence.
#include "common/devicethread.h"

#include <condition_variable>
#include <cstdint>
#include <mutex>

struct qxDeviceThread::Line {
    std::function<void()> lastCall;
    std::mutex lock; // a leaf; not held while a call runs
    std::condition_variable changed;
    // guarded by lock
    std::function<void()> call; // the one under way, empty for none
    uint64_t made = 0;          // calls that have come back
    bool isLeft = false;        // nobody waits for the thread any more
    bool isOver = false;        // the owner is done with it
};

qxDeviceThread::qxDeviceThread(const std::function<void()>& lastCall) : m_line(std::make_shared<Line>())
{
    m_line->lastCall = lastCall;
    m_thread = std::thread([line = m_line] { Serve(line); });
}

qxDeviceThread::~qxDeviceThread()
{
    bool isLeft = false;
    {
        const std::lock_guard<std::mutex> hold(m_line->lock);
        isLeft = m_line->isLeft;
        m_line->isOver = true;
        m_line->changed.notify_all();
    }
    if (isLeft)
        m_thread.detach();
    else
        m_thread.join();
}

void qxDeviceThread::Serve(const std::shared_ptr<Line>& line)
{
    std::unique_lock<std::mutex> hold(line->lock);
    while (!line->isLeft) {
        line->changed.wait(hold, [&] { return line->call || line->isOver; });
        if (!line->call)
            return;
        hold.unlock();
        line->call();
        hold.lock();
        line->call = nullptr;
        ++line->made;
        line->changed.notify_all();
    }
    line->changed.wait(hold, [&] { return line->isOver; });
    hold.unlock();
    line->lastCall();
}

bool qxDeviceThread::Run(const std::function<void()>& call, std::chrono::microseconds duration)
{
    const auto limit = std::chrono::steady_clock::now() + kDevicePatience + duration;
    Line& line = *m_line;
    std::unique_lock<std::mutex> hold(line.lock);
    line.changed.wait_until(hold, limit, [&] { return line.isLeft || !line.call; });
    if (!line.isLeft && !line.call) {
        const uint64_t before = line.made;
        line.call = call;
        line.changed.notify_all();
        line.changed.wait_until(hold, limit, [&] { return line.isLeft || line.made > before; });
        if (line.made > before)
            return true;
    }
    line.isLeft = true;
    line.changed.notify_all();
    return false;
}
