// How tests steer the platform layer: what stands behind the classes, the voices, the system's answers. MIT licence.
#ifndef QXSPEECH_PLATFORM_CONTROL_H
#define QXSPEECH_PLATFORM_CONTROL_H

#include "platform/posix/com.h"
#include "platform/posix/registry.h"
#include "platform/posix/systemproxy.h"

#include <cstdint>
#include <functional>
#include <vector>
#include <windows.h>

namespace qxplatform::control
{

// What CoCreateInstance makes for a class id; an empty factory: the class is not registered.
void SetClassFactory(REFCLSID clsid, ClassFactory factory);

// The voices of the registry, also broken ones: without description, without "Language".
void SetVoices(std::vector<VoiceToken> tokens);

// What GetVersionExW answers. Platform VER_PLATFORM_WIN32_NT and major 10 by default; platform 0 makes it fail.
void SetSystemVersion(DWORD platform, DWORD major);

// What GetUserDefaultUILanguage answers; 0: what the environment says.
void SetUILanguage(LANGID language);

// What RegLoadMUIStringW answers, ERROR_SUCCESS: the value; and whether GetProcAddress finds it at all.
void SetMUIStringStatus(LSTATUS status);
void SetMUIStringPresent(bool present);

// Who names the proxies behind InternetQueryOptionW.
void SetSystemProxy(ProxySource source);

// Posts a notice to the calling thread's queue.
void PostNotice(uint64_t owner, std::function<void()> deliver);

// Everything above as it was at the start; what waits in queues stays.
void RestoreAll();

// Restores everything when it goes out of scope.
struct Restorer {
    Restorer() = default;
    Restorer(const Restorer&) = delete;
    Restorer& operator=(const Restorer&) = delete;
    ~Restorer() { RestoreAll(); }
};

} // namespace qxplatform::control

#endif
