// Calls on one voice of the system, and the state that follows from its notices. MIT licence.
#include "speech/tts_sapi.h"

#include <wx/app.h>
#include <wx/intl.h>

#include "speech/cloudtext.h"
#include "speech/sapilogic.h"
#include "speech/sapitoken.h"
#include "speech/texttospeech.h"
#include "speech/ttsfilework.h"
#include "speech/ttstransformer.h"

wxIMPLEMENT_DYNAMIC_CLASS(wxTTSSapiHandler, wxTTSHandler);

namespace
{

const char kSapiId[] = "Microsoft SAPI";
const char kWebSite[] = "https://learn.microsoft.com/en-us/previous-versions/windows/desktop/ms723627(v=vs.85)";
const WCHAR kVoicesPath[] = L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Speech\\Voices";
constexpr ULONG kPollMs = 10;

// 16 kHz, 16 bits, mono; in COM memory, null if there is none.
WAVEFORMATEX* NewOutputFormat()
{
    WAVEFORMATEX* const format = static_cast<WAVEFORMATEX*>(CoTaskMemAlloc(sizeof(WAVEFORMATEX)));
    if (format)
        *format = {WAVE_FORMAT_PCM, 1, 16000, 32000, 2, 16, 0};
    return format;
}

void FreeEventParameter(const SPEVENT& event)
{
    switch (event.elParamType) {
    case SPET_LPARAM_IS_TOKEN:
    case SPET_LPARAM_IS_OBJECT:
        if (event.lParam)
            reinterpret_cast<IUnknown*>(event.lParam)->Release();
        break;
    case SPET_LPARAM_IS_POINTER:
    case SPET_LPARAM_IS_STRING:
        CoTaskMemFree(reinterpret_cast<void*>(event.lParam));
        break;
    default:
        break;
    }
}

} // namespace

// A speech to a file, from its speak call until the file is closed.
struct QXSPEECH_HIDDEN wxTTSSapiHandler::Output {
    Output() = default;
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    ~Output()
    {
        ReleaseStream();
        CoTaskMemFree(waveFormat);
        if (previousOutput)
            previousOutput->Release();
    }
    void ReleaseStream()
    {
        if (stream)
            stream->Release();
        stream = nullptr;
    }

    ISpStream* stream = nullptr;               // owned; null if the file could not be bound
    ISpStreamFormat* previousOutput = nullptr; // owned; where the voice spoke to before
    GUID formatId = {};
    WAVEFORMATEX* waveFormat = nullptr; // owned, COM memory
};

struct QXSPEECH_HIDDEN wxTTSSapiHandler::Engine {
    explicit Engine(wxTTSSapiHandler* handler) : owner(handler) {}
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;
    ~Engine()
    {
        delete output;
        ReleaseVoice();
    }
    void ReleaseVoice()
    {
        if (voice)
            voice->Release();
        voice = nullptr;
    }
    // Gives the voice its former output back, which completes the file.
    void CloseOutput();
    void TakeEvents();
    // The voice has come to the end of its speech: was it before its time?
    void NoteEnd();
    bool ChooseVoice(const wxString& name);
    bool BindOutput(const wxString& outputFile);
    static void WINAPI OnNotice(WPARAM, LPARAM handler)
    {
        reinterpret_cast<wxTTSSapiHandler*>(handler)->m_engine->TakeEvents();
    }

    wxTTSSapiHandler* const owner; // has this object
    ISpVoice* voice = nullptr;     // owned; null until Initialize succeeds
    bool systemMissing = false;    // as the last Initialize found it
    Output* output = nullptr;      // owned; present while speech goes to a file
    bool writingToFile = false;
    wxString boundFile;    // where the last speech goes, also when the handler has let go of it; empty: the device
    bool speaking = false; // from a speak call until the notice of its end
    int pauseCount = 0;    // Pause calls not yet answered by Resume
    wxString defaultVoiceName;
    wxString lastVoiceName; // the name last chosen by a speak call, also if its token failed
    bool lastVoiceWorks = false;
    // the installed voices, in parallel: description, token id, locale name
    wxArrayString voiceNames;
    wxArrayString voiceTokenIds;
    wxArrayString voiceLanguages;
};

