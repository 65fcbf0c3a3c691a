// The command line. MIT licence.
#ifndef QXSPEECH_EXAMPLES_PLAY_OPTIONS_H
#define QXSPEECH_EXAMPLES_PLAY_OPTIONS_H

#include <cstdint>
#include <string>
#include <vector>

#include <wx/string.h>

namespace play
{

struct Options {
    bool help = false;
    bool version = false;
    bool verbose = false;
    bool listDevices = false;
    bool json = false;
    bool noVideo = false;
    std::string device;             // id or name, UTF-8; empty: the default
    int64_t fromUs = 0;             // where the first file begins
    std::string record;             // the path's bytes; empty: play
    int64_t recordUs = 0;           // length of the recording, above 0
    std::vector<std::string> files; // the paths' bytes
};

// The arguments without the program's name, as bytes. Throws Failure (kExitUsage).
Options ParseOptions(const std::vector<std::string>& arguments);

// For --help.
wxString UsageText();

} // namespace play

#endif
