// The tables and small rules behind the local engine. MIT licence.
#include "speech/sapilogic.h"

#include <wx/intl.h>

#include "common/logging.h"
#include "speech/tts_sapi.h"
#include "speech/ttstransformoptions.h"

namespace
{

struct ErrorText {
    DWORD code;
    const char* text;
};

const ErrorText kErrorTexts[] = {
    {0x80045003, wxTRANSLATE("The caller has specified an unsupported format.")},
    {0x80045006, wxTRANSLATE("The wave device is busy.")},
    {0x80045007, wxTRANSLATE("The wave device is not supported.")},
    {0x80045042, wxTRANSLATE("The xml parser failed due to bad syntax.")},
    {0x80045059, wxTRANSLATE("The requested language is not supported.")},
    {0x80045088, wxTRANSLATE("The string is too long.")},
    {0x80045089, wxTRANSLATE("The string cannot be empty.")},
    {0x80045093, wxTRANSLATE("No given voice is found")},
};

constexpr HRESULT kInvalidTokenId = static_cast<HRESULT>(0x80045041u);

// The value of a hexadecimal digit, -1 for any other character.
int HexDigit(wxUniChar c)
{
    if (c >= '0' && c <= '9')
        return static_cast<int>(c.GetValue() - '0');
    if (c >= 'a' && c <= 'f')
        return static_cast<int>(c.GetValue() - 'a') + 10;
    if (c >= 'A' && c <= 'F')
        return static_cast<int>(c.GetValue() - 'A') + 10;
    return -1;
}

} // namespace

int qxSapiTransformerOptions(const wxString& inputFormat)
{
    if (inputFormat == "HTML")
        return wxTTS_TRANSFORM_HTML_TO_SAPI | wxTTS_TRANSFORM_SPEAK_LIST_NUMBERS;
    if (inputFormat == "Native")
        return wxTTS_TRANSFORM_NATIVE;
    if (inputFormat == "SSML")
        return wxTTS_TRANSFORM_HTML_TO_SAPI | wxTTS_TRANSFORM_SPEAK_LIST_NUMBERS;
    return wxTTS_TRANSFORM_TEXT_TO_SAPI;
}

DWORD qxSapiSpeakFlags(int options, bool isFile, bool isXml)
{
    DWORD flags = SPF_PURGEBEFORESPEAK;
    if (options & (wxTTS_SPEAK_ASYNC | wxTTS_SPEAK_WAIT))
        flags |= SPF_ASYNC;
    if (isXml)
        flags |= SPF_IS_XML;
    if (isFile)
        flags |= SPF_IS_FILENAME;
    return flags;
}

SPVPRIORITY qxSapiPriority(long priority)
{
    switch (priority) {
    case 1:
        return SPVPRI_ALERT;
    case 2:
        return SPVPRI_OVER;
    default:
        return SPVPRI_NORMAL;
    }
}

wxString qxWrapSsml(const wxString& text, const wxString& language)
{
    wxString stripped = text;
    stripped.Trim(false);
    if (stripped.Find("<speak") != wxNOT_FOUND)
        return stripped;
    return "<speak version=\"1.0\" xmlns:ssml=\"http://www.w3.org/2001/10/synthesis\" " +
           wxString::Format("xml:lang=\"%s\">", language) + stripped + "</speak>";
}

HRESULT qxParseSapiLanguage(const wxString& value, DWORD& language)
{
    const size_t separator = value.find(';');
    const wxString digits = separator <= 4 ? value.Left(separator) : value;
    if (digits.empty() || digits.length() > 8)
        return kInvalidTokenId;
    DWORD id = 0;
    for (const wxUniChar c : digits) {
        const int digit = HexDigit(c);
        if (digit < 0)
            return kInvalidTokenId;
        id = id * 16 + static_cast<DWORD>(digit);
    }
    language = id;
    return S_OK;
}

bool qxSplitTokenId(const wxString& id, HKEY& root, wxString& key)
{
    const size_t backslash = id.find('\\');
    if (backslash == wxString::npos)
        return false;
    const wxString rootName = id.Left(backslash);
    if (rootName == "HKEY_LOCAL_MACHINE")
        root = HKEY_LOCAL_MACHINE;
    else if (rootName == "HKEY_CURRENT_USER")
        root = HKEY_CURRENT_USER;
    else
        return false;
    key = id.Mid(backslash + 1);
    return true;
}

wxString qxGetSAPIErrorDesc(HRESULT hr)
{
    if (SUCCEEDED(hr))
        return wxString();
    const long code = hr;
    QX_LOG("Cannot generate SAPI voice. Error Code: %ld", code);
    for (const ErrorText& item : kErrorTexts) {
        if (item.code == static_cast<DWORD>(hr))
            return wxGetTranslation(item.text);
    }
    return wxString::Format(_("Cannot generate SAPI voice. Error Code: %ld"), code);
}
