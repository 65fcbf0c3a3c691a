// The system's millisecond tick. MIT licence.
#ifndef QXSPEECH_WIN32API_MMSYSTEM_H
#define QXSPEECH_WIN32API_MMSYSTEM_H

#include <windows.h>

// Milliseconds since some moment before the process began; never set, wraps after 2^32.
DWORD timeGetTime();

#endif
