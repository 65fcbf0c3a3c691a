// Bases of the objects behind the public nodes, which forward to them operation by operation. MIT licence.
#ifndef QXSPEECH_MEDIAKIT_NODEIMPL_H
#define QXSPEECH_MEDIAKIT_NODEIMPL_H

#include <string>

#include "mediakit/mediakit.h"

// What a node answers for the times of a stream that it does not have, and a read of it.
constexpr int kNoSuchStream = -2;

// Owned by the public node. The operations mean what they mean there.
class MKNodeImpl
{
public:
    MKNodeImpl() = default;
    virtual ~MKNodeImpl() = default;
    MKNodeImpl(const MKNodeImpl&) = delete;
    MKNodeImpl& operator=(const MKNodeImpl&) = delete;

    virtual bool Open() = 0;
    virtual bool Close() = 0;
    virtual int GetStreamCount() = 0;
    virtual MKMediaType GetStreamType(size_t index) = 0;
    virtual bool QueryFlag() { return false; }
    virtual bool OpenStream(size_t index, MKStreamParameters* params) = 0;
    virtual bool QueryStreamParameters(size_t index, MKStreamParameters* params) = 0;
    virtual bool CloseStream(size_t index) = 0;
    virtual bool IsStreamOpened(size_t index) = 0;
    virtual bool DiscardStream(size_t, bool) { return false; }
    virtual bool IsStreamDiscarded(size_t) { return false; }
    virtual int64_t GetDuration() = 0;
    virtual int64_t GetStreamDuration(size_t index) = 0;
    virtual int64_t GetStreamTimeStamp(size_t index) = 0;
    virtual bool AllocateFrame(size_t index, MKFrame* frame);
    virtual int GetBufferSize(size_t) { return 10; }

protected:
    std::string name; // stays empty
};

class MKProviderImpl : public MKNodeImpl
{
public:
    virtual bool Seek(int64_t timestamp) = 0;
    virtual int Read(size_t index, MKFrame* frame) = 0;
};

class MKConsumerImpl : public MKNodeImpl
{
public:
    virtual int Write(size_t index, MKFrame* frame) = 0;
};

#endif
