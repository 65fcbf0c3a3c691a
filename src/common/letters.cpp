// Letters by a private locale object that is made once and never freed. MIT licence.
#include "common/letters.h"

#include <algorithm>
#include <clocale>
#include <cwctype>

namespace
{

#if defined(_WIN32)
using Locale = _locale_t;

Locale Unicode()
{
    static const Locale locale = _create_locale(LC_CTYPE, ".UTF-8");
    return locale;
}

bool IsWideAlpha(wchar_t ch)
{
    return _iswalpha_l(ch, Unicode()) != 0;
}
bool IsWideDigit(wchar_t ch)
{
    return _iswdigit_l(ch, Unicode()) != 0;
}
bool IsWideAlnum(wchar_t ch)
{
    return _iswalnum_l(ch, Unicode()) != 0;
}
wchar_t WideLower(wchar_t ch)
{
    return static_cast<wchar_t>(_towlower_l(ch, Unicode()));
}
#else
// A system without the first two knows at least the last, which has ASCII letters only.
locale_t MakeLocale()
{
    for (const char* const name : {"C.UTF-8", "en_US.UTF-8"})
        if (const locale_t locale = newlocale(LC_CTYPE_MASK, name, nullptr))
            return locale;
    return newlocale(LC_CTYPE_MASK, "C", nullptr);
}

locale_t Unicode()
{
    static const locale_t locale = MakeLocale();
    return locale;
}

bool IsWideAlpha(wchar_t ch)
{
    return iswalpha_l(static_cast<wint_t>(ch), Unicode()) != 0;
}
bool IsWideDigit(wchar_t ch)
{
    return iswdigit_l(static_cast<wint_t>(ch), Unicode()) != 0;
}
bool IsWideAlnum(wchar_t ch)
{
    return iswalnum_l(static_cast<wint_t>(ch), Unicode()) != 0;
}
wchar_t WideLower(wchar_t ch)
{
    return static_cast<wchar_t>(towlower_l(static_cast<wint_t>(ch), Unicode()));
}
#endif

bool IsAscii(wchar_t ch)
{
    return static_cast<unsigned long>(ch) < 0x80;
}
bool IsAsciiAlpha(wchar_t ch)
{
    return (ch >= L'a' && ch <= L'z') || (ch >= L'A' && ch <= L'Z');
}
bool IsAsciiDigit(wchar_t ch)
{
    return ch >= L'0' && ch <= L'9';
}

} // namespace

bool qxIsAlpha(wchar_t ch)
{
    return IsAscii(ch) ? IsAsciiAlpha(ch) : IsWideAlpha(ch);
}

bool qxIsDigit(wchar_t ch)
{
    return IsAscii(ch) ? IsAsciiDigit(ch) : IsWideDigit(ch);
}

bool qxIsAlnum(wchar_t ch)
{
    return IsAscii(ch) ? IsAsciiAlpha(ch) || IsAsciiDigit(ch) : IsWideAlnum(ch);
}

wchar_t qxToLower(wchar_t ch)
{
    if (IsAscii(ch))
        return ch >= L'A' && ch <= L'Z' ? static_cast<wchar_t>(ch + (L'a' - L'A')) : ch;
    return WideLower(ch);
}

wxString qxLower(const wxString& text)
{
    std::wstring lower(text.wc_str(), text.length());
    std::transform(lower.begin(), lower.end(), lower.begin(), qxToLower);
    return lower;
}

bool qxSameNoCase(const wxString& left, const wxString& right)
{
    return left.length() == right.length() && qxSameNoCase(left.wc_str(), right.wc_str(), left.length());
}

bool qxSameNoCase(const wchar_t* left, const wchar_t* right, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        if (left[i] != right[i] && qxToLower(left[i]) != qxToLower(right[i]))
            return false;
    return true;
}
