// What the connections' threads and the test's threads share. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_SERVICES_STATE_H
#define QXSPEECH_TESTS_SUPPORT_SERVICES_STATE_H

#include <condition_variable>
#include <mutex>
#include <optional>

#include "backend.h"
#include "faults.h"
#include "services.h"

namespace loopback
{

// Every member may be called from any thread. Owned by the services; outlives the connections.
class State
{
public:
    explicit State(const Settings& settings) : m_settings(settings) {}

    Settings GetSettings() const;
    void Edit(const std::function<void(Settings&)>& edit);

    void Inject(const std::string& host, const std::string& path, int times, const Fault& fault);
    std::optional<Fault> TakeForConnection(const std::string& host);
    std::optional<Fault> TakeForRequest(const std::string& host, const std::string& path);
    void ClearFaults();
    std::size_t PendingFaults() const;

    // Log() gives the request its order and time, Finish() its status; the observer hears of it then. Note() is for a
    // client that asks as soon as it has the answer: the status before it is sent.
    void Log(Request& request);
    void Note(const Request& request, int status);
    void Finish(Request& request, int status);
    std::vector<Request> Entries(bool connects) const;
    void ClearLog();
    void SetObserver(std::function<void(const Request&)> observer);

    // Until Release, or for the time given. False if the services stop meanwhile.
    bool Stall();
    bool Wait(std::chrono::milliseconds time);
    void Release();
    void Stop();

    bool WaitForRequests(std::size_t count, std::chrono::milliseconds limit) const;
    bool WaitForStalls(std::size_t count, std::chrono::milliseconds limit) const;

private:
    std::size_t CountRequests() const; // with the lock held

    mutable std::mutex m_lock; // guards everything below but the observer
    mutable std::condition_variable m_changed;
    Settings m_settings;
    FaultQueue m_faults;
    std::vector<Request> m_log;
    std::uint64_t m_lastOrder = 0;
    std::size_t m_stalled = 0;
    std::uint64_t m_releases = 0;
    bool m_stopping = false;
    std::mutex m_observerLock; // taken alone
    std::function<void(const Request&)> m_observer;
};

} // namespace loopback

#endif
