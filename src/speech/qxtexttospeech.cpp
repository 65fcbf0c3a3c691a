// The process-wide instance and the statics around it. MIT licence.
#include "speech/qxtexttospeech.h"

#include <cpprest/base_uri.h>
#include <exception>
#include <wx/tokenzr.h>

#include "speech/tts_awsapi.h"
#include "speech/tts_azureapi.h"
#include "speech/tts_googleapi.h"
#include "speech/tts_sapi.h"

template class QXSingleton<QXTextToSpeech>;

QXTTSAuthInfo QXTextToSpeech::m_sAuthInfo;
QXProxySettings* QXTextToSpeech::m_sProxySettings = nullptr;
std::list<wxLongLong> QXTextToSpeech::m_sRequestTime;
wxString (*QXTextToSpeech::m_sTempFileFunc)(const wxString&) = nullptr;

namespace
{

// The value as it is if it cannot be encoded; the request then fails with its own message.
wxString EncodeForQuery(const wxString& value)
{
    try {
        const std::string utf8(value.utf8_str());
        const utility::string_t encoded =
            web::uri::encode_uri(utility::conversions::to_string_t(utf8), web::uri::components::query);
        return wxString::FromUTF8(utility::conversions::to_utf8string(encoded));
    } catch (const std::exception&) {
        return value;
    }
}

} // namespace

// The order in which a host sees the engines. The local one is current from the start, even if it did not start.
QXTextToSpeech::QXTextToSpeech()
{
    wxTTSHandler* const local = new wxTTSSapiHandler;
    RegisterEngine(local);
    RegisterEngine(new wxTTSAWSHandler);
    RegisterEngine(new wxTTSGoogleHandler);
    wxTTSHandler* const azure = new wxTTSAzureHandler;
    azure->SetPrevRequestTime(m_sRequestTime); // the service counts requests across instances
    RegisterEngine(azure);
    m_engine.SetCurrentHandler(local);
}

QXTextToSpeech::~QXTextToSpeech() {}

// An engine that does not start is registered all the same: it says so when it is selected.
void QXTextToSpeech::RegisterEngine(wxTTSHandler* handler)
{
    handler->Initialize();
    m_engine.AddHandler(handler);
}

void QXTextToSpeech::SetAuthInfo(const QXTTSAuthInfo& authInfo)
{
    m_sAuthInfo = authInfo;
    m_sAuthInfo.awsRegion = EncodeForQuery(authInfo.awsRegion);
    m_sAuthInfo.azureRegion = EncodeForQuery(authInfo.azureRegion);
}

void QXTextToSpeech::SetPrevRequestTime(const std::list<wxLongLong>& times)
{
    if (&times != &m_sRequestTime)
        m_sRequestTime = times;
}

void QXTextToSpeech::SetPrevRequestTime(const wxString& times)
{
    wxStringTokenizer tokens(times, ";");
    while (tokens.HasMoreTokens()) {
        wxLongLong_t value = 0;
        if (tokens.GetNextToken().ToLongLong(&value, 10))
            m_sRequestTime.push_back(wxLongLong(value));
    }
}

wxString QXTextToSpeech::GetPrevRequestTime()
{
    wxString text;
    for (const wxLongLong& time : m_sRequestTime) {
        if (!text.empty())
            text += ';';
        text += time.ToString();
    }
    return text;
}

wxString QXTextToSpeech::CreateTempFile(const wxString& prefix)
{
    return m_sTempFileFunc ? m_sTempFileFunc(prefix) : wxString();
}
