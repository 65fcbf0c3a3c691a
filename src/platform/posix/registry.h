// The installed voices as the registry shows them, for reading. MIT licence.
#ifndef QXSPEECH_PLATFORM_REGISTRY_H
#define QXSPEECH_PLATFORM_REGISTRY_H

#include <map>
#include <memory>
#include <string>
#include <vector>
#include <windows.h>

namespace qxplatform
{

// Names of keys and values compare without regard to ASCII case.
struct RegistryNameLess {
    bool operator()(const std::wstring& a, const std::wstring& b) const;
};
using RegistryValues = std::map<std::wstring, std::wstring, RegistryNameLess>;

// A voice: one key of the registry with one subkey, "Attributes".
struct VoiceToken {
    std::wstring id;           // full path, with the root's name in front
    RegistryValues values;     // "" is the default value; "Description"; by language id in hexadecimal ("409")
    RegistryValues attributes; // "Language" (hexadecimal, first of a list by ";"), "Gender", "Name", "Vendor", "Age"
    std::string engineVoice;   // the synthesizer's identifier of the voice, empty if it is none of its own
};

extern const wchar_t kVoicesCategoryId[];   // parent of all voices
extern const wchar_t kVoiceTokensIdStart[]; // what the id of an installed voice begins with, last backslash included

// All installed voices, in the order in which they are listed. Read from the synthesizer at the first call; a voice
// that is installed later is not seen. The list itself never changes. Any thread.
std::shared_ptr<const std::vector<VoiceToken>> VoiceTokens();

// Puts another list in place (null: the synthesizer's) and returns the former one.
std::shared_ptr<const std::vector<VoiceToken>> SetVoiceTokens(std::shared_ptr<const std::vector<VoiceToken>> tokens);

// A voice by its full id, false if there is none.
bool FindVoiceToken(const std::wstring& id, VoiceToken& token);

// The id of the voice to begin with: the first of the user's language, else of its primary language in any region, else
// of "en-US", else the first of all; empty without voices.
std::wstring DefaultVoiceTokenId();

// The function that GetProcAddress hands out under this name. The output buffer's size and *needed are in bytes.
LSTATUS RegLoadMUIStringW(HKEY key, LPCWSTR name, LPWSTR output, DWORD outputBytes, LPDWORD needed, DWORD flags,
                          LPCWSTR directory);

} // namespace qxplatform

#endif
