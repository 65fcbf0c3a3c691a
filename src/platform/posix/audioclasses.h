// The factory of the audio device enumerator that the class table lists. MIT licence.
#ifndef QXSPEECH_PLATFORM_AUDIOCLASSES_H
#define QXSPEECH_PLATFORM_AUDIOCLASSES_H

#include <windows.h>

#include <mmdeviceapi.h>

namespace qxplatform
{

HRESULT CreateMMDeviceEnumerator(REFIID iid, void** object);

} // namespace qxplatform

#endif
