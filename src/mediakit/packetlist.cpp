// Order and ownership of packets that wait. MIT licence.
#include "mediakit/packetlist.h"

extern "C" {
#include <libavcodec/packet.h>
}

AVPacket* MKPacketList::Take(size_t stream)
{
    for (auto it = packets.begin(); it != packets.end(); ++it) {
        AVPacket* packet = *it;
        if (static_cast<size_t>(packet->stream_index) == stream) {
            packets.erase(it);
            return packet;
        }
    }
    return nullptr;
}

void MKPacketList::Drop()
{
    for (AVPacket* packet : packets)
        av_packet_free(&packet);
    packets.clear();
}

void MKPacketList::Drop(size_t stream)
{
    while (AVPacket* packet = Take(stream))
        av_packet_free(&packet);
}
