// Packets that were read while another stream was asked for. MIT licence.
#ifndef QXSPEECH_MEDIAKIT_PACKETLIST_H
#define QXSPEECH_MEDIAKIT_PACKETLIST_H

#include <cstddef>
#include <cstdint>
#include <list>

struct AVPacket;

// Oldest first, for all streams of a file. Its bound is what a fast stream can tie up while another one is slow: 20
// packets, or with a deep list as many more as make 2 seconds or 16 MB, whichever comes first. Used under the
// provider's lock.
class MKPacketList
{
public:
    MKPacketList() = default;
    ~MKPacketList() { Drop(); }
    MKPacketList(const MKPacketList&) = delete;
    MKPacketList& operator=(const MKPacketList&) = delete;

    void SetDeep(bool deep) { isDeep = deep; }
    bool IsFull() const;
    // The oldest packet of a stream, the caller's then; null if none waits.
    AVPacket* Take(size_t stream);
    // Takes the packet over. time is when it is to be decoded, microseconds, or AV_NOPTS_VALUE.
    void Append(AVPacket* packet, int64_t time);
    void Drop();
    void Drop(size_t stream);

private:
    struct Entry {
        AVPacket* packet; // owned
        int64_t time;
    };

    std::list<Entry> packets;
    size_t bytes = 0; // that the packets take
    bool isDeep = false;
};

#endif
