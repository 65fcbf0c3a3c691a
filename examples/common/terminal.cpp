// The terminal's settings are changed by the least that single keys need. MIT licence.
#include "terminal.h"

#include <poll.h>
#include <unistd.h>

#include "interrupt.h"

namespace tool
{

TerminalKeys::TerminalKeys()
{
    Enter();
}

TerminalKeys::~TerminalKeys()
{
    Leave();
}

void TerminalKeys::Enter()
{
    // Changing the settings from the background would halt the program.
    if (m_active || isatty(STDIN_FILENO) != 1 || tcgetpgrp(STDIN_FILENO) != getpgrp())
        return;
    if (tcgetattr(STDIN_FILENO, &m_original) != 0)
        return;
    RegisterTerminal(&m_original);
    termios keys = m_original;
    keys.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    keys.c_cc[VMIN] = 0;
    keys.c_cc[VTIME] = 0;
    m_active = true;
    tcsetattr(STDIN_FILENO, TCSANOW, &keys);
}

void TerminalKeys::Leave()
{
    if (!m_active)
        return;
    tcsetattr(STDIN_FILENO, TCSANOW, &m_original);
    m_active = false;
    RegisterTerminal(nullptr);
}

char TerminalKeys::Wait(int milliseconds)
{
    pollfd entry{STDIN_FILENO, POLLIN, 0};
    if (poll(&entry, m_active ? 1 : 0, milliseconds) != 1)
        return 0;
    char key = 0;
    if (read(STDIN_FILENO, &key, 1) == 1)
        return key;
    if (entry.revents & (POLLHUP | POLLERR | POLLNVAL))
        Leave(); // the terminal is gone: no more keys, and no busy loop
    return 0;
}

} // namespace tool
