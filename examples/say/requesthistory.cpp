// Reading and storing take a lock, so that no run's entries are lost. MIT licence.
#include "requesthistory.h"

#include <algorithm>
#include <iterator>
#include <wx/time.h>

#include "userfiles.h"

namespace say
{
namespace
{

constexpr std::int64_t kMinuteMs = 60000;
constexpr size_t kMaxPerMinute = 19;
constexpr size_t kMaxDigits = 15;

std::string HistoryFile()
{
    const std::string folder = StateFolder();
    return folder.empty() ? folder : folder + "/requests";
}

// More than a minute old, an entry no longer counts. One of the future is the doing of a clock that was set back.
bool Counts(std::int64_t time, std::int64_t nowMs)
{
    return time <= nowMs && nowMs - time <= kMinuteMs;
}

bool ParseTime(const std::string& digits, std::int64_t& time)
{
    if (digits.empty() || digits.size() > kMaxDigits || digits.find_first_not_of("0123456789") != std::string::npos)
        return false;
    time = std::stoll(digits);
    return true;
}

} // namespace

RequestTimes ParseRequests(const std::string& text, std::int64_t nowMs)
{
    RequestTimes times;
    if (text.size() < 2 || text.back() != '\n')
        return times;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find(';', at), text.size() - 1);
        std::int64_t time = 0;
        if (!ParseTime(text.substr(at, end - at), time))
            return {};
        if (Counts(time, nowMs))
            times.push_back(time);
        at = end + 1;
    }
    std::sort(times.begin(), times.end());
    return times;
}

std::string RequestText(const RequestTimes& times)
{
    std::string text;
    for (const std::int64_t time : times)
        text += (text.empty() ? "" : ";") + std::to_string(time);
    return text + "\n";
}

RequestTimes MergeRequests(const RequestTimes& stored, const RequestTimes& before, const RequestTimes& now,
                           std::int64_t nowMs)
{
    RequestTimes fresh;
    std::set_difference(now.begin(), now.end(), before.begin(), before.end(), std::back_inserter(fresh));
    RequestTimes all;
    std::merge(stored.begin(), stored.end(), fresh.begin(), fresh.end(), std::back_inserter(all));
    all.erase(std::remove_if(all.begin(), all.end(), [nowMs](std::int64_t time) { return !Counts(time, nowMs); }),
              all.end());
    return all;
}

std::int64_t NextFreeRequest(const RequestTimes& times, std::int64_t nowMs)
{
    if (times.size() < kMaxPerMinute)
        return 0;
    const std::int64_t free = times[times.size() - kMaxPerMinute] + kMinuteMs + 1;
    return free > nowMs ? free : 0;
}

RequestTimes LoadRequests()
{
    const std::string file = HistoryFile();
    return file.empty() ? RequestTimes() : ParseRequests(ReadUserFile(file), NowMs());
}

void StoreRequests(const RequestTimes& before, const RequestTimes& now)
{
    const std::string file = HistoryFile();
    if (file.empty())
        return;
    const UserLock lock(file + ".lock");
    const std::int64_t nowMs = NowMs();
    ReplaceUserFile(file, RequestText(MergeRequests(ParseRequests(ReadUserFile(file), nowMs), before, now, nowMs)));
}

RequestTimes FromList(const std::list<wxLongLong>& list)
{
    RequestTimes times;
    for (const wxLongLong& time : list)
        times.push_back(time.GetValue());
    std::sort(times.begin(), times.end());
    return times;
}

std::int64_t NowMs()
{
    return wxGetUTCTimeMillis().GetValue();
}

} // namespace say
