// The addresses of Azure's speech services, which depend on the resource's region. Private. MIT licence.
#ifndef QXSPEECH_SPEECH_AZUREENDPOINTS_H
#define QXSPEECH_SPEECH_AZUREENDPOINTS_H

#include <wx/string.h>

// All three: "" for an empty region or one that holds more than letters, digits and hyphens; errorMessage then holds
// the translated reason, which is logged too. Otherwise errorMessage stays as it is. Nothing is thrown. Regions are
// compared exactly.
wxString GetSpeechEndpoint(const wxString& region, wxString& errorMessage);
wxString GetVoiceListEndpoint(const wxString& region, wxString& errorMessage);
// The commercial cloud's host for every region.
wxString GetTokenEndpoint(const wxString& region, wxString& errorMessage);

#endif
