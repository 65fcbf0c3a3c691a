// The pump of one stream: a read thread, a bounded queue of frames and a write thread. MIT licence.
#ifndef QXSPEECH_MEDIAKIT_STREAMTRANSFORM_H
#define QXSPEECH_MEDIAKIT_STREAMTRANSFORM_H

#include "mediakit/transform.h"

class MKStreamTransformImpl;

// Reads frames of one stream of the provider, converts them into the consumer's format and writes them to the consumer,
// which paces it. Made and deleted by the transform, which owns the nodes. Any thread but its own two may call; Pause,
// Resume and GetState do not wait, Start and Stop are serialised.
//
//   call    | from               | to
//   Start   | Closed, Stopped    | Running
//   Pause   | Running            | Paused; Stopped stays and is true
//   Resume  | Paused             | Running; Stopped stays and is true
//   (end)   | Running, Paused    | Stopped, when the last of the two threads has left
//   Stop    | any                | Closed, both threads joined
class MKStreamTransform
{
public:
    // The indices are those of the stream at each node (not owned, outlive the pump). owner is whatever OwnerOfThread
    // is to answer on its two threads.
    MKStreamTransform(MKProvider* provider, MKConsumer* consumer, size_t providerIndex, size_t consumerIndex,
                      bool hardwareConversion, const void* owner);
    // As Stop.
    virtual ~MKStreamTransform();
    MKStreamTransform(const MKStreamTransform&) = delete;
    MKStreamTransform& operator=(const MKStreamTransform&) = delete;

    // Before Start; see MKTransform.
    void SetPlayTail(bool enable);
    // Begins with a Stop. False: the consumer wants no queue. Raises std::system_error without a thread.
    virtual bool Start();
    virtual bool Pause();
    virtual bool Resume();
    // Waits for a Read and a Write that are under way.
    virtual bool Stop();

    MKTransformState GetState() const;
    // Of the pump whose thread is calling; null on any other thread.
    static const void* OwnerOfThread();

private:
    MKStreamTransformImpl* impl; // owned
};

#endif
