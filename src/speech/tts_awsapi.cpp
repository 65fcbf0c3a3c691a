// Requests to Amazon Polly and what is made of its answers. MIT licence.
#include "speech/tts_awsapi.h"

#include <wx/intl.h>

#include "common/logging.h"
#include "common/utils.h"
#include "core/qxtempfile.h"
#include "mediakit/mediaplayer.h"
#include "speech/awssigner.h"
#include "speech/cloudfailure.h"
#include "speech/cloudplayback.h"
#include "speech/cloudrequest.h"
#include "speech/cloudtext.h"
#include "speech/cloudvoices.h"
#include "speech/qxtexttospeech.h"
#include "json/jsonwriter.h"

wxIMPLEMENT_DYNAMIC_CLASS(wxTTSAWSHandler, wxTTSHandler);

using qxspeech::CloudRequest;
using qxspeech::CloudResponse;
using qxspeech::FileAccess;

namespace
{

const char kPollyId[] = "Amazon Polly";
const char kContentType[] = "application/json";
constexpr int kMinRate = 0;
constexpr int kMaxRate = 9;

struct ErrorText {
    const char* type;
    const char* text;
    wxTTSFailureCategory category;
};

const ErrorText kErrorTexts[] = {
    {"UnrecognizedClientException", wxTRANSLATE("The Access Key is invalid."), wxTTS_FAILURE_KEY},
    {"InvalidSignatureException", wxTRANSLATE("The Secret Key is invalid."), wxTTS_FAILURE_KEY},
    {"EngineNotSupportedException",
     wxTRANSLATE("This engine is not compatible with the voice that you have designated. Choose a new voice that is "
                 "compatible with the engine or change the engine and restart the operation."),
     wxTTS_FAILURE_VOICE},
    {"InvalidSampleRateException", wxTRANSLATE("The specified sample rate is not valid."), wxTTS_FAILURE_OTHER},
    {"InvalidSsmlException",
     wxTRANSLATE("The SSML you provided is invalid. Verify the SSML syntax, spelling of tags and values, and then try "
                 "again."),
     wxTTS_FAILURE_TEXT},
    {"LanguageNotSupportedException",
     wxTRANSLATE("The language specified is not currently supported by Amazon Polly in this capacity."),
     wxTTS_FAILURE_VOICE},
    {"LexiconNotFoundException",
     wxTRANSLATE("Amazon Polly can't find the specified lexicon. This could be caused by a lexicon that is missing, "
                 "its name is misspelled or specifying a lexicon that is in a different region."),
     wxTTS_FAILURE_OTHER},
    {"MarksNotSupportedForFormatException",
     wxTRANSLATE("Speech marks are not supported for the OutputFormat selected. Speech marks are only available for "
                 "content in json format."),
     wxTTS_FAILURE_OTHER},
    {"ServiceFailureException", wxTRANSLATE("An unknown condition has caused a service failure."), wxTTS_FAILURE_OTHER},
    {"SsmlMarksNotSupportedForTextTypeException",
     wxTRANSLATE("SSML speech marks are not supported for plain text-type input."), wxTTS_FAILURE_TEXT},
    {"TextLengthExceededException",
     wxTRANSLATE("Maximum text length has been exceeded. Maximum number of characters is 3000."),
     wxTTS_FAILURE_TOO_LONG},
    {"InvalidNextTokenException",
     wxTRANSLATE("The NextToken is invalid. Verify that it's spelled correctly, and then try again."),
     wxTTS_FAILURE_OTHER},
};

// Types that are told by their name.
const struct {
    const char* type;
    wxTTSFailureCategory category;
} kUntranslatedTypes[] = {
    {"AccessDeniedException", wxTTS_FAILURE_KEY},        {"ExpiredTokenException", wxTTS_FAILURE_KEY},
    {"IncompleteSignatureException", wxTTS_FAILURE_KEY}, {"MissingAuthenticationTokenException", wxTTS_FAILURE_KEY},
    {"LimitExceededException", wxTTS_FAILURE_QUOTA},     {"ServiceQuotaExceededException", wxTTS_FAILURE_QUOTA},
    {"ThrottlingException", wxTTS_FAILURE_THROTTLED},    {"TooManyRequestsException", wxTTS_FAILURE_THROTTLED},
};

AWSRequestInfo MakeInfo(const QXTTSAuthInfo& authInfo, const char* method, const char* uri)
{
    AWSRequestInfo info;
    info.accessKey = authInfo.awsAccessKey;
    info.secretKey = authInfo.awsSecretKey;
    info.region = authInfo.awsRegion;
    info.method = method;
    info.canonicalUri = uri;
    return info;
}

// None for a type that is not known.
wxTTSFailureCategory CategoryOf(const wxString& type)
{
    for (const ErrorText& error : kErrorTexts) {
        if (type == error.type)
            return error.category;
    }
    for (const auto& row : kUntranslatedTypes) {
        if (type == row.type)
            return row.category;
    }
    return wxTTS_FAILURE_NONE;
}

// A region that makes another host of the address is told as an address that is none.
CloudRequest MakeRequest(const AWSRequestInfo& info)
{
    CloudRequest request;
    request.url = CreateRequestUrl(info);
    if (!qxspeech::IsRegion(info.region))
        throw qxspeech::CloudFailure("provided uri is invalid: " + std::string(request.url.utf8_str()),
                                     qxspeech::RegionFailure());
    return request;
}

CloudResponse RequestSpeech(const AWSSpeechParams& params)
{
    AWSRequestInfo info = MakeInfo(QXTextToSpeech::GetAuthInfo(), "POST", "/v1/speech");
    info.contentType = kContentType;
    info.payload = wxTTSAWSHandler::CreateRequestBody(params);
    const wxString payloadHash = qxSHA256Hex(info.payload);
    const wxString authorization = qxspeech::CreateAuthorization(info, payloadHash);
    CloudRequest request = MakeRequest(info);
    request.method = CloudRequest::Method::kPost;
    request.headers = {{"Content-Type", kContentType},
                       {"X-Amz-Content-Sha256", payloadHash},
                       {"X-Amz-Date", info.amzDate},
                       {"Authorization", authorization}};
    request.body = std::string(info.payload.utf8_str());
    return SendCloudRequest(request);
}

CloudResponse RequestVoices(const QXTTSAuthInfo& authInfo)
{
    AWSRequestInfo info = MakeInfo(authInfo, "GET", "/v1/voices");
    const wxString authorization = CreateAuthorization(info);
    CloudRequest request = MakeRequest(info);
    request.headers = {{"X-Amz-Date", info.amzDate}, {"Authorization", authorization}};
    return SendCloudRequest(request);
}

wxString ErrorType(const CloudResponse& response)
{
    const wxString header = response.GetHeader("x-amzn-ErrorType");
    const size_t colon = header.find(':');
    const bool hasTail = colon != wxString::npos && colon > 0;
    return hasTail ? header.substr(0, colon) : header;
}

// Some of the services behind one name write it large.
wxString ServiceMessage(const wxString& body)
{
    const wxJSONValue answer = wxJSONDocument().Parse(body);
    const wxString message = qxspeech::MemberText(answer, "message");
    return message.empty() ? qxspeech::MemberText(answer, "Message") : message;
}

wxString TextMember(const wxJSONValue& object, const wxString& key)
{
    const wxJSONValue* const member = object.FindMember(key);
    return member ? member->AsString() : wxString();
}

QXTTSVoiceInfo DescribeVoice(const wxJSONValue& members, const wxString& engine)
{
    QXTTSVoiceInfo voice;
    voice.SetHandlerId(kPollyId);
    voice.SetId(TextMember(members, "Id"));
    voice.SetName(wxString::Format("%s - %s - %s", TextMember(members, "Name"), TextMember(members, "LanguageName"),
                                   engine.Capitalize()));
    voice.SetLangCode(TextMember(members, "LanguageCode"));
    voice.SetLangName(TextMember(members, "LanguageName"));
    voice.SetGender(TextMember(members, "Gender"));
    voice.SetEngine(engine);
    return voice;
}

// A voice without engines cannot be asked for.
void AppendVoice(const wxJSONValue& voice, std::vector<QXTTSVoiceInfo>& voices)
{
    const wxJSONValue* const engines = voice.FindMember("SupportedEngines");
    for (int i = 0; engines && i < engines->Size(); ++i)
        voices.push_back(DescribeVoice(voice, engines->ItemAt(static_cast<unsigned>(i)).AsString()));
}

} // namespace

