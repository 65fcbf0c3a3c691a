// The library's list, with the channel counts that PortAudio tells. MIT licence.
#include "devices.h"

#include <algorithm>
#include <portaudio.h>

#include "../common/exitstatus.h"
#include "mediakit/devicemanager.h"
#include "json/jsonvalue.h"
#include "json/jsonwriter.h"

namespace play
{
namespace
{

wxString Text(const std::string& utf8)
{
    return wxString::FromUTF8(utf8.c_str());
}

wxString Column(const wxString& text, size_t width)
{
    return text + wxString(' ', text.length() < width ? width - text.length() : 1);
}

wxString Directions(const Device& device)
{
    if (device.outputs > 0)
        return device.inputs > 0 ? "output, input" : "output";
    return device.inputs > 0 ? "input" : "-";
}

bool Has(const Device& device, Direction direction)
{
    return (direction == Direction::kOutput ? device.outputs : device.inputs) > 0;
}

} // namespace

std::vector<Device> LoadDevices()
{
    MKAudioDeviceManager& manager = *MKAudioDeviceManager::Get();
    std::vector<Device> devices;
    for (int i = 0; i < manager.GetDeviceCount(); ++i) {
        Device device;
        device.id = manager.GetDeviceId(i);
        device.name = manager.GetDeviceName(i);
        if (const PaDeviceInfo* const info = Pa_GetDeviceInfo(i)) {
            device.inputs = info->maxInputChannels;
            device.outputs = info->maxOutputChannels;
        }
        device.isDefaultInput = i == Pa_GetDefaultInputDevice();
        device.isDefaultOutput = i == Pa_GetDefaultOutputDevice();
        devices.push_back(device);
    }
    return devices;
}

wxString DeviceListText(const std::vector<Device>& devices)
{
    size_t idWidth = 0;
    size_t nameWidth = 0;
    for (const Device& device : devices) {
        idWidth = std::max(idWidth, Text(device.id).length() + 2);
        nameWidth = std::max(nameWidth, Text(device.name).length() + 2);
    }
    wxString text;
    for (const Device& device : devices) {
        text += Column(Text(device.id), idWidth) + Column(Text(device.name), nameWidth) + Directions(device);
        if (device.isDefaultOutput)
            text += "  (default output)";
        if (device.isDefaultInput)
            text += "  (default input)";
        text += "\n";
    }
    return text;
}

wxString DeviceListJson(const std::vector<Device>& devices)
{
    wxJSONValue list(wxJSONTYPE_ARRAY);
    for (const Device& device : devices) {
        wxJSONValue entry;
        entry["id"] = Text(device.id);
        entry["name"] = Text(device.name);
        entry["inputs"] = device.inputs;
        entry["outputs"] = device.outputs;
        entry["default_input"] = device.isDefaultInput;
        entry["default_output"] = device.isDefaultOutput;
        list.Append(entry);
    }
    wxString text;
    wxJSONWriter(0, 0, 3).Write(list, text);
    return text + "\n";
}

std::string FindDevice(const std::vector<Device>& devices, const std::string& idOrName, Direction direction)
{
    if (idOrName.empty())
        return idOrName;
    for (const auto field : {&Device::id, &Device::name})
        for (const Device& device : devices)
            if (device.*field == idOrName && Has(device, direction))
                return device.id;
    throw tool::Failure{tool::kExitNoDevice, wxString("no audio ") +
                                                 (direction == Direction::kOutput ? "output" : "input") + " device \"" +
                                                 Text(idOrName) + "\"; --list-devices lists them"};
}

} // namespace play
