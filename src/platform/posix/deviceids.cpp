// Ids of audio devices that stay the same when cards are numbered anew. MIT licence.
#include "platform/posix/deviceids.h"

#include <cstdlib>
#include <fstream>
#include <unordered_map>
#include <unordered_set>

namespace qxplatform
{
namespace
{

constexpr char kDigits[] = "0123456789";
constexpr size_t kMaxDigits = 4; // of a card's number

// The digits of text from a place on.
std::string DigitsAt(const std::string& text, size_t at)
{
    const size_t end = text.find_first_not_of(kDigits, at);
    return text.substr(at, end == std::string::npos ? end : end - at);
}

} // namespace

std::string AlsaCardId(int card)
{
    std::ifstream file("/proc/asound/card" + std::to_string(card) + "/id");
    std::string id;
    std::getline(file, id);
    return id;
}

std::string StableDeviceName(const std::string& name, const CardIdOf& cardIdOf)
{
    const std::string prefix = "hw:";
    const size_t start = name.rfind(prefix);
    if (start == std::string::npos)
        return name;
    const size_t cardAt = start + prefix.size();
    const std::string card = DigitsAt(name, cardAt);
    const size_t comma = cardAt + card.size();
    if (card.empty() || card.size() > kMaxDigits || comma >= name.size() || name[comma] != ',')
        return name;
    const std::string device = DigitsAt(name, comma + 1);
    const std::string id = device.empty() ? std::string() : cardIdOf(std::atoi(card.c_str()));
    if (id.empty())
        return name;
    return name.substr(0, cardAt) + "CARD=" + id + ",DEV=" + device + name.substr(comma + 1 + device.size());
}

std::vector<std::string> DistinctIds(std::vector<std::string> ids)
{
    std::unordered_set<std::string> taken;
    std::unordered_map<std::string, int> repeats;
    for (std::string& id : ids) {
        const std::string plain = id;
        while (!taken.insert(id).second)
            id = plain + "#" + std::to_string(++repeats[plain] + 1);
    }
    return ids;
}

std::string ServerDeviceId(const ServerDevice& device, const CardIdOf& cardIdOf)
{
    const bool isCard = !device.card.empty() && !device.device.empty() && !device.cardName.empty();
    const std::string card = isCard ? "hw:" + device.card + "," + device.device : std::string();
    const std::string stable = StableDeviceName(card, cardIdOf);
    if (stable == card)
        return "PulseAudio:" + device.name;
    return "ALSA:" + device.cardName + ": " + device.deviceName + " (" + stable + ")";
}

} // namespace qxplatform
