// Back-pressure, and the patience with a slow host. MIT licence.
#include "speech/arrivingbody.h"

#include <chrono>
#include <stdexcept>

#include "common/timesource.h"

namespace qxspeech
{
namespace
{

constexpr size_t kHeldBytes = 256 * 1024; // from here on a put waits
constexpr std::chrono::milliseconds kLookInterval(100);
// A little more than the 30 s after which the HTTP library gives up by itself, with words of its own.
constexpr std::uint64_t kSilenceMs = 31000;
constexpr std::uint64_t kWindowMs = 60000;
constexpr std::uint64_t kWindowBytes = 1024;

} // namespace

void TransferPace::BeginWait()
{
    m_lastLook = TimeSource::Get().TickMs();
    m_silentMs = 0;
}

TransferPace::Verdict TransferPace::Look(std::uint64_t arrived)
{
    const std::uint32_t now = TimeSource::Get().TickMs();
    const std::uint32_t waited = now - m_lastLook; // right over the wrap
    m_lastLook = now;
    m_silentMs = arrived == m_lastArrived ? m_silentMs + waited : 0;
    m_lastArrived = arrived;
    if (m_silentMs >= kSilenceMs)
        return Verdict::kSilent;
    m_windowMs += waited;
    if (m_windowMs < kWindowMs)
        return Verdict::kGood;
    const bool isTooSlow = arrived - m_windowStart < kWindowBytes;
    m_windowMs = 0;
    m_windowStart = arrived;
    return isTooSlow ? Verdict::kTooSlow : Verdict::kGood;
}

ArrivingBody::ArrivingBody() : basic_producer_consumer_buffer(kHeldBytes) {}

TransferPace::Verdict ArrivingBody::Take(std::string& bytes)
{
    bytes.clear();
    pplx::task_completion_event<size_t> gate;
    size_t heldCount = 0;
    {
        std::unique_lock<std::mutex> hold(m_guard);
        m_pace.BeginWait();
        for (;;) {
            const TransferPace::Verdict verdict = m_pace.Look(m_arrived);
            if (!m_bytes.empty() || m_ended)
                break;
            if (verdict != TransferPace::Verdict::kGood)
                return verdict;
            m_changed.wait_for(hold, kLookInterval);
        }
        if (m_bytes.empty() && m_failure)
            std::rethrow_exception(m_failure);
        bytes.swap(m_bytes);
        if (!m_holds)
            return TransferPace::Verdict::kGood;
        m_holds = false;
        gate = m_gate;
        heldCount = m_heldCount;
    }
    gate.set(heldCount);
    return TransferPace::Verdict::kGood;
}

void ArrivingBody::End(const std::exception_ptr& failure)
{
    const std::lock_guard<std::mutex> hold(m_guard);
    m_ended = true;
    m_failure = failure;
    m_changed.notify_all();
}

void ArrivingBody::Abandon()
{
    pplx::task_completion_event<size_t> gate;
    {
        const std::lock_guard<std::mutex> hold(m_guard);
        m_abandoned = true;
        m_bytes.clear();
        if (!m_holds)
            return;
        m_holds = false;
        gate = m_gate;
    }
    gate.set_exception(std::runtime_error("nobody reads this body"));
}

pplx::task<size_t> ArrivingBody::_putn(const std::uint8_t* bytes, size_t count)
{
    const std::lock_guard<std::mutex> hold(m_guard);
    if (m_abandoned)
        return pplx::task_from_exception<size_t>(std::runtime_error("nobody reads this body"));
    m_bytes.append(reinterpret_cast<const char*>(bytes), count);
    m_arrived += count;
    m_changed.notify_all();
    if (m_bytes.size() < kHeldBytes)
        return pplx::task_from_result(count);
    m_holds = true;
    m_heldCount = count;
    m_gate = pplx::task_completion_event<size_t>();
    return pplx::create_task(m_gate);
}

} // namespace qxspeech
