// The turns at PortAudio's list of streams. MIT licence.
#include "common/portaudiolock.h"

#include <condition_variable>
#include <mutex>

namespace
{

// Never destroyed: exit handlers may still close a stream.
struct Turns {
    std::mutex lock;
    std::condition_variable changed;
    // guarded by lock
    uint64_t last = 0;                         // number of the latest turn
    uint64_t present = 0;                      // number of the one that lasts, 0 for none
    std::chrono::steady_clock::time_point end; // from when on it does not count any more
};

Turns& AllTurns()
{
    static Turns* const turns = new Turns;
    return *turns;
}

} // namespace

qxPortAudioTurn::qxPortAudioTurn(Purpose purpose)
{
    using Clock = std::chrono::steady_clock;
    Turns& turns = AllTurns();
    std::unique_lock<std::mutex> hold(turns.lock);
    while (turns.present != 0 && Clock::now() < turns.end) {
        const Clock::time_point end = turns.end;
        if (end == Clock::time_point::max())
            turns.changed.wait(hold);
        else
            turns.changed.wait_until(hold, end);
    }
    m_number = turns.present = ++turns.last;
    turns.end = purpose == Closing ? Clock::now() + kClosingTurn : Clock::time_point::max();
}

qxPortAudioTurn::~qxPortAudioTurn()
{
    Turns& turns = AllTurns();
    const std::lock_guard<std::mutex> hold(turns.lock);
    if (turns.present != m_number)
        return; // taken over
    turns.present = 0;
    turns.changed.notify_all();
}
