// PortAudio's sample formats beside the kit's, which configurations to try on a device, and the level of samples. MIT
// licence.
#ifndef QXSPEECH_MEDIAKIT_AUDIOFORMATS_H
#define QXSPEECH_MEDIAKIT_AUDIOFORMATS_H

#include <cstddef>
#include <portaudio.h>
#include <vector>

#include "mediakit/mediakit.h"

// paCustomFormat for a format that PortAudio has not.
PaSampleFormat mkPaFormat(int32_t format);
// MKSampleUnknown for a format that the kit has not.
int32_t mkFormatFromPa(PaSampleFormat format);

// One configuration of a stream.
struct MKAudioCandidate {
    int channels;
    int rate; // samples per second
    PaSampleFormat format;
};

// What to try in order: what is wanted, if it is whole, then all that a device may take, its own rate first.
// maxChannels and defaultRate (samples per second) are the device's.
std::vector<MKAudioCandidate> mkAudioCandidates(const MKStreamParameters& wanted, int maxChannels, double defaultRate);

// The sum of the squares of samples of one AVSampleFormat, scaled to the 16-bit range; 0 for S64 and unknown formats.
double mkSumOfSquares(const void* samples, size_t count, int avFormat);

// The kit holds 24 bits in the upper bits of 32, PortAudio in three bytes, lowest first on all machines served here.
// The ranges must not overlap.
void mkPack24(const int32_t* samples, size_t count, uint8_t* packed);
void mkUnpack24(const uint8_t* packed, size_t count, int32_t* samples);

#endif
