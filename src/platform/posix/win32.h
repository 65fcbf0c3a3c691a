// What the system says of itself, and how tests make it say something else. MIT licence.
#ifndef QXSPEECH_PLATFORM_WIN32_H
#define QXSPEECH_PLATFORM_WIN32_H

#include <atomic>
#include <windows.h>

namespace qxplatform
{

struct SystemAnswers {
    std::atomic<DWORD> platform{VER_PLATFORM_WIN32_NT}; // 0: GetVersionExW fails
    std::atomic<DWORD> majorVersion{10};
    std::atomic<LANGID> uiLanguage{0}; // 0: the environment's
    std::atomic<LSTATUS> muiStringStatus{ERROR_SUCCESS};
    std::atomic<bool> muiStringPresent{true};
};

// Never destroyed. Any thread.
SystemAnswers& System();

} // namespace qxplatform

#endif
