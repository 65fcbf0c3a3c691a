// The lock that everybody here takes round opening and closing a PortAudio stream. MIT licence.
#ifndef QXSPEECH_COMMON_PORTAUDIOLOCK_H
#define QXSPEECH_COMMON_PORTAUDIOLOCK_H

#include <mutex>

// PortAudio's list of open streams is not thread-safe; writing to different streams is. One lock for the process, held
// round Pa_OpenStream and Pa_CloseStream, under which no other lock is taken. Never destroyed: exit handlers may still
// close a stream.
std::mutex& qxPortAudioLock();

#endif
