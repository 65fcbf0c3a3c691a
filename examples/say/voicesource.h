// Where the voices of the current engine come from: the system, a service, or the list that a service once gave.
// MIT licence.
#ifndef QXSPEECH_EXAMPLES_SAY_VOICESOURCE_H
#define QXSPEECH_EXAMPLES_SAY_VOICESOURCE_H

#include <optional>
#include <vector>
#include <wx/string.h>

#include "options.h"
#include "speech/tts.h"
#include "websession.h"

namespace say
{

// The list is loaded by the constructor, which throws Failure (kExitRefused) if a service gives none and none is kept.
// Main thread; engine and session outlive it.
class VoiceSource
{
public:
    VoiceSource(const wxTextToSpeech& engine, WebSession& session, const Options& options);

    const std::vector<QXTTSVoiceInfo>& Voices() const { return m_voices; }
    // The one that the options ask for. A kept list that lacks it is fetched anew once. Throws Failure (kExitUsage) if
    // there is none, and kExitRefused if the service could not be reached for a list: no second request waits in vain.
    QXTTSVoiceInfo Choose();

private:
    void LoadFromService();
    // False, with the kept list as it is, if the service gives none.
    bool Fetch();
    std::optional<QXTTSVoiceInfo> Find() const;

    WebSession& m_session;
    const Options& m_options;
    const wxTTSHandler& m_handler;
    wxString m_outOfReach; // why no request comes through, if none does
    bool m_isKept = false; // not fetched by this run
    std::vector<QXTTSVoiceInfo> m_voices;
};

} // namespace say

#endif
