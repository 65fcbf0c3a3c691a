// Makes media files to read, and decodes them by another way to compare with. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_MEDIAFILE_H
#define QXSPEECH_TESTS_SUPPORT_MEDIAFILE_H

#include <cstdint>
#include <string>
#include <vector>

#include "support/scratch_dir.h"

// Most files are made by the ffmpeg command. A test that needs it begins with QX_REQUIRE_FFMPEG, so that it shows as
// skipped where the command is missing. Whatever fails in here throws std::runtime_error.
#define QX_REQUIRE_FFMPEG()                                                                                            \
    do {                                                                                                               \
        if (!HaveFFmpeg())                                                                                             \
            GTEST_SKIP() << "no ffmpeg command";                                                                       \
    } while (false)
bool HaveFFmpeg();

// What to make. Sound is a tone in each channel, at frequencyHz in the first, twice that in the second and so on; a
// second stream starts an octave and a half up. Pictures are FFmpeg's test pattern.
struct MediaSpec {
    std::string name = "tone.wav"; // its ending decides the container
    double seconds = 1;

    int audioStreams = 1;
    int rateHz = 24000;
    int channels = 1;       // 1, 2 or 6
    std::string audioCodec; // FFmpeg's encoder; empty: the container's own
    double frequencyHz = 440;
    double level = 0.5; // amplitude, 1 is full scale

    int width = 0; // above 0 adds pictures, as the first stream
    int height = 0;
    int framesPerSecond = 10;
    std::string videoCodec;

    bool hasCover = false;              // a small picture attached to the sound (flac, mp3, m4a)
    std::vector<std::string> extraArgs; // of the ffmpeg command, before the output's name
};

// The path of the new file.
std::string MakeMediaFile(const ScratchDir& folder, const MediaSpec& spec);

// Made without the command. 16-bit samples, -1 for dataSize takes the true size; the header may lie.
std::string MakeWavFile(const ScratchDir& folder, const std::string& name, int rateHz, int channels,
                        const std::vector<int16_t>& samples, int64_t dataSize = -1);
// 16-bit big-endian; isSizeUnknown leaves the size in the header open.
std::string MakeAuFile(const ScratchDir& folder, const std::string& name, int rateHz, int channels,
                       const std::vector<int16_t>& samples, bool isSizeUnknown);
// 8-bit mono silence at 8 kHz, of any length at hardly any cost on the disk.
std::string MakeSparseWavFile(const ScratchDir& folder, const std::string& name, int64_t seconds);
std::string MakeFile(const ScratchDir& folder, const std::string& name, const std::string& content);
std::string ReadWholeFile(const std::string& path);
// The first bytes of a file as a file of its own.
std::string MakeTruncatedFile(const ScratchDir& folder, const std::string& path, const std::string& name,
                              size_t byteCount);

// A tone, interleaved; each channel as told at MediaSpec.
std::vector<int16_t> MakeTone(int rateHz, int channels, double seconds, double frequencyHz = 440, double level = 0.5);

// A stream's samples as the ffmpeg command decodes them, in its raw format ("s16le", "f32le", "u8", "s32le",
// "rawvideo"), in the stream's own rate and channels.
std::string DecodeWithFFmpeg(const ScratchDir& folder, const std::string& path, int stream, const std::string& format);

#endif
