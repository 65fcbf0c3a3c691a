// Notes when a private sound server's sink sounds. MIT licence.
#ifndef QXSPEECH_BENCHMARKS_LISTENER_H
#define QXSPEECH_BENCHMARKS_LISTENER_H

#include <atomic>
#include <chrono>
#include <sys/types.h>
#include <thread>

#include "support/pulse_sink.h"

// Listens to the sink's monitor in short pieces and notes when the first sound comes.
class Listener
{
public:
    using Clock = std::chrono::steady_clock;

    explicit Listener(const PulseSink& sink);
    ~Listener();
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    // False if nothing is heard within some seconds.
    bool AwaitSound() const;
    Clock::time_point FirstSound() const { return m_first; } // once it was heard
    void Forget() { m_heard = false; }

private:
    void Run();

    pid_t m_recorder = -1;
    int m_input = -1;
    std::thread m_thread;
    std::atomic<bool> m_running{false};
    std::atomic<bool> m_heard{false};
    Clock::time_point m_first;
};

#endif
