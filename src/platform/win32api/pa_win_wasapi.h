// What the library calls of PortAudio's extension for Windows' audio endpoints. MIT licence.
#ifndef QXSPEECH_WIN32API_PA_WIN_WASAPI_H
#define QXSPEECH_WIN32API_PA_WIN_WASAPI_H

#include <portaudio.h>

extern "C" {

// The IMMDevice behind a PortAudio device, not owned by the caller. paNoError, or why there is none.
PaError PaWasapi_GetIMMDevice(PaDeviceIndex device, void** immDevice);
}

#endif
