// Reading voice tokens and the registry keys behind them. MIT licence.
#include "speech/sapitoken.h"

#include "speech/sapilogic.h"

namespace
{

// A text in COM memory, freed when it goes out of scope.
struct CoText {
    CoText() = default;
    CoText(const CoText&) = delete;
    CoText& operator=(const CoText&) = delete;
    ~CoText() { CoTaskMemFree(text); }
    wxString Get() const { return text ? wxString(text) : wxString(); }

    LPWSTR text = nullptr;
};

constexpr size_t kDescriptionBytes = 520;

using LoadMUIString = LONG(WINAPI*)(HKEY, LPCWSTR, LPWSTR, DWORD, LPDWORD, DWORD, LPCWSTR);

bool HasResourceNames()
{
    OSVERSIONINFOW version = {};
    version.dwOSVersionInfoSize = sizeof(version);
    return GetVersionExW(&version) && version.dwPlatformId == VER_PLATFORM_WIN32_NT && version.dwMajorVersion >= 6;
}

bool LoadDescription(LoadMUIString load, HKEY root, const wxString& path, wxString& description)
{
    HKEY key = nullptr;
    if (RegOpenKeyExW(root, path.wc_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
        return false;
    WCHAR buffer[kDescriptionBytes / sizeof(WCHAR)] = {};
    const LONG status = load(key, L"Description", buffer, static_cast<DWORD>(sizeof(buffer)), nullptr, 0, nullptr);
    RegCloseKey(key);
    if (status != ERROR_SUCCESS)
        return false;
    description = buffer;
    return true;
}

// Older systems lack the function, so it is looked for at each use.
bool ResourceDescription(ISpObjectToken* token, wxString& description)
{
    const HMODULE module = LoadLibraryW(L"advapi32.dll");
    if (!module)
        return false;
    const FARPROC procedure = GetProcAddress(module, "RegLoadMUIStringW");
    bool loaded = false;
    CoText id;
    HKEY root = nullptr;
    wxString path;
    if (procedure && SUCCEEDED(token->GetId(&id.text)) && qxSplitTokenId(id.Get(), root, path)) {
        const auto load = reinterpret_cast<LoadMUIString>(reinterpret_cast<void (*)()>(procedure));
        loaded = LoadDescription(load, root, path, description);
    }
    FreeLibrary(module);
    return loaded;
}

bool OwnDescription(ISpObjectToken* token, LANGID language, wxString& description)
{
    const wxString name = wxString::Format("%x", static_cast<unsigned>(language));
    CoText byLanguage;
    HRESULT hr = token->GetStringValue(name.wc_str(), &byLanguage.text);
    if (SUCCEEDED(hr)) {
        description = byLanguage.Get();
        return true;
    }
    if (hr != SPERR_NOT_FOUND)
        return false;
    CoText byDefault;
    hr = token->GetStringValue(nullptr, &byDefault.text);
    if (FAILED(hr))
        return false;
    description = byDefault.Get();
    return true;
}

HRESULT TokenLanguage(ISpObjectToken* token, DWORD& language)
{
    QXComHolder<ISpDataKey> attributes;
    HRESULT hr = token->OpenKey(L"Attributes", &attributes.object);
    if (FAILED(hr))
        return hr;
    CoText value;
    hr = attributes->GetStringValue(L"Language", &value.text);
    return FAILED(hr) ? hr : qxParseSapiLanguage(value.Get(), language);
}

} // namespace

bool qxTokenDescription(ISpObjectToken* token, LANGID language, wxString& description)
{
    description.clear();
    if (HasResourceNames() && ResourceDescription(token, description))
        return true;
    return OwnDescription(token, language, description);
}

wxString qxTokenId(ISpObjectToken* token)
{
    CoText id;
    return SUCCEEDED(token->GetId(&id.text)) ? id.Get() : wxString();
}

wxString qxTokenLocale(ISpObjectToken* token)
{
    DWORD language = 0;
    if (FAILED(TokenLanguage(token, language)))
        return wxString();
    WCHAR name[LOCALE_NAME_MAX_LENGTH] = {};
    const int length = LCIDToLocaleName(language, name, LOCALE_NAME_MAX_LENGTH, 0);
    return length > 0 ? wxString(name) : wxString();
}

HRESULT qxTokenFromId(const wxString& id, ISpObjectToken** token)
{
    HRESULT hr = qxCreateInstance(CLSID_SpObjectToken, IID_ISpObjectToken, token);
    if (FAILED(hr))
        return hr;
    hr = (*token)->SetId(nullptr, id.wc_str(), FALSE);
    if (FAILED(hr)) {
        (*token)->Release();
        *token = nullptr;
    }
    return hr;
}
