// Order, ownership and bound of packets that wait. MIT licence.
#include "mediakit/packetlist.h"

extern "C" {
#include <libavcodec/packet.h>
#include <libavutil/avutil.h>
#include <libavutil/common.h>
}

namespace
{

constexpr size_t kMostPackets = 20;
constexpr int64_t kDeepMicroseconds = 2000000;
constexpr size_t kDeepBytes = 16 << 20;

size_t SizeOf(const AVPacket* packet)
{
    return sizeof(AVPacket) + static_cast<size_t>(packet->size);
}

} // namespace

bool MKPacketList::IsFull() const
{
    if (packets.size() < kMostPackets)
        return false;
    const int64_t first = packets.front().time;
    const int64_t last = packets.back().time;
    const bool isLong =
        first != AV_NOPTS_VALUE && last != AV_NOPTS_VALUE && av_sat_sub64(last, first) >= kDeepMicroseconds;
    return !isDeep || isLong || bytes >= kDeepBytes;
}

AVPacket* MKPacketList::Take(size_t stream)
{
    for (auto it = packets.begin(); it != packets.end(); ++it) {
        AVPacket* packet = it->packet;
        if (static_cast<size_t>(packet->stream_index) == stream) {
            packets.erase(it);
            bytes -= SizeOf(packet);
            return packet;
        }
    }
    return nullptr;
}

void MKPacketList::Append(AVPacket* packet, int64_t time)
{
    packets.push_back({packet, time});
    bytes += SizeOf(packet);
}

void MKPacketList::Drop()
{
    for (Entry& entry : packets)
        av_packet_free(&entry.packet);
    packets.clear();
    bytes = 0;
}

void MKPacketList::Drop(size_t stream)
{
    while (AVPacket* packet = Take(stream))
        av_packet_free(&packet);
}
