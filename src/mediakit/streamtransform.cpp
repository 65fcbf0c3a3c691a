// The two threads round a queue of frames. MIT licence.
#include "mediakit/streamtransform.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

extern "C" {
#include <libavutil/error.h>
#include <libavutil/frame.h>
#include <libavutil/samplefmt.h>
}

#include "mediakit/circularqueue.h"
#include "mediakit/ffmpegcompat.h"
#include "mediakit/frameconverter.h"
#include "mediakit/spareframes.h"

namespace
{

thread_local const void* ownerOfThread = nullptr;

} // namespace

namespace
{

// Fills a frame of sound up to what it was allocated for. False: it holds nothing, or is full.
bool FillWithSilence(MKFrame& frame)
{
    AVFrame* const sound = frame.GetAVFrame();
    if (!sound || sound->sample_rate < 1 || sound->nb_samples < 1)
        return false;
    const int missing = frame.GetFrameSize() - sound->nb_samples;
    const int channels = mkChannelCount(sound);
    if (missing < 1 || av_samples_set_silence(sound->extended_data, sound->nb_samples, missing, channels,
                                              static_cast<AVSampleFormat>(sound->format)) < 0)
        return false;
    sound->nb_samples += missing;
    return true;
}

} // namespace

// Lock order: the transform's lock, controlLock, stateLock, the queue's own lock. The threads take the last two only,
// and neither round a call to a node.
class MKStreamTransformImpl
{
public:
    MKStreamTransformImpl(MKProvider* from, MKConsumer* to, size_t fromIndex, size_t toIndex, bool hardware,
                          const void* pumpOwner);
    ~MKStreamTransformImpl() { Stop(); }
    MKStreamTransformImpl(const MKStreamTransformImpl&) = delete;
    MKStreamTransformImpl& operator=(const MKStreamTransformImpl&) = delete;

    void SetPlayTail(bool enable) { playTail = enable; }
    bool Start();
    bool Pause();
    bool Resume();
    bool Stop();
    MKTransformState GetState() const;

private:
    // What a source frame, or the end of the stream, led to.
    enum class Delivery { Taken, MoreHeld, Leave };

    bool StartThreads();
    void EndThreads();
    bool Change(MKTransformState from, MKTransformState to);

    // read thread
    void ReadLoop();
    bool Deliver(MKFrame* source, bool& slotReady);
    MKFrame* PreparedSlot(bool allocate);
    Delivery Settle(int result, bool atEnd, MKFrame* slot);
    // write thread
    void WriteLoop();
    // both
    bool PassGate();
    bool OtherHasLeft() const;
    bool HasFailed() const;
    void Fail();
    void Leave();

    // set once by the constructor; the nodes are not owned and outlive the threads
    MKProvider* const provider;
    MKConsumer* const consumer;
    const size_t providerIndex;
    const size_t consumerIndex;
    const bool hardwareConversion;
    const void* const owner;

    bool playTail = false; // set before the threads start

    std::mutex controlLock; // one Start or Stop at a time
    // guarded by controlLock; null while there are no threads to join
    std::unique_ptr<std::thread> readThread;
    std::unique_ptr<std::thread> writeThread;

    mutable std::mutex stateLock;
    std::condition_variable stateChanged;
    // guarded by stateLock
    MKTransformState state = MKTransformClosed;
    bool aborted = false;   // a node or the converter failed: both threads leave; kept until the next start
    size_t threadCount = 0; // of this run, 2 to 0
    // Made before the threads start and deleted by the last one to leave: a thread reads these pointers without a lock,
    // anybody else under stateLock.
    std::unique_ptr<CircularQueue<MKFrame>> queue;
    std::unique_ptr<MKFrameConverter> converter; // read thread only
    SpareFrames spareFrames;                     // its own lock; between the two threads
};

MKStreamTransformImpl::MKStreamTransformImpl(MKProvider* from, MKConsumer* to, size_t fromIndex, size_t toIndex,
                                             bool hardware, const void* pumpOwner)
    : provider(from), consumer(to), providerIndex(fromIndex), consumerIndex(toIndex), hardwareConversion(hardware),
      owner(pumpOwner)
{
}

