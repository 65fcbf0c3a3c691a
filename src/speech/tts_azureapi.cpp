// Token, synthesis and voice list of the Azure service. MIT licence.
#include "speech/tts_azureapi.h"

#include <wx/translation.h>

#include "common/logging.h"
#include "common/timesource.h"
#include "common/utils.h"
#include "core/qxtempfile.h"
#include "mediakit/mediaplayer.h"
#include "speech/azureendpoints.h"
#include "speech/azuressml.h"
#include "speech/cloudfailure.h"
#include "speech/cloudplayback.h"
#include "speech/cloudrequest.h"
#include "speech/cloudtext.h"
#include "speech/cloudvoices.h"
#include "speech/qxtexttospeech.h"
#include "speech/requestlimit.h"
#include "json/jsondocument.h"

wxIMPLEMENT_DYNAMIC_CLASS(wxTTSAzureHandler, wxTTSHandler);

using qxspeech::CloudRequest;
using qxspeech::CloudResponse;

namespace
{

const char kAzureId[] = "Microsoft Azure";
constexpr std::uint32_t kTokenLifetimeMs = 540000;
const char kNotAuthorized[] = "The request is not authorized. Check to make sure your subscription key or token is "
                              "valid and in the correct region.";

// "" if the service says nothing.
wxString RefusalOf(CloudResponse& response)
{
    const wxString message = ParseErrorMessage(response.ReadRefusal());
    return message.empty() ? response.GetReason() : message;
}

// The service labels its token as a type that the HTTP library does not take for text.
bool IsLabelledToken(const CloudResponse& response)
{
    return response.GetHeader("Content-Type").BeforeFirst(';').Trim().Lower() == "application/jwt";
}

QXTTSVoiceInfo ReadAzureVoice(const wxJSONValue& element)
{
    QXTTSVoiceInfo voice;
    voice.SetHandlerId(kAzureId);
    voice.SetId(qxspeech::MemberText(element, "ShortName"));
    voice.SetName(voice.GetId());
    voice.SetLangCode(qxspeech::MemberText(element, "Locale"));
    voice.SetGender(qxspeech::MemberText(element, "Gender"));
    return voice;
}

} // namespace

struct QXSPEECH_HIDDEN wxTTSAzureHandler::Record {
    Record() = default;
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;
    ~Record() { delete player; }

    MKMediaPlayer* const player = new MKMediaPlayer; // owned
    qxspeech::AudioFiles files;
    wxString text; // of the latest Speak
    qxspeech::RequestTimes requestTimes;
    std::vector<QXTTSVoiceInfo> voices; // in the service's order
    // the token, with what it was asked for
    wxString accessToken;
    wxLongLong_t tokenExpiry = -1; // ticks in ms
    wxString tokenKey;
    wxString tokenRegion;
};

wxTTSAzureHandler::wxTTSAzureHandler() : wxTTSHandler(kAzureId, _("Microsoft Azure"))
{
    CreateCommonProperties();
    m_record = new Record;
}

wxTTSAzureHandler::~wxTTSAzureHandler()
{
    delete m_record;
}

bool wxTTSAzureHandler::Uninitialize()
{
    if (m_initialized)
        Stop();
    m_initialized = false;
    return true;
}

// An earlier speech may play on, and fail yet.
void wxTTSAzureHandler::BeginSpeech()
{
    ClearFailure();
    if (IsSpeaking() || IsPaused())
        WatchPlaying();
}

void wxTTSAzureHandler::WatchPlaying()
{
    SetFailureSource([player = m_record->player] { return qxspeech::PlayingFailure(*player); });
}

bool wxTTSAzureHandler::Speak(const wxString& text, int options, const wxString& outputFile)
{
    BeginSpeech();
    m_record->text = text;
    if (!outputFile.empty())
        return GenerateWavFile(outputFile);
    if (m_record->files.current.empty())
        m_record->files.current = QXTempFileMan::CreateTempFile("wav");
    return GenerateWavFile(m_record->files.current) && PlayWavFile(text, false, options, outputFile);
}

bool wxTTSAzureHandler::SpeakFile(const wxString& filename, int options, const wxString& outputFile)
{
    BeginSpeech();
    wxString text;
    if (!qxspeech::ReadSpeechFile(filename, text))
        return Fail(wxTTS_FAILURE_TEXT, wxGetTranslation(qxspeech::kCannotReadFile));
    return Speak(text, options, outputFile);
}

bool wxTTSAzureHandler::PlayWavFile(const wxString&, bool, int, const wxString&)
{
    if (IsSpeaking() || IsPaused())
        Stop();
    const wxString refused = qxspeech::PlayAudioFile(*m_record->player, m_record->files.current, GetPlayTail());
    if (!refused.empty()) {
        SetFailure(qxspeech::RefusedFailure(*m_record->player));
        return Fail(refused);
    }
    WatchPlaying();
    return true;
}

