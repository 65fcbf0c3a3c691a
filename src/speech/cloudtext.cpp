// Error bodies of services and files to be spoken. MIT licence.
#include "speech/cloudtext.h"

#include <wx/convauto.h>
#include <wx/log.h>

#include "speech/ttsfilework.h"
#include "speech/ttstextfile.h"
#include "json/jsondocument.h"

namespace
{

// Invalid if the value is no object or has no such member.
wxJSONValue Member(const wxJSONValue& value, const wxString& key)
{
    const wxJSONMap* const members = value.AsMap();
    if (!members)
        return wxJSONValue(wxJSONTYPE_INVALID);
    const auto found = members->find(key);
    return found == members->end() ? wxJSONValue(wxJSONTYPE_INVALID) : found->second;
}

} // namespace

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
    return IsReadable(filename) && qxReadTextFile(filename, wxConvAuto(), text);
}

} // namespace qxspeech
