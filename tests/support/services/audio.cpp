// The tone is plain so that a test can measure pitch and length. MIT licence.
#include "audio.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <openssl/evp.h>
#include <stdexcept>

#include "markup.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
}

namespace loopback
{
namespace
{

constexpr double kPi = 3.14159265358979323846;
constexpr double kBaseHz = 440.0;
constexpr double kLoudness = 0.3 * 32767;
constexpr unsigned kRampMs = 4;
constexpr std::size_t kWavHeader = 44;

struct CodecDeleter {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};

const AVCodec* Mp3Encoder()
{
    const AVCodec* lame = avcodec_find_encoder_by_name("libmp3lame");
    return lame ? lame : avcodec_find_encoder(AV_CODEC_ID_MP3);
}

void Check(int result, const char* what)
{
    if (result < 0)
        throw std::runtime_error(std::string("MP3 encoder: ") + what);
}

// Mono at a constant rate, so that the frames alone make a file.
class Mp3Writer
{
public:
    explicit Mp3Writer(unsigned sampleRate)
        : m_context(avcodec_alloc_context3(Mp3Encoder())), m_frame(av_frame_alloc()), m_packet(av_packet_alloc())
    {
        if (!m_context || !m_frame || !m_packet)
            throw std::runtime_error("MP3 encoder: no memory");
        m_context->sample_rate = static_cast<int>(sampleRate);
        m_context->sample_fmt = AV_SAMPLE_FMT_S16P;
        m_context->bit_rate = 48000;
        av_channel_layout_default(&m_context->ch_layout, 1);
        Check(avcodec_open2(m_context.get(), m_context->codec, nullptr), "refuses the sample rate");
    }
    std::string Write(const Samples& samples)
    {
        const auto step = static_cast<std::size_t>(m_context->frame_size);
        for (std::size_t at = 0; at < samples.size(); at += step)
            WriteFrame(samples.data() + at, std::min(step, samples.size() - at));
        Check(avcodec_send_frame(m_context.get(), nullptr), "does not end");
        Collect();
        return m_bytes;
    }

private:
    void WriteFrame(const std::int16_t* samples, std::size_t count)
    {
        av_frame_unref(m_frame.get());
        m_frame->format = m_context->sample_fmt;
        m_frame->nb_samples = m_context->frame_size;
        m_frame->sample_rate = m_context->sample_rate;
        Check(av_channel_layout_copy(&m_frame->ch_layout, &m_context->ch_layout), "no memory");
        Check(av_frame_get_buffer(m_frame.get(), 0), "no memory");
        auto* target = reinterpret_cast<std::int16_t*>(m_frame->data[0]);
        std::fill(std::copy(samples, samples + count, target), target + m_context->frame_size, std::int16_t{0});
        Check(avcodec_send_frame(m_context.get(), m_frame.get()), "refuses a frame");
        Collect();
    }
    void Collect()
    {
        while (avcodec_receive_packet(m_context.get(), m_packet.get()) == 0) {
            m_bytes.append(reinterpret_cast<const char*>(m_packet->data), static_cast<std::size_t>(m_packet->size));
            av_packet_unref(m_packet.get());
        }
    }

