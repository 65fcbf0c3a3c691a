// From an audio device into a WAV file. MIT licence.
#ifndef QXSPEECH_EXAMPLES_PLAY_RECORDING_H
#define QXSPEECH_EXAMPLES_PLAY_RECORDING_H

#include <cstdint>
#include <string>

namespace play
{

// Records for that long, or until it is interrupted; the file is whole in either case. The device's id, empty for the
// default. Throws Failure: kExitNoDevice, kExitFile, kExitInterrupted.
void Record(const std::string& device, const std::string& file, int64_t lengthUs);

} // namespace play

#endif
