// The bodies of requests to the Google Cloud service. Private. MIT licence.
#ifndef QXSPEECH_SPEECH_GOOGLEREQUEST_H
#define QXSPEECH_SPEECH_GOOGLEREQUEST_H

#include <string>
#include <wx/string.h>

namespace qxspeech
{

struct GoogleSpeech {
    wxString inputFormat; // "Text" or "SSML"; with any other the body has no input, and the service refuses it
    wxString text;
    wxString languageCode;
    wxString voiceName;
    int pitch;        // semitones, -20 to 20
    int speedPercent; // of the engine's range
};

// The service's rate for a speed in percent: 0.25 at 0, 1 at 50, 4 at 100, straight in between and beyond.
double GoogleSpeakingRate(int speedPercent);

// JSON in UTF-8. Throw std::exception only when memory ran out.
std::string GoogleSpeechBody(const GoogleSpeech& speech);
std::string GoogleTestBody(); // an empty text, to try a key

} // namespace qxspeech

#endif
