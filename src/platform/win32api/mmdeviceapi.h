// The audio endpoint interfaces that the library calls, under their published names. Source compatible, not binary. MIT
// licence.
#ifndef QXSPEECH_WIN32API_MMDEVICEAPI_H
#define QXSPEECH_WIN32API_MMDEVICEAPI_H

#include <windows.h>

#define DEVICE_STATE_ACTIVE 0x00000001u
#define DEVICE_STATE_DISABLED 0x00000002u
#define DEVICE_STATE_NOTPRESENT 0x00000004u
#define DEVICE_STATE_UNPLUGGED 0x00000008u

enum EDataFlow { eRender = 0, eCapture = 1, eAll = 2 };
enum ERole { eConsole = 0, eMultimedia = 1, eCommunications = 2 };

struct PROPERTYKEY {
    GUID fmtid;
    DWORD pid;
};

// One audio device. Any thread.
class IMMDevice : public IUnknown
{
public:
    // The text is the caller's, to be freed by CoTaskMemFree.
    virtual HRESULT GetId(LPWSTR* id) = 0;

protected:
    ~IMMDevice() = default;
};

// Implemented by whoever wants to hear of changes; called on a thread of the sound system. The texts are the caller's.
class IMMNotificationClient : public IUnknown
{
public:
    virtual HRESULT OnDeviceStateChanged(LPCWSTR deviceId, DWORD newState) = 0;
    virtual HRESULT OnDeviceAdded(LPCWSTR deviceId) = 0;
    virtual HRESULT OnDeviceRemoved(LPCWSTR deviceId) = 0;
    // A null id: there is no default device any more.
    virtual HRESULT OnDefaultDeviceChanged(EDataFlow flow, ERole role, LPCWSTR defaultDeviceId) = 0;
    virtual HRESULT OnPropertyValueChanged(LPCWSTR deviceId, const PROPERTYKEY key) = 0;

protected:
    ~IMMNotificationClient() = default;
};

// Where notices are asked for. Any thread but that of a notice.
class IMMDeviceEnumerator : public IUnknown
{
public:
    // Holds a reference to the client until it is unregistered.
    virtual HRESULT RegisterEndpointNotificationCallback(IMMNotificationClient* client) = 0;
    // When it returns no notice is under way, and none follows.
    virtual HRESULT UnregisterEndpointNotificationCallback(IMMNotificationClient* client) = 0;

protected:
    ~IMMDeviceEnumerator() = default;
};

extern const CLSID CLSID_MMDeviceEnumerator;
extern const IID IID_IMMDeviceEnumerator;
extern const IID IID_IMMDevice;
extern const IID IID_IMMNotificationClient;

#endif
