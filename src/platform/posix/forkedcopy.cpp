// Tells a forked copy by its process id. MIT licence.
#include "platform/posix/forkedcopy.h"

#include <atomic>
#include <unistd.h>

namespace qxplatform
{
namespace
{

std::atomic<pid_t> speakingProcess{0}; // of the speech threads; 0 for none

} // namespace

bool IsForkedCopy()
{
    const pid_t process = speakingProcess;
    return process != 0 && process != getpid();
}

void OwnSpeechThreads()
{
    speakingProcess = getpid();
}

} // namespace qxplatform