void wxTTSSapiHandler::Engine::CloseOutput()
{
    if (output) {
        output->ReleaseStream();
        if (voice)
            voice->SetOutput(output->previousOutput, FALSE);
        delete output;
        output = nullptr;
    }
    writingToFile = false;
}

void wxTTSSapiHandler::Engine::TakeEvents()
{
    SPEVENT event = {};
    while (voice && voice->GetEvents(1, &event, nullptr) == S_OK) {
        if (event.eEventId == SPEI_END_INPUT_STREAM) {
            speaking = false;
            pauseCount = 0;
            NoteEnd();
        }
        FreeEventParameter(event);
        event = {};
    }
}

void wxTTSSapiHandler::Engine::NoteEnd()
{
    if (output && !output->stream)
        return; // told already
    SPVOICESTATUS status = {};
    if (!voice || FAILED(voice->GetStatus(&status, nullptr)) || SUCCEEDED(status.hrLastResult))
        return;
    owner->SetFailure(qxSapiFailure(status.hrLastResult, true, boundFile));
}

wxTTSSapiHandler::wxTTSSapiHandler()
    : wxTTSHandler(kSapiId, _("Microsoft SAPI")), m_engine(std::make_shared<Engine>(this))
{
    CreateCommonProperties(50, wxTTS_QUANTITY_PERCENT, kWebSite);
}

wxTTSSapiHandler::~wxTTSSapiHandler() = default;

bool wxTTSSapiHandler::Initialize()
{
    if (m_initialized)
        return true;
    CoInitialize(nullptr);
    m_engine->systemMissing = FAILED(qxCreateInstance(CLSID_SpVoice, IID_ISpVoice, &m_engine->voice));
    if (m_engine->systemMissing)
        return RefuseWithoutVoice();
    m_initialized = true;
    m_engine->lastVoiceName.clear(); // nothing was set on this voice yet
    ISpVoice* const voice = m_engine->voice;
    voice->SetNotifyCallbackFunction(&Engine::OnNotice, 0, reinterpret_cast<LPARAM>(this));
    voice->SetInterest(SPFEI_ALL_TTS_EVENTS, SPFEI_ALL_TTS_EVENTS);
    voice->SetAlertBoundary(SPEI_PHONEME);
    ReadDefaults();
    ListVoices();
    return true;
}

// The system voice's settings replace those of the constructor.
void wxTTSSapiHandler::ReadDefaults()
{
    LONG rate = 0;
    if (SUCCEEDED(m_engine->voice->GetRate(&rate)))
        SetProperty("Speed", static_cast<long>(rate));
    USHORT volume = 0;
    if (SUCCEEDED(m_engine->voice->GetVolume(&volume)))
        SetProperty("Volume", static_cast<long>(volume));
    QXComHolder<ISpObjectToken> token;
    wxString description;
    if (SUCCEEDED(m_engine->voice->GetVoice(&token.object)) &&
        qxTokenDescription(token.object, GetUserDefaultUILanguage(), description)) {
        m_engine->defaultVoiceName = description;
        SetProperty("Voice", description);
    }
}

void wxTTSSapiHandler::ListVoices()
{
    m_engine->voiceNames.clear();
    m_engine->voiceTokenIds.clear();
    m_engine->voiceLanguages.clear();
    QXComHolder<ISpObjectTokenCategory> category;
    QXComHolder<IEnumSpObjectTokens> tokens;
    ULONG count = 0;
    if (FAILED(qxCreateInstance(CLSID_SpObjectTokenCategory, IID_ISpObjectTokenCategory, &category.object)) ||
        FAILED(category->SetId(kVoicesPath, FALSE)) || FAILED(category->EnumTokens(nullptr, nullptr, &tokens.object)) ||
        FAILED(tokens->GetCount(&count)) || count == 0)
        return;
    const LANGID language = GetUserDefaultUILanguage();
    for (;;) {
        QXComHolder<ISpObjectToken> token;
        if (tokens->Next(1, &token.object, nullptr) != S_OK)
            break;
        wxString description;
        qxTokenDescription(token.object, language, description);
        const wxString id = qxTokenId(token.object);
        const wxString locale = qxTokenLocale(token.object);
        if (description.empty() || id.empty())
            continue;
        m_engine->voiceNames.Add(description);
        m_engine->voiceTokenIds.Add(id);
        m_engine->voiceLanguages.Add(locale);
    }
}

