// The body of an answer between the HTTP library, which fills it, and the caller, who empties it. Private. MIT licence.
#ifndef QXSPEECH_SPEECH_ARRIVINGBODY_H
#define QXSPEECH_SPEECH_ARRIVINGBODY_H

#include <condition_variable>
#include <cpprest/producerconsumerstream.h>
#include <cstdint>
#include <exception>
#include <mutex>
#include <string>

namespace qxspeech
{

// How long a reader has waited, by TimeSource. The time that it works on what it has does not count, so that a slow
// disk is not taken for a slow host. Reader's thread only.
class TransferPace
{
public:
    enum class Verdict { kGood, kSilent, kTooSlow };

    void BeginWait();
    // Still waiting; arrived: all bytes of the body until now.
    Verdict Look(std::uint64_t arrived);

private:
    std::uint32_t m_lastLook = 0; // ticks in ms
    std::uint64_t m_silentMs = 0; // waited without a byte
    std::uint64_t m_windowMs = 0; // waited since the last whole window
    std::uint64_t m_lastArrived = 0;
    std::uint64_t m_windowStart = 0; // arrived when the window began
};

// Bounded: the HTTP library reads on from the host only when what it has put here is taken, but for a little. One
// reader; the HTTP library's threads put. Held by both sides, whichever goes last.
class ArrivingBody : public concurrency::streams::details::basic_producer_consumer_buffer<std::uint8_t>
{
public:
    ArrivingBody();

    // Blocks until there are bytes, and moves them out; 0 at the end. Throws what ended the body early. Anything but
    // kGood: the host was too slow, and nothing was taken.
    TransferPace::Verdict Take(std::string& bytes);
    // No more comes; null for a good end. Any thread.
    void End(const std::exception_ptr& failure);
    // Nobody reads any more: what the HTTP library puts is refused, which ends its work. Any thread.
    void Abandon();

protected:
    pplx::task<size_t> _putn(const std::uint8_t* bytes, size_t count) override;

private:
    TransferPace m_pace; // reader only
    std::mutex m_guard;  // guards everything below; nothing is called under it
    std::condition_variable m_changed;
    std::string m_bytes;
    std::uint64_t m_arrived = 0;
    bool m_holds = false; // a put waits for m_gate
    pplx::task_completion_event<size_t> m_gate;
    size_t m_heldCount = 0;
    bool m_ended = false;
    bool m_abandoned = false;
    std::exception_ptr m_failure;
};

} // namespace qxspeech

#endif