wxTTSAWSHandler::wxTTSAWSHandler() : wxTTSHandler(kPollyId, wxGetTranslation(kPollyId)), m_player(nullptr)
{
    CreateCommonProperties();
    m_player = new MKMediaPlayer;
}

wxTTSAWSHandler::~wxTTSAWSHandler()
{
    delete m_player;
    DeleteTempFile();
}

bool wxTTSAWSHandler::Initialize()
{
    m_initialized = true;
    return true;
}

bool wxTTSAWSHandler::Uninitialize()
{
    if (m_initialized)
        Stop();
    m_initialized = false;
    return true;
}

bool wxTTSAWSHandler::Speak(const wxString& text, int options, const wxString& outputFile)
{
    return DoSpeak(text, false, options, outputFile);
}

bool wxTTSAWSHandler::SpeakFile(const wxString& filename, int options, const wxString& outputFile)
{
    return DoSpeak(filename, true, options, outputFile);
}

bool wxTTSAWSHandler::DoSpeak(const wxString& text, bool isFile, int options, const wxString& outputFile)
{
    Stop();
    ClearFailure();
    m_options = options;
    AWSSpeechParams params;
    params.Text = text;
    if (isFile && !qxspeech::ReadSpeechFile(text, params.Text))
        return Fail(wxTTS_FAILURE_TEXT, wxGetTranslation(qxspeech::kCannotReadFile));
    m_ownFile = outputFile.empty() ? QXTempFileMan::CreateTempFile("mp3") : wxString();
    const wxString target = outputFile.empty() ? m_ownFile : outputFile;
    if (target.empty())
        return Fail(wxTTS_FAILURE_STORAGE, _("No temporary file can be made."));
    const QXTTSVoiceInfo voice = GetVoice();
    params.Engine = voice.GetEngine();
    params.LanguageCode = voice.GetLangCode();
    params.OutputFormat = "mp3";
    params.TextType = GetPropertyString("Input format") == "SSML" ? "ssml" : "text";
    params.VoiceId = voice.GetId();
    if (!GetSpeech(params, target))
        return false;
    return !outputFile.empty() || PlayFile(target);
}

