// Voice lists of the web services. Private. MIT licence.
#ifndef QXSPEECH_SPEECH_CLOUDVOICES_H
#define QXSPEECH_SPEECH_CLOUDVOICES_H

#include <functional>
#include <vector>
#include <wx/arrstr.h>
#include <wx/string.h>

#include "speech/ttsvoiceinfo.h"
#include "json/jsondocument.h"

namespace qxspeech
{

// An answer. One that breaks off in the middle still holds what stands before, but does not take the place of a list.
class JsonAnswer : public wxJSONDocument
{
public:
    bool IsWhole() const { return m_errorCode == 0; }
};

// A member of an object as text, whatever its type; "" if it is absent or this is no object.
wxString MemberText(const wxJSONValue& object, const wxString& key);
// The member, or an invalid value.
wxJSONValue Member(const wxJSONValue& object, const wxString& key);

// One voice for each element, in order; none for what is no array.
std::vector<QXTTSVoiceInfo> ReadVoices(const wxJSONValue& array,
                                       const std::function<QXTTSVoiceInfo(const wxJSONValue&)>& read);

// A default-constructed voice from an empty list.
QXTTSVoiceInfo FirstVoice(const std::vector<QXTTSVoiceInfo>& voices);
// The names of the voices with exactly this language code.
wxArrayString NamesOfVoices(const std::vector<QXTTSVoiceInfo>& voices, const wxString& languageCode);

} // namespace qxspeech

#endif
