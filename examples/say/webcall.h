// A call that blocks on the network, made beside a main thread that stays awake. MIT licence.
#ifndef QXSPEECH_EXAMPLES_SAY_WEBCALL_H
#define QXSPEECH_EXAMPLES_SAY_WEBCALL_H

#include <functional>
#include <wx/string.h>

#include "../common/terminal.h"

namespace say
{

// What goes on while the call lasts. The functions are called on the main thread.
struct Waiting {
    std::function<wxString()> stage;    // what is waited for, in words
    std::function<void()> onAbandon;    // before the process ends in the midst of the call; may be empty
    tool::TerminalKeys* keys = nullptr; // q ends the program; not owned, may be null
    bool showsWithoutTerminal = false;  // then as lines on standard error
};

// Makes the call on a thread of its own and gives its answer, or its exception. Nothing else may use what the call uses
// until then. From a second on it tells the stage on standard error, if that is a terminal.
//
// Nothing can break such a call off: Ctrl-C ends the process here and now (kExitInterrupted), the terminal in order and
// the registered temporary files removed, with no destructor and no exit handler run, since those would wait for it.
bool CallOnWorker(const std::function<bool()>& call, const Waiting& waiting);

} // namespace say

#endif
