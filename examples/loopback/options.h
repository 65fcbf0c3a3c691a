// The command line. MIT licence.
#ifndef QXSPEECH_EXAMPLES_LOOPBACK_OPTIONS_H
#define QXSPEECH_EXAMPLES_LOOPBACK_OPTIONS_H

#include <cstdint>
#include <string>
#include <vector>
#include <wx/string.h>

namespace loopbacktool
{

struct Options {
    bool help = false;
    bool version = false;
    bool verbose = false;
    std::uint16_t port = 0; // 0: one that is free
};

// The arguments without the program's name. Throws tool::Failure (kExitUsage).
Options ParseOptions(const std::vector<std::string>& arguments);
wxString UsageText();

} // namespace loopbacktool

#endif
