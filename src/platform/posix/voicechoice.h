// Finds synthesizer voices by token, by the attributes that a text asks for and by language. MIT licence.
#ifndef QXSPEECH_PLATFORM_POSIX_VOICECHOICE_H
#define QXSPEECH_PLATFORM_POSIX_VOICECHOICE_H

#include <cstdint>
#include <string>

namespace qxvoice
{

// Pure functions over the installed voices; any thread. "" where there is no such voice.

// A voice that meets `required`, preferring one that also meets `optional`, then the speaking voice's own identifier
// and language. Each installed voice stands in for a female one by the synthesizer's female variant.
std::string FindVoiceByAttributes(const std::wstring& required, const std::wstring& optional,
                                  const std::string& speakingVoice);

// The first voice whose language has this Windows id, else one of the same primary language.
std::string FindVoiceByLanguage(uint32_t languageId);

} // namespace qxvoice

#endif
