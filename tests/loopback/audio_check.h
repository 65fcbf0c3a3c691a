// Measures audio by its own bytes. MIT licence.
#ifndef QXSPEECH_TESTS_LOOPBACK_AUDIO_CHECK_H
#define QXSPEECH_TESTS_LOOPBACK_AUDIO_CHECK_H

#include <cstdint>
#include <openssl/evp.h>
#include <string>
#include <vector>

struct WavFacts {
    bool isWhole = false; // mono, 16 bits, and the sizes in the header fit
    unsigned sampleRate = 0;
    double seconds = 0;
    double hertz = 0; // by zero crossings of the stretch that sounds
};

inline unsigned LittleEndian(const std::string& bytes, std::size_t at, std::size_t size)
{
    unsigned value = 0;
    for (std::size_t byte = 0; byte < size && at + byte < bytes.size(); ++byte)
        value |= static_cast<unsigned>(static_cast<unsigned char>(bytes[at + byte])) << (8 * byte);
    return value;
}

inline WavFacts MeasureWav(const std::string& bytes)
{
    WavFacts facts;
    if (bytes.size() <= 44 || bytes.compare(0, 4, "RIFF") != 0 || bytes.compare(8, 8, "WAVEfmt ") != 0)
        return facts;
    const std::size_t data = bytes.size() - 44;
    facts.isWhole = LittleEndian(bytes, 4, 4) + 8 == bytes.size() && LittleEndian(bytes, 40, 4) == data &&
                    LittleEndian(bytes, 22, 2) == 1 && LittleEndian(bytes, 34, 2) == 16;
    facts.sampleRate = LittleEndian(bytes, 24, 4);
    facts.seconds = static_cast<double>(data) / 2 / facts.sampleRate;
    std::size_t rises = 0;
    std::int16_t last = 0;
    for (std::size_t at = 44; at + 1 < bytes.size(); at += 2) {
        const auto sample = static_cast<std::int16_t>(LittleEndian(bytes, at, 2));
        rises += last < 0 && sample >= 0;
        last = sample;
    }
    facts.hertz = static_cast<double>(rises) / facts.seconds;
    return facts;
}

// Seconds of an MP3 of 22050 Hz and 48 kbit/s; negative if it isn't frame after frame to its end.
inline double Mp3Seconds(const std::string& bytes)
{
    std::size_t frames = 0;
    for (std::size_t at = 0; at < bytes.size(); ++frames) {
        const bool isHeader = at + 4 <= bytes.size() && bytes[at] == '\xff' && (bytes[at + 1] & 0xfe) == 0xf2 &&
                              (bytes[at + 2] & 0xfc) == 0x60;
        if (!isHeader)
            return -1;
        at += 156 + ((bytes[at + 2] & 2) ? 1 : 0); // 72 * bit rate / sample rate, and padding
        if (at > bytes.size())
            return -1;
    }
    return static_cast<double>(frames) * 576 / 22050;
}

// Of the JSON member "audioContent"; empty if that isn't clean base64.
inline std::string GoogleAudio(const std::string& json)
{
    const std::size_t member = json.find("\"audioContent\"");
    const std::size_t colon = json.find(':', member);
    const std::size_t start = json.find('"', colon) + 1;
    const std::size_t end = json.find('"', start);
    if (member == std::string::npos || end == std::string::npos || (end - start) % 4 != 0)
        return {};
    std::string bytes((end - start) / 4 * 3, '\0');
    const int size =
        EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                        reinterpret_cast<const unsigned char*>(json.data()) + start, static_cast<int>(end - start));
    if (size < 0)
        return {};
    for (std::size_t at = end; at > start && json[at - 1] == '='; --at)
        bytes.pop_back();
    return bytes;
}

#endif
