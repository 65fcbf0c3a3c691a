// What the library's sources take for granted of the interfaces under their Windows names. Compiled against this
// tree's headers always and against mingw-w64's where they are installed; no code runs but the ids' list. MIT licence.
#include <windows.h>

#include <mmdeviceapi.h>
#include <mmsystem.h>
#include <sapi.h>
#include <sperror.h>
#include <wininet.h>

#include <cstddef>
#include <cstring>
#include <type_traits>
#include <utility>

#include "interface_ids.h"

namespace
{

// Widths: what goes through the interfaces is as wide as on Windows.
static_assert(sizeof(LONG) == 4 && std::is_signed<LONG>::value, "LONG");
static_assert(sizeof(ULONG) == 4 && std::is_unsigned<ULONG>::value, "ULONG");
static_assert(sizeof(DWORD) == 4 && std::is_unsigned<DWORD>::value, "DWORD");
static_assert(sizeof(HRESULT) == 4 && std::is_signed<HRESULT>::value, "HRESULT");
static_assert(sizeof(BOOL) == 4 && sizeof(UINT) == 4, "BOOL, UINT");
static_assert(sizeof(WORD) == 2 && sizeof(USHORT) == 2 && sizeof(LANGID) == 2, "16 bits");
static_assert(sizeof(BYTE) == 1 && sizeof(ULONGLONG) == 8 && sizeof(LCID) == 4, "BYTE, ULONGLONG, LCID");
static_assert(sizeof(WPARAM) == sizeof(void*) && sizeof(LPARAM) == sizeof(void*), "parameters hold a pointer");
static_assert(std::is_unsigned<WPARAM>::value && std::is_signed<LPARAM>::value, "signs of parameters");
static_assert(std::is_same<WCHAR, wchar_t>::value, "WCHAR is the compiler's wide character");
static_assert(std::is_same<decltype(timeGetTime()), DWORD>::value, "the tick wraps at 32 bits");
static_assert(sizeof(GUID) == 16 && offsetof(GUID, Data4) == 8, "GUID");

// Constants.
static_assert(S_OK == 0 && S_FALSE == 1 && SUCCEEDED(S_FALSE) && FAILED(E_FAIL), "results");
static_assert(static_cast<DWORD>(E_NOTIMPL) == 0x80004001u && static_cast<DWORD>(E_NOINTERFACE) == 0x80004002u, "COM");
static_assert(static_cast<DWORD>(E_POINTER) == 0x80004003u && static_cast<DWORD>(E_FAIL) == 0x80004005u, "COM");
static_assert(static_cast<DWORD>(E_ACCESSDENIED) == 0x80070005u, "COM");
static_assert(static_cast<DWORD>(E_OUTOFMEMORY) == 0x8007000Eu, "COM");
static_assert(static_cast<DWORD>(E_INVALIDARG) == 0x80070057u, "COM");
static_assert(static_cast<DWORD>(CLASS_E_NOAGGREGATION) == 0x80040110u, "COM");
static_assert(static_cast<DWORD>(REGDB_E_CLASSNOTREG) == 0x80040154u, "COM");
static_assert(static_cast<DWORD>(CO_E_NOTINITIALIZED) == 0x800401F0u, "COM");
static_assert(CLSCTX_ALL == 23, "CLSCTX_ALL");
static_assert(static_cast<DWORD>(SPERR_NOT_FOUND) == 0x8004503Au, "speech");
#ifdef SPERR_UNINITIALIZED // mingw-w64 knows no other code of speech
static_assert(static_cast<DWORD>(SPERR_UNINITIALIZED) == 0x80045001u, "speech");
static_assert(static_cast<DWORD>(SPERR_ALREADY_INITIALIZED) == 0x80045002u, "speech");
static_assert(static_cast<DWORD>(SPERR_UNSUPPORTED_FORMAT) == 0x80045003u, "speech");
static_assert(static_cast<DWORD>(SPERR_INVALID_FLAGS) == 0x80045004u, "speech");
static_assert(static_cast<DWORD>(SPERR_DEVICE_BUSY) == 0x80045006u, "speech");
static_assert(static_cast<DWORD>(SPERR_DEVICE_NOT_SUPPORTED) == 0x80045007u, "speech");
static_assert(static_cast<DWORD>(SPERR_NO_MORE_ITEMS) == 0x80045039u, "speech");
static_assert(static_cast<DWORD>(SPERR_INVALID_TOKEN_ID) == 0x80045041u, "speech");
static_assert(static_cast<DWORD>(SPERR_XML_BAD_SYNTAX) == 0x80045042u, "speech");
#endif
static_assert(ERROR_SUCCESS == 0 && ERROR_FILE_NOT_FOUND == 2 && ERROR_ACCESS_DENIED == 5, "system errors");
static_assert(ERROR_INVALID_HANDLE == 6 && ERROR_INVALID_PARAMETER == 87 && ERROR_MORE_DATA == 234, "system errors");
static_assert(WM_APP == 0x8000 && PM_NOREMOVE == 0 && PM_REMOVE == 1, "messages");
static_assert(static_cast<DWORD>(INFINITE) == 0xFFFFFFFFu, "INFINITE");
static_assert(VER_PLATFORM_WIN32_NT == 2 && LOCALE_NAME_MAX_LENGTH == 85 && KEY_READ == 0x20019, "system");

static_assert(ERROR_NOT_FOUND == 1168, "system errors");
static_assert(INTERNET_OPTION_PER_CONNECTION_OPTION == 75, "proxy query");
static_assert(INTERNET_PER_CONN_FLAGS == 1 && INTERNET_PER_CONN_PROXY_SERVER == 2, "proxy query");
static_assert(PROXY_TYPE_DIRECT == 1 && PROXY_TYPE_PROXY == 2, "proxy flags");
static_assert(PROXY_TYPE_AUTO_PROXY_URL == 4 && PROXY_TYPE_AUTO_DETECT == 8, "proxy flags");

static_assert(SPEI_START_INPUT_STREAM == 1 && SPEI_END_INPUT_STREAM == 2 && SPEI_VOICE_CHANGE == 3, "events");
static_assert(SPEI_TTS_BOOKMARK == 4 && SPEI_WORD_BOUNDARY == 5 && SPEI_PHONEME == 6, "events");
static_assert(SPEI_SENTENCE_BOUNDARY == 7 && SPEI_VISEME == 8 && SPEI_TTS_AUDIO_LEVEL == 9, "events");
static_assert(SPFEI_ALL_TTS_EVENTS == 0x24000FFFEull, "all events of speech");
static_assert(SPFEI_ALL_EVENTS == 0xEFFFFFFFFFFFFFFFull, "all events");
static_assert(SPFEI(SPEI_END_INPUT_STREAM) == 0x240000004ull, "one event");
static_assert(SPET_LPARAM_IS_UNDEFINED == 0 && SPET_LPARAM_IS_TOKEN == 1 && SPET_LPARAM_IS_OBJECT == 2, "kinds");
static_assert(SPET_LPARAM_IS_POINTER == 3 && SPET_LPARAM_IS_STRING == 4, "kinds of event parameter");
static_assert(SPRS_DONE == 1 && SPRS_IS_SPEAKING == 2, "running states");
static_assert(SPVPRI_NORMAL == 0 && SPVPRI_ALERT == 1 && SPVPRI_OVER == 2, "priorities");
static_assert(SPF_DEFAULT == 0 && SPF_ASYNC == 1 && SPF_PURGEBEFORESPEAK == 2 && SPF_IS_FILENAME == 4, "flags");
static_assert(SPF_IS_XML == 8 && SPF_IS_NOT_XML == 16 && SPF_PERSIST_XML == 32 && SPF_NLP_SPEAK_PUNC == 64, "flags");
static_assert(SPF_PARSE_SAPI == 0x80 && SPF_PARSE_SSML == 0x100, "flags");
static_assert(SPFM_OPEN_READONLY == 0 && SPFM_OPEN_READWRITE == 1 && SPFM_CREATE == 2, "file modes");
static_assert(SPFM_CREATE_ALWAYS == 3 && WAVE_FORMAT_PCM == 1, "file output");

static_assert(DEVICE_STATE_ACTIVE == 1 && DEVICE_STATE_DISABLED == 2, "device states");
static_assert(DEVICE_STATE_NOTPRESENT == 4 && DEVICE_STATE_UNPLUGGED == 8, "device states");
static_assert(eRender == 0 && eCapture == 1 && eAll == 2, "data flow");
static_assert(eConsole == 0 && eMultimedia == 1 && eCommunications == 2, "roles");

// Records: fields by the types that they are read and written with.
static_assert(std::is_same<decltype(SPEVENT::ulStreamNum), ULONG>::value, "SPEVENT");
static_assert(std::is_same<decltype(SPEVENT::ullAudioStreamOffset), ULONGLONG>::value, "SPEVENT");
static_assert(std::is_same<decltype(SPEVENT::wParam), WPARAM>::value, "SPEVENT");
static_assert(std::is_same<decltype(SPEVENT::lParam), LPARAM>::value, "SPEVENT");
static_assert(std::is_same<decltype(INTERNET_PER_CONN_OPTIONW::dwOption), DWORD>::value, "proxy query");
static_assert(std::is_same<decltype(INTERNET_PER_CONN_OPTIONW::Value.dwValue), DWORD>::value, "proxy query");
static_assert(std::is_same<decltype(INTERNET_PER_CONN_OPTIONW::Value.pszValue), LPWSTR>::value, "proxy query");
static_assert(std::is_same<decltype(INTERNET_PER_CONN_OPTION_LISTW::dwSize), DWORD>::value, "proxy query");
static_assert(std::is_same<decltype(INTERNET_PER_CONN_OPTION_LISTW::pszConnection), LPWSTR>::value, "proxy query");
static_assert(std::is_same<decltype(INTERNET_PER_CONN_OPTION_LISTW::dwOptionCount), DWORD>::value, "proxy query");
static_assert(offsetof(SPEVENT, ulStreamNum) == 4 && offsetof(SPEVENT, ullAudioStreamOffset) == 8, "SPEVENT");
static_assert(std::is_same<decltype(WAVEFORMATEX::nSamplesPerSec), DWORD>::value, "WAVEFORMATEX");
static_assert(offsetof(WAVEFORMATEX, nAvgBytesPerSec) == 8 && offsetof(WAVEFORMATEX, cbSize) == 16, "WAVEFORMATEX");
static_assert(std::is_same<decltype(OSVERSIONINFOW::dwMajorVersion), DWORD>::value, "OSVERSIONINFOW");
static_assert(std::is_same<decltype(OSVERSIONINFOW::dwPlatformId), DWORD>::value, "OSVERSIONINFOW");
static_assert(std::is_same<decltype(MSG::message), UINT>::value, "MSG");
static_assert(std::is_same<decltype(PROPERTYKEY::pid), DWORD>::value, "PROPERTYKEY");

// Calls: each with the argument types that the library has at hand. That they compile is the check.
void WINAPI Notice(WPARAM, LPARAM) {}

struct Arguments {
    HRESULT hr;
    ULONG count;
    LONG rate;
    USHORT volume;
    GUID id;
    LPWSTR text;
    WAVEFORMATEX* format;
    SPEVENT event;
    void* object;
    ISpObjectToken* token;
    ISpDataKey* key;
    ISpStreamFormat* output;
    IEnumSpObjectTokens* tokens;
};

[[maybe_unused]] void CallVoice(ISpVoice* voice, ISpStream* stream, Arguments& a)
{
    a.hr = voice->SetNotifyCallbackFunction(Notice, WPARAM(0), reinterpret_cast<LPARAM>(&a));
    a.hr = voice->SetInterest(SPFEI_ALL_TTS_EVENTS, SPFEI_ALL_TTS_EVENTS);
    a.hr = voice->GetEvents(ULONG(1), &a.event, nullptr);
    a.hr = voice->SetAlertBoundary(SPEI_PHONEME);
    a.hr = voice->GetRate(&a.rate);
    a.hr = voice->GetVolume(&a.volume);
    a.hr = voice->GetVoice(&a.token);
    a.hr = voice->SetVoice(a.token);
    a.hr = voice->SetRate(a.rate);
    a.hr = voice->SetVolume(a.volume);
    a.hr = voice->SetPriority(SPVPRI_OVER);
    a.hr = voice->GetOutputStream(&a.output);
    a.hr = voice->SetOutput(stream, TRUE);
    a.hr = voice->SetOutput(a.output, FALSE);
    a.hr = voice->Speak(L"", DWORD(SPF_ASYNC), nullptr);
    a.hr = voice->Speak(nullptr, DWORD(SPF_PURGEBEFORESPEAK), &a.count);
    a.hr = voice->WaitUntilDone(ULONG(10));
    a.hr = voice->WaitUntilDone(INFINITE);
    SPVOICESTATUS status = {};
    a.hr = voice->GetStatus(&status, &a.text);
    a.hr = status.hrLastResult;
    a.count = status.ulCurrentStream + status.ulLastStreamQueued;
    a.hr = voice->Pause();
    a.hr = voice->Resume();
    a.hr = voice->Skip(L"Sentence", a.rate, &a.count);
    a.hr = stream->BindToFile(L"", SPFM_CREATE_ALWAYS, &a.id, a.format, SPFEI_ALL_EVENTS);
    a.hr = stream->Close();
    a.hr = a.output->GetFormat(&a.id, &a.format);
    a.count = voice->AddRef() + voice->Release() + stream->Release() + a.output->Release();
}

[[maybe_unused]] void CallTokens(ISpObjectTokenCategory* category, Arguments& a)
{
    a.hr = category->SetId(L"", FALSE);
    a.hr = category->EnumTokens(nullptr, nullptr, &a.tokens);
    a.hr = a.tokens->GetCount(&a.count);
    a.hr = a.tokens->Next(ULONG(1), &a.token, nullptr);
    a.hr = a.token->GetId(&a.text);
    a.hr = a.token->SetId(nullptr, a.text, FALSE);
    a.hr = a.token->OpenKey(L"Attributes", &a.key);
    a.hr = a.token->GetStringValue(nullptr, &a.text);
    a.hr = a.key->GetStringValue(L"Language", &a.text);
    a.count = category->Release() + a.tokens->Release() + a.token->Release() + a.key->Release();
}

// A client as the library has one: that it overrides everything is the check.
class DeviceClient final : public IMMNotificationClient
{
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE OnDeviceStateChanged(LPCWSTR, DWORD) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE OnDeviceAdded(LPCWSTR) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE OnDeviceRemoved(LPCWSTR) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE OnDefaultDeviceChanged(EDataFlow, ERole, LPCWSTR) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE OnPropertyValueChanged(LPCWSTR, const PROPERTYKEY) override { return S_OK; }
};

[[maybe_unused]] void CallDevices(IMMDevice* device, Arguments& a)
{
    DeviceClient client;
    a.hr = CoCreateInstance(CLSID_MMDeviceEnumerator, nullptr, CLSCTX_ALL, IID_IMMDeviceEnumerator, &a.object);
    IMMDeviceEnumerator* const enumerator = static_cast<IMMDeviceEnumerator*>(a.object);
    a.hr = enumerator->RegisterEndpointNotificationCallback(&client);
    a.hr = enumerator->UnregisterEndpointNotificationCallback(&client);
    a.hr = device->GetId(&a.text);
    a.hr = client.QueryInterface(IID_IMMNotificationClient, &a.object);
    a.count = enumerator->Release();
}

[[maybe_unused]] void CallSystem(Arguments& a)
{
    a.hr = CoInitialize(nullptr);
    a.hr = CoCreateInstance(CLSID_SpVoice, nullptr, CLSCTX_ALL, IID_ISpVoice, &a.object);
    a.hr = CoCreateInstance(CLSID_SpStream, nullptr, CLSCTX_ALL, IID_ISpStream, &a.object);
    a.hr = CoCreateInstance(CLSID_SpObjectToken, nullptr, CLSCTX_ALL, IID_ISpObjectToken, &a.object);
    a.hr = CoCreateInstance(CLSID_SpObjectTokenCategory, nullptr, CLSCTX_ALL, IID_ISpObjectTokenCategory, &a.object);
    a.format = static_cast<WAVEFORMATEX*>(CoTaskMemAlloc(sizeof(WAVEFORMATEX)));
    CoTaskMemFree(a.format);
    CoUninitialize();
    MSG message = {};
    if (PeekMessageW(&message, nullptr, WM_APP, WM_APP, PM_REMOVE)) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    OSVERSIONINFOW version = {};
    version.dwOSVersionInfoSize = sizeof(version);
    WCHAR name[LOCALE_NAME_MAX_LENGTH] = {};
    const LANGID language = GetUserDefaultUILanguage();
    if (GetVersionExW(&version) && LCIDToLocaleName(language, name, LOCALE_NAME_MAX_LENGTH, 0) > 0) {
        const HMODULE module = LoadLibraryW(L"advapi32.dll");
        using LoadMUIString = LONG(WINAPI*)(HKEY, LPCWSTR, LPWSTR, DWORD, LPDWORD, DWORD, LPCWSTR);
        const FARPROC procedure = GetProcAddress(module, "RegLoadMUIStringW");
        const auto load = reinterpret_cast<LoadMUIString>(reinterpret_cast<void (*)()>(procedure));
        HKEY key = nullptr;
        LONG status = RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"", 0, KEY_READ, &key);
        status = load(key, L"Description", name, DWORD(sizeof(name)), nullptr, 0, nullptr);
        status = RegCloseKey(HKEY_CURRENT_USER);
        a.rate = status;
        FreeLibrary(module);
    }
    INTERNET_PER_CONN_OPTIONW option = {};
    INTERNET_PER_CONN_OPTION_LISTW list = {};
    list.pOptions = &option;
    DWORD size = sizeof(list);
    if (!InternetQueryOptionW(nullptr, INTERNET_OPTION_PER_CONNECTION_OPTION, &list, &size))
        SetLastError(GetLastError());
    GlobalFree(option.Value.pszValue);
}

} // namespace

