// The state behind MKAudioDeviceManager, shared with the notices of the sound system. MIT licence.
#ifndef QXSPEECH_MEDIAKIT_DEVICEMANAGERIMPL_H
#define QXSPEECH_MEDIAKIT_DEVICEMANAGERIMPL_H

#include <mutex>
#include <portaudio.h>
#include <string>
#include <vector>

#include "mediakit/devicemanager.h"

class MKAudioEndpointNotification;

// The id of a PortAudio device, UTF-8; empty, with the reason logged, if it has none.
std::string mkDoGetDeviceId(int index);

// Owned by the manager; the operations are the manager's. The notices' thread calls Tell.
class MKAudioDeviceManagerImpl
{
public:
    MKAudioDeviceManagerImpl() = default;
    // Unregisters the notices first: none is under way when the lists go.
    ~MKAudioDeviceManagerImpl();
    MKAudioDeviceManagerImpl(const MKAudioDeviceManagerImpl&) = delete;
    MKAudioDeviceManagerImpl& operator=(const MKAudioDeviceManagerImpl&) = delete;

    // Builds the lists from what PortAudio shows now.
    void PopulateDeviceList(bool log);
    // Asks the sound system for notices. There are none without one, nor on Windows without COM on this thread.
    void StartNotification();

    int GetDeviceCount();
    std::string GetDeviceId(int index);
    std::string GetDeviceName(int index);
    std::string GetDefaultInputDevice();
    std::string GetDefaultOutputDevice();
    const PaDeviceInfo* GetDeviceInfo(const std::string& id);
    bool IsOutput(const std::string& id);
    void SetChangeCallback(MKAudioDeviceManager::ChangeCallback callback);

    // For the notices, which hold the lock.
    void Tell(const std::string& deviceId, MKDeviceChangeMsg msg);

    // Taken by every operation and by every notice; a notice calls onChange under it, so it must not come back.
    std::mutex lock;

private:
    void AppendDevice(int index, int defaultOutput, bool log);
    const PaDeviceInfo* FindDeviceInfo(const std::string& id);
    bool IsListed(int index) const { return index >= 0 && static_cast<size_t>(index) < ids.size(); }

    // guarded by lock
    std::vector<std::string> names; // by PortAudio's index
    std::vector<std::string> ids;   // the same order
    int32_t deviceCount = 0;
    MKAudioDeviceManager::ChangeCallback onChange = [](const std::string&, MKDeviceChangeMsg) {};

    MKAudioEndpointNotification* notification = nullptr; // one reference
};

#endif