bool wxTTSAzureHandler::GenerateWavFile(const wxString& path)
{
    qxspeech::AwaitRequest(m_record->requestTimes);
    if (!RenewTokenIfExpired())
        return false;
    try {
        CloudRequest request;
        if (!MakeSpeechRequest(request))
            return false;
        CloudResponse response = qxspeech::SendCloudRequest(request);
        if (response.IsOk()) {
            qxspeech::WriteAudio(*m_record->player, path, m_record->files,
                                 [&response](const wxString& target, qxspeech::FileAccess access) {
                                     response.SaveToFile(target, access);
                                 });
            return true;
        }
        if (response.GetStatus() == 401)
            RenewAccessToken();
        return Refuse(response);
    } catch (const std::exception& failure) {
        m_lastError = qxExceptionText(failure);
        QX_LOG("Error while getting Microsoft Azure speech: %s", m_lastError);
        return SetFailure(qxspeech::CaughtFailure(failure));
    }
}

// False, with the last error set, if the text is no SSML or the region makes no address.
bool wxTTSAzureHandler::MakeSpeechRequest(CloudRequest& request)
{
    const wxString format = GetPropertyString("Input format");
    wxString body = m_record->text;
    if (format == "Text")
        body = qxspeech::AzureTextBody(body, GetVoice());
    else if (format == "SSML" && !MakeSsmlBody(body))
        return false;
    request.method = CloudRequest::Method::kPost;
    request.headers = {{"X-Microsoft-OutputFormat", "riff-48khz-16bit-mono-pcm"},
                       {"Content-Type", "application/ssml+xml"},
                       {"Authorization", "Bearer " + m_record->accessToken}};
    request.body = std::string(body.utf8_str());
    request.url = GetSpeechEndpoint(QXTextToSpeech::GetAuthInfo().azureRegion, m_lastError);
    return !request.url.empty() || SetFailure(qxspeech::RegionFailure());
}

bool wxTTSAzureHandler::MakeSsmlBody(wxString& body)
{
    const qxspeech::SsmlResult result = qxspeech::AzureSsmlBody(body, body);
    if (result == qxspeech::SsmlResult::kOk)
        return true;
    if (result == qxspeech::SsmlResult::kUnsaved)
        return Fail(wxTTS_FAILURE_TEXT, _("The SSML cannot be written."));
    QX_LOG("Invalid SSML format.");
    Fail(_("Invalid SSML format."));
    return SetFailure(wxTTS_FAILURE_TEXT, result == qxspeech::SsmlResult::kEntities
                                              ? _("The SSML declares entities of its own, which are not taken.")
                                              : m_lastError);
}

// A service that says nothing leaves the last error as it was; the failure's line in the log tells.
bool wxTTSAzureHandler::Refuse(CloudResponse& response)
{
    const wxString told = RefusalOf(response);
    const wxTTSFailure failure = RefusalFailure(response, told);
    if (IsRedirect(response))
        TellRefusal(failure.message);
    else if (!told.empty())
        TellRefusal(wxGetTranslation(told));
    return SetFailure(failure);
}

void wxTTSAzureHandler::TellRefusal(const wxString& message)
{
    QX_LOG("Azure Text-to-Speech message: %s", message);
    m_lastError = message;
}

wxString wxTTSAzureHandler::RequestAccessToken(const wxString& region, const wxString& key, wxLongLong_t* expiry)
{
    if (region.empty() || key.empty()) {
        QX_LOG("Invalid Microsoft Azure Region or Key.");
        Fail(wxTTS_FAILURE_KEY, _("Invalid Microsoft Azure Region or Key."));
        return wxString();
    }
    try {
        CloudRequest request;
        request.method = CloudRequest::Method::kPost;
        request.url = GetTokenEndpoint(region, m_lastError);
        if (request.url.empty()) {
            SetFailure(qxspeech::RegionFailure());
            return wxString();
        }
        request.headers = {{"Ocp-Apim-Subscription-Key", key}};
        CloudResponse response = qxspeech::SendCloudRequest(request);
        if (!response.IsOk()) {
            Refuse(response);
            return wxString();
        }
        const wxString token = response.ReadText(qxspeech::kShortTextLimit, IsLabelledToken(response));
        const bool isToken = !token.empty() && !wxJSONDocument().Parse(token).IsValid();
        if (!isToken)
            SetFailure(qxspeech::UnreadableFailure(response.GetPeer()));
        if (!isToken && !token.empty())
            return wxString();
        *expiry = static_cast<std::uint32_t>(qxspeech::TimeSource::Get().TickMs() + kTokenLifetimeMs);
        return token;
    } catch (const std::exception& failure) {
        m_lastError = qxExceptionText(failure);
        QX_LOG("Error while requesting access token from Azure server: %s", m_lastError);
        SetFailure(qxspeech::CaughtFailure(failure));
        return wxString();
    }
}

bool wxTTSAzureHandler::IsTokenExpired() const
{
    const QXTTSAuthInfo& info = QXTextToSpeech::GetAuthInfo();
    return m_record->accessToken.empty() || m_record->tokenRegion != info.azureRegion ||
           m_record->tokenKey != info.azureKey || qxspeech::TimeSource::Get().TickMs() > m_record->tokenExpiry;
}

