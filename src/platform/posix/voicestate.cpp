// Queue, events, pause and skip of a voice. MIT licence.
#include "platform/posix/voicestate.h"

#include <algorithm>

#include "platform/posix/forkedcopy.h"

namespace qxvoice
{
namespace
{

constexpr size_t kMaxEvents = 1024;

uint64_t OutputBytes(const Utterance& utterance, uint64_t sample)
{
    if (!utterance.file)
        return sample * sizeof(int16_t);
    const uint64_t frames = sample * static_cast<uint64_t>(utterance.file->RateHz()) / kSynthRateHz;
    return frames * static_cast<uint64_t>(utterance.file->Channels()) * sizeof(int16_t);
}

SPEVENTENUM EventOf(Mark::Kind kind)
{
    switch (kind) {
    case Mark::Kind::Sentence:
        return SPEI_SENTENCE_BOUNDARY;
    case Mark::Kind::Word:
        return SPEI_WORD_BOUNDARY;
    case Mark::Kind::Bookmark:
        break;
    }
    return SPEI_TTS_BOOKMARK;
}

} // namespace

std::mutex& SpeechLock()
{
    static std::mutex* const lock = new std::mutex;
    static std::mutex* const lockOfCopy = new std::mutex; // the other may be held by a thread that was not copied
    return qxplatform::IsForkedCopy() ? *lockOfCopy : *lock;
}

VoiceState::VoiceState(std::shared_ptr<qxplatform::NoticeQueue> creatorNotices)
    : notices(std::move(creatorNotices)), noticeOwner(qxplatform::NoticeQueue::NewOwner())
{
}

void VoiceState::Purge(bool tellEnds)
{
    if (!tellEnds) {
        events.clear();
        notices->Drop(noticeOwner);
    }
    for (const std::shared_ptr<Utterance>& utterance : utterances) {
        ++utterance->generation;
        utterance->done = true;
        if (utterance->output == OutputState::Pending)
            utterance->output = OutputState::Ready; // a Speak that still waits was overtaken, it did not fail
        if (tellEnds && utterance->accepted)
            Tell(SPEI_END_INPUT_STREAM, *utterance);
    }
    utterances.clear();
    pauseCount = 0;
    changed.notify_all();
}

void VoiceState::Finish(const std::shared_ptr<Utterance>& utterance, HRESULT result)
{
    const auto at = std::find(utterances.begin(), utterances.end(), utterance);
    if (at == utterances.end())
        return;
    utterances.erase(at);
    ++utterance->generation;
    utterance->done = true;
    utterance->result = result;
    if (FAILED(result))
        lastResult = result;
    if (FAILED(result) && !utterance->accepted)
        utterance->output = OutputState::Failed; // also while Speak, which saw it work, has still to answer
    if (utterance->accepted || SUCCEEDED(result))
        Tell(SPEI_END_INPUT_STREAM, *utterance);
    if (utterances.empty())
        pauseCount = 0;
    changed.notify_all();
}

void VoiceState::FailDevice(HRESULT result)
{
    const std::deque<std::shared_ptr<Utterance>> all = utterances;
    for (const std::shared_ptr<Utterance>& utterance : all) {
        if (!utterance->file)
            Finish(utterance, result);
    }
}

HRESULT VoiceState::Skip(LONG count, ULONG* skipped)
{
    if (skipped)
        *skipped = 0;
    if (utterances.empty())
        return S_OK;
    Utterance& utterance = *utterances.front();
    const int64_t current = utterance.heardSentence;
    const int64_t target = std::clamp<int64_t>(current + count, 1, INT32_MAX);
    if (skipped)
        *skipped = static_cast<ULONG>(target > current ? target - current : current - target);
    utterance.Restart(static_cast<uint32_t>(target));
    utterance.heardSentence = static_cast<uint32_t>(target);
    changed.notify_all();
    return S_OK;
}

void VoiceState::Pause()
{
    if (Busy())
        ++pauseCount;
    changed.notify_all();
}

void VoiceState::Resume()
{
    if (pauseCount > 0)
        --pauseCount;
    changed.notify_all();
}

void VoiceState::Tell(SPEVENTENUM id, const Utterance& utterance, const Mark* mark)
{
    if ((queuedInterest & (1ull << id)) == 0)
        return;
    MakeRoomForEvent();
    VoiceEvent event = {id, utterance.stream, OutputBytes(utterance, mark ? mark->sample : utterance.consumed), 0, 0,
                        {}};
    if (mark) {
        event.length = mark->length;
        event.position = mark->position;
        event.name = mark->name;
    }
    events.push_back(std::move(event));
    PostNotice();
}

void VoiceState::TellMarks(Utterance& utterance)
{
    const bool atEnd = utterance.synthesized && utterance.Queued() == 0;
    const auto passed = [&](const Mark& mark) { return atEnd || mark.sample < utterance.consumed; };
    for (const Mark& mark : utterance.marks) {
        if (!passed(mark))
            break;
        if (mark.kind == Mark::Kind::Sentence)
            utterance.heardSentence = mark.sentence;
    }
    while (!utterance.marks.empty() && passed(utterance.marks.front()) && utterance.marks.front().complete) {
        const Mark& mark = utterance.marks.front();
        Tell(EventOf(mark.kind), utterance, &mark);
        utterance.marks.pop_front();
    }
}

void VoiceState::MakeRoomForEvent()
{
    if (events.size() < kMaxEvents)
        return;
    // A receiver that does not fetch loses words first, then whatever is oldest, but never the end of a stream.
    auto victim =
        std::find_if(events.begin(), events.end(), [](const VoiceEvent& e) { return e.id == SPEI_WORD_BOUNDARY; });
    if (victim == events.end())
        victim = std::find_if(events.begin(), events.end(),
                              [](const VoiceEvent& e) { return e.id != SPEI_END_INPUT_STREAM; });
    if (victim != events.end())
        events.erase(victim);
}

void VoiceState::PostNotice()
{
    if (!callback || released)
        return;
    notices->Post(noticeOwner, [self = m_self] {
        const std::shared_ptr<VoiceState> voice = self.lock();
        if (!voice)
            return;
        std::unique_lock<std::mutex> lock(SpeechLock());
        SPNOTIFYCALLBACK* const receiver = voice->released ? nullptr : voice->callback;
        const WPARAM wParam = voice->callbackWParam;
        const LPARAM lParam = voice->callbackLParam;
        lock.unlock();
        if (receiver)
            receiver(wParam, lParam);
    });
}

} // namespace qxvoice
