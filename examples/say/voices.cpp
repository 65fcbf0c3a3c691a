// Voices as text and as JSON. MIT licence.
#include "voices.h"

#include <algorithm>

#include "exitstatus.h"
#include "values.h"
#include "json/jsonvalue.h"
#include "json/jsonwriter.h"

namespace say
{
namespace
{

wxString Column(const wxString& text, size_t width)
{
    return text + wxString(' ', text.length() < width ? width - text.length() : 1);
}

size_t Widest(const std::vector<QXTTSVoiceInfo>& voices, const wxString& (QXTTSVoiceInfo::*field)() const)
{
    size_t width = 0;
    for (const QXTTSVoiceInfo& voice : voices)
        width = std::max(width, (voice.*field)().length());
    return width;
}

} // namespace

wxString EngineList(const wxTextToSpeech& engine)
{
    wxString text;
    for (const wxString& id : engine.GetEngineIds())
        text += Column(ShortEngineName(id), 8) + id + "\n";
    return text;
}

std::vector<QXTTSVoiceInfo> LoadVoices(const wxTextToSpeech& engine)
{
    wxTTSHandler* const handler = engine.GetCurrentHandler();
    std::vector<QXTTSVoiceInfo> voices = handler->GetAvailableVoices();
    // Only engines on the network have no installed voices but a list to fetch.
    if (voices.empty() && ShortEngineName(handler->GetId()) != "sapi" && !handler->GetAllVoices(voices)) {
        const wxString reason = handler->GetLastErrorMessage();
        throw Failure{kExitRefused, reason.empty() ? handler->GetId() + " gave no voice list" : reason};
    }
    return voices;
}

std::vector<QXTTSVoiceInfo> OfLanguage(const std::vector<QXTTSVoiceInfo>& voices, const wxString& language)
{
    std::vector<QXTTSVoiceInfo> kept;
    for (const QXTTSVoiceInfo& voice : voices)
        if (language.empty() || LanguageMatches(voice.GetLangCode(), language))
            kept.push_back(voice);
    return kept;
}

wxString VoiceListText(const std::vector<QXTTSVoiceInfo>& voices)
{
    const size_t languageWidth = Widest(voices, &QXTTSVoiceInfo::GetLangCode) + 2;
    const size_t idWidth = Widest(voices, &QXTTSVoiceInfo::GetId) + 2;
    wxString text;
    for (const QXTTSVoiceInfo& voice : voices) {
        text += Column(voice.GetLangCode(), languageWidth);
        text += voice.GetName() == voice.GetId() ? voice.GetId() : Column(voice.GetId(), idWidth) + voice.GetName();
        text += "\n";
    }
    return text;
}

wxString VoiceListJson(const std::vector<QXTTSVoiceInfo>& voices)
{
    wxJSONValue list(wxJSONTYPE_ARRAY);
    for (const QXTTSVoiceInfo& voice : voices) {
        wxJSONValue entry;
        voice.Serialize(entry);
        list.Append(entry);
    }
    wxString text;
    wxJSONWriter(0, 0, 3).Write(list, text);
    return text + "\n";
}

QXTTSVoiceInfo FindVoice(const std::vector<QXTTSVoiceInfo>& voices, const wxString& name)
{
    for (const bool withCase : {true, false})
        for (const QXTTSVoiceInfo& voice : voices)
            if (voice.GetId().IsSameAs(name, withCase) || voice.GetName().IsSameAs(name, withCase))
                return voice;
    throw Failure{kExitUsage, "no voice \"" + name + "\"; -L lists the voices"};
}

} // namespace say
