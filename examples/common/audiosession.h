// PortAudio for as long as the program plays or records. MIT licence.
#ifndef QXSPEECH_EXAMPLES_COMMON_AUDIOSESSION_H
#define QXSPEECH_EXAMPLES_COMMON_AUDIOSESSION_H

#include <wx/string.h>

namespace tool
{

// Starts PortAudio, and ends it. Must outlive whatever plays or records. The constructor throws Failure (kExitNoDevice)
// if PortAudio does not start, or without a default device of the kind that is needed. It asks the sound systems below
// to print nothing: a program may decide that for its process, a library never.
class AudioSession
{
public:
    enum class Needs { kNothing, kOutput, kInput };

    // The advice, which may be empty, goes behind the failure's text.
    explicit AudioSession(Needs needs, const wxString& advice = wxString());
    ~AudioSession();
    AudioSession(const AudioSession&) = delete;
    AudioSession& operator=(const AudioSession&) = delete;

    // A device has failed, and PortAudio's end may hang with it: it is left to the end of the process.
    static void LeaveRunning();
    static bool HasOutputDevice();
    static bool HasInputDevice();
};

} // namespace tool

#endif
