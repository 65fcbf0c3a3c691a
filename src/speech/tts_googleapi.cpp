// Synthesis and voice list of the Google Cloud service. MIT licence.
#include "speech/tts_googleapi.h"

#include <wx/base64.h>
#include <wx/translation.h>

#include "common/logging.h"
#include "common/utils.h"
#include "core/qxtempfile.h"
#include "mediakit/mediaplayer.h"
#include "speech/cloudfailure.h"
#include "speech/cloudplayback.h"
#include "speech/cloudrequest.h"
#include "speech/cloudtext.h"
#include "speech/cloudvoices.h"
#include "speech/googlerequest.h"
#include "speech/outputfile.h"
#include "speech/qxtexttospeech.h"
#include "json/jsondocument.h"

wxIMPLEMENT_DYNAMIC_CLASS(wxTTSGoogleHandler, wxTTSHandler);

using qxspeech::CloudRequest;
using qxspeech::CloudResponse;
using qxspeech::FileAccess;

namespace
{

const char kGoogleId[] = "Google Cloud";
const char kHost[] = "https://texttospeech.googleapis.com";

CloudRequest SynthesisRequest(const wxString& key, const std::string& body)
{
    CloudRequest request;
    request.method = CloudRequest::Method::kPost;
    request.url = wxString(kHost) + "/v1/text:synthesize";
    request.headers = {{"X-Goog-Api-Key", key}, {"Content-Type", "application/json;charset=utf-8"}};
    request.body = body;
    return request;
}

void WriteFile(const wxString& path, FileAccess access, const wxMemoryBuffer& bytes)
{
    qxspeech::OutputFile file(path, access);
    file.Write(bytes.GetData(), bytes.GetDataLen());
    file.Close();
}

QXTTSVoiceInfo ReadGoogleVoice(const wxJSONValue& element)
{
    QXTTSVoiceInfo voice;
    voice.SetHandlerId(kGoogleId);
    voice.SetId(qxspeech::MemberText(element, "name"));
    voice.SetName(voice.GetId());
    voice.SetGender(qxspeech::MemberText(element, "ssmlGender"));
    const wxJSONValue code = qxspeech::Member(element, "languageCodes").ItemAt(0);
    if (code.IsValid())
        voice.SetLangCode(code.AsString());
    return voice;
}

} // namespace

struct QXSPEECH_HIDDEN wxTTSGoogleHandler::Record {
    Record() = default;
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;
    ~Record() { delete player; }

    MKMediaPlayer* const player = new MKMediaPlayer; // owned
    qxspeech::AudioFiles files;
    wxString text;                      // of the latest Speak
    std::vector<QXTTSVoiceInfo> voices; // in the service's order
};

wxTTSGoogleHandler::wxTTSGoogleHandler() : wxTTSHandler(kGoogleId, _("Google Cloud"))
{
    CreateCommonProperties(100, wxTTS_QUANTITY_NATIVE);
    m_record = new Record;
}

wxTTSGoogleHandler::~wxTTSGoogleHandler()
{
    delete m_record;
}

bool wxTTSGoogleHandler::Uninitialize()
{
    if (m_initialized)
        Stop();
    m_initialized = false;
    return true;
}

// An earlier speech may play on, and fail yet.
void wxTTSGoogleHandler::BeginSpeech()
{
    ClearFailure();
    if (IsSpeaking() || IsPaused())
        WatchPlaying();
}

void wxTTSGoogleHandler::WatchPlaying()
{
    SetFailureSource([player = m_record->player] { return qxspeech::PlayingFailure(*player); });
}

bool wxTTSGoogleHandler::Speak(const wxString& text, int options, const wxString& outputFile)
{
    BeginSpeech();
    m_record->text = text;
    if (!outputFile.empty())
        return GenerateWavFile(outputFile);
    if (m_record->files.current.empty())
        m_record->files.current = QXTempFileMan::CreateTempFile("wav");
    return GenerateWavFile(m_record->files.current) && PlayWavFile(text, false, options, outputFile);
}

bool wxTTSGoogleHandler::SpeakFile(const wxString& filename, int options, const wxString& outputFile)
{
    BeginSpeech();
    wxString text;
    if (!qxspeech::ReadSpeechFile(filename, text))
        return Fail(wxTTS_FAILURE_TEXT, wxGetTranslation(qxspeech::kCannotReadFile));
    return Speak(text, options, outputFile);
}

