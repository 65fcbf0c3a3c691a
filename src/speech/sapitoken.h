// What a voice token tells of itself. MIT licence.
#ifndef QXSPEECH_SPEECH_SAPITOKEN_H
#define QXSPEECH_SPEECH_SAPITOKEN_H

#include <windows.h>

#include <sapi.h>

#include <wx/string.h>

// Releases an interface when it goes out of scope.
template <class Interface>
struct QXComHolder {
    QXComHolder() = default;
    QXComHolder(const QXComHolder&) = delete;
    QXComHolder& operator=(const QXComHolder&) = delete;
    ~QXComHolder()
    {
        if (object)
            object->Release();
    }
    Interface* operator->() const { return object; }

    Interface* object = nullptr;
};

// Makes an object by its class id.
template <class Interface>
HRESULT qxCreateInstance(REFCLSID clsid, REFIID iid, Interface** object)
{
    *object = nullptr;
    void* made = nullptr;
    const HRESULT hr = CoCreateInstance(clsid, nullptr, CLSCTX_ALL, iid, &made);
    if (SUCCEEDED(hr))
        *object = static_cast<Interface*>(made);
    return hr;
}

// The token's name for people in this language, as the system's resources have it, else the token's own. False, with
// the text empty, if it has none.
bool qxTokenDescription(ISpObjectToken* token, LANGID language, wxString& description);

// Empty if the token does not tell.
wxString qxTokenId(ISpObjectToken* token);

// The locale name of the token's first language ("en-US"), empty if it has none that can be read or named.
wxString qxTokenLocale(ISpObjectToken* token);

// The token of an id; the caller owns the reference.
HRESULT qxTokenFromId(const wxString& id, ISpObjectToken** token);

#endif
