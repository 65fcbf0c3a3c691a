// A thread for the calls on one device, any of which may never come back. MIT licence.
#ifndef QXSPEECH_COMMON_DEVICETHREAD_H
#define QXSPEECH_COMMON_DEVICETHREAD_H

#include <chrono>
#include <functional>
#include <memory>
#include <thread>

// A device that has been inside one call for longer than this has hung: whoever waits for it goes on without.
constexpr std::chrono::seconds kDevicePatience(5);

// Runs one call after another. A call that does not come back in time is left behind with the thread, which then
// belongs to nobody: whatever the call uses has to be its own or shared. Made and deleted by the device's owner, with
// no Run under way; any thread may call Run. The constructor raises std::system_error if there is no thread to be had.
class qxDeviceThread
{
public:
    // lastCall runs on the thread if a call was left behind, came back after all, and the owner has deleted this
    // object: to give up what it had in hand.
    explicit qxDeviceThread(const std::function<void()>& lastCall);
    // Waits for the thread unless it was left behind.
    ~qxDeviceThread();
    qxDeviceThread(const qxDeviceThread&) = delete;
    qxDeviceThread& operator=(const qxDeviceThread&) = delete;

    // Waits until the call has come back, kDevicePatience and the time that it is meant to take at most. False: it was
    // left behind, or one before it was; then it is not made.
    bool Run(const std::function<void()>& call, std::chrono::microseconds duration = {});

private:
    struct Line;

    static void Serve(const std::shared_ptr<Line>& line);

    const std::shared_ptr<Line> m_line; // shared with the thread
    std::thread m_thread;
};

#endif
