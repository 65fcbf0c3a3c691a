// PortAudio for as long as the program plays. MIT licence.
#ifndef QXSPEECH_EXAMPLES_SAY_AUDIOSESSION_H
#define QXSPEECH_EXAMPLES_SAY_AUDIOSESSION_H

namespace say
{

// Starts PortAudio, and ends it. Must outlive the speech instance. The constructor throws Failure (kExitNoDevice)
// without an output device. quiet keeps what the sound libraries print off standard error; only a program may decide
// that, never a library.
class AudioSession
{
public:
    explicit AudioSession(bool quiet);
    ~AudioSession();
    AudioSession(const AudioSession&) = delete;
    AudioSession& operator=(const AudioSession&) = delete;

    static bool HasOutputDevice();
};

} // namespace say

#endif
