// Reading and searching voice lists. MIT licence.
#include "speech/cloudvoices.h"

namespace qxspeech
{

wxJSONValue Member(const wxJSONValue& object, const wxString& key)
{
    const wxJSONValue* const member = object.FindMember(key);
    return member ? *member : wxJSONValue(wxJSONTYPE_INVALID);
}

wxString MemberText(const wxJSONValue& object, const wxString& key)
{
    const wxJSONValue member = Member(object, key);
    return member.IsValid() ? member.AsString() : wxString();
}

std::vector<QXTTSVoiceInfo> ReadVoices(const wxJSONValue& array,
                                       const std::function<QXTTSVoiceInfo(const wxJSONValue&)>& read)
{
    std::vector<QXTTSVoiceInfo> voices;
    if (!array.IsArray())
        return voices;
    const unsigned count = static_cast<unsigned>(array.Size());
    voices.reserve(count);
    for (unsigned i = 0; i < count; ++i)
        voices.push_back(read(array.ItemAt(i)));
    return voices;
}

QXTTSVoiceInfo FirstVoice(const std::vector<QXTTSVoiceInfo>& voices)
{
    return voices.empty() ? QXTTSVoiceInfo() : voices.front();
}

wxArrayString NamesOfVoices(const std::vector<QXTTSVoiceInfo>& voices, const wxString& languageCode)
{
    wxArrayString names;
    for (const QXTTSVoiceInfo& voice : voices) {
        if (voice.GetLangCode() == languageCode)
            names.push_back(voice.GetName());
    }
    return names;
}

} // namespace qxspeech
