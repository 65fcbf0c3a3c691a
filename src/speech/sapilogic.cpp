// The tables and small rules behind the local engine. MIT licence.
#include "speech/sapilogic.h"

#include <wx/intl.h>

#include "common/logging.h"
#include "speech/tts_sapi.h"
#include "speech/ttstransformoptions.h"

namespace
{

struct SapiErrorText {
    DWORD code;
    const char* text;
};

const char kForkedProcess[] = wxTRANSLATE("A process made by fork() cannot go on with its parent's speech.");

const SapiErrorText kSapiErrorTexts[] = {
    {0x80045003, wxTRANSLATE("The caller has specified an unsupported format.")},
    {0x80045006, wxTRANSLATE("The wave device is busy.")},
    {0x80045007, wxTRANSLATE("The wave device is not supported.")},
    {0x80045042, wxTRANSLATE("The xml parser failed due to bad syntax.")},
    {0x80045059, wxTRANSLATE("The requested language is not supported.")},
    {0x80045088, wxTRANSLATE("The string is too long.")},
    {0x80045089, wxTRANSLATE("The string cannot be empty.")},
    {0x80045093, wxTRANSLATE("No given voice is found")},
    {0x8007139F, kForkedProcess},
};

struct SapiFailureKind {
    DWORD code;
    wxTTSFailureCategory category;
    const char* message;
};

const char kDeviceRefuses[] = wxTRANSLATE("The audio device does not open.");
const char kNoDevice[] = wxTRANSLATE("There is no audio device.");
const char kNoFile[] = wxTRANSLATE("The file cannot be read.");
const char kNoVoice[] = wxTRANSLATE("There is no voice for this text.");

const SapiFailureKind kSapiFailureKinds[] = {
    {0x80045006, wxTTS_FAILURE_DEVICE, kDeviceRefuses},
    {0x80045007, wxTTS_FAILURE_DEVICE, kNoDevice},
    {0x80045008, wxTTS_FAILURE_DEVICE, kDeviceRefuses}, // not enabled
    {0x80045009, wxTTS_FAILURE_DEVICE, kNoDevice},      // no driver
    {0x80070002, wxTTS_FAILURE_TEXT, kNoFile},
    {0x80070003, wxTTS_FAILURE_TEXT, kNoFile},
    {0x80070005, wxTTS_FAILURE_TEXT, kNoFile},
    {0x80045042, wxTTS_FAILURE_TEXT, wxTRANSLATE("The markup of the text is malformed.")},
    {0x80045089, wxTTS_FAILURE_TEXT, wxTRANSLATE("There is no text to speak.")},
    {0x80045088, wxTTS_FAILURE_TOO_LONG, wxTRANSLATE("The text is too long for the voice.")},
    {0x80045059, wxTTS_FAILURE_VOICE, kNoVoice},
    {0x80045093, wxTTS_FAILURE_VOICE, kNoVoice},
    {0x8007139F, wxTTS_FAILURE_OTHER, kForkedProcess},
};

constexpr DWORD kFacilityMask = 0x1FFF0000;
constexpr DWORD kAudioFacility = 0x08890000;

wxTTSFailure SapiFailure(wxTTSFailureCategory category, const wxString& message)
{
    wxTTSFailure failure;
    failure.category = category;
    failure.message = message;
    return failure;
}

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

wxTTSFailure qxSapiFailure(HRESULT hr, bool hasBegun, const wxString& outputFile)
{
    const DWORD code = static_cast<DWORD>(hr);
    const bool isAudio = (code & kFacilityMask) == kAudioFacility;
    if (hasBegun && (isAudio || hr == SPERR_DEVICE_BUSY))
        return SapiFailure(wxTTS_FAILURE_DEVICE, _("The audio device is no longer available."));
    for (const SapiFailureKind& kind : kSapiFailureKinds) {
        if (kind.code == code)
            return SapiFailure(kind.category, wxGetTranslation(kind.message));
    }
    if (isAudio)
        return SapiFailure(wxTTS_FAILURE_DEVICE, wxGetTranslation(kDeviceRefuses));
    if (hasBegun && !outputFile.empty())
        return qxUnwritable(outputFile);
    return SapiFailure(wxTTS_FAILURE_OTHER, wxString::Format(_("The speech system failed with code 0x%08x."), code));
}

wxTTSFailure qxUnwritable(const wxString& outputFile)
{
    return SapiFailure(wxTTS_FAILURE_STORAGE, wxString::Format(_("The file %s cannot be written."), outputFile));
}

wxString qxGetSAPIErrorDesc(HRESULT hr)
{
    if (SUCCEEDED(hr))
        return wxString();
    const long code = hr;
    QX_LOG("Cannot generate SAPI voice. Error Code: %ld", code);
    for (const SapiErrorText& item : kSapiErrorTexts) {
        if (item.code == static_cast<DWORD>(hr))
            return wxGetTranslation(item.text);
    }
    return wxString::Format(_("Cannot generate SAPI voice. Error Code: %ld"), code);
}
