// Settings of the engine, and the loop from the start of the speech to its end. MIT licence.
#ifndef QXSPEECH_EXAMPLES_SAY_SPEAKER_H
#define QXSPEECH_EXAMPLES_SAY_SPEAKER_H

#include <wx/string.h>

#include "options.h"
#include "output.h"
#include "preparation.h"
#include "speech/tts.h"
#include "websession.h"

namespace say
{

// Makes the engine that is asked for current. Throws Failure: kExitUsage for an unknown one, kExitRefused if it does
// not start.
void SelectEngine(wxTextToSpeech& engine, const wxString& name);

// Rate, pitch, volume, punctuation and the use of the dictionary. Throws Failure (kExitUsage).
void ApplySettings(wxTextToSpeech& engine, const Options& options);
// The voice; a web engine's may have to be asked of its service. Throws Failure, mostly kExitUsage.
void ApplyVoice(wxTextToSpeech& engine, WebSession& session, const Options& options);

// Speaks to the end: to the device without an output, which the caller commits otherwise. Throws Failure: kExitRefused
// if the engine does not speak, kExitInterrupted if it was stopped.
void SpeakToEnd(wxTextToSpeech& engine, WebSession& session, const Spoken& spoken, const Options& options,
                const OutputTarget* output);

} // namespace say

#endif
