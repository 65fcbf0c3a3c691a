// System version, user language and modules. MIT licence.
#include "platform/posix/win32.h"

#include "platform/posix/languages.h"
#include "platform/posix/registry.h"

#include <cstring>
#include <cwchar>

namespace qxplatform
{

SystemAnswers& System()
{
    static SystemAnswers* const answers = new SystemAnswers;
    return *answers;
}

} // namespace qxplatform

struct QXModuleHandle {
    LPCWSTR name;
};

static QXModuleHandle advapi = {L"advapi32.dll"};

BOOL GetVersionExW(LPOSVERSIONINFOW information)
{
    const qxplatform::SystemAnswers& system = qxplatform::System();
    if (!information || information->dwOSVersionInfoSize < sizeof(OSVERSIONINFOW) || system.platform == 0)
        return FALSE;
    const DWORD size = information->dwOSVersionInfoSize;
    *information = OSVERSIONINFOW();
    information->dwOSVersionInfoSize = size;
    information->dwMajorVersion = system.majorVersion;
    information->dwPlatformId = system.platform;
    return TRUE;
}

LANGID GetUserDefaultUILanguage()
{
    const LANGID fixed = qxplatform::System().uiLanguage;
    return fixed ? fixed : qxplatform::EnvironmentLanguage();
}

int LCIDToLocaleName(LCID locale, LPWSTR name, int nameLength, DWORD)
{
    const std::wstring text = locale > 0xFFFF ? std::wstring() : qxplatform::LanguageName(static_cast<LANGID>(locale));
    const int needed = static_cast<int>(text.size()) + 1;
    if (text.empty() || nameLength < 0 || (nameLength > 0 && (!name || nameLength < needed)))
        return 0;
    if (nameLength > 0)
        std::wmemcpy(name, text.c_str(), static_cast<size_t>(needed));
    return needed;
}

static thread_local DWORD lastError = ERROR_SUCCESS;

DWORD GetLastError()
{
    return lastError;
}

void SetLastError(DWORD error)
{
    lastError = error;
}

HMODULE LoadLibraryW(LPCWSTR fileName)
{
    return fileName && wcscasecmp(fileName, advapi.name) == 0 ? &advapi : nullptr;
}

FARPROC GetProcAddress(HMODULE module, LPCSTR name)
{
    const bool known = module == &advapi && name && std::strcmp(name, "RegLoadMUIStringW") == 0;
    if (!known || !qxplatform::System().muiStringPresent)
        return nullptr;
    return reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(&qxplatform::RegLoadMUIStringW));
}

BOOL FreeLibrary(HMODULE module)
{
    return module == &advapi;
}
