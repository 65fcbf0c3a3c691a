// Start of PortAudio without the chatter of the sound systems below it. MIT licence.
#include "audiosession.h"

#include <dlfcn.h>
#include <portaudio.h>

#include "console.h"
#include "exitstatus.h"

namespace tool
{
namespace
{

bool g_isLeft = false; // main thread

extern "C" {
void IgnoreAlsaError(const char*, int, const char*, int, const char*, ...) {}
void IgnoreJackText(const char*) {}
}

using AlsaErrorHandler = void (*)(const char*, int, const char*, int, const char*, ...);
using JackTextHandler = void (*)(const char*);

// Hands a handler to a library's setter, if PortAudio has brought that library in.
template <class Result, class Handler>
void SetHandler(const char* library, const char* setter, Handler handler)
{
    void* const loaded = dlopen(library, RTLD_NOW | RTLD_NOLOAD);
    if (!loaded)
        return;
    using Setter = Result (*)(Handler);
    if (void* const symbol = dlsym(loaded, setter))
        reinterpret_cast<Setter>(symbol)(handler);
    dlclose(loaded);
}

void QuietSoundLibraries()
{
    SetHandler<int, AlsaErrorHandler>("libasound.so.2", "snd_lib_error_set_handler", IgnoreAlsaError);
    SetHandler<void, JackTextHandler>("libjack.so.0", "jack_set_error_function", IgnoreJackText);
    SetHandler<void, JackTextHandler>("libjack.so.0", "jack_set_info_function", IgnoreJackText);
}

} // namespace

AudioSession::AudioSession(Needs needs, const wxString& advice)
{
    QuietSoundLibraries();
    const wxString ending = advice.empty() ? wxString() : "; " + advice;
    const PaError error = Pa_Initialize();
    if (error != paNoError)
        throw Failure{kExitNoDevice, wxString("the audio system does not start: ") + Pa_GetErrorText(error) + ending};
    const bool lacksOutput = needs == Needs::kOutput && !HasOutputDevice();
    const bool lacksInput = needs == Needs::kInput && !HasInputDevice();
    if (!lacksOutput && !lacksInput)
        return;
    Pa_Terminate();
    throw Failure{kExitNoDevice, (lacksOutput ? "no audio output device" : "no audio input device") + ending};
}

AudioSession::~AudioSession()
{
    if (!g_isLeft)
        Pa_Terminate();
}

void AudioSession::LeaveRunning()
{
    g_isLeft = true;
}

bool AudioSession::HasOutputDevice()
{
    return Pa_GetDefaultOutputDevice() >= 0; // negative: none, or not started
}

bool AudioSession::HasInputDevice()
{
    return Pa_GetDefaultInputDevice() >= 0;
}

} // namespace tool
