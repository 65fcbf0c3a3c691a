// The objects behind the scripted speech system. MIT licence.
#include "support/scripted_voice.h"

#include <wx/string.h>

#include "platform/posix/comobject.h"
#include "platform/posix/messages.h"

using namespace qxplatform;

namespace
{

std::string Text(const wchar_t* text)
{
    return text ? wxString(text).utf8_string() : "(null)";
}

std::string Tail(const std::wstring& id)
{
    return Text(id.substr(id.rfind(L'\\') + 1).c_str());
}

} // namespace

// What the voice speaks to while no file is bound.
class ScriptedOutput : public ComObject<ISpStreamFormat, IID_ISpStreamFormat>
{
public:
    explicit ScriptedOutput(ScriptedSpeech& speech) : m_speech(speech) { ++m_speech.liveOutputs; }
    HRESULT GetFormat(GUID*, WAVEFORMATEX**) override { return E_NOTIMPL; }

protected:
    ~ScriptedOutput() override { --m_speech.liveOutputs; }

private:
    ScriptedSpeech& m_speech;
};

class ScriptedStream : public ComObject<ISpStream, IID_ISpStreamFormat, IID_ISpStream>
{
public:
    explicit ScriptedStream(ScriptedSpeech& speech) : m_speech(speech)
    {
        ++m_speech.liveStreams;
        m_speech.Called("stream made");
    }
    HRESULT GetFormat(GUID*, WAVEFORMATEX**) override { return E_NOTIMPL; }
    HRESULT BindToFile(LPCWSTR fileName, SPFILEMODE mode, const GUID* formatId, const WAVEFORMATEX* format,
                       ULONGLONG eventInterest) override
    {
        const std::string shape = std::to_string(format->wFormatTag) + "/" + std::to_string(format->nChannels) + "/" +
                                  std::to_string(format->nSamplesPerSec) + "/" +
                                  std::to_string(format->nAvgBytesPerSec) + "/" + std::to_string(format->nBlockAlign) +
                                  "/" + std::to_string(format->wBitsPerSample) + "/" + std::to_string(format->cbSize);
        return m_speech.Called("BindToFile", Text(fileName) + " " + std::to_string(mode) + " " +
                                                 (*formatId == SPDFID_WaveFormatEx ? "wave " : "other ") + shape +
                                                 (eventInterest == SPFEI_ALL_EVENTS ? " all" : " some"));
    }
    HRESULT Close() override { return m_speech.Called("Close"); }

protected:
    ~ScriptedStream() override
    {
        --m_speech.liveStreams;
        m_speech.Called("stream gone");
    }

private:
    ScriptedSpeech& m_speech;
};

class ScriptedVoice : public ComObject<ISpVoice, IID_ISpVoice>
{
public:
    explicit ScriptedVoice(ScriptedSpeech& speech) : m_speech(speech), m_device(new ScriptedOutput(speech))
    {
        ++m_speech.liveVoices;
        m_speech.m_voice = this;
        m_speech.m_owner = NoticeQueue::NewOwner();
        m_speech.Called("voice made");
    }

    HRESULT SetNotifyCallbackFunction(SPNOTIFYCALLBACK* callback, WPARAM wParam, LPARAM lParam) override
    {
        m_speech.m_callback = callback;
        m_speech.m_wParam = wParam;
        m_speech.m_lParam = lParam;
        return m_speech.Called("SetNotifyCallbackFunction", std::to_string(wParam));
    }
    HRESULT SetInterest(ULONGLONG interest, ULONGLONG queued) override
    {
        const bool all = interest == SPFEI_ALL_TTS_EVENTS && queued == SPFEI_ALL_TTS_EVENTS;
        return m_speech.Called("SetInterest", all ? "all" : "other");
    }
    HRESULT GetEvents(ULONG count, SPEVENT* events, ULONG*) override
    {
        if (count != 1 || m_speech.m_events.empty())
            return S_FALSE;
        *events = m_speech.m_events.front();
        m_speech.m_events.pop_front();
        return S_OK;
    }
    HRESULT SetOutput(IUnknown* output, BOOL allowFormatChanges) override
    {
        const bool isDevice = output == static_cast<IUnknown*>(m_device);
        return m_speech.Called("SetOutput", std::string(!output    ? "null "
                                                        : isDevice ? "device "
                                                                   : "stream ") +
                                                std::to_string(allowFormatChanges));
    }
    HRESULT GetOutputStream(ISpStreamFormat** stream) override
    {
        *stream = nullptr;
        const HRESULT hr = m_speech.Called("GetOutputStream");
        if (hr == S_OK) {
            m_device->AddRef();
            *stream = m_device;
        }
        return hr;
    }
    HRESULT Pause() override { return m_speech.Called("Pause"); }
    HRESULT Resume() override { return m_speech.Called("Resume"); }
    HRESULT SetVoice(ISpObjectToken* token) override
    {
        LPWSTR id = nullptr;
        token->GetId(&id);
        const std::string name = id ? Tail(id) : "(no id)";
        CoTaskMemFree(id);
        return m_speech.Called("SetVoice", name);
    }
    HRESULT GetVoice(ISpObjectToken** token) override;
    HRESULT Speak(LPCWSTR text, DWORD flags, ULONG* streamNumber) override
    {
        return m_speech.Called("Speak", Text(text) + " " + std::to_string(flags) + (streamNumber ? " number" : ""));
    }
    HRESULT GetStatus(SPVOICESTATUS* status, LPWSTR*) override
    {
        *status = {1, 1, m_speech.lastResult, SPRS_DONE};
        return S_OK;
    }
    HRESULT Skip(LPCWSTR itemType, LONG count, ULONG* skipped) override
    {
        *skipped = 0;
        return m_speech.Called("Skip", Text(itemType) + " " + std::to_string(count));
    }
    HRESULT SetPriority(SPVPRIORITY priority) override { return Number("SetPriority", priority); }
    HRESULT SetAlertBoundary(SPEVENTENUM boundary) override { return Number("SetAlertBoundary", boundary); }
    HRESULT SetRate(LONG rate) override { return Number("SetRate", rate); }
    HRESULT GetRate(LONG* rate) override
    {
        *rate = m_speech.rate;
        return m_speech.Called("GetRate");
    }
    HRESULT SetVolume(USHORT volume) override { return Number("SetVolume", volume); }
    HRESULT GetVolume(USHORT* volume) override
    {
        *volume = m_speech.volume;
        return m_speech.Called("GetVolume");
    }
    HRESULT WaitUntilDone(ULONG milliseconds) override
    {
        return m_speech.Called("WaitUntilDone", milliseconds == INFINITE ? "for ever" : std::to_string(milliseconds));
    }

protected:
    ~ScriptedVoice() override
    {
        CurrentThreadNotices()->Drop(m_speech.m_owner);
        m_device->Release();
        m_speech.m_voice = nullptr;
        --m_speech.liveVoices;
        m_speech.Called("voice gone");
    }

private:
    HRESULT Number(const std::string& method, long value) { return m_speech.Called(method, std::to_string(value)); }

