// Digits are read one by one: no locale, no sign, no exponent. MIT licence.
#include "times.h"

#include <algorithm>
#include <wx/tokenzr.h>

namespace play
{
namespace
{

constexpr int64_t kSecond = 1000000;
constexpr int64_t kLongest = 1000 * 3600;

// Whole seconds, minutes or hours.
bool ReadNumber(const wxString& digits, int64_t& value)
{
    value = 0;
    for (const wxUniChar c : digits) {
        if (c < '0' || c > '9' || value > kLongest)
            return false;
        value = value * 10 + static_cast<int64_t>(c.GetValue() - '0');
    }
    return !digits.empty();
}

// The digits behind the point, as microseconds; those behind the sixth count for nothing.
bool ReadFraction(const wxString& digits, int64_t& value)
{
    value = 0;
    int64_t unit = kSecond / 10;
    for (const wxUniChar c : digits) {
        if (c < '0' || c > '9')
            return false;
        value += unit * static_cast<int64_t>(c.GetValue() - '0');
        unit /= 10;
    }
    return true;
}

} // namespace

bool ParseTime(const wxString& text, int64_t& microseconds)
{
    int64_t fraction = 0;
    if (text.EndsWith(".") || !ReadFraction(text.AfterFirst('.'), fraction))
        return false;
    const wxArrayString parts = wxStringTokenize(text.BeforeFirst('.'), ":", wxTOKEN_RET_EMPTY_ALL);
    if (parts.empty() || parts.size() > 3)
        return false;
    int64_t seconds = 0;
    for (size_t i = 0; i < parts.size(); ++i) {
        int64_t value = 0;
        if (!ReadNumber(parts[i], value) || (i > 0 && value >= 60))
            return false;
        seconds = seconds * 60 + value;
    }
    if (seconds > kLongest)
        return false;
    microseconds = seconds * kSecond + fraction;
    return true;
}

wxString FormatTime(int64_t microseconds)
{
    const int64_t tenths = std::max<int64_t>(microseconds, 0) / (kSecond / 10);
    const long long hours = tenths / 36000;
    const int minutes = static_cast<int>(tenths / 600 % 60);
    const int seconds = static_cast<int>(tenths / 10 % 60);
    const int tenth = static_cast<int>(tenths % 10);
    if (hours > 0)
        return wxString::Format("%lld:%02d:%02d.%d", hours, minutes, seconds, tenth);
    return wxString::Format("%d:%02d.%d", minutes, seconds, tenth);
}

} // namespace play