bool wxTTSGoogleHandler::PlayWavFile(const wxString&, bool, int, const wxString&)
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

// The service's message becomes the last error; false, which leaves that alone, if there is none.
bool wxTTSGoogleHandler::TakeRefusal(CloudResponse& response)
{
    const wxString message = ParseErrorMessage(response.ReadRefusal());
    const wxTTSFailure failure = RefusalFailure(response, message);
    SetFailure(failure);
    if (IsRedirect(response))
        m_lastError = failure.message;
    else if (!message.empty())
        m_lastError = GoogleErrorToMessage(response.GetStatus(), message);
    return IsRedirect(response) || !message.empty();
}

bool wxTTSGoogleHandler::GenerateWavFile(const wxString& path)
{
    try {
        const QXTTSVoiceInfo voice = GetVoice();
        const qxspeech::GoogleSpeech speech = {GetPropertyString("Input format"),
                                               m_record->text,
                                               voice.GetLangCode(),
                                               voice.GetId(),
                                               GetPitch(wxTTS_QUANTITY_NATIVE),
                                               GetSpeed(wxTTS_QUANTITY_PERCENT)};
        CloudResponse response = qxspeech::SendCloudRequest(
            SynthesisRequest(QXTextToSpeech::GetAuthInfo().googleApiKey, qxspeech::GoogleSpeechBody(speech)));
        if (!response.IsOk()) {
            if (TakeRefusal(response))
                QX_LOG("Google Text-to-Speech message: %s", m_lastError);
            return false;
        }
        const wxString body = response.ReadText(qxspeech::kSpeechTextLimit);
        const wxString message = ParseErrorMessage(body);
        if (!message.empty()) { // it may bring audio all the same
            m_lastError = GoogleErrorToMessage(response.GetStatus(), message);
            QX_LOG("Google Cloud Text-to-Speech message: %s", m_lastError);
        }
        const wxJSONValue answer = wxJSONDocument().Parse(body);
        if (!answer.IsValid()) {
            QX_LOG("Failed requests Google Cloud Text-to-Speech");
            return SetFailure(qxspeech::UnreadableFailure(response.GetPeer()));
        }
        TakeAudio(qxspeech::Member(answer, "audioContent"), path);
        return true;
    } catch (const std::exception& failure) {
        m_lastError = qxExceptionText(failure);
        QX_LOG("Error while getting Google Cloud speech: %s", m_lastError);
        return SetFailure(qxspeech::CaughtFailure(failure));
    }
}

// Without audio no file is written, and what plays next is what was written last.
void wxTTSGoogleHandler::TakeAudio(const wxJSONValue& audioContent, const wxString& path)
{
    const wxString base64 = audioContent.IsString() ? audioContent.AsString() : wxString();
    if (base64.empty())
        return;
    const wxScopedCharBuffer ascii = base64.ToAscii();
    const wxMemoryBuffer audio = wxBase64Decode(ascii, ascii.length(), wxBase64DecodeMode_Relaxed);
    if (audio.IsEmpty())
        QX_LOG("Google Cloud Text-to-Speech audio is no base64 text");
    qxspeech::WriteAudio(*m_record->player, path, m_record->files,
                         [&audio](const wxString& target, FileAccess access) { WriteFile(target, access, audio); });
}

bool wxTTSGoogleHandler::TestAuthentication(const QXTTSAuthInfo& authInfo)
{
    if (authInfo.googleApiKey.empty())
        return Fail(wxTTS_FAILURE_KEY, _("Invalid API Key"));
    try {
        CloudResponse response =
            qxspeech::SendCloudRequest(SynthesisRequest(authInfo.googleApiKey, qxspeech::GoogleTestBody()));
        if (response.IsOk())
            return true;
        if (!TakeRefusal(response))
            m_lastError = GoogleErrorToMessage(response.GetStatus(), wxString());
        QX_LOG("Google Text-to-Speech message: %s", m_lastError);
        return false;
    } catch (const std::exception& failure) {
        m_lastError = qxExceptionText(failure);
        QX_LOG("Error while getting Google speech: %s", m_lastError);
        return SetFailure(qxspeech::CaughtFailure(failure));
    }
}

