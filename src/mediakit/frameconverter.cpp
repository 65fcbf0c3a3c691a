#include "mediakit/frameconverter.h"

extern "C" {
#include <libavutil/error.h>
#include <libavutil/frame.h>
}

#include <memory>

#include "mediakit/audioconverter.h"
#include "mediakit/videoconverter.h"

namespace
{

bool IsPicture(const AVFrame* frame)
{
    return frame && frame->width > 0 && frame->height > 0;
}

} // namespace

class MKFrameConverterImpl
{
public:
    int Convert(MKFrame* src, MKFrame* dst)
    {
        AVFrame* output = dst ? dst->GetAVFrame() : nullptr;
        const AVFrame* input = src ? src->GetAVFrame() : nullptr;
        if (!output || (src && !input))
            return AVERROR(EINVAL);
        if (!IsPicture(input) && !IsPicture(output))
            return audio.Convert(input, output, dst->GetFrameSize());
        return input ? video->Convert(input, output) : AVERROR(EAGAIN);
    }

    int Drain(MKFrame* src, MKFrame* dst)
    {
        AVFrame* output = dst ? dst->GetAVFrame() : nullptr;
        const AVFrame* input = src ? src->GetAVFrame() : nullptr;
        if (!output || (src && !input))
            return AVERROR(EINVAL);
        if (IsPicture(input) || IsPicture(output))
            return AVERROR(EAGAIN);
        return audio.Drain(input, output, dst->GetFrameSize());
    }

    void SetHardwareConversion(bool enable) { video->SetHardwareConversion(enable); }

private:
    MKAudioConverter audio;
    std::unique_ptr<MKVideoConverter> video = mkMakeVideoConverter();
};

MKFrameConverter::MKFrameConverter() : impl(new MKFrameConverterImpl) {}

MKFrameConverter::~MKFrameConverter()
{
    delete impl;
}

void MKFrameConverter::SetHardwareConversion(bool enable)
{
    impl->SetHardwareConversion(enable);
}

int MKFrameConverter::Convert(MKFrame* src, MKFrame* dst)
{
    return impl->Convert(src, dst);
}

int MKFrameConverter::Drain(MKFrame* src, MKFrame* dst)
{
    return impl->Drain(src, dst);
}