#ifdef __MINGW32__

// The ids that the tests expect are the ones that Windows has.
#define QX_SAME_ID(type, expected)                                                                                     \
    static_assert(SameId(__mingw_uuidof_s<type>::__uuid_inst, interface_ids::expected), #expected)
namespace
{
constexpr bool SameId(const GUID& a, const interface_ids::Bytes& b)
{
    bool same = a.Data1 == b.data1 && a.Data2 == b.data2 && a.Data3 == b.data3;
    for (int i = 0; same && i < 8; ++i)
        same = a.Data4[i] == b.data4[i];
    return same;
}
QX_SAME_ID(SpVoice, kSpVoice);
QX_SAME_ID(SpObjectTokenCategory, kSpObjectTokenCategory);
QX_SAME_ID(SpObjectToken, kSpObjectToken);
QX_SAME_ID(SpStream, kSpStream);
QX_SAME_ID(ISpVoice, kISpVoice);
QX_SAME_ID(ISpObjectTokenCategory, kISpObjectTokenCategory);
QX_SAME_ID(ISpObjectToken, kISpObjectToken);
QX_SAME_ID(ISpStream, kISpStream);
QX_SAME_ID(ISpStreamFormat, kISpStreamFormat);
QX_SAME_ID(IUnknown, kIUnknown);
QX_SAME_ID(MMDeviceEnumerator, kMMDeviceEnumerator);
QX_SAME_ID(IMMDeviceEnumerator, kIMMDeviceEnumerator);
QX_SAME_ID(IMMDevice, kIMMDevice);
QX_SAME_ID(IMMNotificationClient, kIMMNotificationClient);
} // namespace

#endif
