#include "mediakit/videoconverter.h"

extern "C" {
#include <libavutil/hwcontext.h>
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <tuple>
#include <utility>

#include "common/logging.h"
#include "mediakit/formattables.h"

namespace
{

constexpr int kSkipped = -1; // a way that does not apply; the next one is tried

// The full-range kinds of a format are that format with the flag set.
int FormatOf(const AVFrame* frame)
{
    switch (frame->format) {
    case AV_PIX_FMT_YUVJ420P:
        return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P:
        return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ444P:
        return AV_PIX_FMT_YUV444P;
    case AV_PIX_FMT_YUVJ440P:
        return AV_PIX_FMT_YUV440P;
    default:
        return frame->format;
    }
}

bool IsFullRange(const AVFrame* frame)
{
    return FormatOf(frame) != frame->format || mkColorProperties(*frame).range == AVCOL_RANGE_JPEG;
}

AVPixelFormat SoftwareFormatOf(const AVFrame* frame)
{
    if (!frame->hw_frames_ctx)
        return AV_PIX_FMT_NONE;
    return reinterpret_cast<const AVHWFramesContext*>(frame->hw_frames_ctx->data)->sw_format;
}

bool IsInMemory(const AVFrame* frame)
{
    const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame->format));
    return format && !(format->flags & AV_PIX_FMT_FLAG_HWACCEL) && frame->data[0];
}

bool AreOfOneKind(const AVFrame* a, const AVFrame* b)
{
    const MKColorProperties colorA = mkColorProperties(*a);
    const MKColorProperties colorB = mkColorProperties(*b);
    return a->format == b->format && a->width == b->width && a->height == b->height && colorA.range == colorB.range &&
           colorA.primaries == colorB.primaries;
}

// A frame in system memory that can take what the frame on a device holds; made once and kept.
bool MakeTemporary(AVFrame*& temporary, const AVFrame* frame)
{
    if (!temporary) {
        AVFrame* made = av_frame_alloc();
        if (!made)
            return false;
        made->width = frame->width;
        made->height = frame->height;
        made->format = SoftwareFormatOf(frame);
        if (av_frame_get_buffer(made, 0) < 0) {
            av_frame_free(&made);
            return false;
        }
        temporary = made;
    }
    mkCopyColorProperties(temporary, *frame);
    return true;
}

// The scaler has to know the ranges before it is initialised: it chooses by them whether planes may just be copied, and
// setting them later does not change that choice. Null if it cannot convert the formats.
SwsContext* MakeScaler(const AVFrame* src, const AVFrame* dst)
{
    const bool sameSize = src->width == dst->width && src->height == dst->height;
    const std::pair<const char*, int> options[] = {
        {"srcw", src->width},
        {"srch", src->height},
        {"src_format", FormatOf(src)},
        {"src_range", IsFullRange(src)},
        {"dstw", dst->width},
        {"dsth", dst->height},
        {"dst_format", FormatOf(dst)},
        {"dst_range", IsFullRange(dst)},
        {"sws_flags", sameSize ? SWS_POINT : SWS_FAST_BILINEAR},
    };
    SwsContext* sws = sws_alloc_context();
    bool isMade = sws != nullptr;
    for (const auto& [name, value] : options)
        isMade = isMade && av_opt_set_int(sws, name, value, 0) >= 0;
    if (!isMade || sws_init_context(sws, nullptr, nullptr) < 0) {
        sws_freeContext(sws);
        return nullptr;
    }
    return sws;
}

bool IsRgb(const AVFrame* frame)
{
    const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame->format));
    return format && (format->flags & AV_PIX_FMT_FLAG_RGB);
}

// From RGB to RGB the scaler still goes by way of luma and chroma: there and back with the same matrix.
void SetColorDetails(SwsContext* sws, const AVFrame* src, const AVFrame* dst)
{
    int* table = nullptr;
    int range = 0;
    int brightness = 0;
    int contrast = 0;
    int saturation = 0;
    sws_getColorspaceDetails(sws, &table, &range, &table, &range, &brightness, &contrast, &saturation);
    const int* const to = sws_getCoefficients(GetSWS_CS(mkColorProperties(*dst).primaries));
    const int* const from =
        IsRgb(src) && IsRgb(dst) ? to : sws_getCoefficients(GetSWS_CS(mkColorProperties(*src).primaries));
    sws_setColorspaceDetails(sws, from, IsFullRange(src), to, IsFullRange(dst), brightness, contrast, saturation);
}

} // namespace

