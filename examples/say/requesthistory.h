// Times of the requests of the last minute, kept between runs for the service that limits them. MIT licence.
#ifndef QXSPEECH_EXAMPLES_SAY_REQUESTHISTORY_H
#define QXSPEECH_EXAMPLES_SAY_REQUESTHISTORY_H

#include <cstdint>
#include <list>
#include <string>
#include <vector>
#include <wx/longlong.h>
#include <wx/string.h>

namespace say
{

// Milliseconds since the epoch, UTC, oldest first.
using RequestTimes = std::vector<std::int64_t>;

// Numbers joined by ";" as QXTextToSpeech has them, and a line end. Anything else makes a broken text, which gives no
// times; so do times that are not of the minute before now.
RequestTimes ParseRequests(const std::string& text, std::int64_t nowMs);
std::string RequestText(const RequestTimes& times);

// What is stored, with the entries of now that are not in before, sorted and of the last minute alone: another run may
// have stored its own meanwhile.
RequestTimes MergeRequests(const RequestTimes& stored, const RequestTimes& before, const RequestTimes& now,
                           std::int64_t nowMs);

// When the service takes one more request, in ms since the epoch; 0: at once.
std::int64_t NextFreeRequest(const RequestTimes& times, std::int64_t nowMs);

// Of the user's state folder; without one there is no history. Store ignores what cannot be written.
RequestTimes LoadRequests();
void StoreRequests(const RequestTimes& before, const RequestTimes& now);

RequestTimes FromList(const std::list<wxLongLong>& times);
std::int64_t NowMs();

} // namespace say

#endif
