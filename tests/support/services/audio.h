// Sound made by code: a tone that lasts as long as the text is, as WAV or MP3. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_SERVICES_AUDIO_H
#define QXSPEECH_TESTS_SUPPORT_SERVICES_AUDIO_H

#include <cstdint>
#include <string>
#include <vector>

#include "services.h"

namespace loopback
{

struct ToneWish {
    unsigned sampleRate = 24000;  // Hz
    unsigned msPerCharacter = 60; // at a rate of 1
    double rate = 1.0;            // speed
    double semitones = 0.0;       // above or below 440 Hz
};

using Samples = std::vector<std::int16_t>; // mono

// Each character is a stretch of tone, a white one of silence; text in UTF-8.
Samples ToneOf(const std::string& text, const ToneWish& wish);
std::string WavOf(const Samples& samples, unsigned sampleRate);
// Throws std::runtime_error if FFmpeg has no MP3 encoder or refuses the rate (8000, 16000, 22050, 24000 Hz and up).
// The encoder adds its delay, and fills the last frame: 0.1 s at most.
std::string Mp3Of(const Samples& samples, unsigned sampleRate);
void RequireMp3Encoder(); // throws std::runtime_error

std::string Base64Of(const std::string& bytes);

// An answer's audio (WAV, MP3, or WAV as base64 within JSON) made longer, to at least that many bytes; anything else
// as it is.
Body Lengthened(const Body& body, std::uint64_t bytes);

} // namespace loopback

#endif
