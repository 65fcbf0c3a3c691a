// Speaks one sentence on the default device and waits for its end. MIT licence.
#include <portaudio.h>
#include <wx/app.h>
#include <wx/init.h>
#include <wx/log.h>
#include <wx/utils.h>

#include "speech/tts.h"

int main()
{
    wxInitializer wx;
    // A host with a window would show each line of the library's in a box.
    wxLog::SetComponentLevel("qxspeech", wxLOG_Warning);
    Pa_Initialize(); // the local voice plays through the host's PortAudio
    wxTextToSpeech& speech = QXSingleton<QXTextToSpeech>::Get()->GetEngine();
    const bool started = speech.Speak("Hello, world.", wxTTS_SPEAK_ASYNC, wxString());
    while (speech.IsSpeaking()) {
        wxYield(); // delivers the notice of the end
        wxMilliSleep(10);
    }
    QXSingleton<QXTextToSpeech>::DestroyInstance(); // before PortAudio and wxWidgets end
    Pa_Terminate();
    return started ? 0 : 1;
}
