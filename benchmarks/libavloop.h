// The peer of the media kit's audio chain: FFmpeg's libraries called directly, in one loop. MIT licence.
#ifndef QXSPEECH_BENCHMARKS_LIBAVLOOP_H
#define QXSPEECH_BENCHMARKS_LIBAVLOOP_H

#include <cstdint>
#include <string>

// Decodes the first audio stream and resamples it into blocks of 4096 samples, 48000 Hz, stereo, 16 bit. Gives the
// number of samples of whole blocks; with firstBlockOnly it ends at the first. -1 if the file does not open.
int64_t DecodeDirectly(const std::string& file, bool firstBlockOnly);
// Decodes the streams of one type (an AVMediaType) to the end and throws the frames away; their number, or -1.
int64_t DecodeStream(const std::string& file, int mediaType);

#endif
