// Asks a service only where what is kept does not do. MIT licence.
#include "voicesource.h"

#include <cstdlib>

#include "console.h"
#include "exitstatus.h"
#include "failures.h"
#include "requesthistory.h"
#include "values.h"
#include "voicecache.h"
#include "voices.h"

namespace say
{
namespace
{

wxString UserLanguage()
{
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* const value = std::getenv(name);
        if (value && *value)
            return LanguageOfLocale(wxString::FromUTF8(value));
    }
    return LanguageOfLocale(wxString());
}

} // namespace

VoiceSource::VoiceSource(const wxTextToSpeech& engine, WebSession& session, const Options& options)
    : m_session(session), m_options(options), m_handler(*engine.GetCurrentHandler())
{
    if (session.IsWeb())
        LoadFromService();
    else
        m_voices = m_handler.GetAvailableVoices();
}

void VoiceSource::LoadFromService()
{
    const wxString engine = m_session.EngineId();
    const VoiceCache cache = LoadVoiceCache(engine, m_session.Region(), m_session.Route());
    m_voices = cache.voices;
    m_isKept = true;
    if (!m_voices.empty() && !m_options.refresh && !IsStale(cache, NowMs()))
        return;
    if (Fetch())
        return;
    const wxTTSFailure failure = m_handler.GetLastFailure();
    const wxString error = Describe(failure);
    const wxString reason = engine + " gave no voice list" + (error.empty() ? wxString() : ": " + error);
    if (IsOutOfReach(failure))
        m_outOfReach = reason;
    if (m_voices.empty())
        throw Failure{kExitRefused, reason};
    PrintError("warning: " + reason + "; this is the list of " + DayOf(cache));
    m_isKept = false; // no second try
}

bool VoiceSource::Fetch()
{
    VoiceCache fresh{m_session.EngineId(), m_session.Region(), m_session.Route(), 0, {}};
    if (!m_session.GetAllVoices(fresh.voices) || fresh.voices.empty())
        return false;
    fresh.fetchedMs = NowMs();
    StoreVoiceCache(fresh);
    m_voices = fresh.voices;
    m_isKept = false;
    return true;
}

std::optional<QXTTSVoiceInfo> VoiceSource::Find() const
{
    const std::vector<QXTTSVoiceInfo> candidates = OfLanguage(m_voices, m_options.language);
    const wxString language = m_options.language.empty() ? UserLanguage() : m_options.language;
    const QXTTSVoiceInfo* const voice =
        m_options.voice.empty() ? FirstVoice(candidates, language) : FindVoice(candidates, m_options.voice);
    return voice ? std::make_optional(*voice) : std::nullopt;
}

QXTTSVoiceInfo VoiceSource::Choose()
{
    if (!m_outOfReach.empty()) // so would the speech's request be
        throw Failure{kExitRefused, m_outOfReach};
    std::optional<QXTTSVoiceInfo> voice = Find();
    if (!voice && m_isKept && Fetch())
        voice = Find();
    if (voice)
        return *voice;
    if (m_options.voice.empty())
        throw Failure{kExitUsage, "no voice for language " + m_options.language + "; -L lists the voices"};
    throw Failure{kExitUsage,
                  "no voice \"" + m_options.voice + "\"; -L lists the voices, -L --lang de those of a language"};
}

} // namespace say
