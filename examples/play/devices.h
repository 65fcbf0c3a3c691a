// The audio devices by id and name. PortAudio is started. MIT licence.
#ifndef QXSPEECH_EXAMPLES_PLAY_DEVICES_H
#define QXSPEECH_EXAMPLES_PLAY_DEVICES_H

#include <string>
#include <vector>
#include <wx/string.h>

namespace play
{

struct Device {
    std::string id; // UTF-8, as the name
    std::string name;
    int inputs = 0; // channels
    int outputs = 0;
    bool isDefaultInput = false;
    bool isDefaultOutput = false;
};

enum class Direction { kInput, kOutput };

std::vector<Device> LoadDevices();

// One line for each device, the default ones marked.
wxString DeviceListText(const std::vector<Device>& devices);
wxString DeviceListJson(const std::vector<Device>& devices);

// The id of the device with this id or, if there is none, this name; empty stays empty, which is the default. Throws
// Failure (kExitNoDevice) if there is none of that direction.
std::string FindDevice(const std::vector<Device>& devices, const std::string& idOrName, Direction direction);

} // namespace play

#endif
