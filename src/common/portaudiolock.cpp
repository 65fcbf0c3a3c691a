// The process-wide lock round opening and closing PortAudio streams. MIT licence.
#include "common/portaudiolock.h"

std::mutex& qxPortAudioLock()
{
    static std::mutex* const lock = new std::mutex;
    return *lock;
}
