// Whether this process was made by fork() from one that speaks. MIT licence.
#ifndef QXSPEECH_PLATFORM_POSIX_FORKEDCOPY_H
#define QXSPEECH_PLATFORM_POSIX_FORKEDCOPY_H

namespace qxplatform
{

// A copy made by fork() has none of the threads that make and play speech, and their locks and queues as they happened
// to stand. It may not wait for them: whoever would, asks first and refuses. Any thread; no lock.
bool IsForkedCopy();

// This process starts speech threads; copies that are made from now on are told apart.
void OwnSpeechThreads();

} // namespace qxplatform

#endif