bool wxTTSSapiHandler::Uninitialize()
{
    if (!m_initialized)
        return true;
    Stop();
    DeleteTempFile();
    m_engine->ReleaseVoice();
    CoUninitialize();
    m_initialized = false;
    return true;
}

bool wxTTSSapiHandler::Speak(const wxString& text, int options, const wxString& outputFile)
{
    return DoSpeak(text, false, options, outputFile);
}

bool wxTTSSapiHandler::SpeakFile(const wxString& filename, int options, const wxString& outputFile)
{
    return DoSpeak(filename, true, options, outputFile);
}

bool wxTTSSapiHandler::DoSpeak(const wxString& text, bool isFile, int options, const wxString& outputFile)
{
    if (IsSpeaking() || IsPaused())
        Stop();
    ClearFailure();
    if (!m_engine->voice)
        return RefuseWithoutVoice();
    DeleteTempFile();
    m_options = options;
    m_engine->boundFile.clear();

    const wxString format = GetPropertyString("Input format");
    const int transformerOptions = qxSapiTransformerOptions(format) | CreateTransformerOptions(0);
    const wxString voiceName = GetVoice().GetId();
    ApplyVoice(voiceName);
    ApplyRates();

    wxString input = PrepareInput(text, isFile, transformerOptions);
    const bool isXml = format == "Native" && IsXml(text, input, isFile);
    const DWORD flags = qxSapiSpeakFlags(options, isFile, isXml);
    if (format == "SSML" && !isFile) {
        const int index = m_engine->voiceNames.Index(voiceName);
        input = qxWrapSsml(input, index == wxNOT_FOUND ? wxString("en-US")
                                                       : m_engine->voiceLanguages[static_cast<size_t>(index)]);
    }
    const bool bound = outputFile.empty() || BindOutput(outputFile);

    const HRESULT hr = m_engine->voice->Speak(input.wc_str(), flags, nullptr);
    if (FAILED(hr)) {
        if (bound)
            SetFailure(qxSapiFailure(hr, (flags & SPF_ASYNC) == 0, m_engine->boundFile));
        return Fail(qxGetSAPIErrorDesc(hr));
    }
    m_engine->speaking = true;
    if (m_engine->writingToFile) {
        if (options & wxTTS_SPEAK_WAIT && !WaitForOutput())
            return false;
        if (options & (wxTTS_SPEAK_CLOSE_OUTPUT | wxTTS_SPEAK_WAIT))
            m_engine->CloseOutput();
    }
    return true;
}

// A machine without a speech system is no news to a host that was told so by Initialize: the last error stays.
bool wxTTSSapiHandler::RefuseWithoutVoice()
{
    if (m_engine->systemMissing)
        return SetFailure(wxTTS_FAILURE_OTHER, _("The speech system is not available."));
    return Fail(wxTTS_FAILURE_OTHER, _("The speech engine is not initialized."));
}

// A name that is not in the list leaves the voice as it was. A listed one counts as chosen even if its token fails, so
// that it is not tried at every speech.
bool wxTTSSapiHandler::Engine::ChooseVoice(const wxString& name)
{
    if (name == lastVoiceName)
        return lastVoiceWorks;
    const int index = voiceNames.Index(name);
    if (index == wxNOT_FOUND)
        return false;
    lastVoiceName = name;
    QXComHolder<ISpObjectToken> token;
    lastVoiceWorks = SUCCEEDED(qxTokenFromId(voiceTokenIds[static_cast<size_t>(index)], &token.object)) &&
                     SUCCEEDED(voice->SetVoice(token.object));
    return lastVoiceWorks;
}

