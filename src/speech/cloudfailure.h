// What went wrong on the way to a service, or there, as a record for the host. Private. MIT licence.
#ifndef QXSPEECH_SPEECH_CLOUDFAILURE_H
#define QXSPEECH_SPEECH_CLOUDFAILURE_H

#include <stdexcept>
#include <wx/string.h>

#include "speech/speechfailure.h"

namespace qxspeech
{

class CloudResponse;

// Whom a request goes to.
struct CloudPeer {
    wxString host;
    wxString proxy; // "host:port", empty for none
};

// What requests throw: the HTTP library's own words, or the system's, with the record.
class CloudFailure : public std::runtime_error
{
public:
    CloudFailure(const std::string& what, const wxTTSFailure& failure) : std::runtime_error(what), m_failure(failure) {}
    // What has no other words is told by its sentence.
    explicit CloudFailure(const wxTTSFailure& failure) : CloudFailure(std::string(failure.message.utf8_str()), failure)
    {
    }
    const wxTTSFailure& Record() const { return m_failure; }

private:
    wxTTSFailure m_failure;
};

wxTTSFailure MakeFailure(const CloudPeer& peer, wxTTSFailureCategory category, const wxString& message);
// By the words and the error code with which the HTTP library gave up.
wxTTSFailure TransportFailure(const CloudPeer& peer, const wxString& words, int code);
// Of anything that is caught: a CloudFailure's record, logged, else the text with the category other.
wxTTSFailure CaughtFailure(const std::exception& caught);
// What the service says with a status other than 200, logged. The category is the caller's, or, with none, told by the
// status and the service's words.
wxTTSFailure RefusalFailure(const CloudResponse& response, const wxString& serviceMessage,
                            wxTTSFailureCategory category = wxTTS_FAILURE_NONE);
wxTTSFailureCategory RefusalCategory(int status, const wxString& words);
// An answer of 200 that holds something else.
wxTTSFailure UnreadableFailure(const CloudPeer& peer);

// Redirects are not followed: a key would travel to whatever host they name.
bool IsRedirect(const CloudResponse& response);

// Letters, digits and hyphens; anything else in a region would make another host of the address.
bool IsRegion(const wxString& region);
wxTTSFailure RegionFailure();

} // namespace qxspeech

#endif