bool MKStreamTransformImpl::Start()
{
    Stop();
    std::lock_guard<std::mutex> control(controlLock);
    if (GetState() != MKTransformClosed)
        return false; // another thread was faster
    const int size = consumer->GetBufferSize(consumerIndex);
    if (size < 1)
        return false;
    if (HasFailed())
        provider->DiscardStream(providerIndex, false); // the run before has discarded it
    auto frames = std::make_unique<CircularQueue<MKFrame>>(static_cast<size_t>(size));
    auto frameConverter = std::make_unique<MKFrameConverter>();
    frameConverter->SetHardwareConversion(hardwareConversion);
    {
        std::lock_guard<std::mutex> hold(stateLock);
        queue = std::move(frames);
        converter = std::move(frameConverter);
        state = MKTransformRunning;
        aborted = false;
        threadCount = 2;
    }
    return StartThreads();
}

bool MKStreamTransformImpl::StartThreads()
{
    try {
        readThread = std::make_unique<std::thread>(&MKStreamTransformImpl::ReadLoop, this);
        writeThread = std::make_unique<std::thread>(&MKStreamTransformImpl::WriteLoop, this);
    } catch (...) {
        EndThreads();
        throw;
    }
    return true;
}

bool MKStreamTransformImpl::Change(MKTransformState from, MKTransformState to)
{
    std::lock_guard<std::mutex> hold(stateLock);
    if (state == MKTransformStopped)
        return true;
    if (state != from)
        return false;
    state = to;
    stateChanged.notify_all();
    return true;
}

bool MKStreamTransformImpl::Pause()
{
    return Change(MKTransformRunning, MKTransformPaused);
}

bool MKStreamTransformImpl::Resume()
{
    return Change(MKTransformPaused, MKTransformRunning);
}

bool MKStreamTransformImpl::Stop()
{
    std::lock_guard<std::mutex> control(controlLock);
    if (GetState() != MKTransformClosed)
        EndThreads();
    return true;
}

// With controlLock held.
void MKStreamTransformImpl::EndThreads()
{
    {
        std::lock_guard<std::mutex> hold(stateLock);
        state = MKTransformStopped;
        stateChanged.notify_all();
        if (queue)
            queue->Close();
    }
    for (std::unique_ptr<std::thread>* thread : {&readThread, &writeThread}) {
        if (*thread)
            (*thread)->join();
        thread->reset();
    }
    std::lock_guard<std::mutex> hold(stateLock);
    queue.reset();
    converter.reset();
    spareFrames.Drop();
    state = MKTransformClosed;
    threadCount = 0;
}

MKTransformState MKStreamTransformImpl::GetState() const
{
    std::lock_guard<std::mutex> hold(stateLock);
    return state;
}

void MKStreamTransformImpl::ReadLoop()
{
    ownerOfThread = owner;
    {
        MKFrame scratch;
        bool slotReady = false; // the slot at the queue's end is allocated
        while (PassGate() && !(OtherHasLeft() && queue->IsFull())) {
            scratch.Unref();
            const int got = provider->Read(providerIndex, &scratch);
            if (got != 0 && !Deliver(got > 0 ? &scratch : nullptr, slotReady))
                break;
        }
    }
    Leave();
}

// Converts one source frame, null for the end of the stream, into as many queued frames as it gives. False: leave.
bool MKStreamTransformImpl::Deliver(MKFrame* source, bool& slotReady)
{
    MKFrame* slot = PreparedSlot(!slotReady);
    if (!slot)
        return false;
    slotReady = true;
    Delivery delivery = Settle(converter->Convert(source, slot), !source, slot);
    while (delivery == Delivery::MoreHeld) {
        slot = PreparedSlot(true);
        if (!slot)
            return false;
        delivery = Settle(converter->Drain(source, slot), !source, slot);
    }
    return delivery == Delivery::Taken;
}

