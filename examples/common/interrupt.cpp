// Handlers touch lock-free flags and call only what is safe inside a signal. MIT licence.
#include "interrupt.h"

#include <atomic>
#include <climits>
#include <csignal>
#include <cstring>
#include <termios.h>
#include <unistd.h>

#include "exitstatus.h"

namespace tool
{
namespace
{

// An orderly end takes tenths of a second, unless a sound server hangs: its calls come back after half a minute.
constexpr unsigned kGraceSeconds = 3;

std::atomic<bool> g_endRequested{false};
std::atomic<bool> g_haltRequested{false};
std::atomic<const termios*> g_terminal{nullptr};

struct RegisteredFile {
    std::atomic<bool> isSet{false};
    char path[PATH_MAX]; // complete while isSet
};
RegisteredFile g_files[8];
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<const termios*>::is_always_lock_free);

[[noreturn]] void LeaveAtOnce(ExitStatus status = kExitInterrupted)
{
    if (const termios* settings = g_terminal)
        tcsetattr(STDIN_FILENO, TCSANOW, settings);
    for (const RegisteredFile& file : g_files)
        if (file.isSet)
            unlink(file.path);
    _exit(status);
}

void OnEndSignal(int)
{
    if (g_endRequested.exchange(true))
        LeaveAtOnce();
    alarm(kGraceSeconds);
}

void OnGraceOver(int)
{
    LeaveAtOnce();
}

void OnHaltSignal(int)
{
    g_haltRequested = true;
}

void Install(int signalNumber, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART; // other threads' calls go on; the main thread polls
    sigemptyset(&action.sa_mask);
    sigaction(signalNumber, &action, nullptr);
}

bool IsIgnored(int signalNumber)
{
    struct sigaction action = {};
    return sigaction(signalNumber, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

} // namespace

void InstallSignalHandlers()
{
    Install(SIGINT, OnEndSignal);
    Install(SIGTERM, OnEndSignal);
    Install(SIGALRM, OnGraceOver);
    if (!IsIgnored(SIGHUP))
        Install(SIGHUP, OnEndSignal);
}

void RequestEnd()
{
    if (!g_endRequested.exchange(true))
        alarm(kGraceSeconds);
}

void EndAtOnce(ExitStatus status)
{
    LeaveAtOnce(status);
}

bool IsInterrupted()
{
    return g_endRequested;
}

void ThrowIfInterrupted()
{
    if (g_endRequested)
        throw Failure{kExitInterrupted, wxString()};
}

bool TakeHaltRequest()
{
    return g_haltRequested.exchange(false);
}

void HaltProcess()
{
    raise(SIGSTOP);
}

void RegisterTerminal(const termios* settings)
{
    g_terminal = settings;
    // Ctrl-Z needs care only while the terminal is changed.
    if (settings && !IsIgnored(SIGTSTP))
        Install(SIGTSTP, OnHaltSignal);
    else if (!IsIgnored(SIGTSTP))
        Install(SIGTSTP, SIG_DFL);
}

void RegisterTemporaryFile(const std::string& path)
{
    for (RegisteredFile& file : g_files) {
        if (file.isSet || path.size() >= sizeof(file.path))
            continue;
        std::memcpy(file.path, path.c_str(), path.size() + 1);
        file.isSet = true;
        return;
    }
}

void ForgetTemporaryFile(const std::string& path)
{
    for (RegisteredFile& file : g_files)
        if (file.isSet && path == file.path)
            file.isSet = false;
}

} // namespace tool
