// The exit statuses of the programs and the error that carries one. MIT licence.
#ifndef QXSPEECH_EXAMPLES_COMMON_EXITSTATUS_H
#define QXSPEECH_EXAMPLES_COMMON_EXITSTATUS_H

#include <wx/string.h>

namespace tool
{

enum ExitStatus {
    kExitDone = 0,
    kExitRefused = 1,      // the engine said no, a word is absent, a check found something
    kExitUsage = 2,        // options or text that make no sense
    kExitNoDevice = 3,     // nothing to play on
    kExitFile = 4,         // a file, or standard output, cannot be read or written
    kExitInterrupted = 130 // Ctrl-C, q, or another signal that asks for the end
};

// Ends the program with a status and one line on standard error; an empty text says nothing. Thrown anywhere below
// main, caught there.
struct Failure {
    ExitStatus status;
    wxString text;
};

} // namespace tool

#endif