void wxTTSAzureHandler::RenewAccessToken()
{
    const QXTTSAuthInfo info = QXTextToSpeech::GetAuthInfo();
    m_record->accessToken = RequestAccessToken(info.azureRegion, info.azureKey, &m_record->tokenExpiry);
    m_record->tokenRegion = info.azureRegion;
    m_record->tokenKey = info.azureKey;
}

bool wxTTSAzureHandler::RenewTokenIfExpired()
{
    if (IsTokenExpired())
        RenewAccessToken();
    if (!IsTokenExpired())
        return true;
    // The end of a new token's life may lie behind the wrap of the tick counter.
    return m_record->accessToken.empty() ? false : Fail(wxTTS_FAILURE_OTHER, _("The access token has expired."));
}

bool wxTTSAzureHandler::TestAuthentication(const QXTTSAuthInfo& authInfo)
{
    wxLongLong_t expiry = -1;
    return !RequestAccessToken(authInfo.azureRegion, authInfo.azureKey, &expiry).empty();
}

bool wxTTSAzureHandler::GetAllVoices(std::vector<QXTTSVoiceInfo>& voices)
{
    try {
        if (!RenewTokenIfExpired()) {
            TellRefusal(wxGetTranslation(kNotAuthorized));
            return false; // the record says why there is no token
        }
        CloudRequest request;
        request.url = GetVoiceListEndpoint(QXTextToSpeech::GetAuthInfo().azureRegion, m_lastError);
        if (request.url.empty())
            return SetFailure(qxspeech::RegionFailure());
        request.headers = {{"Authorization", "Bearer " + m_record->accessToken}};
        CloudResponse response = qxspeech::SendCloudRequest(request);
        if (response.GetStatus() == 401)
            RenewAccessToken();
        if (!response.IsOk())
            return Refuse(response);
        TakeVoices(response.ReadText(qxspeech::kVoicesLimit), voices);
        return true;
    } catch (const std::exception& failure) {
        m_lastError = qxExceptionText(failure);
        QX_LOG("Error while getting Microsoft Azure voice list: %s", m_lastError);
        return SetFailure(qxspeech::CaughtFailure(failure));
    }
}

// What is no list changes nothing, and what breaks off takes no list's place.
void wxTTSAzureHandler::TakeVoices(const wxString& body, std::vector<QXTTSVoiceInfo>& voices)
{
    qxspeech::JsonAnswer answer;
    if (!answer.Parse(body).IsArray())
        return;
    std::vector<QXTTSVoiceInfo> fetched = qxspeech::ReadVoices(answer, ReadAzureVoice);
    voices.insert(voices.end(), fetched.begin(), fetched.end());
    if (answer.IsWhole())
        m_record->voices.swap(fetched);
}

bool wxTTSAzureHandler::IsSpeaking() const
{
    return qxspeech::IsPlaying(*m_record->player);
}

bool wxTTSAzureHandler::IsPaused() const
{
    return qxspeech::IsPlayingPaused(*m_record->player);
}

bool wxTTSAzureHandler::Stop()
{
    return m_record->player->Stop();
}

bool wxTTSAzureHandler::Pause()
{
    return m_record->player->Pause();
}

bool wxTTSAzureHandler::Resume()
{
    return m_record->player->Resume();
}

bool wxTTSAzureHandler::Skip(int, wxTTSSkipType)
{
    return true;
}

bool wxTTSAzureHandler::HasCapability(wxTTSCapability capability) const
{
    switch (capability) {
    case wxTTS_CAP_SPEAK:
    case wxTTS_CAP_OUTPUT_WAV:
    case wxTTS_CAP_OUTPUT_FILE:
    case wxTTS_CAP_VOICES:
    case wxTTS_CAP_PAUSE:
        return true;
    default:
        return false;
    }
}

QXTTSVoiceInfo wxTTSAzureHandler::GetDefaultVoice() const
{
    return qxspeech::FirstVoice(m_record->voices);
}

std::vector<QXTTSVoiceInfo> wxTTSAzureHandler::GetAvailableVoices() const
{
    return std::vector<QXTTSVoiceInfo>();
}

wxArrayString wxTTSAzureHandler::GetVoiceNames(const wxString& languageCode) const
{
    return qxspeech::NamesOfVoices(m_record->voices, languageCode);
}

wxString wxTTSAzureHandler::GetDefaultVoiceVariant() const
{
    return "None";
}

int wxTTSAzureHandler::GetMinSpeed() const
{
    return 0;
}

int wxTTSAzureHandler::GetMaxSpeed() const
{
    return 4;
}

int wxTTSAzureHandler::GetMinVolume() const
{
    return 0;
}

int wxTTSAzureHandler::GetMaxVolume() const
{
    return 9;
}

int wxTTSAzureHandler::GetMinPitch() const
{
    return -20;
}

int wxTTSAzureHandler::GetMaxPitch() const
{
    return 20;
}

void wxTTSAzureHandler::SetPrevRequestTime(const std::list<wxLongLong>& times)
{
    m_record->requestTimes = qxspeech::LatestRequests(times);
}

std::list<wxLongLong> wxTTSAzureHandler::GetPrevRequestTime() const
{
    return m_record->requestTimes;
}
