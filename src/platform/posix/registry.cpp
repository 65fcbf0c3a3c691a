// The voices as keys and values of a registry. MIT licence.
#include "platform/posix/registry.h"

#include "platform/posix/espeak_engine.h"
#include "platform/posix/languages.h"
#include "platform/posix/win32.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <mutex>

namespace qxplatform
{

const wchar_t kVoicesCategoryId[] = L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Speech\\Voices";
const wchar_t kVoiceTokensIdStart[] = L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Speech\\Voices\\Tokens\\";

namespace
{

using TokenList = std::vector<VoiceToken>;
using SharedTokens = std::shared_ptr<const TokenList>;

wchar_t LowerAscii(wchar_t c)
{
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
}

bool StartsWith(const std::wstring& text, const std::wstring& start)
{
    const RegistryNameLess less;
    const std::wstring head = text.substr(0, start.size());
    return !less(head, start) && !less(start, head);
}

#ifdef QXSPEECH_NO_ESPEAK

SharedTokens InstalledTokens()
{
    return std::make_shared<const TokenList>();
}

#else

VoiceToken TokenOfVoice(const InstalledVoice& voice)
{
    std::wstring keyName(voice.identifier.begin(), voice.identifier.end());
    std::replace(keyName.begin(), keyName.end(), L'/', L'-');
    std::replace(keyName.begin(), keyName.end(), L'\\', L'-');
    VoiceToken token;
    token.id = kVoiceTokensIdStart + (L"eSpeakNG-" + keyName);
    token.values = {{L"", voice.name}, {L"Description", voice.name}};
    token.attributes = {{L"Name", voice.name}, {L"Vendor", L"eSpeak NG"}, {L"Age", L"Adult"}};
    const LANGID language = LanguageIdOfTag(voice.language);
    if (language)
        token.attributes[L"Language"] = LanguageHex(language);
    if (voice.gender != VoiceGender::Unknown)
        token.attributes[L"Gender"] = voice.gender == VoiceGender::Female ? L"Female" : L"Male";
    token.engineVoice = voice.identifier;
    return token;
}

SharedTokens InstalledTokens()
{
    TokenList tokens;
    for (const InstalledVoice& voice : InstalledVoices())
        tokens.push_back(TokenOfVoice(voice));
    return std::make_shared<const TokenList>(std::move(tokens));
}

#endif

struct Registry {
    std::mutex lock;
    SharedTokens tokens; // null until first asked for

    // Open keys by their handle. Handles are not pointers: one that is closed or made up is noticed.
    std::map<uintptr_t, std::wstring> openKeys;
    uintptr_t lastHandle = 0;
};

Registry& TheRegistry()
{
    static Registry* const registry = new Registry; // never destroyed: voices answer while the process ends
    return *registry;
}

const RegistryValues* ValuesOf(const TokenList& tokens, const std::wstring& path)
{
    const RegistryNameLess less;
    const auto same = [&less](const std::wstring& a, const std::wstring& b) { return !less(a, b) && !less(b, a); };
    for (const VoiceToken& token : tokens) {
        if (same(path, token.id))
            return &token.values;
        if (same(path, token.id + L"\\Attributes"))
            return &token.attributes;
    }
    return nullptr;
}

// A voice, its attributes, or a key on the way to one.
bool KeyExists(const TokenList& tokens, const std::wstring& path)
{
    const auto leadsTo = [&path](const VoiceToken& token) { return StartsWith(token.id, path + L"\\"); };
    return ValuesOf(tokens, path) || StartsWith(kVoiceTokensIdStart, path + L"\\") ||
           std::any_of(tokens.begin(), tokens.end(), leadsTo);
}

// The path of a root or an open key; empty for any other handle.
std::wstring PathOf(HKEY key)
{
    if (key == HKEY_LOCAL_MACHINE)
        return L"HKEY_LOCAL_MACHINE";
    if (key == HKEY_CURRENT_USER)
        return L"HKEY_CURRENT_USER";
    Registry& registry = TheRegistry();
    const std::lock_guard<std::mutex> guard(registry.lock);
    const auto found = registry.openKeys.find(reinterpret_cast<uintptr_t>(key));
    return found == registry.openKeys.end() ? std::wstring() : found->second;
}

} // namespace

bool RegistryNameLess::operator()(const std::wstring& a, const std::wstring& b) const
{
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                        [](wchar_t x, wchar_t y) { return LowerAscii(x) < LowerAscii(y); });
}

