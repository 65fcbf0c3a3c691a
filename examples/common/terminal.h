// Single keys from the terminal on standard input. MIT licence.
#ifndef QXSPEECH_EXAMPLES_COMMON_TERMINAL_H
#define QXSPEECH_EXAMPLES_COMMON_TERMINAL_H

#include <termios.h>

namespace tool
{

// Keys without waiting for a line end and without echo, while an object lives; Ctrl-C stays a signal. Does nothing if
// standard input is no terminal, or one that another job has in the foreground. Main thread only, one object at a time.
class TerminalKeys
{
public:
    TerminalKeys();
    ~TerminalKeys();
    TerminalKeys(const TerminalKeys&) = delete;
    TerminalKeys& operator=(const TerminalKeys&) = delete;

    // The next key, or 0 if none came within that time.
    char Wait(int milliseconds);
    // Around a halt of the process.
    void Leave();
    void Enter();

private:
    termios m_original = {}; // valid while m_active
    bool m_active = false;
};

} // namespace tool

#endif
