// The body of an Azure synthesis request for a text or an SSML document. Private. MIT licence.
#ifndef QXSPEECH_SPEECH_AZURESSML_H
#define QXSPEECH_SPEECH_AZURESSML_H

#include <wx/string.h>

class QXTTSVoiceInfo;

namespace qxspeech
{

// The text, cleaned and escaped, spoken by the voice. The voice's values are not escaped; with none they are empty, and
// the service says what is wrong.
wxString AzureTextBody(const wxString& text, const QXTTSVoiceInfo& voice);

enum class SsmlResult {
    kOk,
    kInvalid,  // no well-formed XML, or elements nested deeper than any service takes (500)
    kEntities, // it declares entities of its own, which the parser would drop
    kUnsaved   // it cannot be written
};

// The document with a root "speak" that has its three attributes, newly indented and without the XML declaration. The
// voice stays the document's own affair. An encoding that is declared counts for nothing: the text is characters
// already. Only kOk sets body. Nothing is logged.
SsmlResult AzureSsmlBody(const wxString& document, wxString& body);

} // namespace qxspeech

#endif
