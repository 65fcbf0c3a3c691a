// What the engines on the network need round them: credentials, proxy, request history, a folder for audio. MIT
// licence.
#ifndef QXSPEECH_EXAMPLES_SAY_WEBSESSION_H
#define QXSPEECH_EXAMPLES_SAY_WEBSESSION_H

#include <string>
#include <vector>
#include <wx/string.h>

#include "account.h"
#include "audiofolder.h"
#include "core/qxproxysettings.h"
#include "options.h"
#include "output.h"
#include "requesthistory.h"
#include "speech/tts.h"

namespace tool
{
class TerminalKeys;
}

namespace say
{

// Made before the speech instance and deleted after it, as the library keeps pointers to what is in here. One at a
// time, on the main thread. Harmless, and without effect, if the engine turns out to be a local one.
class WebSession
{
public:
    // Reads account and history, and hands them to the library. Throws Failure, kExitFile or kExitUsage.
    explicit WebSession(const Options& options);
    ~WebSession();
    WebSession(const WebSession&) = delete;
    WebSession& operator=(const WebSession&) = delete;

    // The engine that is current from now on; outlives its use here. Throws Failure (kExitUsage) if credentials are
    // missing, and before that makes no request.
    void Use(wxTextToSpeech& engine);
    // Whether that engine speaks over the network; the rest is only for such engines.
    bool IsWeb() const { return m_isWeb; }
    const wxString& EngineId() const { return m_engineId; }
    // Whether its requests need an access token first, and are limited to 19 a minute.
    bool IsTokenNeeded() const { return m_engineId == "Microsoft Azure"; }
    wxString Region() const { return RegionOf(m_engineId, m_account); }
    // "host:port" of the proxy that requests go through, as what answers there need not be the real service; "direct"
    // without one. Asks the system at the first call, if that is the choice.
    wxString Route();

    // Each of these blocks, and ends the process if the user wants it to end.
    // As wxTTSHandler has them.
    bool TestAuthentication();
    bool GetAllVoices(std::vector<QXTTSVoiceInfo>& voices);
    // Returns when playing has begun, or the output is written. The output is null for playing.
    bool Speak(const wxString& text, const OutputTarget* output, tool::TerminalKeys& keys);

private:
    wxString SpeakingStage(std::int64_t freeMs, const OutputTarget* output) const;

    const AccountValues m_account;
    const bool m_showsWithoutTerminal;
    QXProxySettings m_proxy;
    AudioFolder m_audioFolder;          // for playing
    wxTextToSpeech* m_engine = nullptr; // not owned
    wxString m_engineId;                // copied, as the engine is the worker's during a call
    bool m_isWeb = false;
};

} // namespace say

#endif
