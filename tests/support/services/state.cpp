// One lock and one condition: the traffic of tests is small. MIT licence.
#include "state.h"

#include <algorithm>

namespace loopback
{

using Guard = std::lock_guard<std::mutex>;
using UniqueLock = std::unique_lock<std::mutex>;

Settings State::GetSettings() const
{
    const Guard guard(m_lock);
    return m_settings;
}

void State::Edit(const std::function<void(Settings&)>& edit)
{
    const Guard guard(m_lock);
    edit(m_settings);
}

void State::Inject(const std::string& host, const std::string& path, int times, const Fault& fault)
{
    const Guard guard(m_lock);
    m_faults.Add(host, path, times, fault);
}

std::optional<Fault> State::TakeForConnection(const std::string& host)
{
    const Guard guard(m_lock);
    return m_faults.TakeForConnection(host);
}

std::optional<Fault> State::TakeForRequest(const std::string& host, const std::string& path)
{
    const Guard guard(m_lock);
    return m_faults.TakeForRequest(host, path);
}

void State::ClearFaults()
{
    const Guard guard(m_lock);
    m_faults.Clear();
}

std::size_t State::PendingFaults() const
{
    const Guard guard(m_lock);
    return m_faults.Size();
}

void State::Log(Request& request)
{
    const Guard guard(m_lock);
    request.order = ++m_lastOrder;
    request.time = std::chrono::steady_clock::now();
    m_log.push_back(request);
    m_changed.notify_all();
}

void State::Note(const Request& request, int status)
{
    const Guard guard(m_lock);
    for (Request& entry : m_log)
        if (entry.order == request.order)
            entry.status = status;
}

void State::Finish(Request& request, int status)
{
    request.status = status;
    Note(request, status);
    const Guard guard(m_observerLock);
    if (m_observer)
        m_observer(request);
}

std::vector<Request> State::Entries(bool connects) const
{
    const Guard guard(m_lock);
    std::vector<Request> entries;
    std::copy_if(m_log.begin(), m_log.end(), std::back_inserter(entries),
                 [connects](const Request& entry) { return entry.toProxy == connects; });
    return entries;
}

void State::ClearLog()
{
    const Guard guard(m_lock);
    m_log.clear();
}

void State::SetObserver(std::function<void(const Request&)> observer)
{
    const Guard guard(m_observerLock);
    m_observer = std::move(observer);
}

bool State::Stall()
{
    UniqueLock guard(m_lock);
    const std::uint64_t before = m_releases;
    ++m_stalled;
    m_changed.notify_all();
    m_changed.wait(guard, [&] { return m_stopping || m_releases != before; });
    --m_stalled;
    return !m_stopping;
}

bool State::Wait(std::chrono::milliseconds time)
{
    UniqueLock guard(m_lock);
    return !m_changed.wait_for(guard, time, [&] { return m_stopping; });
}

void State::Release()
{
    const Guard guard(m_lock);
    ++m_releases;
    m_changed.notify_all();
}

void State::Stop()
{
    const Guard guard(m_lock);
    m_stopping = true;
    m_changed.notify_all();
}

std::size_t State::CountRequests() const
{
    return static_cast<std::size_t>(
        std::count_if(m_log.begin(), m_log.end(), [](const Request& entry) { return !entry.toProxy; }));
}

bool State::WaitForRequests(std::size_t count, std::chrono::milliseconds limit) const
{
    UniqueLock guard(m_lock);
    return m_changed.wait_for(guard, limit, [&] { return CountRequests() >= count; });
}

bool State::WaitForStalls(std::size_t count, std::chrono::milliseconds limit) const
{
    UniqueLock guard(m_lock);
    return m_changed.wait_for(guard, limit, [&] { return m_stalled >= count; });
}

} // namespace loopback
