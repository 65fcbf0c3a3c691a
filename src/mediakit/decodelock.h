// A lock under which questions go before decoding. MIT licence.
#ifndef QXSPEECH_MEDIAKIT_DECODELOCK_H
#define QXSPEECH_MEDIAKIT_DECODELOCK_H

#include <chrono>
#include <condition_variable>
#include <mutex>

// Lets one thread in at a time, not recursive. A thread that decodes in a loop takes a plain mutex again before anybody
// else wakes up; here whoever called lock() waits for one decode only. The inner mutex is never held while working.
class MKDecodeLock
{
public:
    // For operations that only ask or set something; also for std::lock_guard.
    void lock()
    {
        std::unique_lock<std::mutex> hold(inner);
        ++asking;
        changed.wait(hold, [this] { return !isTaken; });
        --asking;
        isTaken = true;
    }
    void LockToDecode()
    {
        std::unique_lock<std::mutex> hold(inner);
        changed.wait(hold, [this] { return !isTaken && asking == 0; });
        isTaken = true;
    }
    void unlock()
    {
        std::lock_guard<std::mutex> hold(inner);
        isTaken = false;
        changed.notify_all();
    }
    // Unlocks and waits until somebody calls Notice, at most for the time given.
    void UnlockAndWait(std::chrono::milliseconds limit)
    {
        std::unique_lock<std::mutex> hold(inner);
        isTaken = false;
        changed.notify_all();
        const unsigned before = notices;
        changed.wait_for(hold, limit, [&] { return notices != before; });
    }
    void Notice()
    {
        std::lock_guard<std::mutex> hold(inner);
        ++notices;
        changed.notify_all();
    }

private:
    std::mutex inner;
    std::condition_variable changed;
    // guarded by inner
    bool isTaken = false;
    int asking = 0;
    unsigned notices = 0;
};

#endif
