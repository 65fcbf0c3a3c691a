// Reading and seeking: packets go round the streams that share the file. MIT licence.
#include "mediakit/fileproviderimpl.h"

extern "C" {
#include <libavutil/common.h>
}

#include <algorithm>
#include <mutex>

#include "common/logging.h"

namespace
{

const int kEndOfStream = -1;

// Packets of streams that nobody opened which one Read skips at most before it lets others have the lock.
const int kMostSkippedPackets = 500;
const std::chrono::milliseconds kWaitForRoom(2);

void LogDecodeError(size_t index, const AVCodecContext& context)
{
    QX_LOG("Error while decoding stream %d (type %d)", static_cast<int>(index), static_cast<int>(context.codec_type));
}

} // namespace

bool MKFileProviderImpl::Seek(int64_t timestamp)
{
    std::lock_guard<MKDecodeLock> hold(lock);
    if (!formatContext) {
        QX_LOG("Could not seak file, maybe the file is not opened");
        return false;
    }
    DropPackets();
    // A little early, so that the place sought is really heard; more near the end, where files often are cut short.
    int64_t target = av_sat_sub64(timestamp, kSecond / 10);
    if (target > duration - kSecond)
        target -= kSecond;
    if (target < 0)
        target = 0;
    if (av_seek_frame(formatContext, -1, target, AVSEEK_FLAG_BACKWARD) < 0) {
        QX_LOG("Could not seek file, av_seek_frame failed %lld", static_cast<long long>(target));
        return false;
    }
    for (MKFileStreamData* data : streams) {
        if (data && data->IsDecoding())
            data->Restart(target, exactSeek ? std::max<int64_t>(timestamp, 0) : AV_NOPTS_VALUE);
    }
    return true;
}

int MKFileProviderImpl::Read(size_t index, MKFrame* frame)
{
    lock.LockToDecode();
    std::unique_lock<MKDecodeLock> hold(lock, std::adopt_lock);
    if (!frame || !frame->GetAVFrame()) {
        QX_LOG("Could not read stream, frame is null");
        return AVERROR(EINVAL);
    }
    if (const char* reason = WhyNotRead(index)) {
        QX_LOG("%s", wxString(reason));
        return kNoSuchStream;
    }
    Fetched fetched = Fetched::Packet;
    const int result = Decode(index, frame->GetAVFrame(), fetched);
    if (fetched == Fetched::NoRoom) {
        // The caller tries again at once; without the wait it would take a whole core until other streams are read.
        hold.release();
        lock.UnlockAndWait(kWaitForRoom);
    }
    return result;
}

const char* MKFileProviderImpl::WhyNotRead(size_t index) const
{
    if (const char* reason =
            WhyNot(index, "Could not read stream, maybe the file is not opened", "Could read stream, invalid index"))
        return reason;
    if (!FindStream(index))
        return "Could not read stream, null pointer";
    const MKFileStreamData* data = FindData(index);
    if (!data)
        return "Could not read stream, stream not opened or null pointer";
    return data->IsOpen() ? nullptr : "Could not read stream, stream not opened";
}

int MKFileProviderImpl::Decode(size_t index, AVFrame* frame, Fetched& fetched)
{
    MKFileStreamData* data = FindData(index);
    if (!data->IsDecoding()) {
        LogDecodeError(index, *data->codecContext);
        return kEndOfStream;
    }
    const int result = data->Receive(FindStream(index), frame);
    if (result == AVERROR_EOF)
        return kEndOfStream;
    if (result == AVERROR(EAGAIN)) {
        fetched = SendNextPacket(index, data);
        return 0;
    }
    if (result < 0) {
        LogDecodeError(index, *data->codecContext);
        return 0;
    }
    return result;
}

// Gives the decoder the stream's next packet, at the end of the file a null, which has it give what it still holds.
MKFileProviderImpl::Fetched MKFileProviderImpl::SendNextPacket(size_t index, MKFileStreamData* data)
{
    AVPacket* packet = nullptr;
    const Fetched fetched = FetchPacket(index, packet);
    if (fetched != Fetched::Packet)
        return fetched;
    // Some files read on behind a failure, while this stream's reader has left: nobody would take its packets.
    data->isDraining = !packet;
    const int result = avcodec_send_packet(data->codecContext, packet);
    av_packet_free(&packet);
    if (result < 0)
        LogDecodeError(index, *data->codecContext);
    return fetched;
}

MKFileProviderImpl::Fetched MKFileProviderImpl::FetchPacket(size_t index, AVPacket*& packet)
{
    const bool wasFull = packets.IsFull();
    packet = packets.Take(index);
    if (packet) {
        if (wasFull)
            lock.Notice();
        return Fetched::Packet;
    }
    for (int skipped = 0; !packets.IsFull(); ++skipped) {
        packet = av_packet_alloc();
        if (!packet) {
            QX_LOG("Could not read stream, alloc packet failed");
            return Fetched::Nothing;
        }
        if (av_read_frame(formatContext, packet) < 0) {
            av_packet_free(&packet);
            return Fetched::Packet;
        }
        const auto owner = static_cast<size_t>(packet->stream_index);
        if (owner == index)
            return Fetched::Packet;
        const MKFileStreamData* data = FindData(owner);
        if (data && data->IsDecoding() && !data->discard && !data->isDraining)
            Keep(packet);
        else if (av_packet_free(&packet); skipped >= kMostSkippedPackets)
            return Fetched::Nothing;
    }
    packet = nullptr;
    return Fetched::NoRoom;
}

void MKFileProviderImpl::Keep(AVPacket* packet)
{
    const int64_t time = packet->dts == AV_NOPTS_VALUE ? packet->pts : packet->dts;
    const AVRational unit = formatContext->streams[packet->stream_index]->time_base;
    packets.Append(packet, time == AV_NOPTS_VALUE ? time : av_rescale_q(time, unit, kMicroseconds));
}

void MKFileProviderImpl::DropPackets()
{
    packets.Drop();
    lock.Notice();
}

void MKFileProviderImpl::DropPackets(size_t index)
{
    packets.Drop(index);
    lock.Notice();
}
