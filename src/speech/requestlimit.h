// How many requests a service takes within a minute. Private. MIT licence.
#ifndef QXSPEECH_SPEECH_REQUESTLIMIT_H
#define QXSPEECH_SPEECH_REQUESTLIMIT_H

#include <list>
#include <wx/longlong.h>

namespace qxspeech
{

// Times of requests, oldest first, in milliseconds since the epoch, UTC.
using RequestTimes = std::list<wxLongLong>;

constexpr std::size_t kMaxRequestsPerMinute = 19;

// The last kMaxRequestsPerMinute of them, whatever their dates.
RequestTimes LatestRequests(const RequestTimes& times);

// Blocks while the list is full, until its oldest entry is more than a minute old, which is then removed; a minute of
// waiting is enough, whatever the dates say: the wall clock may have been set. Appends the present time.
void AwaitRequest(RequestTimes& times);

} // namespace qxspeech

#endif
