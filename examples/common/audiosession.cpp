// Start of PortAudio without the chatter of the sound systems below it. MIT licence.
#include "audiosession.h"

#include <algorithm>
#include <dlfcn.h>
#include <portaudio.h>

#include "exitstatus.h"

namespace tool
{
namespace
{

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
    Pa_Terminate();
}

bool AudioSession::HasOutputDevice()
{
    return Pa_GetDefaultOutputDevice() >= 0; // negative: none, or not started
}

bool AudioSession::OutputOpens(int device)
{
    const PaDeviceInfo* const info = Pa_GetDeviceInfo(device);
    if (!info)
        return false;
    const PaStreamParameters parameters{device, std::min(info->maxOutputChannels, 2), paInt16,
                                        info->defaultHighOutputLatency, nullptr};
    PaStream* stream = nullptr;
    if (Pa_OpenStream(&stream, nullptr, &parameters, info->defaultSampleRate, 0, paNoFlag, nullptr, nullptr) !=
        paNoError)
        return false;
    Pa_CloseStream(stream);
    return true;
}

bool AudioSession::DefaultOutputOpens()
{
    return OutputOpens(Pa_GetDefaultOutputDevice());
}

bool AudioSession::HasInputDevice()
{
    return Pa_GetDefaultInputDevice() >= 0;
}

} // namespace tool