// Without the wanted voice the speech goes on with the last one: only the failure record tells.
void wxTTSSapiHandler::ApplyVoice(const wxString& name)
{
    if (!name.empty() && !m_engine->ChooseVoice(name))
        SetFailure(wxTTS_FAILURE_VOICE, wxString::Format(_("There is no voice %s."), name));
}

void wxTTSSapiHandler::ApplyRates()
{
    m_engine->voice->SetRate(static_cast<LONG>(GetPropertyLong("Speed")));
    m_engine->voice->SetVolume(static_cast<USHORT>(GetPropertyLong("Volume")));
    m_engine->voice->SetPriority(qxSapiPriority(GetPropertyLong("Priority")));
}

// What goes to the voice for the host's input: a file's name after its transformation, or the text.
wxString wxTTSSapiHandler::PrepareInput(const wxString& text, bool isFile, int transformerOptions)
{
    if (isFile)
        return DoTransformation(text, transformerOptions);
    wxTTSTransformer* const transformer = GetTransformer();
    if (!transformer)
        return text;
    wxString result;
    transformer->TransformString(text, result, transformerOptions); // the options are not looked at there
    return result;
}

// By the host's input, but by what has become of it if that was a pipe: what is read of one is gone. A pipe that
// nothing has read yet is therefore read here, and its text spoken in its stead.
bool wxTTSSapiHandler::IsXml(const wxString& text, wxString& input, bool& isFile)
{
    if (!isFile)
        return wxTextToSpeech::IsXmlString(text);
    if (!qxspeech::IsPipe(text))
        return wxTextToSpeech::IsXmlFile(text);
    if (input != text)
        return wxTextToSpeech::IsXmlFile(input);
    isFile = !qxspeech::ReadSpeechFile(text, input);
    return wxTextToSpeech::IsXmlString(input);
}

bool wxTTSSapiHandler::Engine::BindOutput(const wxString& outputFile)
{
    if (voice->GetOutputStream(&output->previousOutput) != S_OK)
        return false;
    output->waveFormat = NewOutputFormat();
    output->formatId = SPDFID_WaveFormatEx;
    if (!output->waveFormat || FAILED(qxCreateInstance(CLSID_SpStream, IID_ISpStream, &output->stream)))
        return false;
    if (FAILED(output->stream->BindToFile(outputFile.wc_str(), SPFM_CREATE_ALWAYS, &output->formatId,
                                          output->waveFormat, SPFEI_ALL_EVENTS))) {
        output->ReleaseStream();
        return false;
    }
    voice->SetOutput(output->stream, TRUE);
    boundFile = outputFile;
    return true;
}

// A file that cannot be bound is told by the failure record alone, whatever else fails: the speech goes to the voice's
// former output, and the call counts as file output all the same.
bool wxTTSSapiHandler::BindOutput(const wxString& outputFile)
{
    m_engine->CloseOutput();
    m_engine->output = new Output;
    m_engine->writingToFile = true;
    return m_engine->BindOutput(outputFile) || SetFailure(qxUnwritable(outputFile));
}

// The host's events run meanwhile: they may stop the speech, shut the handler down, or delete it. False: it was
// deleted, and nothing of it may be touched any more.
bool wxTTSSapiHandler::WaitForOutput()
{
    const std::weak_ptr<Engine> alive = m_engine;
    do {
        wxYield();
        if (alive.expired())
            return false;
    } while (m_engine->voice && m_engine->voice->WaitUntilDone(kPollMs) != S_OK);
    m_engine->NoteEnd();
    m_engine->speaking = false;
    return true;
}

bool wxTTSSapiHandler::IsSpeaking() const
{
    if (!m_engine->writingToFile || !m_engine->output)
        return m_engine->speaking;
    if (!(m_options & wxTTS_SPEAK_ASYNC) || m_engine->voice->WaitUntilDone(kPollMs) != S_OK)
        return true;
    m_engine->NoteEnd();
    m_engine->CloseOutput();
    m_engine->speaking = false;
    return false;
}

