// The process-wide list of audio devices, each with an id that stays the same. MIT licence.
#include "mediakit/devicemanager.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <utility>

#include <windows.h>

#include <mmdeviceapi.h>
#include <pa_win_wasapi.h>

#include "common/logging.h"
#include "mediakit/devicemanagerimpl.h"
#include "mediakit/endpointnotification.h"

namespace
{

std::atomic<MKAudioDeviceManager*> theManager{nullptr};

// Serialises making and destroying the manager. Never destroyed: an exit handler takes it.
std::mutex& ManagerLock()
{
    static std::mutex* const lock = new std::mutex;
    return *lock;
}

wxString TrueOrFalse(bool value)
{
    return value ? "true" : "false";
}

} // namespace

std::string mkDoGetDeviceId(int index)
{
    void* found = nullptr;
    const PaError error = PaWasapi_GetIMMDevice(index, &found);
    if (error != paNoError) {
        QX_LOG("PaWasapi_GetIMMDevice error: %d", error);
        return std::string();
    }
    IMMDevice* const device = static_cast<IMMDevice*>(found);
    if (!device) {
        QX_LOG("PaWasapi_GetIMMDevice error: NULL IMMDevice");
        return std::string();
    }
    LPWSTR wide = nullptr;
    const HRESULT hr = device->GetId(&wide);
    if (FAILED(hr)) {
        QX_LOG("MKAudioDeviceManager::GetDeviceId error: %x", static_cast<unsigned>(hr));
        return std::string();
    }
    if (!wide)
        return std::string();
    std::string id(wxString(wide).utf8_str());
    CoTaskMemFree(wide);
    return id;
}

MKAudioDeviceManagerImpl::~MKAudioDeviceManagerImpl()
{
    if (!notification)
        return;
    notification->Uninitialize();
    notification->Release();
}

void MKAudioDeviceManagerImpl::PopulateDeviceList(bool log)
{
    const std::lock_guard<std::mutex> hold(lock);
    deviceCount = Pa_GetDeviceCount();
    names.clear();
    ids.clear();
    if (log)
        QX_LOG("---------------------AUDIO DEVICES------------------------");
    const PaDeviceIndex defaultOutput = Pa_GetDefaultOutputDevice();
    for (int index = 0; index < deviceCount; ++index)
        AppendDevice(index, defaultOutput, log);
    if (log)
        QX_LOG("--------------------------------------------------------------");
}

void MKAudioDeviceManagerImpl::AppendDevice(int index, int defaultOutput, bool log)
{
    const PaDeviceInfo* const info = Pa_GetDeviceInfo(index);
    const PaHostApiInfo* const api = info ? Pa_GetHostApiInfo(info->hostApi) : nullptr;
    if (!info)
        QX_LOG("PopulateDeviceList: null device info");
    else if (!api)
        QX_LOG("PopulateDeviceList: null host api info");
    names.emplace_back(info && info->name ? info->name : "");
    ids.push_back(mkDoGetDeviceId(index));
    if (!log)
        return;
    const int inputs = info ? info->maxInputChannels : 0;
    const int outputs = info ? info->maxOutputChannels : 0;
    QX_LOG("%s (API: %s, Input: %d, Output: %d, Rate: %d, Loopback: %s, Default Output: %s, ID: %s)",
           wxString::FromUTF8(names.back()), wxString::FromUTF8(api && api->name ? api->name : ""), inputs, outputs,
           info ? static_cast<int>(info->defaultSampleRate + 0.5) : 0, TrueOrFalse(inputs > 0 && outputs > 0),
           TrueOrFalse(index == defaultOutput), wxString::FromUTF8(ids.back()));
}

void MKAudioDeviceManagerImpl::StartNotification()
{
    notification = new MKAudioEndpointNotification(this);
    notification->Initialize();
}

int MKAudioDeviceManagerImpl::GetDeviceCount()
{
    const std::lock_guard<std::mutex> hold(lock);
    return deviceCount;
}

std::string MKAudioDeviceManagerImpl::GetDeviceId(int index)
{
    const std::lock_guard<std::mutex> hold(lock);
    if (IsListed(index))
        return ids[static_cast<size_t>(index)];
    QX_LOG("MKAudioDeviceManager -> GetDeviceId: Invalid index");
    return std::string();
}

