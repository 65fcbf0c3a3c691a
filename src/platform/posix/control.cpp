// The tests' hand on the platform layer. MIT licence.
#include "platform/posix/control.h"

#include "platform/posix/messages.h"
#include "platform/posix/win32.h"

namespace qxplatform::control
{

void SetClassFactory(REFCLSID clsid, ClassFactory factory)
{
    RegisterClass(clsid, std::move(factory));
}

void SetVoices(std::vector<VoiceToken> tokens)
{
    SetVoiceTokens(std::make_shared<const std::vector<VoiceToken>>(std::move(tokens)));
}

void SetSystemVersion(DWORD platform, DWORD major)
{
    System().platform = platform;
    System().majorVersion = major;
}

void SetUILanguage(LANGID language)
{
    System().uiLanguage = language;
}

void SetMUIStringStatus(LSTATUS status)
{
    System().muiStringStatus = status;
}

void SetMUIStringPresent(bool present)
{
    System().muiStringPresent = present;
}

void SetSystemProxy(ProxySource source)
{
    SetProxySource(std::move(source));
}

void PostNotice(uint64_t owner, std::function<void()> deliver)
{
    CurrentThreadNotices()->Post(owner, std::move(deliver));
}

void RestoreAll()
{
    RestoreDefaultClasses();
    SetVoiceTokens(nullptr);
    SetSystemVersion(VER_PLATFORM_WIN32_NT, 10);
    SetUILanguage(0);
    SetMUIStringStatus(ERROR_SUCCESS);
    SetMUIStringPresent(true);
    SetSystemProxy(ProxySource());
}

} // namespace qxplatform::control
