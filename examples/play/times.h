// Times as text. Values in, values out. MIT licence.
#ifndef QXSPEECH_EXAMPLES_PLAY_TIMES_H
#define QXSPEECH_EXAMPLES_PLAY_TIMES_H

#include <cstdint>
#include <wx/string.h>

namespace play
{

// "90", "1.5", "1:30", "1:02:03.5" to microseconds, at most 1000 hours. False for anything else; the result is then
// left as it was. Behind a colon minutes and seconds stay below 60.
bool ParseTime(const wxString& text, int64_t& microseconds);

// "0:03.2", "12:00.0", "1:02:03.5"; below 0 reads as 0, and tenths are cut, not rounded.
wxString FormatTime(int64_t microseconds);

} // namespace play

#endif
