// Ids of audio devices that stay the same when cards are numbered anew. MIT licence.
#ifndef QXSPEECH_PLATFORM_DEVICEIDS_H
#define QXSPEECH_PLATFORM_DEVICEIDS_H

#include <functional>
#include <string>
#include <vector>

namespace qxplatform
{

// The own id of an ALSA card by its number ("PCH" for 0); empty if there is no such card.
using CardIdOf = std::function<std::string(int card)>;
std::string AlsaCardId(int card);

// "HDA: Analog (hw:1,0)" to "HDA: Analog (hw:CARD=PCH,DEV=0)"; as it is where no card is named or the card is unknown.
std::string StableDeviceName(const std::string& name, const CardIdOf& cardIdOf);

// "#2", "#3" behind the second and third of the same, so that no two are equal.
std::vector<std::string> DistinctIds(std::vector<std::string> ids);

// What a sound server says of one of its devices; empty texts for what it does not say.
struct ServerDevice {
    std::string name;       // unique on the server
    std::string card;       // ALSA's number of the card
    std::string cardName;   // ALSA's name of the card
    std::string device;     // ALSA's number of the device on the card
    std::string deviceName; // ALSA's name of the device
};

// The id under which PortAudio's ALSA side lists the same device, or one of the server's own where it cannot.
std::string ServerDeviceId(const ServerDevice& device, const CardIdOf& cardIdOf);

} // namespace qxplatform

#endif