std::string MKAudioDeviceManagerImpl::GetDeviceName(int index)
{
    const std::lock_guard<std::mutex> hold(lock);
    if (IsListed(index))
        return names[static_cast<size_t>(index)];
    QX_LOG("MKAudioDeviceManager -> GetDeviceName: Invalid index");
    return std::string();
}

std::string MKAudioDeviceManagerImpl::GetDefaultInputDevice()
{
    const std::lock_guard<std::mutex> hold(lock);
    const PaDeviceIndex index = Pa_GetDefaultInputDevice();
    if (IsListed(index))
        return ids[static_cast<size_t>(index)];
    QX_LOG("MKAudioDeviceManager -> GetDefaultInputDevice: Invalid index");
    return std::string();
}

std::string MKAudioDeviceManagerImpl::GetDefaultOutputDevice()
{
    const std::lock_guard<std::mutex> hold(lock);
    const PaDeviceIndex index = Pa_GetDefaultOutputDevice();
    if (IsListed(index))
        return ids[static_cast<size_t>(index)];
    QX_LOG("MKAudioDeviceManager -> GetDefaultOutputDevice: Invalid index");
    return std::string();
}

const PaDeviceInfo* MKAudioDeviceManagerImpl::FindDeviceInfo(const std::string& id)
{
    const ptrdiff_t index = std::find(ids.begin(), ids.end(), id) - ids.begin();
    if (static_cast<size_t>(index) < ids.size() && index < Pa_GetDeviceCount())
        return Pa_GetDeviceInfo(static_cast<PaDeviceIndex>(index));
    QX_LOG("MKAudioDeviceManager -> GetDeviceInfo: Invalid index");
    return nullptr;
}

const PaDeviceInfo* MKAudioDeviceManagerImpl::GetDeviceInfo(const std::string& id)
{
    const std::lock_guard<std::mutex> hold(lock);
    return FindDeviceInfo(id);
}

bool MKAudioDeviceManagerImpl::IsOutput(const std::string& id)
{
    const std::lock_guard<std::mutex> hold(lock);
    const PaDeviceInfo* const info = FindDeviceInfo(id);
    if (!info) {
        QX_LOG("MKAudioDeviceManager -> IsOutput: null device info");
        return false;
    }
    return info->maxOutputChannels > 0;
}

void MKAudioDeviceManagerImpl::SetChangeCallback(MKAudioDeviceManager::ChangeCallback callback)
{
    const std::lock_guard<std::mutex> hold(lock);
    onChange.swap(callback);
}

void MKAudioDeviceManagerImpl::Tell(const std::string& deviceId, MKDeviceChangeMsg msg)
{
    if (onChange)
        onChange(deviceId, msg);
}

MKAudioDeviceManager::MKAudioDeviceManager() : impl(new MKAudioDeviceManagerImpl)
{
    impl->PopulateDeviceList(true);
    impl->StartNotification();
}

MKAudioDeviceManager::~MKAudioDeviceManager() = default;

MKAudioDeviceManager* MKAudioDeviceManager::Get()
{
    if (MKAudioDeviceManager* const made = theManager)
        return made;
    const std::lock_guard<std::mutex> hold(ManagerLock());
    if (!theManager) {
        theManager = new MKAudioDeviceManager;
        std::atexit(Destroy);
    }
    return theManager;
}

void MKAudioDeviceManager::Destroy()
{
    const std::lock_guard<std::mutex> hold(ManagerLock());
    delete theManager.exchange(nullptr);
}

int MKAudioDeviceManager::GetDeviceCount()
{
    return impl->GetDeviceCount();
}

std::string MKAudioDeviceManager::GetDeviceId(int index)
{
    return impl->GetDeviceId(index);
}

std::string MKAudioDeviceManager::GetDeviceName(int index)
{
    return impl->GetDeviceName(index);
}

std::string MKAudioDeviceManager::GetDefaultInputDevice()
{
    return impl->GetDefaultInputDevice();
}

std::string MKAudioDeviceManager::GetDefaultOutputDevice()
{
    return impl->GetDefaultOutputDevice();
}

const PaDeviceInfo* MKAudioDeviceManager::GetDeviceInfo(const std::string& id)
{
    return impl->GetDeviceInfo(id);
}

bool MKAudioDeviceManager::IsOutput(const std::string& id)
{
    return impl->IsOutput(id);
}

void MKAudioDeviceManager::SetChangeCallback(ChangeCallback callback)
{
    impl->SetChangeCallback(std::move(callback));
}