wxString wxTTSAWSHandler::CreateRequestBody(const AWSSpeechParams& params)
{
    wxString text = params.Text;
    text.Replace(wxString(wxUniChar(0xA0)), " ");
    text.Replace(wxString(wxUniChar(0x1D)), "");
    text.Trim(true).Trim(false);
    if (params.TextType == "ssml" && text.find("<speak") == wxString::npos)
        text = "<speak>" + text + "</speak>";
    wxJSONValue body(wxJSONTYPE_OBJECT);
    body["Engine"] = params.Engine;
    body["LanguageCode"] = params.LanguageCode;
    body["OutputFormat"] = params.OutputFormat;
    if (!params.SampleRate.empty())
        body["SampleRate"] = params.SampleRate;
    body["Text"] = text;
    body["TextType"] = params.TextType;
    body["VoiceId"] = params.VoiceId;
    wxString written;
    wxJSONWriter(0, 0, 3).Write(body, written);
    return written;
}

wxString wxTTSAWSHandler::ErrorTypeToMessage(const wxString& type)
{
    for (const ErrorText& error : kErrorTexts) {
        if (type == error.type)
            return wxGetTranslation(error.text);
    }
    return type;
}

// The service says no; the body, which names no credentials, goes to the log.
bool wxTTSAWSHandler::Refuse(CloudResponse& response)
{
    const wxString type = ErrorType(response);
    const wxString body = response.ReadRefusal();
    QX_LOG("%s", body);
    const wxTTSFailure failure = RefusalFailure(response, ServiceMessage(body), CategoryOf(type));
    m_lastError = IsRedirect(response) ? failure.message : ErrorTypeToMessage(type);
    return SetFailure(failure);
}

bool wxTTSAWSHandler::GetSpeech(const AWSSpeechParams& params, const wxString& path)
{
    try {
        CloudResponse response = RequestSpeech(params);
        if (!response.IsOk())
            return Refuse(response);
        response.SaveToFile(path, path == m_ownFile ? FileAccess::kOwner : FileAccess::kUsual);
        return true;
    } catch (const std::exception& failure) {
        Fail(qxExceptionText(failure));
        QX_LOG("Error while getting AMZ speech: %s", m_lastError);
        return SetFailure(qxspeech::CaughtFailure(failure));
    }
}

