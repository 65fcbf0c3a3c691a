// Signals that ask the program to end or to halt, turned into flags that the main thread looks at. MIT licence.
#ifndef QXSPEECH_EXAMPLES_COMMON_INTERRUPT_H
#define QXSPEECH_EXAMPLES_COMMON_INTERRUPT_H

#include <string>

#include "exitstatus.h"

struct termios;

namespace tool
{

// SIGINT and SIGTERM, and SIGHUP unless it is ignored, set the flag; so does RequestEnd. From then on the process has
// three seconds (SIGALRM) for an orderly end, for a sound server that hangs; a second such signal ends it at once.
// Terminal and temporary files are put in order even then.
void InstallSignalHandlers();
void RequestEnd();
// What the second signal and the end of the three seconds do: for a main thread that something else keeps from an
// orderly end.
[[noreturn]] void EndAtOnce(ExitStatus status = kExitInterrupted);
bool IsInterrupted();
// Throws Failure (kExitInterrupted).
void ThrowIfInterrupted();

// True once for each Ctrl-Z; the caller then puts the terminal in order and calls HaltProcess, which returns when the
// shell lets the program go on.
bool TakeHaltRequest();
void HaltProcess();

// What they have to put in order. Null: nothing. The settings must outlive their registration.
void RegisterTerminal(const termios* settings);
// Files that it removes; a few at a time, further ones are passed over.
void RegisterTemporaryFile(const std::string& path);
void ForgetTemporaryFile(const std::string& path);

} // namespace tool

#endif
