// Packets that were read while another stream was asked for. MIT licence.
#ifndef QXSPEECH_MEDIAKIT_PACKETLIST_H
#define QXSPEECH_MEDIAKIT_PACKETLIST_H

#include <cstddef>
#include <list>

struct AVPacket;

// Oldest first, for all streams of a file. Its bound is what a fast stream can tie up while another one is slow. Used
// under the provider's lock.
class MKPacketList
{
public:
    MKPacketList() = default;
    ~MKPacketList() { Drop(); }
    MKPacketList(const MKPacketList&) = delete;
    MKPacketList& operator=(const MKPacketList&) = delete;

    bool IsFull() const { return packets.size() >= kMostPackets; }
    // The oldest packet of a stream, the caller's then; null if none waits.
    AVPacket* Take(size_t stream);
    // Takes the packet over.
    void Append(AVPacket* packet) { packets.push_back(packet); }
    void Drop();
    void Drop(size_t stream);

private:
    static const size_t kMostPackets = 20;

    std::list<AVPacket*> packets; // owned
};

#endif
