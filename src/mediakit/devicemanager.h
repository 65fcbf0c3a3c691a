// The process-wide list of audio devices, each with an id that stays the same. MIT licence.
#ifndef QXSPEECH_MEDIAKIT_DEVICEMANAGER_H
#define QXSPEECH_MEDIAKIT_DEVICEMANAGER_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "../common/export.h"

struct PaDeviceInfo;
class MKAudioDeviceManagerImpl;

enum MKDeviceChangeMsg : int32_t {
    MKDeviceAdded = 0,
    MKDeviceRemoved = 1,
    MKDefaultDeviceChanged = 2,
};

// The audio devices as PortAudio, which the host has started, showed them at the first Get; the list is never built
// again. Made by the first Get and destroyed at process exit. Any thread. Names and ids are UTF-8; an empty id is no
// device. A wrong index, an unknown id or a PortAudio that does not run is logged and gives an empty, null or false
// answer. Changes of devices are logged and told to the callback: on Windows where COM was started on the thread of the
// first Get, elsewhere where a PulseAudio or PipeWire server runs.
class QXSPEECH_API MKAudioDeviceManager
{
public:
    using ChangeCallback = std::function<void(const std::string& deviceId, MKDeviceChangeMsg msg)>;

    static MKAudioDeviceManager* Get();

    // Negative if PortAudio did not run at the first Get.
    int GetDeviceCount();
    // By PortAudio's device index, 0 to GetDeviceCount() - 1.
    std::string GetDeviceId(int index);
    std::string GetDeviceName(int index);
    // What PortAudio calls the default now.
    std::string GetDefaultInputDevice();
    std::string GetDefaultOutputDevice();
    // PortAudio's own record of the first device with that id, not owned, good until PortAudio ends.
    const PaDeviceInfo* GetDeviceInfo(const std::string& id);
    bool IsOutput(const std::string& id);
    // Replaces the callback, an empty function takes it away. It is called on a thread of the sound system with the
    // manager's lock held, so it must not call the manager; once this returns the former one is not called any more.
    void SetChangeCallback(ChangeCallback callback);

private:
    MKAudioDeviceManager();
    ~MKAudioDeviceManager();
    MKAudioDeviceManager(const MKAudioDeviceManager&) = delete;
    MKAudioDeviceManager& operator=(const MKAudioDeviceManager&) = delete;
    static void Destroy();

    std::unique_ptr<MKAudioDeviceManagerImpl> impl;
};

#endif
