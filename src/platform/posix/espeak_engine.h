// eSpeak NG as one process-wide resource: its start, its lock, its voices. MIT licence.
#ifndef QXSPEECH_PLATFORM_ESPEAK_ENGINE_H
#define QXSPEECH_PLATFORM_ESPEAK_ENGINE_H

#include <mutex>
#include <string>
#include <vector>

namespace qxplatform
{

enum class VoiceGender { Unknown, Male, Female };

struct InstalledVoice {
    std::string identifier; // names the voice to the synthesizer ("gmw/en-US")
    std::wstring name;      // for people ("English (America)"), unique in the list
    std::string language;   // tag of the voice's first language, as the synthesizer writes it ("en-us")
    VoiceGender gender = VoiceGender::Unknown;
};

// Starts the synthesizer once per process (synchronous output, never terminated: a second start would hang); the sample
// rate in Hz of what it makes, or 0 if it cannot start. Any thread; the locale that the
// synthesizer's start puts in place is put back.
int StartEspeak();

// Held during every call of the synthesizer: its voice, parameters and state are global. StartEspeak and
// InstalledVoices take it themselves where they need it, so their caller must not hold it. Never destroyed.
std::mutex& EspeakLock();

// The voices that are installed, read once, in the synthesizer's order. Empty if it cannot start. Never destroyed. Do
// not hold EspeakLock(): the first call takes it.
const std::vector<InstalledVoice>& InstalledVoices();

} // namespace qxplatform

#endif
