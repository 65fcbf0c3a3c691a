// A bounded blocking ring between one writer and one reader thread. MIT licence.
#ifndef QXSPEECH_MEDIAKIT_CIRCULARQUEUE_H
#define QXSPEECH_MEDIAKIT_CIRCULARQUEUE_H

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>

// All slots exist from construction and are reused, never moved; a slot belongs to the writer between WriteSlot and
// CommitWrite, to the reader between ReadSlot and CommitRead, and is worked on outside the lock. Close wakes both
// sides; afterwards no call blocks. No other lock is taken under the queue's.
template <class T>
class CircularQueue
{
public:
    explicit CircularQueue(size_t slotCount) : capacity(slotCount), slots(slotCount ? new T[slotCount] : nullptr) {}
    // Wakes all waiters; the owner sees to it that no thread is left inside.
    virtual ~CircularQueue() { Close(); }
    CircularQueue(const CircularQueue&) = delete;
    CircularQueue& operator=(const CircularQueue&) = delete;

    size_t GetCount() const
    {
        std::lock_guard<std::mutex> hold(lock);
        return count;
    }
    size_t GetCapacity() const
    {
        std::lock_guard<std::mutex> hold(lock);
        return capacity;
    }
    bool IsFull() const
    {
        std::lock_guard<std::mutex> hold(lock);
        return count == capacity;
    }
    bool IsClosed() const
    {
        std::lock_guard<std::mutex> hold(lock);
        return closed;
    }

    // Waits for room; on a closed queue at once. Null only from a queue without slots.
    T* WriteSlot()
    {
        std::unique_lock<std::mutex> hold(lock);
        WaitForRoom(hold);
        return capacity ? &slots[static_cast<size_t>(writeIndex) % capacity] : nullptr;
    }
    void CommitWrite()
    {
        std::unique_lock<std::mutex> hold(lock);
        WaitForRoom(hold);
        if (closed)
            return;
        writeIndex = Next(writeIndex);
        ++count;
        const bool isWorthWaking = !isDozing || count >= std::min(kBatch, capacity);
        hold.unlock(); // or who is woken would wait for the lock next
        if (isWorthWaking)
            changed.notify_all();
    }
    // Waits for a filled slot; on a closed queue at once, whatever the slot holds. Null only from a queue without
    // slots.
    T* ReadSlot()
    {
        std::unique_lock<std::mutex> hold(lock);
        Doze(hold);
        WaitForData(hold);
        return capacity ? &slots[static_cast<size_t>(readIndex) % capacity] : nullptr;
    }
    void CommitRead()
    {
        std::unique_lock<std::mutex> hold(lock);
        WaitForData(hold);
        if (closed)
            return;
        readIndex = Next(readIndex);
        --count;
        hasJustRead = true;
        hold.unlock();
        changed.notify_all();
    }
    void Close()
    {
        std::lock_guard<std::mutex> hold(lock);
        closed = true;
        changed.notify_all();
    }
    // Empty and open again. Neither side may be inside.
    void Reset()
    {
        std::lock_guard<std::mutex> hold(lock);
        readIndex = writeIndex = 0;
        count = 0;
        closed = false;
        hasJustRead = false;
    }

private:
    static constexpr size_t kBatch = 16;
    static constexpr std::chrono::milliseconds kDoze{1};

    // A reader that is faster than the writer would be woken for each slot, which costs more than the slot is worth.
    // The first time that it finds nothing it lets a few come together, for a moment that no device notices.
    void Doze(std::unique_lock<std::mutex>& hold)
    {
        if (count > 0 || !hasJustRead)
            return;
        hasJustRead = false;
        isDozing = true;
        changed.wait_for(hold, kDoze, [this] { return closed || count >= std::min(kBatch, capacity); });
        isDozing = false;
    }
    void WaitForRoom(std::unique_lock<std::mutex>& hold)
    {
        changed.wait(hold, [this] { return closed || count < capacity; });
    }
    void WaitForData(std::unique_lock<std::mutex>& hold)
    {
        changed.wait(hold, [this] { return closed || count > 0; });
    }
    int32_t Next(int32_t index) const { return static_cast<int32_t>((static_cast<size_t>(index) + 1) % capacity); }

    mutable std::mutex lock;
    std::condition_variable changed;
    // guarded by lock
    size_t capacity;
    size_t count = 0;
    std::unique_ptr<T[]> slots; // each worked on by its side, without the lock
    int32_t readIndex = 0;
    int32_t writeIndex = 0;
    bool closed = false;
    bool hasJustRead = false;
    bool isDozing = false; // the reader, until a batch is there
};

#endif
