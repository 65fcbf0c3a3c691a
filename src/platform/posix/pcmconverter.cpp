// Resampling through libswresample. MIT licence.
#include "platform/posix/pcmconverter.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

namespace qxvoice
{

PcmConverter::~PcmConverter()
{
    swr_free(&m_context);
}

bool PcmConverter::Open(int rateHz, int channels)
{
    swr_free(&m_context);
    m_rateHz = rateHz;
    m_channels = channels;
    if (rateHz == kSynthRateHz && channels == 1)
        return true;
    AVChannelLayout in;
    AVChannelLayout out;
    av_channel_layout_default(&in, 1);
    av_channel_layout_default(&out, channels);
    if (swr_alloc_set_opts2(&m_context, &out, AV_SAMPLE_FMT_S16, rateHz, &in, AV_SAMPLE_FMT_S16, kSynthRateHz, 0,
                            nullptr) < 0 ||
        swr_init(m_context) < 0) {
        swr_free(&m_context);
        m_channels = 0;
        return false;
    }
    return true;
}

bool PcmConverter::Convert(const int16_t* samples, size_t count, std::vector<int16_t>& out)
{
    if (m_channels == 0)
        return false;
    if (!m_context) {
        out.insert(out.end(), samples, samples + count);
        return true;
    }
    return Run(samples, count, out);
}

bool PcmConverter::Flush(std::vector<int16_t>& out)
{
    if (!m_context)
        return m_channels != 0;
    return Run(nullptr, 0, out) && Open(m_rateHz, m_channels);
}

bool PcmConverter::Run(const int16_t* samples, size_t count, std::vector<int16_t>& out)
{
    const size_t before = out.size();
    const int room = swr_get_out_samples(m_context, static_cast<int>(count));
    if (room < 0)
        return false;
    out.resize(before + static_cast<size_t>(room) * static_cast<size_t>(m_channels));
    uint8_t* target = reinterpret_cast<uint8_t*>(out.data() + before);
    const uint8_t* source = reinterpret_cast<const uint8_t*>(samples);
    const int made = swr_convert(m_context, &target, room, samples ? &source : nullptr, static_cast<int>(count));
    out.resize(before + static_cast<size_t>(made < 0 ? 0 : made) * static_cast<size_t>(m_channels));
    return made >= 0;
}

} // namespace qxvoice
