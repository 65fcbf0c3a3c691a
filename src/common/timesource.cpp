// The system's clocks. MIT licence.
#include "common/timesource.h"

#include <windows.h>

#include <mmsystem.h>
#include <wx/longlong.h>
#include <wx/time.h>
#include <wx/utils.h>

namespace qxspeech
{
namespace
{
TimeSource* replacement = nullptr; // not owned
}

TimeSource& TimeSource::Get()
{
    static TimeSource* const system = new TimeSource; // never destroyed: engines may live until the exit handlers
    return replacement ? *replacement : *system;
}

void TimeSource::Set(TimeSource* source)
{
    replacement = source;
}

std::uint32_t TimeSource::TickMs()
{
    return timeGetTime();
}

std::int64_t TimeSource::UtcMs()
{
    return wxGetUTCTimeMillis().GetValue();
}

void TimeSource::SleepMs(unsigned long milliseconds)
{
    wxMilliSleep(milliseconds);
}

} // namespace qxspeech
