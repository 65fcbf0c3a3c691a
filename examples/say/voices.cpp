// Voices as text and as JSON. MIT licence.
#include "voices.h"

#include <algorithm>

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

const QXTTSVoiceInfo* FindVoice(const std::vector<QXTTSVoiceInfo>& voices, const wxString& name)
{
    for (const bool withCase : {true, false})
        for (const QXTTSVoiceInfo& voice : voices)
            if (voice.GetId().IsSameAs(name, withCase) || voice.GetName().IsSameAs(name, withCase))
                return &voice;
    for (const QXTTSVoiceInfo& voice : voices)
        if (LanguageMatches(voice.GetLangCode(), name))
            return &voice;
    return nullptr;
}

const QXTTSVoiceInfo* FirstVoice(const std::vector<QXTTSVoiceInfo>& voices, const wxString& language)
{
    for (const wxString& wanted : {language, language.BeforeFirst('-')})
        for (const QXTTSVoiceInfo& voice : voices)
            if (LanguageMatches(voice.GetLangCode(), wanted))
                return &voice;
    return voices.empty() ? nullptr : &voices.front();
}

} // namespace say
