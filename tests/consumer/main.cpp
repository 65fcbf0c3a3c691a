// A host that knows only what is installed: speaks into a file named on the command line. MIT licence.
#include <cstdio>

#include <wx/init.h>

#include "common/version.h"
#include "speech/tts.h"

int main(int argc, char** argv)
{
    wxInitializer wx;
    wxTextToSpeech& speech = QXSingleton<QXTextToSpeech>::Get()->GetEngine();
    const wxString file = argc == 2 ? wxString::FromUTF8(argv[1]) : wxString();
    const bool spoken = !file.empty() && speech.Speak("This library was installed.", wxTTS_SPEAK_WAIT, file);
    std::printf("qxspeech %s: %s\n", QXSPEECH_VERSION_STRING, spoken ? "spoken" : "failed");
    QXSingleton<QXTextToSpeech>::DestroyInstance();
    return spoken ? 0 : 1;
}
