// A real voice object with the few helpers that its tests share. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_SPEECH_VOICE_H
#define QXSPEECH_TESTS_SUPPORT_SPEECH_VOICE_H

#include <string>
#include <vector>

#include <sapi.h>

// An event with its text copied out.
struct SeenEvent {
    int id;
    ULONG stream;
    uint64_t byteOffset;
    size_t length;
    size_t position;
    std::wstring name;
};

// Owns one voice made by CoCreateInstance, English (America) unless the token says otherwise.
class SpeechVoice
{
public:
    SpeechVoice();
    ~SpeechVoice();
    SpeechVoice(const SpeechVoice&) = delete;
    SpeechVoice& operator=(const SpeechVoice&) = delete;

    ISpVoice* operator->() const { return m_voice; }
    ISpVoice* Get() const { return m_voice; }

    // Output to a 16 kHz, 16-bit, mono WAV file from now on; the voice alone keeps the stream.
    HRESULT BindToFile(const std::string& path);
    void UnbindFile();
    // Speaks into the file and waits for the end.
    HRESULT SpeakToFile(const std::string& path, const std::wstring& text, DWORD flags = 0);

    void ListenToEverything();
    std::vector<SeenEvent> TakeEvents();
    // Waits for the end without a limit of the voice's own; false after half a minute.
    bool WaitUntilDone();

private:
    ISpVoice* m_voice = nullptr;
};

// The token of the voice with this description; null if there is none.
ISpObjectToken* FindToken(const std::wstring& description);

#endif
