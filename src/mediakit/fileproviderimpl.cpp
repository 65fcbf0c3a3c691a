// Opening and closing the file and its streams, and what can be asked of them. MIT licence.
#include "mediakit/fileproviderimpl.h"

extern "C" {
#include <libavutil/mathematics.h>
}

#include <algorithm>
#include <cstring>
#include <mutex>
#include <new>

#include "common/logging.h"
#include "mediakit/d3d11device.h"
#include "mediakit/ffmpegcompat.h"
#include "mediakit/pictureshape.h"

namespace
{

MKMediaType MediaType(AVMediaType type)
{
    switch (type) {
    case AVMEDIA_TYPE_AUDIO:
        return MKMediaAudio;
    case AVMEDIA_TYPE_VIDEO:
        return MKMediaVideo;
    case AVMEDIA_TYPE_SUBTITLE:
        return MKMediaSubtitle;
    default:
        return MKMediaNone;
    }
}

void SetVideoRate(MKStreamParameters* params, AVRational timeBase)
{
    params->rateNum = timeBase.den;
    params->rateDen = timeBase.num;
}

} // namespace

MKFileProviderImpl::~MKFileProviderImpl()
{
    CloseFile();
    mkReleaseD3D11(d3d11Device, d3d11Context);
}

void MKFileProviderImpl::SetFileName(const std::string& path)
{
    std::lock_guard<MKDecodeLock> hold(lock);
    fileName = path;
}

bool MKFileProviderImpl::SetD3D11Device(ID3D11Device* device, ID3D11DeviceContext* context)
{
    std::lock_guard<MKDecodeLock> hold(lock);
    if (!mkHasD3D11()) {
        QX_LOG("Could not set the Direct3D 11 device, the library was built without it");
        return false;
    }
    mkAddRefD3D11(device, context);
    mkReleaseD3D11(d3d11Device, d3d11Context);
    d3d11Device = device;
    d3d11Context = context;
    return true;
}

void MKFileProviderImpl::SetExactSeek(bool exact)
{
    std::lock_guard<MKDecodeLock> hold(lock);
    exactSeek = exact;
}

void MKFileProviderImpl::SetDeepReadAhead(bool deep)
{
    std::lock_guard<MKDecodeLock> hold(lock);
    packets.SetDeep(deep);
    lock.Notice(); // a reader may wait for room
}

MKPictureShape MKFileProviderImpl::GetPictureShape(size_t index)
{
    std::lock_guard<MKDecodeLock> hold(lock);
    const char* reason = WhyNot(index, "Could not get picture shape, maybe the file is not opened",
                                "Could not get picture shape, invalid index");
    if (reason) {
        QX_LOG("%s", wxString(reason));
        return MKPictureShape();
    }
    return mkPictureShape(formatContext, formatContext->streams[index]);
}

bool MKFileProviderImpl::Open()
{
    Close();
    std::lock_guard<MKDecodeLock> hold(lock);
    CloseFile(); // another thread may have opened it in between
    const wxString shownName = wxString::FromUTF8(fileName.c_str());
    formatContext = avformat_alloc_context();
    if (!formatContext) {
        QX_LOG("Could not alloc format context");
        return false;
    }
    if (avformat_open_input(&formatContext, fileName.c_str(), nullptr, nullptr) != 0) {
        QX_LOG("Could not open input file [%s]", shownName);
        return false;
    }
    if (avformat_find_stream_info(formatContext, nullptr) != 0) {
        QX_LOG("Could not find stream info [%s]", shownName);
        CloseFile();
        return false;
    }
    streams.resize(formatContext->nb_streams, nullptr);
    duration = formatContext->duration < 1 ? kUnknownDuration : formatContext->duration;
    return true;
}

bool MKFileProviderImpl::Close()
{
    std::lock_guard<MKDecodeLock> hold(lock);
    CloseFile();
    return true;
}

void MKFileProviderImpl::CloseFile()
{
    DropPackets();
    for (MKFileStreamData* data : streams)
        delete data;
    streams.clear();
    avformat_close_input(&formatContext);
}

