// PortAudio for as long as the program plays. MIT licence.
#ifndef QXSPEECH_EXAMPLES_SAY_AUDIOSESSION_H
#define QXSPEECH_EXAMPLES_SAY_AUDIOSESSION_H

namespace say
{

// Starts PortAudio, and ends it. Must outlive the speech instance. The constructor throws Failure (kExitNoDevice)
// without an output device. It asks the sound systems below to print nothing: a program may decide that for its
// process, a library never.
class AudioSession
{
public:
    AudioSession();
    ~AudioSession();
    AudioSession(const AudioSession&) = delete;
    AudioSession& operator=(const AudioSession&) = delete;

    static bool HasOutputDevice();
};

} // namespace say

#endif
