// Whose turn it is to open or close a PortAudio stream. MIT licence.
#ifndef QXSPEECH_COMMON_PORTAUDIOLOCK_H
#define QXSPEECH_COMMON_PORTAUDIOLOCK_H

#include <chrono>
#include <cstdint>

// A close changes PortAudio's list first of all and only then talks to the device, which may take for ever.
constexpr std::chrono::seconds kClosingTurn(1);

// PortAudio's list of open streams is not thread-safe; writing to different streams is. Held round Pa_OpenStream and
// Pa_CloseStream, one at a time in the process; no lock is taken meanwhile. A turn to close that lasts longer than
// kClosingTurn is over for whoever waits, so that a device that hangs there holds up no other. One to open is not: a
// stream gets into the list at its end.
class qxPortAudioTurn
{
public:
    enum Purpose { Opening, Closing };

    // Waits for its turn.
    explicit qxPortAudioTurn(Purpose purpose);
    ~qxPortAudioTurn();
    qxPortAudioTurn(const qxPortAudioTurn&) = delete;
    qxPortAudioTurn& operator=(const qxPortAudioTurn&) = delete;

private:
    uint64_t m_number; // of this turn
};

#endif
