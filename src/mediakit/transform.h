// Joins a provider to a consumer: chooses streams and pumps their frames, two threads for each.
// MIT licence.
#ifndef QXSPEECH_MEDIAKIT_TRANSFORM_H
#define QXSPEECH_MEDIAKIT_TRANSFORM_H

#include <functional>

#include "mediakit.h"

enum MKTransformState : int32_t {
    MKTransformClosed = -1, // nothing open
    MKTransformReady = 0,   // opened, no threads
    MKTransformRunning = 1,
    MKTransformPaused = 2,  // the threads wait, each at its next frame
    MKTransformStopped = 3, // stopped, or ended by itself; can be started again
};

// A provider, a consumer and the pumps between them. The host makes it, or a class derived from it, and deletes it.
// Any thread may call; one lock serialises the calls, GetState included, so each may wait for a Stop or Close that
// another thread has under way. On the threads that run inside a node's Read or Write, which such a call would wait
// for, GetState and GetConsumer answer at once; everything else is refused with a log line and answers false, and the
// transform must not be deleted there. With nothing open everything but Open, Close and Stop answers false.
//
//   call    | from                       | to
//   Open    | any (closes first)         | Ready
//   Start   | Ready, Stopped             | Running
//   Pause   | Running                    | Paused
//   Resume  | Paused                     | Running
//   Stop    | Running, Paused            | Stopped; in any other state it does nothing and is true
//   Close   | any                        | Closed
//   (end)   | Running, all streams ended | reads as Stopped; Start wants a Stop before, which joins the threads
//
// The end of a stream, be it the end of the data or a failure of a node, sends no event: GetState tells. A stream that
// failed is discarded at the provider until the next Start, so that the others go on: IsStreamDiscarded tells a failure
// from the end of the data.
class QXSPEECH_API MKTransform
{
public:
    MKTransform();
    // As Close.
    virtual ~MKTransform();
    MKTransform(const MKTransform&) = delete;
    MKTransform& operator=(const MKTransform&) = delete;

    // Takes both nodes over, also when it fails; consumer may be null. filter is called once for each stream with its
    // type set, may refuse it (type = MKMediaNone), and again with the stream's real parameters, where it writes the
    // format that it wants. An empty filter raises std::bad_function_call. False: a node does not open, the consumer
    // refuses a stream, or no stream is left for it; what was opened stays so until Close.
    virtual bool Open(MKProvider* provider, MKConsumer* consumer, std::function<void(MKStreamParameters*)> filter);
    // Ends the threads, which waits for a Read and a Write that are under way, and deletes both nodes.
    virtual bool Close();
    // Raises std::system_error if there is no thread to be had. The provider goes on where it stands.
    virtual bool Start();
    // Does not wait: a Read or Write that is under way still comes to its end.
    virtual bool Pause();
    virtual bool Resume();
    // Ends the threads, which waits for a Read and a Write that are under way; what is queued is dropped.
    virtual bool Stop();

    MKTransformState GetState() const;
    // Not owned; null if there is none. Valid until Close.
    MKConsumer* GetConsumer() const;
    // Whether streams that are opened from now on may convert on a graphics device; true at first.
    void SetHardwareConversion(bool enable);
    // Whether the last frame of a sound stream, which its samples do not fill, is filled up with silence, in streams
    // that are opened from now on. False, as at first: it is dropped, which may be 85 ms, or the whole of a shorter
    // sound.
    void SetPlayTail(bool enable);

protected:
    // True, with a line in the log, on a thread that this transform would wait for.
    bool RefuseOwnThread() const;

private:
    struct Record;

    bool IsOwnThread() const;

    Record* record; // owned
};

#endif