bool wxTTSGoogleHandler::GetAllVoices(std::vector<QXTTSVoiceInfo>& voices)
{
    try {
        CloudRequest request;
        request.url = wxString(kHost) + "/v1/voices";
        request.headers = {{"X-Goog-Api-Key", QXTextToSpeech::GetAuthInfo().googleApiKey}};
        CloudResponse response = qxspeech::SendCloudRequest(request);
        if (!response.IsOk()) {
            if (TakeRefusal(response))
                QX_LOG("Google Text-to-Speech message: %s", m_lastError);
            return false;
        }
        const wxString body = response.ReadText(qxspeech::kVoicesLimit);
        const wxString message = ParseErrorMessage(body);
        if (!message.empty()) {
            m_lastError = GoogleErrorToMessage(response.GetStatus(), message);
            QX_LOG("Google Text-to-Speech message: %s", m_lastError);
        }
        TakeVoices(body, voices);
        return true;
    } catch (const std::exception& failure) {
        m_lastError = qxExceptionText(failure);
        QX_LOG("Error while getting Google voice list: %s", m_lastError);
        return SetFailure(qxspeech::CaughtFailure(failure));
    }
}

// An answer that cannot be read changes nothing; one without voices has none, and one that breaks off takes no list's
// place.
void wxTTSGoogleHandler::TakeVoices(const wxString& body, std::vector<QXTTSVoiceInfo>& voices)
{
    qxspeech::JsonAnswer answer;
    if (!answer.Parse(body).IsValid())
        return;
    std::vector<QXTTSVoiceInfo> fetched = qxspeech::ReadVoices(qxspeech::Member(answer, "voices"), ReadGoogleVoice);
    voices.insert(voices.end(), fetched.begin(), fetched.end());
    if (answer.IsWhole())
        m_record->voices.swap(fetched);
}

wxString wxTTSGoogleHandler::GoogleErrorToMessage(int status, const wxString& message)
{
    if (status == 403)
        return _("The request is missing a valid API key.");
    if (status != 400)
        return message;
    if (message == "Empty language code.")
        return _("Empty language code.");
    if (message == "Invalid input type. Type has to be text or SSML.")
        return _("Invalid input type. Type has to be text or SSML.");
    if (message == "Invalid encoding type.")
        return _("Invalid encoding type.");
    return _("Invalid API Key.");
}

bool wxTTSGoogleHandler::IsSpeaking() const
{
    return qxspeech::IsPlaying(*m_record->player);
}

bool wxTTSGoogleHandler::IsPaused() const
{
    return qxspeech::IsPlayingPaused(*m_record->player);
}

bool wxTTSGoogleHandler::Stop()
{
    return m_record->player->Stop();
}

bool wxTTSGoogleHandler::Pause()
{
    return m_record->player->Pause();
}

bool wxTTSGoogleHandler::Resume()
{
    return m_record->player->Resume();
}

bool wxTTSGoogleHandler::Skip(int, wxTTSSkipType)
{
    return true;
}

bool wxTTSGoogleHandler::HasCapability(wxTTSCapability capability) const
{
    switch (capability) {
    case wxTTS_CAP_SPEAK:
    case wxTTS_CAP_OUTPUT_WAV:
    case wxTTS_CAP_OUTPUT_FILE:
    case wxTTS_CAP_PITCH:
    case wxTTS_CAP_SPEED:
    case wxTTS_CAP_VOICES:
    case wxTTS_CAP_PAUSE:
        return true;
    default:
        return false;
    }
}

QXTTSVoiceInfo wxTTSGoogleHandler::GetDefaultVoice() const
{
    return qxspeech::FirstVoice(m_record->voices);
}

std::vector<QXTTSVoiceInfo> wxTTSGoogleHandler::GetAvailableVoices() const
{
    return std::vector<QXTTSVoiceInfo>();
}

wxArrayString wxTTSGoogleHandler::GetVoiceNames(const wxString& languageCode) const
{
    return qxspeech::NamesOfVoices(m_record->voices, languageCode);
}

wxString wxTTSGoogleHandler::GetDefaultVoiceVariant() const
{
    return "None";
}

int wxTTSGoogleHandler::GetMinSpeed() const
{
    return 25;
}

int wxTTSGoogleHandler::GetMaxSpeed() const
{
    return 400;
}

int wxTTSGoogleHandler::GetMinVolume() const
{
    return 0;
}

int wxTTSGoogleHandler::GetMaxVolume() const
{
    return 9;
}

int wxTTSGoogleHandler::GetMinPitch() const
{
    return -20;
}

int wxTTSGoogleHandler::GetMaxPitch() const
{
    return 20;
}