const char* MKFileProviderImpl::WhyNot(size_t index, const char* notOpen, const char* badIndex) const
{
    if (!formatContext)
        return notOpen;
    return index < formatContext->nb_streams ? nullptr : badIndex;
}

// Null also for a stream without codec parameters.
const AVStream* MKFileProviderImpl::FindStream(size_t index) const
{
    const AVStream* stream = formatContext->streams[index];
    return stream && stream->codecpar ? stream : nullptr;
}

// A demuxer may meet further streams after the file was opened.
MKFileStreamData* MKFileProviderImpl::FindData(size_t index) const
{
    return index < streams.size() ? streams[index] : nullptr;
}

int MKFileProviderImpl::GetStreamCount()
{
    std::lock_guard<MKDecodeLock> hold(lock);
    if (!formatContext) {
        QX_LOG("Could not get stream count, maybe the file is not opened");
        return 0;
    }
    return static_cast<int>(formatContext->nb_streams);
}

MKMediaType MKFileProviderImpl::GetStreamType(size_t index)
{
    std::lock_guard<MKDecodeLock> hold(lock);
    const char* reason = WhyNot(index, "Could not get stream type, maybe the file is not opened",
                                "Could not get stream type, invalid index");
    if (!reason && !FindStream(index))
        reason = "Could not get stream type, null pointer";
    if (reason) {
        QX_LOG("%s", wxString(reason));
        return MKMediaNone;
    }
    return MediaType(FindStream(index)->codecpar->codec_type);
}

bool MKFileProviderImpl::OpenStream(size_t index, MKStreamParameters* params)
{
    std::lock_guard<MKDecodeLock> hold(lock);
    const char* reason = params ? WhyNot(index, "Could not open stream, maybe the file is not opened",
                                         "Could not open stream, invalid index")
                                : "Could not open stream, null parameters";
    if (!reason)
        reason = OpenDecoder(index, params);
    if (reason)
        QX_LOG("%s", wxString(reason));
    return !reason;
}

// On failure the entry may stay without an open decoder.
const char* MKFileProviderImpl::OpenDecoder(size_t index, MKStreamParameters* params)
{
    const AVStream* stream = FindStream(index);
    if (!stream)
        return "Could not open stream, null pointer";
    const AVCodec* decoder = avcodec_find_decoder(stream->codecpar->codec_id);
    if (!decoder)
        return "Could not open stream, decoder not found";
    ReleaseStream(index);
    if (index >= streams.size())
        streams.resize(index + 1, nullptr);
    streams[index] = new (std::nothrow) MKFileStreamData;
    if (!streams[index])
        return "Could not open stream, memory allocation failed";
    const char* reason = streams[index]->OpenDecoder(stream, decoder, d3d11Device, d3d11Context);
    FillStreamParameters(params, stream->codecpar);
    if (stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO)
        SetVideoRate(params, stream->time_base);
    if (!reason && stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO)
        FindDurationBySize(stream);
    return reason;
}

// A sound file that was written as it came may leave its size open in the header.
void MKFileProviderImpl::FindDurationBySize(const AVStream* stream)
{
    const int64_t headerSize = 24;
    const int channels = mkChannelCount(stream->codecpar);
    const int rate = stream->codecpar->sample_rate;
    if (duration > kUnknownDuration || strcmp(formatContext->iformat->name, "au") != 0 ||
        stream->codecpar->codec_id != AV_CODEC_ID_PCM_S16BE || !formatContext->pb || channels < 1 || rate < 1)
        return;
    const int64_t size = avio_size(formatContext->pb);
    if (size > headerSize)
        duration = std::max(kUnknownDuration, (size - headerSize) * kSecond / channels / 2 / rate);
}