int GetSWS_CS(int primaries)
{
    switch (primaries) {
    case AVCOL_PRI_BT709:
        return SWS_CS_ITU709;
    case AVCOL_PRI_UNSPECIFIED:
    case AVCOL_PRI_BT470BG:
        return SWS_CS_ITU601;
    case AVCOL_PRI_BT470M:
        return SWS_CS_FCC;
    case AVCOL_PRI_SMPTE240M:
        return SWS_CS_SMPTE240M;
    case AVCOL_PRI_BT2020:
        return SWS_CS_BT2020;
    default:
        QX_LOG("Unsupported color primaries, use default %d", SWS_CS_DEFAULT);
        return SWS_CS_DEFAULT;
    }
}

bool MKVideoConverter::Key::operator==(const Key& other) const
{
    return std::tie(width, height, format, softwareFormat, fullRange, primaries, device) ==
           std::tie(other.width, other.height, other.format, other.softwareFormat, other.fullRange, other.primaries,
                    other.device);
}

MKVideoConverter::MKVideoConverter(std::unique_ptr<MKHardwareWays> hardwareWays) : hardware(std::move(hardwareWays)) {}

MKVideoConverter::~MKVideoConverter()
{
    av_frame_free(&srcTemp);
    av_frame_free(&dstTemp);
    sws_freeContext(sws);
}

int MKVideoConverter::Convert(const AVFrame* src, AVFrame* dst)
{
    dst->pts = src->pts;
    dst->key_frame = src->key_frame;
    dst->pict_type = src->pict_type == AV_PICTURE_TYPE_I ? AV_PICTURE_TYPE_I : AV_PICTURE_TYPE_NONE;
    Rekey(src, dst);
    int result = ConvertOnDevice(src, dst);
    if (result < 0)
        result = SWTransferAndConvert(src, dst);
    return result < 0 ? ConvertInMemory(src, dst) : result;
}

MKVideoConverter::Key MKVideoConverter::KeyOf(const AVFrame* frame) const
{
    Key key;
    key.width = frame->width;
    key.height = frame->height;
    key.format = FormatOf(frame);
    key.softwareFormat = SoftwareFormatOf(frame);
    key.fullRange = IsFullRange(frame);
    key.primaries = mkColorProperties(*frame).primaries;
    if (hardware)
        key.device = hardware->DeviceOf(frame);
    return key;
}

void MKVideoConverter::Rekey(const AVFrame* src, const AVFrame* dst)
{
    const Key newSrc = KeyOf(src);
    const Key newDst = KeyOf(dst);
    if (newSrc == srcKey && newDst == dstKey)
        return;
    srcKey = newSrc;
    dstKey = newDst;
    swTransferFailed = false;
    av_frame_free(&srcTemp);
    av_frame_free(&dstTemp);
    sws_freeContext(sws);
    sws = nullptr;
    if (hardware)
        hardware->Reset();
}

int MKVideoConverter::ConvertOnDevice(const AVFrame* src, AVFrame* dst)
{
    if (!hardware || !hardwareConversion)
        return kSkipped;
    const int result = hardware->HWConvert(src, dst);
    return result < 0 ? hardware->HWTransferAndHWConvert(src, dst) : result;
}

// For a frame on a device at either end, or at both.
int MKVideoConverter::SWTransferAndConvert(const AVFrame* src, AVFrame* dst)
{
    if (swTransferFailed)
        return kSkipped;
    swTransferFailed = true;
    if (!src->hw_frames_ctx && !dst->hw_frames_ctx)
        return kSkipped;
    const int result = TransferAndConvert(src, dst);
    if (result < 0)
        return result;
    swTransferFailed = false;
    return 1;
}

int MKVideoConverter::TransferAndConvert(const AVFrame* src, AVFrame* dst)
{
    const AVFrame* input = src;
    if (src->hw_frames_ctx) {
        if (!MakeTemporary(srcTemp, src))
            return AVERROR(ENOMEM);
        const int fetched = av_hwframe_transfer_data(srcTemp, src, 0);
        if (fetched < 0)
            return fetched;
        input = srcTemp;
    }
    if (!dst->hw_frames_ctx)
        return ConvertInMemory(input, dst);
    if (!MakeTemporary(dstTemp, dst))
        return AVERROR(ENOMEM);
    const int converted = ConvertInMemory(input, dstTemp);
    return converted < 0 ? converted : av_hwframe_transfer_data(dst, dstTemp, 0);
}

int MKVideoConverter::ConvertInMemory(const AVFrame* src, AVFrame* dst)
{
    if (!IsInMemory(src) || !IsInMemory(dst))
        return AVERROR(ENOMEM);
    if (AreOfOneKind(src, dst)) {
        av_image_copy(dst->data, dst->linesize, const_cast<const uint8_t**>(src->data), src->linesize,
                      static_cast<AVPixelFormat>(src->format), src->width, src->height);
        return src->height;
    }
    if (!sws) {
        sws = MakeScaler(src, dst);
        if (!sws)
            return AVERROR(ENOMEM);
        SetColorDetails(sws, src, dst);
    }
    return sws_scale(sws, src->data, src->linesize, 0, src->height, dst->data, dst->linesize);
}
