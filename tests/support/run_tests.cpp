// The runner of the test programs, with its second chance for sound in real time. MIT licence.
#include "support/run_tests.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <thread>

#include "support/stall_watch.h"

extern char** environ;

namespace
{

constexpr int kSkipped = 77;
constexpr int kRepeats = 4;
constexpr double kStallMs = 15; // a write to the device may be this late without being heard
const char* const kRound = "QX_REAL_TIME_ROUND";

// Notes which cases failed on a steady machine, and which while it stood still.
class Judge : public testing::EmptyTestEventListener
{
public:
    void OnTestStart(const testing::TestInfo&) override { m_watch.Take(); }
    void OnTestEnd(const testing::TestInfo& info) override
    {
        const double stallMs = m_watch.Take();
        if (!info.result()->Failed())
            return;
        const std::string name = std::string(info.test_suite_name()) + "." + info.name();
        std::printf("%s failed; the longest stall of the machine was %.1f ms\n", name.c_str(), stallMs);
        if (stallMs < kStallMs)
            faults = true;
        else
            stalled += (stalled.empty() ? "" : ":") + name;
    }

    // Until the machine has been steady for some seconds, or a minute has passed.
    void AwaitCalm()
    {
        int calm = 0;
        for (int seconds = 0; seconds < 60 && calm < 3; ++seconds) {
            m_watch.Take();
            std::this_thread::sleep_for(std::chrono::seconds(1));
            calm = m_watch.Take() < kStallMs ? calm + 1 : 0;
        }
    }

    bool faults = false;
    std::string stalled; // a filter of names

private:
    StallWatch m_watch;
};

// The program once more, with these cases only. Its own memory stays as it is, for the checkers that look at it at
// exit.
int Repeat(const std::string& cases, int round)
{
    std::printf("repeating %s\n", cases.c_str());
    std::fflush(stdout);
    setenv(kRound, std::to_string(round).c_str(), 1);
    std::string program = "/proc/self/exe";
    std::string filter = "--gtest_filter=" + cases;
    char* const arguments[] = {program.data(), filter.data(), nullptr};
    pid_t child = 0;
    int status = 0;
    if (posix_spawn(&child, program.c_str(), nullptr, nullptr, arguments, environ) != 0 ||
        waitpid(child, &status, 0) != child)
        return 1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

} // namespace

int RunTests()
{
    Judge* judge = nullptr;
    if (std::getenv("QX_REAL_TIME")) {
        judge = new Judge;
        testing::UnitTest::GetInstance()->listeners().Append(judge); // which owns it
    }
    const int result = RUN_ALL_TESTS();
    if (result == 0)
        return testing::UnitTest::GetInstance()->skipped_test_count() > 0 ? kSkipped : 0;
    const char* const round = std::getenv(kRound);
    const int repeats = round ? std::atoi(round) : 0;
    if (!judge || judge->faults || judge->stalled.empty() || repeats >= kRepeats)
        return result;
    judge->AwaitCalm();
    return Repeat(judge->stalled, repeats + 1);
}
