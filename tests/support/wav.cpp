// WAV reading and level measurement for tests. MIT licence.
#include "support/wav.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>

namespace
{

uint32_t LittleEndian(const std::string& bytes, size_t at, size_t count)
{
    uint32_t value = 0;
    for (size_t i = 0; i < count; ++i)
        value |= static_cast<uint32_t>(static_cast<unsigned char>(bytes[at + i])) << (8 * i);
    return value;
}

} // namespace

double Sound::Seconds() const
{
    return rateHz == 0 ? 0 : static_cast<double>(samples.size()) / channels / rateHz;
}

double Sound::Rms(double fromSeconds, double toSeconds) const
{
    const auto index = [this](double seconds) {
        const double at = std::max(0.0, seconds) * rateHz;
        return std::min(samples.size(), static_cast<size_t>(at) * static_cast<size_t>(channels));
    };
    const size_t from = index(fromSeconds);
    const size_t to = index(toSeconds);
    if (to <= from)
        return 0;
    double sum = 0;
    for (size_t i = from; i < to; ++i)
        sum += static_cast<double>(samples[i]) * samples[i];
    return std::sqrt(sum / static_cast<double>(to - from));
}

bool ReadWav(const std::string& path, Sound& sound, std::string& why, bool growing)
{
    std::ifstream file(path, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    const auto fail = [&why](const char* reason) {
        why = reason;
        return false;
    };
    if (bytes.size() < 44)
        return fail("shorter than a header");
    if (bytes.compare(0, 4, "RIFF") != 0 || bytes.compare(8, 8, "WAVEfmt ") != 0 || bytes.compare(36, 4, "data") != 0)
        return fail("not a plain WAV header");
    const uint32_t dataBytes = LittleEndian(bytes, 40, 4);
    if (LittleEndian(bytes, 4, 4) != dataBytes + 36)
        return fail("the two sizes disagree");
    if (LittleEndian(bytes, 20, 2) != 1 || LittleEndian(bytes, 34, 2) != 16)
        return fail("not 16-bit PCM");
    if (44 + static_cast<size_t>(dataBytes) > bytes.size())
        return fail("the header announces more than the file holds");
    if (!growing && 44 + static_cast<size_t>(dataBytes) != bytes.size())
        return fail("bytes behind the data");
    sound.channels = static_cast<int>(LittleEndian(bytes, 22, 2));
    sound.rateHz = static_cast<int>(LittleEndian(bytes, 24, 4));
    sound.samples.resize(dataBytes / 2);
    if (!sound.samples.empty())
        std::memcpy(sound.samples.data(), bytes.data() + 44, sound.samples.size() * 2);
    return true;
}

std::vector<Stretch> LoudStretches(const Sound& sound, double minGapSeconds, double threshold)
{
    constexpr double window = 0.01;
    std::vector<Stretch> stretches;
    const int windows = static_cast<int>(sound.Seconds() / window);
    for (int i = 0; i < windows; ++i) {
        const double at = i * window;
        if (sound.Rms(at, at + window) < threshold)
            continue;
        if (!stretches.empty() && at - stretches.back().to < minGapSeconds)
            stretches.back().to = at + window;
        else
            stretches.push_back({at, at + window});
    }
    return stretches;
}
