// What the sound system calls when audio devices come, go or change. MIT licence.
#include "mediakit/endpointnotification.h"

#include "common/logging.h"
#include "mediakit/devicemanagerimpl.h"

namespace
{

std::string Utf8(LPCWSTR text)
{
    return text ? std::string(wxString(text).utf8_str()) : std::string();
}

} // namespace

std::string mkDeviceStateText(DWORD state)
{
    static const struct {
        DWORD flag;
        const char* text;
    } flags[] = {
        {DEVICE_STATE_ACTIVE, "Active,"},
        {DEVICE_STATE_DISABLED, "Disabled,"},
        {DEVICE_STATE_NOTPRESENT, "Not Present,"},
        {DEVICE_STATE_UNPLUGGED, "Unplugged,"},
    };
    std::string text;
    for (const auto& item : flags) {
        if (state & item.flag)
            text += item.text;
    }
    return text;
}

MKAudioEndpointNotification::~MKAudioEndpointNotification()
{
    if (enumerator)
        enumerator->Release();
}

HRESULT MKAudioEndpointNotification::Initialize()
{
    void* made = nullptr;
    HRESULT hr = CoCreateInstance(CLSID_MMDeviceEnumerator, nullptr, CLSCTX_ALL, IID_IMMDeviceEnumerator, &made);
    if (FAILED(hr))
        return hr;
    enumerator = static_cast<IMMDeviceEnumerator*>(made);
    hr = enumerator->RegisterEndpointNotificationCallback(this);
    if (FAILED(hr)) {
        QX_LOG("Cannot initialize audio endpoint notification.");
        return hr;
    }
    registered = true;
    return hr;
}

void MKAudioEndpointNotification::Uninitialize()
{
    if (registered)
        enumerator->UnregisterEndpointNotificationCallback(this);
    registered = false;
}

HRESULT MKAudioEndpointNotification::QueryInterface(REFIID iid, void** object)
{
    if (!object)
        return E_POINTER;
    *object = nullptr;
    if (iid != IID_IUnknown && iid != IID_IMMNotificationClient)
        return E_NOINTERFACE;
    AddRef();
    *object = static_cast<IMMNotificationClient*>(this);
    return S_OK;
}

ULONG MKAudioEndpointNotification::AddRef()
{
    return ++refCount;
}

ULONG MKAudioEndpointNotification::Release()
{
    const ULONG left = --refCount;
    if (left == 0)
        delete this;
    return left;
}

HRESULT MKAudioEndpointNotification::OnDeviceStateChanged(LPCWSTR deviceId, DWORD newState)
{
    const std::lock_guard<std::mutex> hold(manager->lock);
    const std::string id = Utf8(deviceId);
    QX_LOG("Audio device state changed: %s - %s.", wxString::FromUTF8(id), mkDeviceStateText(newState));
    manager->Tell(id, newState & DEVICE_STATE_ACTIVE ? MKDeviceAdded : MKDeviceRemoved);
    return S_OK;
}

HRESULT MKAudioEndpointNotification::OnDeviceAdded(LPCWSTR deviceId)
{
    const std::lock_guard<std::mutex> hold(manager->lock);
    const std::string id = Utf8(deviceId);
    QX_LOG("Audio device added: %s.", wxString::FromUTF8(id));
    manager->Tell(id, MKDeviceAdded);
    return S_OK;
}

HRESULT MKAudioEndpointNotification::OnDeviceRemoved(LPCWSTR deviceId)
{
    const std::lock_guard<std::mutex> hold(manager->lock);
    const std::string id = Utf8(deviceId);
    QX_LOG("Audio device removed: %s.", wxString::FromUTF8(id));
    manager->Tell(id, MKDeviceRemoved);
    return S_OK;
}

HRESULT MKAudioEndpointNotification::OnDefaultDeviceChanged(EDataFlow, ERole, LPCWSTR defaultDeviceId)
{
    const std::lock_guard<std::mutex> hold(manager->lock);
    const std::string id = Utf8(defaultDeviceId);
    QX_LOG("Audio default device changed: %s.", wxString::FromUTF8(id));
    manager->Tell(id, MKDefaultDeviceChanged);
    return S_OK;
}

HRESULT MKAudioEndpointNotification::OnPropertyValueChanged(LPCWSTR, const PROPERTYKEY)
{
    return S_OK;
}
