// What a file with speech holds, by its first bytes and by FFmpeg. MIT licence.
#ifndef QXSPEECH_EXAMPLES_SAY_AUDIOFILE_H
#define QXSPEECH_EXAMPLES_SAY_AUDIOFILE_H

#include <cstdint>
#include <string>
#include <wx/string.h>

namespace say
{

// Paths are bytes.

// "WAV", "MP3", or empty for what is neither.
wxString AudioFormatOf(const std::string& path);
// Bytes that the head of a WAV file announces; 0 for another file.
uint64_t AnnouncedBytes(const std::string& path);
// Whether FFmpeg finds sound in it, and decodes the beginning.
bool HoldsSound(const std::string& path);

} // namespace say

#endif
