// What kind of failure ended a call of an engine, or its playing. MIT licence.
#ifndef QXSPEECH_SPEECH_SPEECHFAILURE_H
#define QXSPEECH_SPEECH_SPEECHFAILURE_H

#include <wx/string.h>

// What a host can do something about. The numbers stay; new ones go to the end.
enum wxTTSFailureCategory : int {
    wxTTS_FAILURE_NONE = 0,
    wxTTS_FAILURE_KEY = 1,         // the service does not take the credentials, or they are missing
    wxTTS_FAILURE_QUOTA = 2,       // what the account may use up is used up
    wxTTS_FAILURE_THROTTLED = 3,   // too many requests at a time: later again
    wxTTS_FAILURE_TOO_LONG = 4,    // more text than the service takes at once
    wxTTS_FAILURE_TEXT = 5,        // the text or its markup is refused, or its file cannot be read
    wxTTS_FAILURE_VOICE = 6,       // no such voice, or none that can do this
    wxTTS_FAILURE_NETWORK = 7,     // the host cannot be reached, is silent, or breaks off
    wxTTS_FAILURE_PROXY = 8,       // the proxy cannot be reached or refuses
    wxTTS_FAILURE_CERTIFICATE = 9, // the host is not shown to be who it should be
    wxTTS_FAILURE_DEVICE = 10,     // no audio device, or it went away
    wxTTS_FAILURE_STORAGE = 11,    // a file cannot be written
    wxTTS_FAILURE_CANCELLED = 12,  // ended by the host
    wxTTS_FAILURE_OTHER = 13
};

// One failure, as wxTTSHandler::GetLastFailure tells it. A value of its own: later failures do not change it.
struct wxTTSFailure {
    wxTTSFailureCategory category = wxTTS_FAILURE_NONE;
    int status = 0;          // HTTP status of the answer, 0 without one
    wxString host;           // the service's host, empty without one
    wxString proxy;          // "host:port" of the proxy that the request went through, empty without one
    wxString serviceMessage; // the service's own words, as they came; empty if it had none
    wxString message;        // a translated sentence for people: what happened, and to whom
};

#endif
