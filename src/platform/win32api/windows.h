// The Win32 types, constants and functions that the library calls, declared for systems that lack them. MIT licence.
#ifndef QXSPEECH_WIN32API_WINDOWS_H
#define QXSPEECH_WIN32API_WINDOWS_H

#include <cstddef>
#include <cstdint>

using BYTE = unsigned char;
using WORD = uint16_t;
using DWORD = uint32_t;
using UINT = unsigned int;
using INT = int;
using BOOL = int;
using USHORT = uint16_t;
using SHORT = int16_t;
using LONG = int32_t;
using ULONG = uint32_t;
using LONGLONG = int64_t;
using ULONGLONG = uint64_t;
using WCHAR = wchar_t;
using CHAR = char;
using LPWSTR = WCHAR*;
using LPCWSTR = const WCHAR*;
using LPCSTR = const CHAR*;
using LPVOID = void*;
using LPDWORD = DWORD*;
using HRESULT = int32_t;
using WPARAM = uintptr_t;
using LPARAM = intptr_t;
using LRESULT = intptr_t;
using LANGID = WORD;
using LCID = DWORD;
using LSTATUS = LONG;
using REGSAM = DWORD;

// Handles are opaque; each kind has its own type so that they do not mix.
using HWND = struct QXWindowHandle*;
using HMODULE = struct QXModuleHandle*;
using HKEY = struct QXKeyHandle*;
using HGLOBAL = void*;
using FARPROC = INT (*)();

#ifndef TRUE
#define TRUE 1
#define FALSE 0
#endif

#define WINAPI
#define CALLBACK
#define STDMETHODCALLTYPE

#define INFINITE 0xFFFFFFFFu

#define S_OK (static_cast<HRESULT>(0))
#define S_FALSE (static_cast<HRESULT>(1))
#define E_NOTIMPL (static_cast<HRESULT>(0x80004001u))
#define E_NOINTERFACE (static_cast<HRESULT>(0x80004002u))
#define E_POINTER (static_cast<HRESULT>(0x80004003u))
#define E_FAIL (static_cast<HRESULT>(0x80004005u))
#define E_ACCESSDENIED (static_cast<HRESULT>(0x80070005u))
#define E_OUTOFMEMORY (static_cast<HRESULT>(0x8007000Eu))
#define E_INVALIDARG (static_cast<HRESULT>(0x80070057u))
#define CLASS_E_NOAGGREGATION (static_cast<HRESULT>(0x80040110u))
#define REGDB_E_CLASSNOTREG (static_cast<HRESULT>(0x80040154u))
#define CO_E_NOTINITIALIZED (static_cast<HRESULT>(0x800401F0u))
#define SUCCEEDED(hr) (static_cast<HRESULT>(hr) >= 0)
#define FAILED(hr) (static_cast<HRESULT>(hr) < 0)

#define ERROR_SUCCESS 0
#define ERROR_FILE_NOT_FOUND 2
#define ERROR_ACCESS_DENIED 5
#define ERROR_INVALID_HANDLE 6
#define ERROR_INVALID_PARAMETER 87
#define ERROR_MORE_DATA 234
#define ERROR_NOT_FOUND 1168

struct GUID {
    uint32_t Data1;
    uint16_t Data2;
    uint16_t Data3;
    uint8_t Data4[8];
};
using IID = GUID;
using CLSID = GUID;
using REFGUID = const GUID&;
using REFIID = const IID&;
using REFCLSID = const CLSID&;

inline bool operator==(const GUID& a, const GUID& b)
{
    bool same = a.Data1 == b.Data1 && a.Data2 == b.Data2 && a.Data3 == b.Data3;
    for (int i = 0; same && i < 8; ++i)
        same = a.Data4[i] == b.Data4[i];
    return same;
}
inline bool operator!=(const GUID& a, const GUID& b)
{
    return !(a == b);
}

// Messages. A thread's queue holds only the notices that the platform posts to it, all under WM_APP.

#define WM_APP 0x8000
#define PM_NOREMOVE 0x0000
#define PM_REMOVE 0x0001

struct POINT {
    LONG x;
    LONG y;
};

struct MSG {
    HWND hwnd;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    DWORD time;
    POINT pt;
};
using LPMSG = MSG*;

BOOL PeekMessageW(LPMSG message, HWND window, UINT filterMin, UINT filterMax, UINT remove);
BOOL TranslateMessage(const MSG* message);
LRESULT DispatchMessageW(const MSG* message);

// System version, languages, modules.

#define VER_PLATFORM_WIN32_NT 2

struct OSVERSIONINFOW {
    DWORD dwOSVersionInfoSize;
    DWORD dwMajorVersion;
    DWORD dwMinorVersion;
    DWORD dwBuildNumber;
    DWORD dwPlatformId;
    WCHAR szCSDVersion[128];
};
using LPOSVERSIONINFOW = OSVERSIONINFOW*;

BOOL GetVersionExW(LPOSVERSIONINFOW information);

#define LOCALE_NAME_MAX_LENGTH 85

LANGID GetUserDefaultUILanguage();
int LCIDToLocaleName(LCID locale, LPWSTR name, int nameLength, DWORD flags);

HMODULE LoadLibraryW(LPCWSTR fileName);
FARPROC GetProcAddress(HMODULE module, LPCSTR name);
BOOL FreeLibrary(HMODULE module);

// Of the calling thread; set by the calls that say so.
DWORD GetLastError();
void SetLastError(DWORD error);

// Memory that a call hands to its caller. Null, as always.
HGLOBAL GlobalFree(HGLOBAL memory);

// Registry, for reading.

#define HKEY_CURRENT_USER (reinterpret_cast<HKEY>(static_cast<uintptr_t>(0x80000001u)))
#define HKEY_LOCAL_MACHINE (reinterpret_cast<HKEY>(static_cast<uintptr_t>(0x80000002u)))
#define KEY_READ 0x20019u

LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD options, REGSAM access, HKEY* result);
LSTATUS RegCloseKey(HKEY key);

// COM.

#define CLSCTX_ALL (1u | 2u | 4u | 16u)

class IUnknown
{
public:
    virtual HRESULT QueryInterface(REFIID iid, void** object) = 0;
    virtual ULONG AddRef() = 0;
    virtual ULONG Release() = 0;

protected:
    ~IUnknown() = default;
};
using LPUNKNOWN = IUnknown*;
extern const IID IID_IUnknown;

HRESULT CoInitialize(LPVOID reserved);
void CoUninitialize();
HRESULT CoCreateInstance(REFCLSID clsid, LPUNKNOWN outer, DWORD context, REFIID iid, LPVOID* object);
LPVOID CoTaskMemAlloc(size_t size);
void CoTaskMemFree(LPVOID memory);

#endif
