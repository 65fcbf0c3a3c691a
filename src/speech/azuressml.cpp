// Text and documents as SSML. MIT licence.
#include "speech/azuressml.h"

#include <cwchar>
#include <string>
#include <wx/log.h>
#include <wx/sstream.h>
#include <wx/xml/xml.h>

#include "speech/ttsvoiceinfo.h"

namespace qxspeech
{
namespace
{

// The document's nodes are written and deleted by recursion.
constexpr std::size_t kMaxDepth = 500;

const struct {
    const char* name;
    const char* value;
} kSpeakAttributes[] = {
    {"version", "1.0"},
    {"xmlns", "http://www.w3.org/2001/10/synthesis"},
    {"xml:lang", "en-US"},
};

bool StartsWith(const std::wstring& text, std::size_t at, const wchar_t* mark)
{
    return text.compare(at, std::wcslen(mark), mark) == 0;
}

// npos if the mark does not follow.
std::size_t Behind(const std::wstring& text, std::size_t at, const wchar_t* mark)
{
    const std::size_t found = text.find(mark, at);
    return found == std::wstring::npos ? found : found + std::wcslen(mark);
}

std::size_t BehindTag(const std::wstring& text, std::size_t at)
{
    wchar_t quote = 0;
    for (; at < text.size(); ++at) {
        const wchar_t c = text[at];
        if (quote == 0 && c == L'>')
            return at + 1;
        if (quote == c)
            quote = 0;
        else if (quote == 0 && (c == L'"' || c == L'\''))
            quote = c;
    }
    return std::wstring::npos;
}

// What keeps the document from the parser, up to where the text stops being XML: elements deeper than that, entities.
SsmlResult Check(const std::wstring& text)
{
    std::size_t depth = 0;
    for (std::size_t at = text.find(L'<'); at != std::wstring::npos; at = text.find(L'<', at)) {
        if (StartsWith(text, at, L"<!--")) {
            at = Behind(text, at + 4, L"-->");
        } else if (StartsWith(text, at, L"<![CDATA[")) {
            at = Behind(text, at, L"]]>");
        } else if (StartsWith(text, at, L"<?")) {
            at = Behind(text, at, L"?>");
        } else if (StartsWith(text, at, L"<!ENTITY")) {
            return SsmlResult::kEntities;
        } else if (StartsWith(text, at, L"<!")) {
            at += 2;
        } else if (StartsWith(text, at, L"</")) {
            depth -= depth > 0 ? 1 : 0;
            at += 2;
        } else {
            at = BehindTag(text, at);
            if (at != std::wstring::npos && text[at - 2] != L'/' && ++depth > kMaxDepth)
                return SsmlResult::kInvalid;
        }
        if (at == std::wstring::npos)
            break;
    }
    return SsmlResult::kOk;
}

void CompleteSpeak(wxXmlNode& speak)
{
    for (const auto& attribute : kSpeakAttributes) {
        if (!speak.HasAttribute(attribute.name))
            speak.AddAttribute(attribute.name, attribute.value);
    }
}

void MakeSpeakTheRoot(wxXmlDocument& document)
{
    if (document.GetRoot()->GetName() != "speak") {
        wxXmlNode* const speak = new wxXmlNode(wxXML_ELEMENT_NODE, "speak");
        speak->AddChild(document.DetachRoot());
        document.SetRoot(speak);
    }
    CompleteSpeak(*document.GetRoot());
}

// The line end behind the declaration stays.
void DropDeclaration(wxString& text)
{
    if (!text.StartsWith("<?xml"))
        return;
    const std::size_t end = text.find("?>\n");
    if (end != wxString::npos)
        text.erase(0, end + 2);
}

// The encoding that a declaration names is of bytes that are gone.
wxString WithoutDeclaration(const wxString& document)
{
    const wxString text = document.StartsWith(wxString(wxUniChar(0xFEFF))) ? document.substr(1) : document;
    const bool isDeclared = text.StartsWith("<?xml") && text.length() > 5 && wxString(" \t\r\n").Contains(text[5]);
    const std::size_t end = isDeclared ? text.find("?>") : wxString::npos;
    return end == wxString::npos ? document : text.substr(end + 2);
}

} // namespace

wxString AzureTextBody(const wxString& text, const QXTTSVoiceInfo& voice)
{
    wxString escaped = text;
    escaped.Replace(wxUniChar(0xA0), " ");
    escaped.Replace(wxUniChar(0x1D), "");
    escaped.Replace("&", "&amp;"); // before those that bring more of it
    escaped.Replace("<", "&lt;");
    escaped.Replace(">", "&gt;");
    escaped.Replace("'", "&apos;");
    escaped.Replace("\"", "&quot;");
    return wxString::Format("<speak version='1.0' xml:lang='%s'><voice xml:lang='%s' xml:gender='%s' name='%s'>",
                            voice.GetLangCode(), voice.GetLangCode(), voice.GetGender(), voice.GetId()) +
           escaped + "</voice></speak>";
}

SsmlResult AzureSsmlBody(const wxString& document, wxString& body)
{
    const wxLogNull noLog; // the parser tells its errors there
    const SsmlResult checked = Check(document.ToStdWstring());
    if (checked != SsmlResult::kOk)
        return checked;
    wxXmlDocument xml;
    wxStringInputStream input(WithoutDeclaration(document));
    if (!xml.Load(input, "UTF-8") || !xml.GetRoot())
        return SsmlResult::kInvalid;
    MakeSpeakTheRoot(xml);
    wxString saved;
    wxStringOutputStream output(&saved, wxConvUTF8);
    if (!xml.Save(output, 2))
        return SsmlResult::kUnsaved;
    DropDeclaration(saved);
    body = saved;
    return SsmlResult::kOk;
}

} // namespace qxspeech
