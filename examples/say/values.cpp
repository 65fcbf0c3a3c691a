// Tables of names and small parsers. MIT licence.
#include "values.h"

#include <climits>
#include <wx/filename.h>

namespace say
{
namespace
{

struct EngineName {
    const char* shortName;
    const char* id;
};

// The first short name of an id is the one that is shown.
const EngineName kEngineNames[] = {
    {"sapi", "Microsoft SAPI"},   {"local", "Microsoft SAPI"}, {"polly", "Amazon Polly"},
    {"azure", "Microsoft Azure"}, {"google", "Google Cloud"},
};

struct FormName {
    const char* name;
    InputForm form;
    const char* property;
};

const FormName kFormNames[] = {
    {"text", InputForm::kText, "Text"},
    {"html", InputForm::kHtml, "HTML"},
    {"ssml", InputForm::kSsml, "SSML"},
    {"native", InputForm::kNative, "Native"},
};

struct ExtensionForm {
    const char* extension;
    InputForm form;
};

const ExtensionForm kExtensionForms[] = {
    {"html", InputForm::kHtml},  {"htm", InputForm::kHtml},  {"xhtml", InputForm::kHtml}, {"xht", InputForm::kHtml},
    {"shtml", InputForm::kHtml}, {"ssml", InputForm::kSsml}, {"xml", InputForm::kNative},
};

bool SameLanguageCharacter(wxUniChar a, wxUniChar b)
{
    const auto fold = [](wxUniChar c) -> wxUint32 {
        const wxUint32 value = c.GetValue();
        if (value == '_')
            return '-';
        return value >= 'A' && value <= 'Z' ? value - 'A' + 'a' : value;
    };
    return fold(a) == fold(b);
}

} // namespace

bool ParseQuantity(const wxString& text, Quantity& quantity)
{
    wxString digits;
    const bool percent = text.EndsWith("%", &digits);
    const wxString& number = percent ? digits : text;
    long value = 0;
    // ToLong takes leading blanks; an option's value has none.
    if (number.empty() || wxIsspace(number[0]) || !number.ToLong(&value, 10))
        return false;
    if (percent ? (value < 0 || value > 100) : (value < INT_MIN || value > INT_MAX))
        return false;
    quantity.given = true;
    quantity.percent = percent;
    quantity.value = static_cast<int>(value);
    return true;
}

wxString FindEngineId(const wxString& name, const wxArrayString& registered)
{
    wxString wanted = name;
    for (const EngineName& engine : kEngineNames)
        if (name.CmpNoCase(engine.shortName) == 0)
            wanted = engine.id;
    const int index = registered.Index(wanted, false);
    return index == wxNOT_FOUND ? wxString() : registered[static_cast<size_t>(index)];
}

wxString ShortEngineName(const wxString& id)
{
    for (const EngineName& engine : kEngineNames)
        if (id == engine.id)
            return engine.shortName;
    return id;
}

wxString DescribeEngines(const wxArrayString& registered)
{
    wxString text;
    for (const wxString& id : registered) {
        if (!text.empty())
            text += ", ";
        const wxString shortName = ShortEngineName(id);
        text += shortName == id ? id : shortName + " (" + id + ")";
    }
    return text;
}

bool ParseInputForm(const wxString& name, InputForm& form)
{
    for (const FormName& row : kFormNames) {
        if (name.CmpNoCase(row.name) == 0) {
            form = row.form;
            return true;
        }
    }
    return false;
}

InputForm GuessInputForm(const wxString& filename)
{
    wxString extension;
    wxFileName::SplitPath(filename, nullptr, nullptr, &extension);
    for (const ExtensionForm& row : kExtensionForms)
        if (extension.CmpNoCase(row.extension) == 0)
            return row.form;
    return InputForm::kText;
}

wxString InputFormatProperty(InputForm form)
{
    for (const FormName& row : kFormNames)
        if (row.form == form)
            return row.property;
    return "Text";
}

wxString LanguageOfLocale(const wxString& locale)
{
    wxString language = locale.substr(0, locale.find_first_of(".@"));
    language.Replace("_", "-");
    return language.empty() || language == "C" || language == "POSIX" ? wxString("en-US") : language;
}

bool LanguageMatches(const wxString& code, const wxString& wanted)
{
    if (wanted.empty() || code.length() < wanted.length())
        return false;
    wxString::const_iterator at = code.begin();
    for (const wxUniChar c : wanted) {
        if (!SameLanguageCharacter(*at, c))
            return false;
        ++at;
    }
    return at == code.end() || *at == '-' || *at == '_';
}

} // namespace say
