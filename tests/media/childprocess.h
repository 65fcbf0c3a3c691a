// Runs a program as a user would and keeps what it says. MIT licence.
#ifndef QXSPEECH_TESTS_MEDIA_CHILDPROCESS_H
#define QXSPEECH_TESTS_MEDIA_CHILDPROCESS_H

#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

// A program with its arguments; the fields say what is unusual about its surroundings. Used on one thread.
struct ChildProcess {
    enum class Output { kCaptured, kClosed, kFull };

    std::vector<std::string> arguments; // the first is the program's path
    std::string input;                  // what standard input holds
    Output output = Output::kCaptured;
    bool onTerminal = false;   // standard input and error are a terminal, on which input is typed
    std::string typeAfter;     // the input waits until standard error holds this
    bool unprivileged = false; // as nobody, if the tests run as root
    // Called again and again with the process id while the program runs; for signals.
    std::function<void(pid_t)> whileRunning;
    // Called with what standard error holds so far; what it answers is typed after the input.
    std::function<std::string(const std::string&)> type;

    struct Result {
        int status = -1; // exit status; 128 + n for an unhandled signal n; -1 if it had to be killed after a minute
        std::string out;
        std::string err;
        bool terminalRestored = false; // settings after the end are those from before
    };
    Result Run() const;
};

#endif
