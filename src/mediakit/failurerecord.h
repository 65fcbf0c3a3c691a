// Where the nodes of one graph tell why it failed. Private. MIT licence.
#ifndef QXSPEECH_MEDIAKIT_FAILURERECORD_H
#define QXSPEECH_MEDIAKIT_FAILURERECORD_H

#include <mutex>

#include "mediakit/mediakit.h"

// One failure, shared by whoever may fail and whoever asks. Any thread. The first one since Clear stays: what comes
// after it is its consequence. Its lock is a leaf, held for a copy.
class MKFailureRecord
{
public:
    void Clear()
    {
        const std::lock_guard<std::mutex> hold(lock);
        failure = MKFailure();
    }

    // The reason is in English, UTF-8.
    void Set(MKFailureCategory category, const std::string& reason)
    {
        const std::lock_guard<std::mutex> hold(lock);
        if (failure.category == MKFailureNone)
            failure = {category, reason};
    }

    MKFailure Get() const
    {
        const std::lock_guard<std::mutex> hold(lock);
        return failure;
    }

private:
    mutable std::mutex lock;
    MKFailure failure; // guarded by lock
};

#endif
