// fork and exec with pipes, or with a pseudo terminal. MIT licence.
#include "childprocess.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace
{

constexpr int kPollMs = 10;
constexpr std::chrono::seconds kLimit(60);

// Two ends of a pipe, or the two sides of a terminal; the child gets one of them.
struct Channel {
    int ours = -1;
    int theirs = -1;

    void MakePipe(bool childReads)
    {
        int ends[2] = {-1, -1};
        if (pipe2(ends, O_CLOEXEC) != 0)
            return;
        ours = ends[childReads ? 1 : 0];
        theirs = ends[childReads ? 0 : 1];
    }
    void MakeTerminal()
    {
        if (openpty(&ours, &theirs, nullptr, nullptr, nullptr) == 0) {
            fcntl(ours, F_SETFD, FD_CLOEXEC);
            fcntl(theirs, F_SETFD, FD_CLOEXEC);
        }
    }
    void Close(int& end)
    {
        if (end >= 0)
            close(end);
        end = -1;
    }
    ~Channel()
    {
        Close(ours);
        Close(theirs);
    }
};

// Reads what is there; false at the end.
bool Drain(int file, std::string& text)
{
    char block[65536];
    const ssize_t count = read(file, block, sizeof(block));
    if (count > 0)
        text.append(block, static_cast<size_t>(count));
    return count > 0 || (count < 0 && (errno == EAGAIN || errno == EINTR));
}

[[noreturn]] void BecomeProgram(const ChildProcess& child, int in, int out, int err)
{
    if (child.onTerminal) {
        setsid();
        ioctl(in, TIOCSCTTY, 0);
    }
    dup2(in, STDIN_FILENO);
    dup2(err, STDERR_FILENO);
    if (child.output == ChildProcess::Output::kCaptured)
        dup2(out, STDOUT_FILENO);
    else if (child.output == ChildProcess::Output::kFull)
        dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO);
    else
        close(STDOUT_FILENO);
    if (child.unprivileged && geteuid() == 0 &&
        (setgroups(0, nullptr) != 0 || setgid(65534) != 0 || setuid(65534) != 0))
        _exit(126);
    std::vector<char*> arguments;
    for (const std::string& argument : child.arguments)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    execv(arguments[0], arguments.data());
    _exit(127);
}

bool SameSettings(const termios& a, const termios& b)
{
    return a.c_lflag == b.c_lflag && a.c_iflag == b.c_iflag && a.c_oflag == b.c_oflag &&
           std::memcmp(a.c_cc, b.c_cc, sizeof(a.c_cc)) == 0;
}

} // namespace

ChildProcess::Result ChildProcess::Run() const
{
    Channel in;
    Channel out;
    Channel err;
    if (onTerminal)
        in.MakeTerminal();
    else
        in.MakePipe(true);
    out.MakePipe(false);
    err.MakePipe(false);
    termios before = {};
    tcgetattr(in.theirs, &before);

    const pid_t pid = fork();
    if (pid == 0)
        BecomeProgram(*this, in.theirs, out.theirs, onTerminal ? in.theirs : err.theirs);
    out.Close(out.theirs);
    err.Close(err.theirs);
    fcntl(in.ours, F_SETFL, O_NONBLOCK);

    Result result;
    std::string toType = input;
    size_t typed = 0;
    int state = 0;
    bool killed = false;
    const auto deadline = std::chrono::steady_clock::now() + kLimit;
    for (bool running = true; running;) {
        running = waitpid(pid, &state, WNOHANG) == 0;
        if (type)
            toType += type(result.err);
        if (typed < toType.size() && result.err.find(typeAfter) != std::string::npos) {
            const ssize_t count = write(in.ours, toType.data() + typed, toType.size() - typed);
            typed += count > 0 ? static_cast<size_t>(count) : 0;
        }
        if (typed == toType.size() && !onTerminal)
            in.Close(in.ours);
        if (running && whileRunning)
            whileRunning(pid);
        if (running && !killed && std::chrono::steady_clock::now() > deadline)
            killed = kill(pid, SIGKILL) == 0;
        pollfd entries[] = {{out.ours, POLLIN, 0}, {onTerminal ? in.ours : err.ours, POLLIN, 0}};
        if (poll(entries, 2, running ? kPollMs : 0) <= 0)
            continue;
        if ((entries[0].revents & (POLLIN | POLLHUP)) && !Drain(out.ours, result.out))
            out.Close(out.ours);
        if (entries[1].revents & POLLIN)
            Drain(entries[1].fd, result.err);
    }
    while (out.ours >= 0 && Drain(out.ours, result.out)) {
    }
    while (!onTerminal && Drain(err.ours, result.err)) {
    }
    termios after = {};
    result.terminalRestored = onTerminal && tcgetattr(in.theirs, &after) == 0 && SameSettings(before, after);
    if (!killed)
        result.status = WIFEXITED(state) ? WEXITSTATUS(state) : 128 + WTERMSIG(state);
    return result;
}
