// Helpers over the real voice. MIT licence.
#include "support/speech_voice.h"

#include <stdexcept>
#include <wx/string.h>

SpeechVoice::SpeechVoice()
{
    CoInitialize(nullptr);
    void* object = nullptr;
    if (FAILED(CoCreateInstance(CLSID_SpVoice, nullptr, CLSCTX_ALL, IID_ISpVoice, &object)))
        throw std::runtime_error("no voice object");
    m_voice = static_cast<ISpVoice*>(object);
    if (ISpObjectToken* const token = FindToken(L"English (America)")) {
        m_voice->SetVoice(token);
        token->Release();
    }
}

SpeechVoice::~SpeechVoice()
{
    m_voice->Release();
    CoUninitialize();
}

HRESULT SpeechVoice::BindToFile(const std::string& path)
{
    void* object = nullptr;
    CoCreateInstance(CLSID_SpStream, nullptr, CLSCTX_ALL, IID_ISpStream, &object);
    ISpStream* const stream = static_cast<ISpStream*>(object);
    const WAVEFORMATEX format = {WAVE_FORMAT_PCM, 1, 16000, 32000, 2, 16, 0};
    HRESULT hr = stream->BindToFile(wxString::FromUTF8(path).wc_str(), SPFM_CREATE_ALWAYS, &SPDFID_WaveFormatEx,
                                    &format, SPFEI_ALL_EVENTS);
    if (SUCCEEDED(hr))
        hr = m_voice->SetOutput(stream, TRUE);
    stream->Release();
    return hr;
}

void SpeechVoice::UnbindFile()
{
    m_voice->SetOutput(nullptr, TRUE);
}

HRESULT SpeechVoice::SpeakToFile(const std::string& path, const std::wstring& text, DWORD flags)
{
    HRESULT hr = BindToFile(path);
    if (SUCCEEDED(hr))
        hr = m_voice->Speak(text.c_str(), flags, nullptr);
    if (!WaitUntilDone())
        hr = E_FAIL;
    UnbindFile();
    return hr;
}

void SpeechVoice::ListenToEverything()
{
    m_voice->SetInterest(SPFEI_ALL_TTS_EVENTS, SPFEI_ALL_TTS_EVENTS);
}

std::vector<SeenEvent> SpeechVoice::TakeEvents()
{
    std::vector<SeenEvent> seen;
    SPEVENT event = {};
    while (m_voice->GetEvents(1, &event, nullptr) == S_OK) {
        SeenEvent copy = {event.eEventId,
                          event.ulStreamNum,
                          event.ullAudioStreamOffset,
                          event.wParam,
                          static_cast<size_t>(event.lParam),
                          {}};
        if (event.elParamType == SPET_LPARAM_IS_STRING) {
            LPWSTR const text = reinterpret_cast<LPWSTR>(event.lParam);
            copy.name = text;
            copy.position = 0;
            CoTaskMemFree(text);
        }
        seen.push_back(copy);
    }
    return seen;
}

bool SpeechVoice::WaitUntilDone()
{
    return m_voice->WaitUntilDone(30000) == S_OK;
}

ISpObjectToken* FindToken(const std::wstring& description)
{
    void* object = nullptr;
    if (FAILED(CoCreateInstance(CLSID_SpObjectTokenCategory, nullptr, CLSCTX_ALL, IID_ISpObjectTokenCategory, &object)))
        return nullptr;
    ISpObjectTokenCategory* const category = static_cast<ISpObjectTokenCategory*>(object);
    IEnumSpObjectTokens* tokens = nullptr;
    category->SetId(L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Speech\\Voices", FALSE);
    category->EnumTokens(nullptr, nullptr, &tokens);
    category->Release();
    ISpObjectToken* token = nullptr;
    ISpObjectToken* found = nullptr;
    while (!found && tokens && tokens->Next(1, &token, nullptr) == S_OK) {
        LPWSTR text = nullptr;
        if (SUCCEEDED(token->GetStringValue(nullptr, &text)) && description == text)
            found = token;
        else
            token->Release();
        CoTaskMemFree(text);
    }
    if (tokens)
        tokens->Release();
    return found;
}