    ScriptedSpeech& m_speech;
    ScriptedOutput* const m_device;
};

HRESULT ScriptedVoice::GetVoice(ISpObjectToken** token)
{
    *token = nullptr;
    const HRESULT hr = m_speech.Called("GetVoice");
    if (FAILED(hr) || m_speech.voiceTokenId.empty())
        return FAILED(hr) ? hr : E_FAIL;
    void* made = nullptr;
    if (FAILED(CoCreateInstance(CLSID_SpObjectToken, nullptr, CLSCTX_ALL, IID_ISpObjectToken, &made)))
        return E_FAIL;
    *token = static_cast<ISpObjectToken*>(made);
    return (*token)->SetId(nullptr, m_speech.voiceTokenId.c_str(), FALSE);
}

ScriptedSpeech::ScriptedSpeech() : voiceTokenId(TokenId(L"Anna"))
{
    control::SetVoices(ThreeVoices());
    control::SetUILanguage(0x0409);
    control::SetClassFactory(CLSID_SpVoice, [this](REFIID iid, void** object) {
        const HRESULT hr = Called("create voice");
        return FAILED(hr) ? hr : CreateObject<ScriptedVoice>(iid, object, *this);
    });
    control::SetClassFactory(
        CLSID_SpStream, [this](REFIID iid, void** object) { return CreateObject<ScriptedStream>(iid, object, *this); });
}

ScriptedSpeech::~ScriptedSpeech()
{
    control::RestoreAll();
}

std::wstring ScriptedSpeech::TokenId(const std::wstring& name)
{
    return kVoiceTokensIdStart + name;
}

std::vector<VoiceToken> ScriptedSpeech::ThreeVoices()
{
    const auto voice = [](const std::wstring& name, const std::wstring& language) {
        VoiceToken token;
        token.id = TokenId(name);
        token.values = {{L"", name}, {L"Description", name}};
        token.attributes = {{L"Language", language}};
        return token;
    };
    return {voice(L"Anna", L"409"), voice(L"Bruno", L"407;9"), voice(L"Clara", L"c0a")};
}

std::vector<std::string> ScriptedSpeech::TakeCalls()
{
    std::vector<std::string> calls;
    calls.swap(m_calls);
    return calls;
}

void ScriptedSpeech::Answer(const std::string& method, const std::vector<HRESULT>& results)
{
    m_answers[method].assign(results.begin(), results.end());
}

void ScriptedSpeech::Post(const SPEVENT& event)
{
    m_events.push_back(event);
    control::PostNotice(m_owner, [this] { m_callback(m_wParam, m_lParam); });
}

void ScriptedSpeech::PostEnd()
{
    SPEVENT event = {};
    event.eEventId = SPEI_END_INPUT_STREAM;
    Post(event);
}

HRESULT ScriptedSpeech::Called(const std::string& method, const std::string& arguments)
{
    m_calls.push_back(arguments.empty() ? method : method + " " + arguments);
    const auto hook = during.find(method);
    if (hook != during.end())
        hook->second();
    std::deque<HRESULT>& answers = m_answers[method];
    if (answers.empty())
        return S_OK;
    const HRESULT hr = answers.front();
    answers.pop_front();
    return hr;
}
