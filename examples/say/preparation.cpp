// Everything that needs a file goes through temporary ones in UTF-8. MIT licence.
#include "preparation.h"

#include "../common/interrupt.h"
#include "console.h"
#include "exitstatus.h"
#include "htmltext.h"
#include "longspeech.h"
#include "temporaryfiles.h"
#include "textinput.h"

namespace say
{
namespace
{

std::string Utf8(const wxString& text)
{
    return std::string(text.utf8_str());
}

wxString ReadBack(const wxString& file)
{
    return wxString::FromUTF8(ReadFile(Utf8(file)));
}

} // namespace

Preparation::Preparation(const Options& options) : m_options(options)
{
    if (!options.dictionary.empty() && !options.noDictionary)
        LoadDictionary();
}

// By way of a copy: the path may be no Unicode text, and the file a pipe.
void Preparation::LoadDictionary()
{
    wxString name = wxString::FromUTF8(m_options.dictionary.c_str());
    if (name.empty())
        name = "the dictionary";
    const wxString copy = TemporaryFiles::MakeWith(ReadFile(m_options.dictionary));
    if (!m_transformer.LoadFile(copy))
        throw Failure{kExitFile, name + ": not a text file"};
    if (!HasUsableEntry())
        PrintError("warning: " + name + " has no usable entry; a line is WORD,REPLACEMENT");
}

// A key with a blank or a sign in it is never met in a text.
bool Preparation::HasUsableEntry()
{
    wxString ignored;
    for (const wxString& key : m_transformer.GetStrings())
        if (m_transformer.TransformString(key, ignored, 0))
            return true;
    return false;
}

InputForm Preparation::FormOf(const wxString& text) const
{
    return m_options.inputForm == InputForm::kHtml && !HasMarkup(text) ? InputForm::kText : m_options.inputForm;
}

bool Preparation::SimplifiesHere(InputForm form) const
{
    return m_options.simplifyPunctuation && (form == InputForm::kText || form == InputForm::kSsml);
}

Spoken Preparation::ForSpeech(const wxString& text)
{
    const InputForm form = FormOf(text);
    if (form == InputForm::kHtml && m_options.hasOutput && text.length() > kLongText)
        return {ForReading(text), false, InputForm::kText, true};
    if (form == InputForm::kHtml)
        return {HtmlToSapi(text), true, InputForm::kNative, true};
    if (m_options.simplifyPunctuation && form == InputForm::kNative)
        PrintError("warning: --simplify-punctuation leaves the engine's own markup as it is");
    const bool prepared = SimplifiesHere(form);
    const wxString words = prepared ? SimplifiedText(text) : text;
    if (form == InputForm::kText)
        return {ProtectPlainText(words), false, form, prepared};
    return {form == InputForm::kNative ? DeclareXml(words) : words, false, form, prepared};
}

Spoken Preparation::ForWebEngine(const wxString& text)
{
    const InputForm form = FormOf(text);
    if (form == InputForm::kText || form == InputForm::kHtml)
        return {ForReading(text).Trim(), false, InputForm::kText, true};
    if (m_options.simplifyPunctuation || (!m_options.dictionary.empty() && !m_options.noDictionary))
        PrintError("warning: markup goes to the service as it is, without --dict and --simplify-punctuation");
    return {text, false, InputForm::kSsml, true};
}

wxString Preparation::ForReading(const wxString& text)
{
    const InputForm form = FormOf(text);
    wxString words;
    if (form == InputForm::kHtml) {
        if (!TextOfSapi(ReadBack(HtmlToSapi(text)), words))
            throw Failure{kExitFile, "the converted text could not be stored (is the disk full?)"};
    } else if (SimplifiesHere(form)) {
        words = SimplifiedText(text);
    } else {
        m_transformer.TransformString(text, words, 0);
    }
    if (words.Strip(wxString::both).empty())
        throw Failure{kExitUsage, "nothing to say: the text is empty"};
    return words.EndsWith("\n") ? words : words + "\n";
}

// The dictionary's words are replaced in the text, where the names of tags are none of them.
wxString Preparation::HtmlToSapi(const wxString& html)
{
    const auto replaceWords = [this](const std::wstring& words) {
        wxString replaced;
        m_transformer.TransformString(words, replaced, 0);
        return replaced.ToStdWstring();
    };
    const wxString tidy = TidyHtml(html, m_options.noDictionary ? WordFilter() : replaceWords);
    const int headings = m_options.headings ? wxTTS_TRANSFORM_SPEAK_HEADINGS : 0;
    return Transform(tidy, wxTTS_TRANSFORM_HTML_TO_SAPI | wxTTS_TRANSFORM_SPEAK_LIST_NUMBERS | headings);
}

wxString Preparation::SimplifiedText(const wxString& text)
{
    return ReadBack(Transform(text, m_options.noDictionary ? 0 : wxTTS_TRANSFORM_SUBSTITUTE));
}

wxString Preparation::Transform(const wxString& text, int options)
{
    if (m_options.simplifyPunctuation)
        options |= wxTTS_TRANSFORM_SIMPLIFY_PUNCTUATION;
    const wxString input = TemporaryFiles::MakeWith(Utf8(text));
    const wxString output = TemporaryFiles::Make();
    if (!m_transformer.TransformFile(input, output, options))
        throw Failure{kExitFile, "the text could not be converted (is the disk full?)"};
    ThrowIfInterrupted();
    return output;
}

} // namespace say
