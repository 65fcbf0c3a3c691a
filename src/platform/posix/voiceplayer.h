// The thread that takes a voice's samples to the device or into its file. MIT licence.
#ifndef QXSPEECH_PLATFORM_POSIX_VOICEPLAYER_H
#define QXSPEECH_PLATFORM_POSIX_VOICEPLAYER_H

#include <memory>

#include "platform/posix/voicestate.h"

namespace qxvoice
{

// Starts the voice's player if it has none. Called with the speech lock held. False if no thread could be started.
// The player lives until the voice is released and silent, or until its device is found to hang; it then belongs to
// nobody and ends when the device call comes back.
bool EnsurePlayer(const std::shared_ptr<VoiceState>& voice);

} // namespace qxvoice

#endif
