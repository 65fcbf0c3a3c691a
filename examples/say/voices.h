// Lists of engines and voices, and the choice of a voice. MIT licence.
#ifndef QXSPEECH_EXAMPLES_SAY_VOICES_H
#define QXSPEECH_EXAMPLES_SAY_VOICES_H

#include <vector>
#include <wx/string.h>

#include "speech/tts.h"

namespace say
{

// One line for each engine: short name, id.
wxString EngineList(const wxTextToSpeech& engine);

// Those of a language; all for an empty one.
std::vector<QXTTSVoiceInfo> OfLanguage(const std::vector<QXTTSVoiceInfo>& voices, const wxString& language);
// One line for each voice: language code, id, name where it differs.
wxString VoiceListText(const std::vector<QXTTSVoiceInfo>& voices);
// One array, also for no voices.
wxString VoiceListJson(const std::vector<QXTTSVoiceInfo>& voices);

// The voice of that id or name, with case first, then without, else the first of that language; null if there is none.
// Points into the vector.
const QXTTSVoiceInfo* FindVoice(const std::vector<QXTTSVoiceInfo>& voices, const wxString& name);
// The first of exactly that language, else of its first part ("en" of "en-GB"), else of all; null if there are none.
const QXTTSVoiceInfo* FirstVoice(const std::vector<QXTTSVoiceInfo>& voices, const wxString& language);

} // namespace say

#endif
