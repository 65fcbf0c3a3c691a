// A service's voice list on disk, so that it is asked for rarely. MIT licence.
#ifndef QXSPEECH_EXAMPLES_SAY_VOICECACHE_H
#define QXSPEECH_EXAMPLES_SAY_VOICECACHE_H

#include <cstdint>
#include <string>
#include <vector>
#include <wx/string.h>

#include "speech/tts.h"

namespace say
{

// A list as it was fetched; no voices: there is none.
struct VoiceCache {
    wxString engine; // its id
    wxString region; // the services' lists differ by region
    wxString route;  // WebSession's: behind another proxy another service may have answered
    std::int64_t fetchedMs = 0;
    std::vector<QXTTSVoiceInfo> voices;
};

wxString WriteVoiceCache(const VoiceCache& cache);
// No voices for a broken text and for one of another engine, region or route.
VoiceCache ParseVoiceCache(const wxString& text, const wxString& engine, const wxString& region, const wxString& route);

// voices-<short name>.json in the user's cache folder. Store ignores what cannot be written.
VoiceCache LoadVoiceCache(const wxString& engine, const wxString& region, const wxString& route);
void StoreVoiceCache(const VoiceCache& cache);

// A list older than a month, or of the future, is to be fetched anew where that is possible.
bool IsStale(const VoiceCache& cache, std::int64_t nowMs);
// The day, in UTC, for messages.
wxString DayOf(const VoiceCache& cache);

} // namespace say

#endif