// Waits for room. Null: leave.
MKFrame* MKStreamTransformImpl::PreparedSlot(bool allocate)
{
    MKFrame* const slot = queue->WriteSlot();
    if (!PassGate())
        return nullptr;
    if (allocate)
        spareFrames.Take(*slot);
    if (allocate && !consumer->AllocateFrame(consumerIndex, slot)) {
        Fail();
        return nullptr;
    }
    return slot;
}

MKStreamTransformImpl::Delivery MKStreamTransformImpl::Settle(int result, bool atEnd, MKFrame* slot)
{
    if (result >= 0 || (result == AVERROR(EAGAIN) && atEnd && playTail && FillWithSilence(*slot))) {
        queue->CommitWrite();
        return Delivery::MoreHeld;
    }
    if (result == AVERROR(EAGAIN) && !atEnd)
        return Delivery::Taken; // the slot is not full yet and is given again
    if (result != AVERROR(EAGAIN))
        Fail();
    slot->Unref(); // an empty frame marks the end of the stream
    queue->CommitWrite();
    return Delivery::Leave;
}

void MKStreamTransformImpl::WriteLoop()
{
    ownerOfThread = owner;
    // Asked in this order: the other thread queues its last frames before it leaves.
    while (PassGate() && !(OtherHasLeft() && queue->GetCount() == 0)) {
        MKFrame* const frame = queue->ReadSlot();
        // The gate comes before the look at the frame: a closed queue hands out a slot that the other may be filling.
        if (!PassGate() || frame->GetMediaType() == MKMediaNone)
            break;
        if (consumer->Write(consumerIndex, frame) < 0) {
            Fail();
            break;
        }
        spareFrames.Give(*frame);
        queue->CommitRead();
    }
    Leave();
}

// Waits while paused. False: leave.
bool MKStreamTransformImpl::PassGate()
{
    std::unique_lock<std::mutex> hold(stateLock);
    stateChanged.wait(hold, [this] { return state != MKTransformPaused; });
    return state == MKTransformRunning && !aborted;
}

bool MKStreamTransformImpl::OtherHasLeft() const
{
    std::lock_guard<std::mutex> hold(stateLock);
    return threadCount < 2;
}

bool MKStreamTransformImpl::HasFailed() const
{
    std::lock_guard<std::mutex> hold(stateLock);
    return aborted;
}

// Makes both threads leave; the other one may be waiting for a slot, or have left.
void MKStreamTransformImpl::Fail()
{
    {
        std::lock_guard<std::mutex> hold(stateLock);
        if (aborted)
            return;
        aborted = true;
    }
    queue->Close();
    provider->DiscardStream(providerIndex, true); // or what nobody reads would hold up the other streams
}

void MKStreamTransformImpl::Leave()
{
    std::unique_ptr<CircularQueue<MKFrame>> oldQueue; // deleted without the lock
    std::unique_ptr<MKFrameConverter> oldConverter;
    std::lock_guard<std::mutex> hold(stateLock);
    if (--threadCount > 0)
        return;
    oldQueue.swap(queue);
    oldConverter.swap(converter);
    spareFrames.Drop();
    state = MKTransformStopped;
}

MKStreamTransform::MKStreamTransform(MKProvider* provider, MKConsumer* consumer, size_t providerIndex,
                                     size_t consumerIndex, bool hardwareConversion, const void* owner)
    : impl(new MKStreamTransformImpl(provider, consumer, providerIndex, consumerIndex, hardwareConversion, owner))
{
}

MKStreamTransform::~MKStreamTransform()
{
    delete impl;
}

void MKStreamTransform::SetPlayTail(bool enable)
{
    impl->SetPlayTail(enable);
}

bool MKStreamTransform::Start()
{
    return impl->Start();
}

bool MKStreamTransform::Pause()
{
    return impl->Pause();
}

bool MKStreamTransform::Resume()
{
    return impl->Resume();
}

bool MKStreamTransform::Stop()
{
    return impl->Stop();
}

MKTransformState MKStreamTransform::GetState() const
{
    return impl->GetState();
}

const void* MKStreamTransform::OwnerOfThread()
{
    return ownerOfThread;
}