bool wxTTSSapiHandler::IsPaused() const
{
    return m_engine->pauseCount > 0;
}

bool wxTTSSapiHandler::Stop()
{
    bool stopped = true;
    if (IsPaused())
        Resume();
    if (IsSpeaking()) {
        stopped = SUCCEEDED(m_engine->voice->Speak(nullptr, SPF_PURGEBEFORESPEAK, nullptr));
        m_engine->voice->WaitUntilDone(INFINITE);
        MSG message = {};
        while (m_engine->speaking && PeekMessageW(&message, nullptr, WM_APP, WM_APP, PM_REMOVE)) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
        m_engine->CloseOutput();
    }
    m_engine->pauseCount = 0;
    m_engine->speaking = false;
    return stopped;
}

bool wxTTSSapiHandler::Pause()
{
    if (!IsSpeaking())
        return false;
    ++m_engine->pauseCount;
    m_engine->voice->Pause();
    return true;
}

bool wxTTSSapiHandler::Resume()
{
    if (!IsPaused())
        return false;
    m_engine->voice->Resume();
    --m_engine->pauseCount;
    return true;
}

bool wxTTSSapiHandler::Skip(int count, wxTTSSkipType)
{
    if (!IsSpeaking())
        return false;
    ULONG skipped = 0;
    return SUCCEEDED(m_engine->voice->Skip(L"Sentence", static_cast<LONG>(count), &skipped));
}

bool wxTTSSapiHandler::CanSkip() const
{
    return IsSpeaking();
}

bool wxTTSSapiHandler::HasCapability(wxTTSCapability capability) const
{
    switch (capability) {
    case wxTTS_CAP_SPEAK:
    case wxTTS_CAP_OUTPUT_WAV:
    case wxTTS_CAP_OUTPUT_FILE:
    case wxTTS_CAP_SPEED:
    case wxTTS_CAP_VOLUME:
    case wxTTS_CAP_VOICES:
    case wxTTS_CAP_PAUSE:
        return true;
    default:
        return false;
    }
}

QXTTSVoiceInfo wxTTSSapiHandler::DescribeVoice(const wxString& name, const wxString& language) const
{
    QXTTSVoiceInfo voice;
    voice.SetHandlerId(kSapiId);
    voice.SetId(name);
    voice.SetName(name);
    voice.SetLangCode(language);
    return voice;
}

QXTTSVoiceInfo wxTTSSapiHandler::GetDefaultVoice() const
{
    const int index = m_engine->voiceNames.Index(m_engine->defaultVoiceName);
    const bool known = index != wxNOT_FOUND && static_cast<size_t>(index) < m_engine->voiceLanguages.size();
    return DescribeVoice(m_engine->defaultVoiceName,
                         known ? m_engine->voiceLanguages[static_cast<size_t>(index)] : wxString());
}

std::vector<QXTTSVoiceInfo> wxTTSSapiHandler::GetAvailableVoices() const
{
    std::vector<QXTTSVoiceInfo> voices;
    for (size_t i = 0; i < m_engine->voiceNames.size(); ++i)
        voices.push_back(DescribeVoice(m_engine->voiceNames[i], m_engine->voiceLanguages[i]));
    return voices;
}

wxString wxTTSSapiHandler::GetDefaultVoiceVariant() const
{
    return "None";
}

int wxTTSSapiHandler::GetMinSpeed() const
{
    return -10;
}

int wxTTSSapiHandler::GetMaxSpeed() const
{
    return 10;
}

int wxTTSSapiHandler::GetMinVolume() const
{
    return 0;
}

int wxTTSSapiHandler::GetMaxVolume() const
{
    return 100;
}

int wxTTSSapiHandler::GetMinPitch() const
{
    return 0;
}

int wxTTSSapiHandler::GetMaxPitch() const
{
    return 100;
}
