// Windows language ids and language tags. MIT licence.
#ifndef QXSPEECH_PLATFORM_LANGUAGES_H
#define QXSPEECH_PLATFORM_LANGUAGES_H

#include <string>
#include <windows.h>

namespace qxplatform
{

// The id of a language tag in any case ("en-us", "de", "cmn-latn-pinyin"). Variants and private parts are left out. A
// bare language has the id of its usual region ("de" that of "de-DE"). A tag that Windows has no id for gets one from
// the user range, the same in every process for the synthesizer's own languages. 0 for text that is no language tag.
// Any thread.
LANGID LanguageIdOfTag(const std::string& tag);

// The name of an id that Windows knows or LanguageIdOfTag gave ("en-US", "cmn-Latn"), else empty. Any thread.
std::wstring LanguageName(LANGID language);

// An id as the voices' "Language" attribute writes it: lower-case hexadecimal, no prefix.
std::wstring LanguageHex(LANGID language);

// The language of the first of these environment variables that is not empty: LC_ALL, LC_MESSAGES, LANG. "en-US" if it
// names none ("C", "POSIX", unknown).
LANGID EnvironmentLanguage();

} // namespace qxplatform

#endif