bool wxTTSAWSHandler::TestAuthentication(const QXTTSAuthInfo& authInfo)
{
    try {
        CloudResponse response = RequestVoices(authInfo);
        return response.IsOk() || Refuse(response);
    } catch (const std::exception& failure) {
        Fail(qxExceptionText(failure));
        QX_LOG("Error while testing AMZ authentication: %s", m_lastError);
        return SetFailure(qxspeech::CaughtFailure(failure));
    }
}

bool wxTTSAWSHandler::GetAllVoices(std::vector<QXTTSVoiceInfo>& voices)
{
    try {
        CloudResponse response = RequestVoices(QXTextToSpeech::GetAuthInfo());
        if (!response.IsOk())
            return Refuse(response);
        TakeVoices(response.ReadText(qxspeech::kVoicesLimit), voices);
        return true;
    } catch (const std::exception& failure) {
        Fail(qxExceptionText(failure));
        QX_LOG("Error while getting AMZ voice list: %s", m_lastError);
        return SetFailure(qxspeech::CaughtFailure(failure));
    }
}

// What goes wrong in the middle brings what stands before it, but does not take the place of a whole list.
void wxTTSAWSHandler::TakeVoices(const wxString& body, std::vector<QXTTSVoiceInfo>& voices)
{
    qxspeech::JsonAnswer answer;
    answer.Parse(body);
    std::vector<QXTTSVoiceInfo> fetched;
    const wxJSONValue* const list = answer.FindMember("Voices");
    for (int i = 0; list && i < list->Size(); ++i)
        AppendVoice(list->ItemAt(static_cast<unsigned>(i)), fetched);
    voices.insert(voices.end(), fetched.begin(), fetched.end());
    if (answer.IsWhole())
        m_voices.swap(fetched);
}

bool wxTTSAWSHandler::PlayFile(const wxString& path)
{
    const wxString refused = qxspeech::PlayAudioFile(*m_player, path, GetPlayTail());
    if (!refused.empty()) {
        SetFailure(qxspeech::RefusedFailure(*m_player));
        return Fail(refused);
    }
    SetFailureSource([player = m_player] { return qxspeech::PlayingFailure(*player); });
    return true;
}

bool wxTTSAWSHandler::IsSpeaking() const
{
    return qxspeech::IsPlaying(*m_player);
}

bool wxTTSAWSHandler::IsPaused() const
{
    return qxspeech::IsPlayingPaused(*m_player);
}

bool wxTTSAWSHandler::Stop()
{
    m_player->Close();
    return true;
}

bool wxTTSAWSHandler::Pause()
{
    return m_player->Pause();
}

bool wxTTSAWSHandler::Resume()
{
    return m_player->Resume();
}

bool wxTTSAWSHandler::Skip(int, wxTTSSkipType)
{
    return true;
}

bool wxTTSAWSHandler::HasCapability(wxTTSCapability capability) const
{
    switch (capability) {
    case wxTTS_CAP_SPEAK:
    case wxTTS_CAP_OUTPUT_FILE:
    case wxTTS_CAP_VOICES:
    case wxTTS_CAP_PAUSE:
        return true;
    default:
        return false;
    }
}

QXTTSVoiceInfo wxTTSAWSHandler::GetDefaultVoice() const
{
    return m_voices.empty() ? QXTTSVoiceInfo() : m_voices.front();
}

std::vector<QXTTSVoiceInfo> wxTTSAWSHandler::GetAvailableVoices() const
{
    return {};
}

wxString wxTTSAWSHandler::GetDefaultVoiceVariant() const
{
    return "None";
}

int wxTTSAWSHandler::GetMinSpeed() const
{
    return kMinRate;
}

int wxTTSAWSHandler::GetMaxSpeed() const
{
    return kMaxRate;
}

int wxTTSAWSHandler::GetMinVolume() const
{
    return kMinRate;
}

int wxTTSAWSHandler::GetMaxVolume() const
{
    return kMaxRate;
}

int wxTTSAWSHandler::GetMinPitch() const
{
    return kMinRate;
}

int wxTTSAWSHandler::GetMaxPitch() const
{
    return kMaxRate;
}
