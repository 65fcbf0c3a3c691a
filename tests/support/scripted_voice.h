// A speech system that notes every call, answers as it is told, and speaks only when a test says so. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_SCRIPTED_VOICE_H
#define QXSPEECH_TESTS_SUPPORT_SCRIPTED_VOICE_H

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <windows.h>

#include <sapi.h>

#include "platform/posix/control.h"

// While it lives, voices and streams made by CoCreateInstance are scripted ones, the user's language is en-US and the
// registry holds three voices: "Anna" (409), "Bruno" (407;9) and "Clara" (c0a). What it put in place is taken back at
// its end. Lives longer than the objects that were made by it.
class ScriptedSpeech
{
public:
    ScriptedSpeech();
    ~ScriptedSpeech();
    ScriptedSpeech(const ScriptedSpeech&) = delete;
    ScriptedSpeech& operator=(const ScriptedSpeech&) = delete;

    // What was called since the last look, one line each, as "Speak hello 3"; the constructor of an object is "voice
    // made", its end "voice gone".
    std::vector<std::string> TakeCalls();

    // What the next calls of a method answer ("Speak", "WaitUntilDone"); S_OK afterwards.
    void Answer(const std::string& method, const std::vector<HRESULT>& results);

    // Queues an event and posts the voice's notice to the thread that made it.
    void Post(const SPEVENT& event);
    void PostEnd();

    // Runs inside the named method, after the call is noted.
    std::map<std::string, std::function<void()>> during;

    // What the voice says of itself.
    LONG rate = 3;
    USHORT volume = 70;
    HRESULT lastResult = S_OK; // of GetStatus
    std::wstring voiceTokenId; // Anna's; empty: GetVoice fails
    // Token of one of the three names.
    static std::wstring TokenId(const std::wstring& name);
    static std::vector<qxplatform::VoiceToken> ThreeVoices();

    int liveVoices = 0;
    int liveStreams = 0;
    int liveOutputs = 0;

private:
    friend class ScriptedVoice;
    friend class ScriptedStream;
    friend class ScriptedOutput;

    // Notes the call and gives its answer.
    HRESULT Called(const std::string& method, const std::string& arguments = std::string());

    std::vector<std::string> m_calls;
    std::map<std::string, std::deque<HRESULT>> m_answers;
    std::deque<SPEVENT> m_events;
    ISpVoice* m_voice = nullptr; // the one made last, not owned
    uint64_t m_owner = 0;
    SPNOTIFYCALLBACK* m_callback = nullptr;
    WPARAM m_wParam = 0;
    LPARAM m_lParam = 0;
};

// An object that only counts its references, for parameters of events.
class CountedUnknown : public IUnknown
{
public:
    CountedUnknown() = default;
    virtual ~CountedUnknown() = default;
    HRESULT QueryInterface(REFIID, void** object) override
    {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    ULONG AddRef() override { return ++references; }
    ULONG Release() override { return --references; }

    ULONG references = 1;
};

#endif
