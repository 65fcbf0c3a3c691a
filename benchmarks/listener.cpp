// A recorder as a child process, read by a thread. MIT licence.
#include "listener.h"

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

Listener::Listener(const PulseSink& sink)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        std::abort();
    const std::string server = sink.Socket();
    m_recorder = vfork();
    if (m_recorder == 0) {
        dup2(ends[1], 1);
        execlp("parec", "parec", "-s", server.c_str(), "-d", "testsink.monitor", "--raw", "--format=s16le",
               "--rate=48000", "--channels=2", "--latency-msec=5", nullptr);
        _exit(127);
    }
    close(ends[1]);
    m_input = ends[0];
    m_thread = std::thread(&Listener::Run, this);
    while (!m_running)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

Listener::~Listener()
{
    kill(m_recorder, SIGTERM);
    waitpid(m_recorder, nullptr, 0);
    m_thread.join();
    close(m_input);
}

bool Listener::AwaitSound() const
{
    const Clock::time_point limit = Clock::now() + std::chrono::seconds(5);
    while (!m_heard && Clock::now() < limit)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return m_heard;
}

void Listener::Run()
{
    int16_t samples[480];
    for (ssize_t got; (got = read(m_input, samples, sizeof samples)) > 0;) {
        m_running = true;
        for (ssize_t i = 0; !m_heard && i < got / 2; ++i) {
            if (std::abs(samples[i]) > 1000) {
                m_first = Clock::now();
                m_heard = true;
            }
        }
    }
    m_running = true; // the server has gone; nobody waits for ever
}