SharedTokens VoiceTokens()
{
    Registry& registry = TheRegistry();
    {
        const std::lock_guard<std::mutex> guard(registry.lock);
        if (registry.tokens)
            return registry.tokens;
    }
    const SharedTokens installed = InstalledTokens(); // starts the synthesizer: not under the lock
    const std::lock_guard<std::mutex> guard(registry.lock);
    if (!registry.tokens)
        registry.tokens = installed;
    return registry.tokens;
}

SharedTokens SetVoiceTokens(SharedTokens tokens)
{
    Registry& registry = TheRegistry();
    const std::lock_guard<std::mutex> guard(registry.lock);
    registry.tokens.swap(tokens);
    return tokens;
}

bool FindVoiceToken(const std::wstring& id, VoiceToken& token)
{
    const RegistryNameLess less;
    for (const VoiceToken& candidate : *VoiceTokens()) {
        if (!less(candidate.id, id) && !less(id, candidate.id)) {
            token = candidate;
            return true;
        }
    }
    return false;
}

std::wstring DefaultVoiceTokenId()
{
    constexpr LANGID kFallback = 0x0409; // en-US
    constexpr LANGID kPrimary = 0x03FF;
    const SharedTokens tokens = VoiceTokens();
    const auto firstOf = [&tokens](LANGID language, LANGID mask) {
        for (const VoiceToken& token : *tokens) {
            const auto value = token.attributes.find(L"Language");
            const unsigned long id =
                value == token.attributes.end() ? 0 : std::wcstoul(value->second.c_str(), nullptr, 16);
            if (id != 0 && (id & mask) == (language & mask))
                return token.id;
        }
        return std::wstring();
    };
    const LANGID user = GetUserDefaultUILanguage();
    for (const std::wstring& id : {firstOf(user, 0xFFFF), firstOf(user, kPrimary), firstOf(kFallback, 0xFFFF)}) {
        if (!id.empty())
            return id;
    }
    return tokens->empty() ? std::wstring() : tokens->front().id;
}

LSTATUS RegLoadMUIStringW(HKEY key, LPCWSTR name, LPWSTR output, DWORD outputBytes, LPDWORD needed, DWORD flags,
                          LPCWSTR)
{
    const LSTATUS status = System().muiStringStatus;
    if (status != ERROR_SUCCESS)
        return status;
    if (flags != 0 || (!output && outputBytes > 0))
        return ERROR_INVALID_PARAMETER;
    const std::wstring path = PathOf(key);
    if (path.empty())
        return ERROR_INVALID_HANDLE;
    const SharedTokens tokens = VoiceTokens();
    const RegistryValues* const values = ValuesOf(*tokens, path);
    const auto found = values ? values->find(name ? name : L"") : RegistryValues::const_iterator();
    if (!values || found == values->end())
        return ERROR_FILE_NOT_FOUND;
    const size_t bytes = (found->second.size() + 1) * sizeof(WCHAR);
    if (needed)
        *needed = static_cast<DWORD>(bytes);
    if (bytes > outputBytes)
        return ERROR_MORE_DATA;
    std::memcpy(output, found->second.c_str(), bytes);
    return ERROR_SUCCESS;
}

} // namespace qxplatform

LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD options, REGSAM access, HKEY* result)
{
    if (!result || options != 0)
        return ERROR_INVALID_PARAMETER;
    *result = nullptr;
    std::wstring path = qxplatform::PathOf(key);
    if (path.empty())
        return ERROR_INVALID_HANDLE;
    if ((access & ~KEY_READ) != 0)
        return ERROR_ACCESS_DENIED;
    if (subKey && *subKey)
        path += L"\\" + std::wstring(subKey);
    if (!qxplatform::KeyExists(*qxplatform::VoiceTokens(), path))
        return ERROR_FILE_NOT_FOUND;
    qxplatform::Registry& registry = qxplatform::TheRegistry();
    const std::lock_guard<std::mutex> guard(registry.lock);
    const uintptr_t handle = ++registry.lastHandle;
    registry.openKeys.emplace(handle, std::move(path));
    *result = reinterpret_cast<HKEY>(handle);
    return ERROR_SUCCESS;
}

LSTATUS RegCloseKey(HKEY key)
{
    if (key == HKEY_LOCAL_MACHINE || key == HKEY_CURRENT_USER)
        return ERROR_SUCCESS;
    qxplatform::Registry& registry = qxplatform::TheRegistry();
    const std::lock_guard<std::mutex> guard(registry.lock);
    return registry.openKeys.erase(reinterpret_cast<uintptr_t>(key)) == 1 ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}
