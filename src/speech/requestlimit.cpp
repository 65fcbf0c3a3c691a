// Waiting for a request's turn. MIT licence.
#include "speech/requestlimit.h"

#include <iterator>

#include "common/timesource.h"

namespace qxspeech
{
namespace
{
constexpr std::int64_t kWindowMs = 60000;
constexpr unsigned long kPollMs = 100;
} // namespace

RequestTimes LatestRequests(const RequestTimes& times)
{
    const std::size_t dropped = times.size() > kMaxRequestsPerMinute ? times.size() - kMaxRequestsPerMinute : 0;
    return RequestTimes(std::next(times.begin(), static_cast<std::ptrdiff_t>(dropped)), times.end());
}

void AwaitRequest(RequestTimes& times)
{
    TimeSource& clock = TimeSource::Get();
    const std::uint32_t start = clock.TickMs();
    while (times.size() >= kMaxRequestsPerMinute) {
        const std::uint32_t waited = clock.TickMs() - start; // right over the wrap
        if (clock.UtcMs() - times.front().GetValue() > kWindowMs || waited >= kWindowMs) {
            times.pop_front();
            break;
        }
        clock.SleepMs(kPollMs);
    }
    times.push_back(clock.UtcMs());
}

} // namespace qxspeech
