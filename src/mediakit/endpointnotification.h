// What the sound system calls when audio devices come, go or change. MIT licence.
#ifndef QXSPEECH_MEDIAKIT_ENDPOINTNOTIFICATION_H
#define QXSPEECH_MEDIAKIT_ENDPOINTNOTIFICATION_H

#include <atomic>
#include <string>
#include <windows.h>

#include <mmdeviceapi.h>

class MKAudioDeviceManagerImpl;

// The flags of a device's state, joined: "Active," "Disabled," "Not Present," "Unplugged,". The last comma stays.
std::string mkDeviceStateText(DWORD state);

// Logs each change and passes it to the device manager's callback. Made by the manager with one reference, deletes
// itself when the last one goes. The notices come on a thread of the sound system and take the manager's lock; a null
// device id counts as an empty one. All notices answer 0.
class MKAudioEndpointNotification final : public IMMNotificationClient
{
public:
    // The manager is not owned and outlives the registration.
    explicit MKAudioEndpointNotification(MKAudioDeviceManagerImpl* owner) : manager(owner) {}
    MKAudioEndpointNotification(const MKAudioEndpointNotification&) = delete;
    MKAudioEndpointNotification& operator=(const MKAudioEndpointNotification&) = delete;

    // Makes the system's device enumerator and registers there; the failure's code otherwise.
    HRESULT Initialize();
    // Ends the registration, if there is one. No notice is under way when it returns.
    void Uninitialize();

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;
    HRESULT STDMETHODCALLTYPE OnDeviceStateChanged(LPCWSTR deviceId, DWORD newState) override;
    HRESULT STDMETHODCALLTYPE OnDeviceAdded(LPCWSTR deviceId) override;
    HRESULT STDMETHODCALLTYPE OnDeviceRemoved(LPCWSTR deviceId) override;
    HRESULT STDMETHODCALLTYPE OnDefaultDeviceChanged(EDataFlow flow, ERole role, LPCWSTR defaultDeviceId) override;
    HRESULT STDMETHODCALLTYPE OnPropertyValueChanged(LPCWSTR deviceId, const PROPERTYKEY key) override;

private:
    virtual ~MKAudioEndpointNotification();

    IMMDeviceEnumerator* enumerator = nullptr; // owned reference
    std::atomic<ULONG> refCount{1};
    bool registered = false;
    MKAudioDeviceManagerImpl* manager; // not owned
};

#endif
