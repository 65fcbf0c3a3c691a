// The graph of one provider, one consumer and the pumps between them. MIT licence.
#include "mediakit/transform.h"

#include <atomic>
#include <list>
#include <memory>
#include <mutex>
#include <utility>

#include "common/logging.h"
#include "mediakit/streamtransform.h"

// lock is the outermost lock of the kit's graphs; the pumps' threads never take it.
struct QXSPEECH_HIDDEN MKTransform::Record {
    std::mutex lock;
    // changed under lock; the pumps' threads read it without
    std::atomic<MKTransformState> state{MKTransformClosed};
    std::unique_ptr<MKConsumer> consumer; // may be null; never changed while a pump has threads
    // guarded by lock
    std::unique_ptr<MKProvider> provider;
    std::list<std::unique_ptr<MKStreamTransform>> streams;
    bool hardwareConversion = true;
    bool playTail = false;

    void Close();
    bool OpenNodes();
    bool OpenStream(size_t index, const std::function<void(MKStreamParameters*)>& filter);
    bool AllStreams(bool (MKStreamTransform::*operation)());
};

// The threads go first, the consumer before the provider.
void MKTransform::Record::Close()
{
    streams.clear();
    consumer.reset();
    provider.reset();
    state = MKTransformClosed;
}

bool MKTransform::Record::OpenNodes()
{
    return provider && provider->Open() && (!consumer || consumer->Open());
}

// A stream that the filter or the provider refuses is passed over; false if the consumer refuses it.
bool MKTransform::Record::OpenStream(size_t index, const std::function<void(MKStreamParameters*)>& filter)
{
    MKStreamParameters params;
    params.type = provider->GetStreamType(index);
    filter(&params);
    if (params.type == MKMediaNone || !provider->OpenStream(index, &params))
        return true;
    filter(&params);
    if (!consumer)
        return true;
    const size_t consumerIndex = static_cast<size_t>(consumer->GetStreamCount());
    if (!consumer->OpenStream(consumerIndex, &params))
        return false;
    streams.push_back(std::make_unique<MKStreamTransform>(provider.get(), consumer.get(), index, consumerIndex,
                                                          hardwareConversion, this));
    streams.back()->SetPlayTail(playTail);
    return true;
}

bool MKTransform::Record::AllStreams(bool (MKStreamTransform::*operation)())
{
    for (const std::unique_ptr<MKStreamTransform>& stream : streams) {
        if (!(stream.get()->*operation)())
            return false;
    }
    return true;
}

MKTransform::MKTransform() : record(new Record) {}

MKTransform::~MKTransform()
{
    MKTransform::Close();
    delete record;
}

bool MKTransform::IsOwnThread() const
{
    return MKStreamTransform::OwnerOfThread() == record;
}

bool MKTransform::RefuseOwnThread() const
{
    if (IsOwnThread())
        QX_LOG("MKTransform called from a thread of its own");
    return IsOwnThread();
}

bool MKTransform::Open(MKProvider* provider, MKConsumer* consumer, std::function<void(MKStreamParameters*)> filter)
{
    const auto chosen = std::move(filter);
    if (RefuseOwnThread()) {
        delete consumer;
        delete provider;
        return false;
    }
    Close();
    std::lock_guard<std::mutex> hold(record->lock);
    record->Close(); // a derived class may have refused to
    record->provider.reset(provider);
    record->consumer.reset(consumer);
    if (!record->OpenNodes())
        return false;
    const int count = provider->GetStreamCount();
    for (int i = 0; i < count; ++i) {
        if (!record->OpenStream(static_cast<size_t>(i), chosen))
            return false;
    }
    record->state = MKTransformReady;
    return !consumer || !record->streams.empty();
}

bool MKTransform::Close()
{
    if (RefuseOwnThread())
        return false;
    std::lock_guard<std::mutex> hold(record->lock);
    record->Close();
    return true;
}

bool MKTransform::Start()
{
    if (RefuseOwnThread())
        return false;
    std::lock_guard<std::mutex> hold(record->lock);
    if (record->state != MKTransformReady && record->state != MKTransformStopped) {
        QX_LOG("MKTransform not ready");
        return false;
    }
    if (!record->AllStreams(&MKStreamTransform::Start))
        return false;
    record->state = MKTransformRunning;
    return true;
}

bool MKTransform::Pause()
{
    if (RefuseOwnThread())
        return false;
    std::lock_guard<std::mutex> hold(record->lock);
    if (record->state != MKTransformRunning) {
        QX_LOG("MKTransform not running");
        return false;
    }
    if (!record->AllStreams(&MKStreamTransform::Pause))
        return false;
    record->state = MKTransformPaused;
    return true;
}

bool MKTransform::Resume()
{
    if (RefuseOwnThread())
        return false;
    std::lock_guard<std::mutex> hold(record->lock);
    if (record->state != MKTransformPaused) {
        QX_LOG("MKTransform not pausing");
        return false;
    }
    if (!record->AllStreams(&MKStreamTransform::Resume))
        return false;
    record->state = MKTransformRunning;
    return true;
}

bool MKTransform::Stop()
{
    if (RefuseOwnThread())
        return false;
    std::lock_guard<std::mutex> hold(record->lock);
    if (record->state != MKTransformRunning && record->state != MKTransformPaused)
        return true;
    if (!record->AllStreams(&MKStreamTransform::Stop))
        return false;
    record->state = MKTransformStopped;
    return true;
}

MKTransformState MKTransform::GetState() const
{
    if (IsOwnThread())
        return record->state;
    std::lock_guard<std::mutex> hold(record->lock);
    if (record->state != MKTransformRunning)
        return record->state;
    for (const std::unique_ptr<MKStreamTransform>& stream : record->streams) {
        if (stream->GetState() == MKTransformRunning)
            return MKTransformRunning;
    }
    return MKTransformStopped;
}

MKConsumer* MKTransform::GetConsumer() const
{
    if (IsOwnThread())
        return record->consumer.get();
    std::lock_guard<std::mutex> hold(record->lock);
    return record->consumer.get();
}

void MKTransform::SetHardwareConversion(bool enable)
{
    if (RefuseOwnThread())
        return;
    std::lock_guard<std::mutex> hold(record->lock);
    record->hardwareConversion = enable;
}

void MKTransform::SetPlayTail(bool enable)
{
    std::lock_guard<std::mutex> hold(record->lock);
    record->playTail = enable;
}
