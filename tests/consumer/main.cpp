// A host that knows only what is installed: speaks into a file named on the command line. MIT licence.
#include <cstdio>

#include <wx/init.h>

#include "common/version.h"
#include "speech/tts.h"

int main(int argc, char** argv)
{
    wxInitializer wx;
    wxTextToSpeech& speech = QXSingleton<QXTextToSpeech>::Get()->GetEngine();
    const int wait = 0x4; // until the file is complete
    const bool spoken = argc == 2 && speech.Speak("This library was installed.", wait, wxString::FromUTF8(argv[1]));
    std::printf("qxspeech %s: %s\n", QXSPEECH_VERSION_STRING, spoken ? "spoken" : "failed");
    QXSingleton<QXTextToSpeech>::DestroyInstance();
    return spoken ? 0 : 1;
}
