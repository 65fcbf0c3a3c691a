// What option values mean: numbers, engine names, input forms, languages. Values in, values out. MIT licence.
#ifndef QXSPEECH_EXAMPLES_SAY_VALUES_H
#define QXSPEECH_EXAMPLES_SAY_VALUES_H

#include <wx/arrstr.h>
#include <wx/string.h>

namespace say
{

// A rate, pitch or volume as it was given: native, or percent of the engine's range.
struct Quantity {
    bool given = false;
    bool percent = false; // then 0 to 100
    int value = 0;
};

// "3", "-5", "+2", "60%". False for anything else, for percent outside 0 to 100 and for numbers that fit no int.
bool ParseQuantity(const wxString& text, Quantity& quantity);

// The engine id of a short name (sapi, local, polly, azure, google; case does not matter) or of an id in any case, if
// that id is among the registered ones; otherwise empty.
wxString FindEngineId(const wxString& name, const wxArrayString& registered);
// The short name of an engine id, or the id itself if it has none.
wxString ShortEngineName(const wxString& id);
// "sapi (Microsoft SAPI), ..." for messages.
wxString DescribeEngines(const wxArrayString& registered);

enum class InputForm { kText, kHtml, kSsml, kNative };

// "text", "html", "ssml", "native" in any case; false for anything else.
bool ParseInputForm(const wxString& name, InputForm& form);
// By the file's extension; text where it says nothing.
InputForm GuessInputForm(const wxString& filename);
// The library's value of the property "Input format".
wxString InputFormatProperty(InputForm form);

// "en-GB" for the locale "en_GB.UTF-8"; "en-US" for an empty one, C and POSIX.
wxString LanguageOfLocale(const wxString& locale);

// "en" takes "en", "en-US" and "en_GB"; "en-US" takes only itself. Case does not matter.
bool LanguageMatches(const wxString& code, const wxString& wanted);

} // namespace say

#endif
