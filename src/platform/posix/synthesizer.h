// The one thread that makes speech for all voices with eSpeak NG. MIT licence.
#ifndef QXSPEECH_PLATFORM_POSIX_SYNTHESIZER_H
#define QXSPEECH_PLATFORM_POSIX_SYNTHESIZER_H

#include <memory>

#include "platform/posix/voicestate.h"

namespace qxvoice
{

// Queued samples of an utterance: the synthesizer works ahead up to the first number and starts again below the second.
// Far enough ahead that a sentence is usually known to its end when it begins to be played.
constexpr size_t kQueueFullSamples = 10 * kSynthRateHz;
constexpr size_t kQueueLowSamples = kQueueFullSamples / 2;

// Free functions over one process-wide worker, which is made with the first voice that speaks and never destroyed. The
// voices take turns: an alert voice first, then whoever waited longest. All are called with the speech lock held.

// Makes the voice known; false if no thread could be started.
bool AddToSynthesizer(const std::shared_ptr<VoiceState>& voice);
void RemoveFromSynthesizer(const std::shared_ptr<VoiceState>& voice);
// There is a new utterance, room in a queue, or an utterance that was taken back.
void WakeSynthesizer();

// Another voice than this one speaks with alert priority to the device and is not paused: normal voices hold.
bool AlertVoiceSpeaks(const VoiceState& voice);

} // namespace qxvoice

#endif
