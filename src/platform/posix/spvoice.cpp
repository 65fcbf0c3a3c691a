// The voice object over the synthesizer and the player. MIT licence.
#include "platform/posix/spvoice.h"

#include <algorithm>
#include <cwchar>
#include <thread>

#include "common/logging.h"
#include "platform/posix/com.h"
#include "platform/posix/deviceoutput.h"
#include "platform/posix/espeak_engine.h"
#include "platform/posix/forkedcopy.h"
#include "platform/posix/languages.h"
#include "platform/posix/registry.h"
#include "platform/posix/speechclasses.h"
#include "platform/posix/speechfile.h"
#include "platform/posix/synthesizer.h"
#include "platform/posix/voicechoice.h"
#include "platform/posix/voiceplayer.h"

namespace qxvoice
{

using qxplatform::IsForkedCopy;

namespace
{

constexpr HRESULT kFileNotFound = static_cast<HRESULT>(0x80070002u);
constexpr HRESULT kEmptyText = static_cast<HRESULT>(0x80045089u);
constexpr HRESULT kForkedCopy = static_cast<HRESULT>(0x8007139Fu);
constexpr HRESULT kVoiceNotFound = static_cast<HRESULT>(0x80045093u);
constexpr std::chrono::milliseconds kReleaseLimit(500);
constexpr LONG kMaxRate = 10;
constexpr USHORT kMaxVolume = 100;

HRESULT CodeOf(ScriptError error)
{
    switch (error) {
    case ScriptError::None:
        return S_OK;
    case ScriptError::Empty:
        return kEmptyText;
    case ScriptError::NoSuchVoice:
        return kVoiceNotFound;
    case ScriptError::MalformedXml:
        break;
    }
    return SPERR_XML_BAD_SYNTAX;
}

bool FormOf(DWORD flags, ScriptForm& form)
{
    const DWORD parse = flags & (SPF_PARSE_SAPI | SPF_PARSE_SSML);
    if ((flags & SPF_IS_XML && flags & SPF_IS_NOT_XML) || (parse && flags & SPF_IS_NOT_XML) ||
        parse == (SPF_PARSE_SAPI | SPF_PARSE_SSML))
        return false;
    if (flags & SPF_IS_NOT_XML)
        form = ScriptForm::Plain;
    else if (parse == SPF_PARSE_SAPI)
        form = ScriptForm::SapiXml;
    else if (parse == SPF_PARSE_SSML)
        form = ScriptForm::Ssml;
    else
        form = flags & SPF_IS_XML ? ScriptForm::Xml : ScriptForm::Auto;
    return true;
}

HRESULT ReadText(LPCWSTR given, bool isFile, std::wstring& text)
{
    if (!isFile) {
        text = given;
        return S_OK;
    }
    switch (ReadSpeechFile(given, text)) {
    case FileError::None:
        return S_OK;
    case FileError::Missing:
        return kFileNotFound;
    case FileError::Unreadable:
        break;
    }
    return E_ACCESSDENIED;
}

SPEVENT ToSpEvent(const VoiceEvent& event)
{
    SPEVENT out = {};
    out.eEventId = static_cast<WORD>(event.id);
    out.ulStreamNum = event.stream;
    out.ullAudioStreamOffset = event.byteOffset;
    if (event.id == SPEI_TTS_BOOKMARK) {
        out.elParamType = SPET_LPARAM_IS_STRING;
        out.wParam = static_cast<WPARAM>(std::wcstol(event.name.c_str(), nullptr, 10));
        out.lParam = reinterpret_cast<LPARAM>(qxplatform::CoTaskString(event.name));
    } else {
        out.elParamType = SPET_LPARAM_IS_UNDEFINED;
        out.wParam = event.length;
        out.lParam = static_cast<LPARAM>(event.position);
    }
    return out;
}

} // namespace

SpVoice::SpVoice() : m_state(std::make_shared<VoiceState>(qxplatform::CurrentThreadNotices()))
{
    m_state->SetSelf(m_state);
    ChooseVoice(qxplatform::DefaultVoiceTokenId());
}

SpVoice::~SpVoice()
{
    if (IsForkedCopy())
        return; // queue, file and threads are the other process's
    SpStream* stream = nullptr;
    std::thread player;
    {
        VoiceState::Lock lock(SpeechLock());
        m_state->released = true;
        m_state->callback = nullptr;
        m_state->Purge(false);
        RemoveFromSynthesizer(m_state);
        const bool ended = m_state->changed.wait_for(
            lock, kReleaseLimit, [this] { return m_state->playerId == 0 && m_state->playersAlive == 0; });
        m_state->playerId = 0;
        std::swap(stream, m_stream);
        player.swap(m_state->playerThread);
        if (!ended && player.joinable())
            player.detach(); // it hangs in its device
    }
    // Nothing of it may run on into the end of the process, not even what it keeps for itself being freed.
    if (player.joinable())
        player.join();
    if (stream)
        stream->Release();
}

HRESULT SpVoice::SetNotifyCallbackFunction(SPNOTIFYCALLBACK* callback, WPARAM wParam, LPARAM lParam)
{
    VoiceState::Lock lock(SpeechLock());
    m_state->callback = callback;
    m_state->callbackWParam = wParam;
    m_state->callbackLParam = lParam;
    return S_OK;
}

HRESULT SpVoice::SetInterest(ULONGLONG eventInterest, ULONGLONG queuedInterest)
{
    if ((queuedInterest & ~eventInterest) != 0)
        return E_INVALIDARG;
    VoiceState::Lock lock(SpeechLock());
    m_state->queuedInterest = queuedInterest;
    return S_OK;
}

HRESULT SpVoice::GetEvents(ULONG count, SPEVENT* events, ULONG* fetched)
{
    if (!events)
        return E_POINTER;
    ULONG given = 0;
    if (IsForkedCopy())
        count = 0;
    VoiceState::Lock lock(SpeechLock());
    while (given < count && !m_state->events.empty()) {
        events[given++] = ToSpEvent(m_state->events.front());
        m_state->events.pop_front();
    }
    if (fetched)
        *fetched = given;
    return given == count ? S_OK : S_FALSE;
}

HRESULT SpVoice::SetOutput(IUnknown* output, BOOL)
{
    if (IsForkedCopy())
        return kForkedCopy;
    SpStream* stream = nullptr;
    if (output && !dynamic_cast<DefaultOutput*>(output)) {
        stream = dynamic_cast<SpStream*>(output);
        if (!stream)
            return SPERR_UNSUPPORTED_FORMAT;
        if (!stream->File())
            return SPERR_UNINITIALIZED;
        stream->AddRef();
    }
    {
        VoiceState::Lock lock(SpeechLock());
        std::swap(stream, m_stream);
    }
    if (stream)
        stream->Release();
    return S_OK;
}

HRESULT SpVoice::GetOutputStream(ISpStreamFormat** stream)
{
    if (!stream)
        return E_POINTER;
    VoiceState::Lock lock(SpeechLock());
    if (m_stream) {
        m_stream->AddRef();
        *stream = m_stream;
    } else {
        *stream = new DefaultOutput;
    }
    return S_OK;
}

HRESULT SpVoice::Pause()
{
    if (IsForkedCopy())
        return kForkedCopy;
    VoiceState::Lock lock(SpeechLock());
    m_state->Pause();
    return S_OK;
}

HRESULT SpVoice::Resume()
{
    if (IsForkedCopy())
        return kForkedCopy;
    VoiceState::Lock lock(SpeechLock());
    m_state->Resume();
    return S_OK;
}

bool SpVoice::ChooseVoice(const std::wstring& tokenId)
{
    qxplatform::VoiceToken token;
    if (!qxplatform::FindVoiceToken(tokenId, token) || token.engineVoice.empty())
        return false;
    std::string language;
    for (const qxplatform::InstalledVoice& voice : qxplatform::InstalledVoices()) {
        if (voice.identifier == token.engineVoice)
            language = voice.language;
    }
    VoiceState::Lock lock(SpeechLock());
    m_settings.tokenId = tokenId;
    m_settings.voice = token.engineVoice;
    m_settings.language = language;
    return true;
}

HRESULT SpVoice::SetVoice(ISpObjectToken* token)
{
    if (!token)
        return ChooseVoice(qxplatform::DefaultVoiceTokenId()) ? S_OK : SPERR_NOT_FOUND;
    LPWSTR id = nullptr;
    const HRESULT hr = token->GetId(&id);
    if (FAILED(hr))
        return hr;
    const bool chosen = ChooseVoice(id);
    CoTaskMemFree(id);
    return chosen ? S_OK : SPERR_NOT_FOUND;
}

HRESULT SpVoice::GetVoice(ISpObjectToken** token)
{
    if (!token)
        return E_POINTER;
    std::wstring id;
    {
        VoiceState::Lock lock(SpeechLock());
        id = m_settings.tokenId;
    }
    return qxplatform::CreateVoiceToken(id, token);
}

HRESULT SpVoice::Speak(LPCWSTR text, DWORD flags, ULONG* streamNumber)
{
    if (!text && (flags & SPF_PURGEBEFORESPEAK) == 0)
        return E_POINTER;
    if (IsForkedCopy())
        return text ? kForkedCopy : S_OK;
    if (!text) {
        VoiceState::Lock lock(SpeechLock());
        m_state->Purge(true);
        WakeSynthesizer();
        return S_OK;
    }
    Settings settings;
    {
        VoiceState::Lock lock(SpeechLock());
        settings = m_settings;
    }
    std::shared_ptr<Utterance> utterance;
    HRESULT hr = MakeUtterance(text, flags, settings, utterance);
    if (SUCCEEDED(hr))
        hr = Queue(utterance, flags, streamNumber);
    if (FAILED(hr)) {
        VoiceState::Lock lock(SpeechLock());
        m_state->lastResult = hr;
    }
    return hr;
}

HRESULT SpVoice::MakeUtterance(LPCWSTR given, DWORD flags, const Settings& settings,
                               std::shared_ptr<Utterance>& made) const
{
    constexpr DWORD known = SPF_ASYNC | SPF_PURGEBEFORESPEAK | SPF_IS_FILENAME | SPF_IS_XML | SPF_IS_NOT_XML |
                            SPF_NLP_SPEAK_PUNC | SPF_PARSE_SAPI | SPF_PARSE_SSML;
    ScriptForm form;
    if ((flags & ~known) != 0 || !FormOf(flags, form)) {
        QX_LOG("Speech with the flags 0x%x is not supported", flags);
        return E_INVALIDARG;
    }
    if (settings.voice.empty())
        return kVoiceNotFound;
    std::wstring text;
    const HRESULT hr = ReadText(given, (flags & SPF_IS_FILENAME) != 0, text);
    if (FAILED(hr))
        return hr;
    ScriptContext context;
    context.voice = settings.voice;
    context.language = settings.language;
    context.rate = settings.rate;
    context.findVoice = [&](const std::wstring& required, const std::wstring& optional) {
        return FindVoiceByAttributes(required, optional, settings.voice);
    };
    context.findLanguage = FindVoiceByLanguage;
    context.findLanguageTag = [](const std::string& tag) {
        return FindVoiceByLanguage(qxplatform::LanguageIdOfTag(tag));
    };
    auto utterance = std::make_shared<Utterance>();
    const ScriptError error = MakeSpeechScript(text, form, context, utterance->script);
    if (error != ScriptError::None)
        return CodeOf(error);
    utterance->source = std::move(text);
    utterance->voice = settings.voice;
    utterance->wordsPerMinute = WordsPerMinute(settings.rate);
    utterance->volumePercent = settings.volume;
    utterance->priority = settings.priority;
    utterance->speakPunctuation = (flags & SPF_NLP_SPEAK_PUNC) != 0;
    made = std::move(utterance);
    return S_OK;
}

HRESULT SpVoice::Queue(const std::shared_ptr<Utterance>& utterance, DWORD flags, ULONG* streamNumber)
{
    VoiceState::Lock lock(SpeechLock());
    VoiceState& state = *m_state;
    if (m_stream) {
        utterance->file = m_stream->File();
        if (!utterance->file)
            return SPERR_UNINITIALIZED;
        utterance->output = OutputState::Ready;
    } else if (!DeviceOutput::HasDefaultDevice()) {
        return SPERR_DEVICE_NOT_SUPPORTED;
    }
    if (flags & SPF_PURGEBEFORESPEAK)
        state.Purge(false);
    if (!AddToSynthesizer(m_state) || !EnsurePlayer(m_state))
        return E_OUTOFMEMORY;
    utterance->stream = ++m_lastStream;
    state.lastResult = S_OK;
    state.utterances.push_back(utterance);
    state.changed.notify_all();
    WakeSynthesizer();
    const HRESULT hr = AwaitOutput(lock, utterance);
    if (FAILED(hr))
        return hr;
    utterance->accepted = true;
    if (streamNumber)
        *streamNumber = utterance->stream;
    if (flags & SPF_ASYNC)
        return S_OK;
    state.changed.wait(lock, [&] { return utterance->done && !state.fileBusy; });
    return utterance->result;
}

// A device that is not open yet may refuse: that is told by the call that needs it.
HRESULT SpVoice::AwaitOutput(VoiceState::Lock& lock, const std::shared_ptr<Utterance>& utterance)
{
    VoiceState& state = *m_state;
    if (utterance->file || state.deviceOpen || state.utterances.front() != utterance)
        return S_OK;
    const bool known = state.changed.wait_for(lock, kDeviceStallLimit + std::chrono::seconds(1),
                                              [&] { return utterance->output != OutputState::Pending; });
    if (!known)
        state.Finish(utterance, SPERR_DEVICE_BUSY);
    return utterance->output == OutputState::Failed ? utterance->result : S_OK;
}

HRESULT SpVoice::GetStatus(SPVOICESTATUS* status, LPWSTR* lastBookmark)
{
    if (!status)
        return E_POINTER;
    if (lastBookmark)
        *lastBookmark = nullptr;
    if (IsForkedCopy())
        return kForkedCopy;
    VoiceState::Lock lock(SpeechLock());
    const std::deque<std::shared_ptr<Utterance>>& all = m_state->utterances;
    status->ulCurrentStream = all.empty() ? m_lastStream : all.front()->stream;
    status->ulLastStreamQueued = m_lastStream;
    status->hrLastResult = m_state->lastResult;
    status->dwRunningState = static_cast<DWORD>(all.empty() ? SPRS_DONE : SPRS_IS_SPEAKING);
    if (m_lastStream == 0)
        status->dwRunningState = 0;
    return S_OK;
}

HRESULT SpVoice::Skip(LPCWSTR itemType, LONG count, ULONG* skipped)
{
    if (!itemType || std::wcscmp(itemType, L"Sentence") != 0)
        return E_INVALIDARG;
    if (IsForkedCopy())
        return kForkedCopy;
    VoiceState::Lock lock(SpeechLock());
    const HRESULT hr = m_state->Skip(count, skipped);
    WakeSynthesizer();
    return hr;
}

HRESULT SpVoice::SetPriority(SPVPRIORITY priority)
{
    if (priority != SPVPRI_NORMAL && priority != SPVPRI_ALERT && priority != SPVPRI_OVER)
        return E_INVALIDARG;
    VoiceState::Lock lock(SpeechLock());
    m_settings.priority = priority;
    return S_OK;
}

// A pause is heard at once, so every boundary is kept.
HRESULT SpVoice::SetAlertBoundary(SPEVENTENUM boundary)
{
    const bool valid = boundary == SPEI_PHONEME || boundary == SPEI_WORD_BOUNDARY || boundary == SPEI_SENTENCE_BOUNDARY;
    return valid ? S_OK : E_INVALIDARG;
}

HRESULT SpVoice::SetRate(LONG rate)
{
    if (rate < -kMaxRate || rate > kMaxRate)
        return E_INVALIDARG;
    VoiceState::Lock lock(SpeechLock());
    m_settings.rate = rate;
    return S_OK;
}

HRESULT SpVoice::GetRate(LONG* rate)
{
    if (!rate)
        return E_POINTER;
    VoiceState::Lock lock(SpeechLock());
    *rate = m_settings.rate;
    return S_OK;
}

HRESULT SpVoice::SetVolume(USHORT volume)
{
    if (volume > kMaxVolume)
        return E_INVALIDARG;
    VoiceState::Lock lock(SpeechLock());
    m_settings.volume = volume;
    return S_OK;
}

HRESULT SpVoice::GetVolume(USHORT* volume)
{
    if (!volume)
        return E_POINTER;
    VoiceState::Lock lock(SpeechLock());
    *volume = m_settings.volume;
    return S_OK;
}

HRESULT SpVoice::WaitUntilDone(ULONG milliseconds)
{
    if (IsForkedCopy())
        return S_OK; // nothing is spoken here
    VoiceState::Lock lock(SpeechLock());
    const auto done = [this] { return !m_state->Busy() && !m_state->fileBusy; };
    if (milliseconds == INFINITE) {
        m_state->changed.wait(lock, done);
        return S_OK;
    }
    return m_state->changed.wait_for(lock, std::chrono::milliseconds(milliseconds), done) ? S_OK : S_FALSE;
}

} // namespace qxvoice

namespace qxplatform
{

HRESULT CreateSpVoice(REFIID iid, void** object)
{
    if (StartEspeak() == 0)
        return E_FAIL;
    return CreateObject<qxvoice::SpVoice>(iid, object);
}

} // namespace qxplatform