    std::unique_ptr<AVCodecContext, CodecDeleter> m_context;
    std::unique_ptr<AVFrame, CodecDeleter> m_frame;
    std::unique_ptr<AVPacket, CodecDeleter> m_packet;
    std::string m_bytes;
};

void AppendNumber(std::string& bytes, std::uint64_t value, int size)
{
    for (int at = 0; at < size; ++at)
        bytes += static_cast<char>(value >> (8 * at) & 0xff);
}

unsigned NumberAt(const std::string& bytes, std::size_t at)
{
    unsigned value = 0;
    for (std::size_t byte = 0; byte < 4; ++byte)
        value |= static_cast<unsigned>(static_cast<unsigned char>(bytes[at + byte])) << (8 * byte);
    return value;
}

std::string WavHeader(std::uint64_t dataBytes, unsigned sampleRate)
{
    std::string bytes = "RIFF";
    AppendNumber(bytes, dataBytes + kWavHeader - 8, 4);
    bytes += "WAVEfmt ";
    AppendNumber(bytes, 16, 4);
    AppendNumber(bytes, 1, 2); // PCM
    AppendNumber(bytes, 1, 2); // mono
    AppendNumber(bytes, sampleRate, 4);
    AppendNumber(bytes, std::uint64_t{sampleRate} * 2, 4);
    AppendNumber(bytes, 2, 2);
    AppendNumber(bytes, 16, 2);
    bytes += "data";
    AppendNumber(bytes, dataBytes, 4);
    return bytes;
}

std::string RawOf(const Samples& samples)
{
    std::string bytes;
    bytes.reserve(samples.size() * 2);
    for (const std::int16_t sample : samples)
        AppendNumber(bytes, static_cast<std::uint16_t>(sample), 2);
    return bytes;
}

// Which characters are white; one entry for each.
std::vector<bool> WhiteOf(const std::string& text)
{
    std::vector<bool> white;
    for (const char letter : text)
        if ((static_cast<unsigned char>(letter) & 0xc0) != 0x80)
            white.push_back(letter == ' ' || letter == '\t' || letter == '\n' || letter == '\r');
    return white;
}

double RampAt(std::size_t position, std::size_t ramp)
{
    return position >= ramp ? 1.0 : static_cast<double>(position) / static_cast<double>(ramp);
}

// One second, 440 whole periods: repeated it has no seam.
Samples OneSecond(unsigned sampleRate)
{
    Samples samples;
    for (unsigned at = 0; at < sampleRate; ++at)
        samples.push_back(static_cast<std::int16_t>(kLoudness * std::sin(2 * kPi * kBaseHz * at / sampleRate)));
    return samples;
}

std::uint64_t RepeatsFor(std::uint64_t bytes, std::size_t unit)
{
    return bytes / unit + 1;
}

} // namespace

Samples ToneOf(const std::string& text, const ToneWish& wish)
{
    const std::vector<bool> white = WhiteOf(text);
    const double perCharacter = wish.sampleRate * (wish.msPerCharacter / 1000.0) / wish.rate;
    const auto startOf = [&](std::size_t at) {
        return static_cast<std::size_t>(std::llround(perCharacter * static_cast<double>(at)));
    };
    const double step = 2 * kPi * kBaseHz * std::pow(2.0, wish.semitones / 12.0) / wish.sampleRate;
    const std::size_t ramp = wish.sampleRate * kRampMs / 1000;
    Samples samples(startOf(white.size()));
    for (std::size_t at = 0; at < white.size(); ++at) {
        const bool opens = at == 0 || white[at - 1];
        const bool ends = at + 1 == white.size() || white[at + 1];
        for (std::size_t sample = startOf(at); !white[at] && sample < startOf(at + 1); ++sample) {
            const double up = opens ? RampAt(sample - startOf(at), ramp) : 1.0;
            const double down = ends ? RampAt(startOf(at + 1) - 1 - sample, ramp) : 1.0;
            samples[sample] = static_cast<std::int16_t>(kLoudness * std::min(up, down) *
                                                        std::sin(step * static_cast<double>(sample)));
        }
    }
    return samples;
}

std::string WavOf(const Samples& samples, unsigned sampleRate)
{
    const std::string data = RawOf(samples);
    return WavHeader(data.size(), sampleRate) + data;
}

std::string Mp3Of(const Samples& samples, unsigned sampleRate)
{
    RequireMp3Encoder();
    return Mp3Writer(sampleRate).Write(samples);
}

void RequireMp3Encoder()
{
    if (!Mp3Encoder())
        throw std::runtime_error("FFmpeg was built without an MP3 encoder (libmp3lame)");
}

std::string Base64Of(const std::string& bytes)
{
    std::string text(4 * ((bytes.size() + 2) / 3) + 1, '\0');
    const int length =
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                        reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()));
    text.resize(static_cast<std::size_t>(length));
    return text;
}

Body Lengthened(const Body& body, std::uint64_t bytes)
{
    const std::string& start = body.prefix;
    if (start.compare(0, 4, "RIFF") == 0 && start.size() >= kWavHeader) {
        const unsigned sampleRate = NumberAt(start, 24);
        const std::string unit = RawOf(OneSecond(sampleRate));
        const std::uint64_t repeat = RepeatsFor(bytes, unit.size());
        return {WavHeader(unit.size() * repeat, sampleRate), unit, repeat, {}};
    }
    if (start.compare(0, 1, "\xff") == 0) {
        const std::string unit = Mp3Of(OneSecond(22050), 22050);
        return {{}, unit, RepeatsFor(bytes, unit.size()), {}};
    }
    if (start.compare(0, 1, "{") == 0 && start.find("\"audioContent\"") != std::string::npos) {
        const std::string raw = RawOf(OneSecond(24000)); // its size is a multiple of three
        const std::uint64_t repeat = RepeatsFor(bytes, raw.size() / 3 * 4);
        const std::string head = WavHeader(raw.size() * repeat + 4, 24000) + std::string(4, '\0'); // 48 bytes
        return {"{\"audioContent\":\"" + Base64Of(head), Base64Of(raw), repeat, "\"}"};
    }
    return body;
}

} // namespace loopback