bool MKFileProviderImpl::QueryStreamParameters(size_t index, MKStreamParameters* params)
{
    std::lock_guard<MKDecodeLock> hold(lock);
    const char* reason = WhyNot(index, "Could not query stream parameters, maybe the file is not opened",
                                "Could not query stream parameters, invalid index");
    const MKFileStreamData* data = reason ? nullptr : FindData(index);
    if (!reason && (!data || !data->codecContext))
        reason = "Could not query stream parameters, stream not opened";
    else if (!reason && (!params || !FindStream(index)))
        reason = "Could not query stream parameters, null pointer";
    if (reason) {
        QX_LOG("%s", wxString(reason));
        return false;
    }
    const AVCodecParameters* parameters = FindStream(index)->codecpar;
    FillStreamParameters(params, parameters);
    if (parameters->codec_type == AVMEDIA_TYPE_VIDEO)
        SetVideoRate(params, data->codecContext->time_base);
    return true;
}

bool MKFileProviderImpl::CloseStream(size_t index)
{
    std::lock_guard<MKDecodeLock> hold(lock);
    if (const char* reason = WhyNot(index, "Could not close stream, maybe the file is not opened",
                                    "Could not close stream, invalid index")) {
        QX_LOG("%s", wxString(reason));
        return false;
    }
    ReleaseStream(index);
    return true;
}

void MKFileProviderImpl::ReleaseStream(size_t index)
{
    if (index < streams.size()) {
        delete streams[index];
        streams[index] = nullptr;
    }
    DropPackets(index);
}

bool MKFileProviderImpl::IsStreamOpened(size_t index)
{
    std::lock_guard<MKDecodeLock> hold(lock);
    if (const char* reason = WhyNot(index, "Could not check stream state, maybe the file is not opened",
                                    "Could not check stream state, invalid index")) {
        QX_LOG("%s", wxString(reason));
        return false;
    }
    const MKFileStreamData* data = FindData(index);
    return data && data->codecContext;
}

bool MKFileProviderImpl::DiscardStream(size_t index, bool discard)
{
    std::lock_guard<MKDecodeLock> hold(lock);
    const char* reason = WhyNot(index, "Could not discard stream, maybe the file is not opened",
                                "Could not discard stream, invalid index");
    if (!reason && !FindData(index))
        reason = "Could not discard stream, null stream data";
    if (reason) {
        QX_LOG("%s", wxString(reason));
        return false;
    }
    FindData(index)->discard = discard;
    if (discard)
        DropPackets(index);
    return true;
}

bool MKFileProviderImpl::IsStreamDiscarded(size_t index)
{
    std::lock_guard<MKDecodeLock> hold(lock);
    const char* reason = WhyNot(index, "Could not check discard stream, maybe the file is not opened",
                                "Could not  check discard stream, invalid index");
    if (!reason && !FindData(index))
        reason = "Could not check discard stream, null stream data";
    if (reason) {
        QX_LOG("%s", wxString(reason));
        return false;
    }
    return FindData(index)->discard;
}

int64_t MKFileProviderImpl::GetDuration()
{
    std::lock_guard<MKDecodeLock> hold(lock);
    return duration;
}

int64_t MKFileProviderImpl::GetStreamDuration(size_t index)
{
    std::lock_guard<MKDecodeLock> hold(lock);
    const char* reason = WhyNot(index, "Could not read stream duration, maybe the file is not opened",
                                "Could not read stream duration, invalid index");
    if (!reason && !FindStream(index))
        reason = "Could not read stream duration, null pointer";
    if (reason) {
        QX_LOG("%s", wxString(reason));
        return kNoSuchStream;
    }
    const AVStream* stream = FindStream(index);
    return av_rescale_q(stream->duration, stream->time_base, kMicroseconds);
}

int64_t MKFileProviderImpl::GetStreamTimeStamp(size_t index)
{
    std::lock_guard<MKDecodeLock> hold(lock);
    const char* reason = WhyNot(index, "Could not get stream time stamp, maybe the file is not opened",
                                "Could not get stream time stamp, invalid index");
    if (!reason && !FindData(index))
        reason = "Could not read stream, stream not opened or null pointer";
    if (reason) {
        QX_LOG("%s", wxString(reason));
        return kNoSuchStream;
    }
    return FindData(index)->timeStamp;
}
