// Error bodies of services and files to be spoken. MIT licence.
#include "speech/cloudtext.h"

#include <wx/convauto.h>
#include <wx/log.h>

#include "speech/cloudvoices.h"
#include "speech/ttsfilework.h"
#include "speech/ttstextfile.h"
#include "json/jsondocument.h"

using qxspeech::Member;

wxString ParseErrorMessage(const wxString& body)
{
    wxJSONDocument document;
    const wxJSONValue message = Member(Member(document.Parse(body), "error"), "message");
    return message.IsString() ? message.AsString() : wxString();
}

namespace qxspeech
{

bool ReadSpeechFile(const wxString& filename, wxString& text)
{
    const wxLogNull noLog;
    return qxReadTextFile(filename, wxConvAuto(), text);
}

} // namespace qxspeech
