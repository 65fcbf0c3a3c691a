// Running a peer's program for a benchmark. MIT licence.
#include "childrun.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

double Seconds(const rusage& usage)
{
    const auto whole = usage.ru_utime.tv_sec + usage.ru_stime.tv_sec;
    const auto parts = usage.ru_utime.tv_usec + usage.ru_stime.tv_usec;
    return static_cast<double>(whole) + static_cast<double>(parts) * 1e-6;
}

} // namespace

pid_t StartProgram(const std::vector<std::string>& command)
{
    std::vector<char*> arguments;
    for (const std::string& part : command)
        arguments.push_back(const_cast<char*>(part.c_str()));
    arguments.push_back(nullptr);
    const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
    const pid_t child = vfork();
    if (child == 0) {
        for (int descriptor = 0; descriptor < 3; ++descriptor)
            dup2(nowhere, descriptor);
        execvp(arguments[0], arguments.data());
        _exit(127);
    }
    close(nowhere);
    return child;
}

ChildUsage AwaitProgram(pid_t child)
{
    ChildUsage result;
    int status = 0;
    rusage usage = {};
    if (child < 0 || wait4(child, &status, 0, &usage) != child)
        return result;
    result.ok = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    result.cpuSeconds = Seconds(usage);
    result.peakMegabytes = static_cast<double>(usage.ru_maxrss) / 1024;
    return result;
}

double OwnCpuSeconds()
{
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return Seconds(usage);
}
