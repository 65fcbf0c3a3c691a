// One text on its way through the local voice: what is to be said, what is made, what was heard. MIT licence.
#ifndef QXSPEECH_PLATFORM_POSIX_UTTERANCE_H
#define QXSPEECH_PLATFORM_POSIX_UTTERANCE_H

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include <sapi.h>

#include "platform/posix/speechscript.h"
#include "platform/posix/wavfile.h"

namespace qxvoice
{

// Something that is told when its sample is played. Positions and lengths are in characters of the caller's text.
struct Mark {
    enum class Kind { Sentence, Word, Bookmark };
    Kind kind;
    uint64_t sample;   // on the utterance's timeline
    uint32_t sentence; // number from 1; only for sentences
    size_t position;
    size_t length;
    bool complete; // false: a sentence whose length is still growing; it is told when it is complete
    std::wstring name;
};

// Where a synthesis begins: at a sentence (from 1), whose first samples were delivered by an earlier run.
struct TakeUp {
    uint32_t sentence = 1;
    uint64_t drop = 0;
};

// How far the output of an utterance is known to work. Speak answers when it is.
enum class OutputState { Pending, Ready, Failed };

// An utterance goes through three hands: Speak queues it, the synthesizer appends samples and marks, the player takes
// them in order. Samples are counted on one timeline from 0 on, which goes on over skips:
//   consumed <= produced, produced - consumed = what is queued.
// A skip or a purge raises `generation`: a run of the synthesizer that began under an older one ends without effect.
struct Utterance {
    // Set once, before the utterance is queued.
    ULONG stream = 0;
    std::wstring source; // the caller's text, which positions refer to
    SpeechScript script;
    std::string voice; // the synthesizer's identifier
    int wordsPerMinute = 0;
    int volumePercent = 0;
    bool speakPunctuation = false;
    SPVPRIORITY priority = SPVPRI_NORMAL;
    std::shared_ptr<WavFile> file; // null: the default device

    // Guarded by the speech lock.
    OutputState output = OutputState::Pending;
    HRESULT result = S_OK;
    bool accepted = false; // Speak has answered S_OK: the stream gets its end event
    bool started = false;  // the first sample has been taken
    bool done = false;
    unsigned generation = 0;

    bool synthesized = false; // nothing comes behind what is queued
    TakeUp from;              // where the next run begins
    std::deque<Mark> marks;
    uint64_t produced = 0;
    uint64_t consumed = 0;
    uint32_t heardSentence = 1;
    size_t wanted = 0; // settled samples that the player waits for, 0 if it does not wait

    size_t Queued() const { return static_cast<size_t>(produced - consumed); }
    // Queued samples ahead of a sentence whose length is still growing; all of them if there is none.
    size_t Settled() const;
    void Append(const int16_t* samples, size_t count);
    // Moves up to `most` samples into `out`, which is replaced.
    void Take(size_t most, std::vector<int16_t>& out);
    // Drops what is queued and begins again at a sentence.
    void Restart(uint32_t sentence);
    // The length of the latest sentence is what is known now.
    void CompleteSentence();

private:
    std::vector<int16_t> m_pcm;
    size_t m_head = 0; // first sample of m_pcm that is still queued
};

} // namespace qxvoice

#endif
