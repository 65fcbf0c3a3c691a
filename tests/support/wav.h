// Reads WAV files strictly and measures what is in them. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_WAV_H
#define QXSPEECH_TESTS_SUPPORT_WAV_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// 16-bit samples, interleaved, with their rate and channel count.
struct Sound {
    int rateHz = 0;
    int channels = 1;
    std::vector<int16_t> samples;

    double Seconds() const;
    // Root of the mean square between two times, 0 to 32767.
    double Rms(double fromSeconds, double toSeconds) const;
    double Rms() const { return Rms(0, Seconds()); }
};

// A stretch of sound that is louder than silence.
struct Stretch {
    double from;
    double to;
};

// False with a reason unless the file is a PCM 16-bit WAV whose sizes agree with each other and lie within the file.
// Bytes behind the announced data are allowed only with `growing`: a file that another process is just writing.
bool ReadWav(const std::string& path, Sound& sound, std::string& why, bool growing = false);

// The loud stretches, in seconds: windows of 10 ms above the threshold, gaps shorter than minGapSeconds bridged.
std::vector<Stretch> LoudStretches(const Sound& sound, double minGapSeconds, double threshold = 100);

#endif
