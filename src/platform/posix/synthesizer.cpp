// Takes turns between voices, feeds eSpeak NG and hands out its samples. MIT licence.
#include "platform/posix/synthesizer.h"

#include <algorithm>
#include <espeak-ng/speak_lib.h>
#include <system_error>
#include <thread>

#include "common/logging.h"
#include "platform/posix/espeak_engine.h"
#include "platform/posix/forkedcopy.h"

namespace qxvoice
{
namespace
{

// While another voice waits, a turn is handed on at the first sentence behind this many samples. A queue that nobody
// empties may grow to the second number before a turn ends inside a sentence.
constexpr uint64_t kTurnSamples = 10 * kSynthRateHz;
constexpr size_t kQueueHardLimitSamples = 3 * kQueueFullSamples;
constexpr std::chrono::milliseconds kStallCheckInterval(500);
// A single look ahead: the utterance behind the one that is spoken may be made as well, so that there is no gap.
constexpr size_t kUtterancesAhead = 2;

using Lock = std::unique_lock<std::mutex>;

// Marks of one callback, kept until its samples are queued.
struct PendingMark {
    Mark mark;
    uint64_t runSample;
};

class Synthesizer
{
public:
    static Synthesizer& Get()
    {
        static Synthesizer* const synthesizer = new Synthesizer;
        return *synthesizer;
    }

    bool Add(const std::shared_ptr<VoiceState>& voice);
    void Remove(const std::shared_ptr<VoiceState>& voice);
    void Wake() { m_work.notify_one(); }
    bool AlertSpeaks(const VoiceState& except) const;

private:
    // One turn: a run of the synthesizer over (the rest of) one utterance.
    struct Turn {
        std::shared_ptr<VoiceState> voice;
        std::shared_ptr<Utterance> utterance;
        unsigned generation = 0;
        TakeUp from;
        uint64_t made = 0; // samples of this run, dropped ones included
        uint32_t sentence = 1;
        uint64_t sentenceStart = 0; // in samples of this run
        size_t lastPosition = 0;    // for text positions beyond what an event can hold
        bool brokenOff = false;
    };

    void Run();
    bool PickTurn(Turn& turn);
    std::shared_ptr<Utterance> NextToMake(const VoiceState& voice) const;
    bool AnotherWaits(const Turn& turn) const;
    void Make(Lock& lock, Turn& turn);
    void FinishTurn(Turn& turn);
    void CheckStalls();

    static int OnSamplesThunk(short* samples, int count, espeak_EVENT* events);
    int OnSamples(const short* samples, size_t count, const espeak_EVENT* events);
    bool WaitForRoom(Lock& lock, Turn& turn, bool atSentence);
    void CollectMarks(Turn& turn, const espeak_EVENT* events, std::vector<PendingMark>& marks, bool& atSentence) const;
    void Deliver(Turn& turn, const short* samples, size_t count, std::vector<PendingMark>& marks);
    static bool Superseded(const Turn& turn) { return turn.utterance->generation != turn.generation; }

    // Guarded by the speech lock.
    std::condition_variable m_work;
    std::vector<std::shared_ptr<VoiceState>> m_voices;
    bool m_threadStarted = false;
    uint64_t m_turns = 0;

    // Worker thread only.
    Turn* m_turn = nullptr;
};

bool Synthesizer::Add(const std::shared_ptr<VoiceState>& voice)
{
    if (!m_threadStarted) {
        qxplatform::OwnSpeechThreads();
        try {
            std::thread([this] { Run(); }).detach();
        } catch (const std::system_error& error) {
            QX_LOG("Could not start the speech thread: %s", wxString::FromUTF8(error.what()));
            return false;
        }
        m_threadStarted = true;
    }
    if (std::find(m_voices.begin(), m_voices.end(), voice) == m_voices.end())
        m_voices.push_back(voice);
    return true;
}

void Synthesizer::Remove(const std::shared_ptr<VoiceState>& voice)
{
    m_voices.erase(std::remove(m_voices.begin(), m_voices.end(), voice), m_voices.end());
}

bool Synthesizer::AlertSpeaks(const VoiceState& except) const
{
    return std::any_of(m_voices.begin(), m_voices.end(), [&](const std::shared_ptr<VoiceState>& voice) {
        return voice.get() != &except && voice->Busy() && voice->pauseCount == 0 &&
               voice->utterances.front()->priority == SPVPRI_ALERT && !voice->utterances.front()->file;
    });
}

void Synthesizer::Run()
{
    Lock lock(SpeechLock());
    for (;;) {
        Turn turn;
        if (PickTurn(turn)) {
            Make(lock, turn);
            continue;
        }
        const bool someoneSpeaks =
            std::any_of(m_voices.begin(), m_voices.end(), [](const auto& voice) { return voice->Busy(); });
        if (someoneSpeaks)
            m_work.wait_for(lock, kStallCheckInterval);
        else
            m_work.wait(lock);
        CheckStalls();
    }
}

std::shared_ptr<Utterance> Synthesizer::NextToMake(const VoiceState& voice) const
{
    const size_t most = std::min(voice.utterances.size(), kUtterancesAhead);
    for (size_t i = 0; i < most; ++i) {
        const std::shared_ptr<Utterance>& utterance = voice.utterances[i];
        if (!utterance->synthesized)
            return utterance->Queued() < kQueueLowSamples ? utterance : nullptr;
    }
    return nullptr;
}

bool Synthesizer::PickTurn(Turn& turn)
{
    for (const std::shared_ptr<VoiceState>& voice : m_voices) {
        const std::shared_ptr<Utterance> utterance = NextToMake(*voice);
        if (!utterance)
            continue;
        const bool alert = utterance->priority == SPVPRI_ALERT;
        const bool chosenAlert = turn.utterance && turn.utterance->priority == SPVPRI_ALERT;
        const bool better = !turn.utterance || (alert && !chosenAlert) ||
                            (alert == chosenAlert && voice->lastServed < turn.voice->lastServed);
        if (better) {
            turn.voice = voice;
            turn.utterance = utterance;
        }
    }
    if (!turn.utterance)
        return false;
    turn.voice->lastServed = ++m_turns;
    turn.generation = turn.utterance->generation;
    turn.from = turn.utterance->from;
    turn.sentence = turn.from.sentence;
    return true;
}

bool Synthesizer::AnotherWaits(const Turn& turn) const
{
    return std::any_of(m_voices.begin(), m_voices.end(),
                       [&](const auto& voice) { return voice != turn.voice && NextToMake(*voice); });
}

void Synthesizer::Make(Lock& lock, Turn& turn)
{
    m_turn = &turn;
    lock.unlock();
    const Utterance& what = *turn.utterance;
    bool made = false;
    {
        std::lock_guard<std::mutex> espeak(qxplatform::EspeakLock());
        // The synthesizer keeps voice and prosody of a text that was broken off: everything is set anew.
        espeak_SetSynthCallback(&Synthesizer::OnSamplesThunk);
        espeak_SetVoiceByName(what.voice.c_str());
        espeak_SetParameter(espeakRATE, what.wordsPerMinute, 0);
        espeak_SetParameter(espeakVOLUME, what.volumePercent, 0);
        espeak_SetParameter(espeakPITCH, 50, 0);
        espeak_SetParameter(espeakRANGE, 50, 0);
        espeak_SetParameter(espeakPUNCTUATION, what.speakPunctuation ? espeakPUNCT_ALL : espeakPUNCT_NONE, 0);
        const unsigned flags = espeakCHARS_UTF8 | espeakENDPAUSE | (what.script.ssml ? espeakSSML : 0u);
        const unsigned sentence = turn.from.sentence > 1 ? turn.from.sentence : 0;
        made = espeak_Synth(what.script.text.c_str(), what.script.text.size() + 1, sentence, POS_SENTENCE, 0, flags,
                            nullptr, nullptr) == EE_OK;
    }
    lock.lock();
    m_turn = nullptr;
    if (!made)
        QX_LOG("The synthesizer refused a text");
    FinishTurn(turn);
}

void Synthesizer::FinishTurn(Turn& turn)
{
    if (Superseded(turn))
        return;
    Utterance& utterance = *turn.utterance;
    if (turn.brokenOff)
        utterance.from = TakeUp{turn.sentence, turn.made - turn.sentenceStart};
    else
        utterance.synthesized = true;
    utterance.CompleteSentence();
    turn.voice->changed.notify_all();
}

// A device call that does not come back is given up together with its thread: waiting callers must not hang.
void Synthesizer::CheckStalls()
{
    const auto now = std::chrono::steady_clock::now();
    for (const std::shared_ptr<VoiceState>& voice : m_voices) {
        const bool inCall = voice->deviceCallSince != std::chrono::steady_clock::time_point{};
        if (!inCall || now - voice->deviceCallSince < kDeviceStallLimit)
            continue;
        QX_LOG("The audio device does not answer, speech on it was ended");
        voice->playerId = 0;
        voice->deviceOpen = false;
        voice->deviceCallSince = {};
        voice->FailDevice(SPERR_DEVICE_BUSY);
    }
}

int Synthesizer::OnSamplesThunk(short* samples, int count, espeak_EVENT* events)
{
    return Get().OnSamples(samples, samples && count > 0 ? static_cast<size_t>(count) : 0, events);
}

int Synthesizer::OnSamples(const short* samples, size_t count, const espeak_EVENT* events)
{
    if (!m_turn)
        return 1;
    Turn& turn = *m_turn;
    Lock lock(SpeechLock());
    if (Superseded(turn))
        return 1;
    std::vector<PendingMark> marks;
    bool atSentence = false;
    const uint32_t formerSentence = turn.sentence;
    const uint64_t formerStart = turn.sentenceStart;
    CollectMarks(turn, events, marks, atSentence);
    if (count > 0 && !WaitForRoom(lock, turn, atSentence)) {
        // Samples that are not taken now are made again, at the sentence that they begin if they begin one.
        if (!(atSentence && turn.sentenceStart == turn.made)) {
            turn.sentence = formerSentence;
            turn.sentenceStart = formerStart;
        }
        return 1;
    }
    Deliver(turn, samples, count, marks);
    return 0;
}

// False: the turn ends before these samples.
bool Synthesizer::WaitForRoom(Lock& lock, Turn& turn, bool atSentence)
{
    Utterance& utterance = *turn.utterance;
    const bool delivering = turn.made >= turn.from.drop;
    const bool turnIsLong = turn.made > turn.from.drop + kTurnSamples;
    bool full = utterance.Queued() >= kQueueFullSamples;
    if (!full && !turnIsLong)
        return true;
    while (full || turnIsLong) {
        if (Superseded(turn))
            return false;
        if (delivering && AnotherWaits(turn)) {
            const bool mustStop = utterance.Queued() >= kQueueHardLimitSamples;
            if (atSentence || mustStop)
                turn.brokenOff = true;
            return !turn.brokenOff;
        }
        if (!full)
            return true;
        utterance.CompleteSentence();
        turn.voice->changed.notify_all();
        m_work.wait_for(lock, kStallCheckInterval);
        CheckStalls();
        full = utterance.Queued() >= kQueueLowSamples;
    }
    return !Superseded(turn);
}

void Synthesizer::CollectMarks(Turn& turn, const espeak_EVENT* events, std::vector<PendingMark>& marks,
                               bool& atSentence) const
{
    // A text position has 24 bits in an event; texts are read forward, so a step far back is a carry.
    constexpr size_t kPositionWrap = size_t{1} << 24;
    const SpeechScript& script = turn.utterance->script;
    for (; events && events->type != espeakEVENT_LIST_TERMINATED; ++events) {
        const bool sentence = events->type == espeakEVENT_SENTENCE;
        const bool ofInterest = sentence || events->type == espeakEVENT_WORD || events->type == espeakEVENT_MARK ||
                                events->type == espeakEVENT_END;
        if (!ofInterest)
            continue;
        size_t position = events->text_position > 0 ? static_cast<size_t>(events->text_position) - 1 : 0;
        position += turn.lastPosition / kPositionWrap * kPositionWrap;
        if (position + kPositionWrap / 2 < turn.lastPosition)
            position += kPositionWrap;
        turn.lastPosition = std::max(turn.lastPosition, position);

        const uint64_t runSample = static_cast<uint32_t>(events->sample);
        PendingMark pending = {{Mark::Kind::Word, 0, 0, script.map.ToSource(position), 0, true, {}}, runSample};
        if (sentence) {
            pending.mark.kind = Mark::Kind::Sentence;
            pending.mark.sentence = static_cast<uint32_t>(events->id.number);
            turn.sentence = pending.mark.sentence;
            turn.sentenceStart = runSample;
            atSentence = true;
        } else if (events->type == espeakEVENT_MARK) {
            pending.mark.kind = Mark::Kind::Bookmark;
            pending.mark.name = MarkName(script, events->id.name);
        } else if (events->type == espeakEVENT_WORD) {
            const size_t length = static_cast<size_t>(std::max(0, events->length));
            if (!FindWord(script, turn.utterance->source, position + 1, length, pending.mark.position,
                          pending.mark.length))
                continue;
        } else {
            // The end of a clause tells how long the sentence is so far.
            pending.mark.kind = Mark::Kind::Sentence;
            pending.mark.sentence = 0;
        }
        marks.push_back(std::move(pending));
    }
}

void Synthesizer::Deliver(Turn& turn, const short* samples, size_t count, std::vector<PendingMark>& marks)
{
    Utterance& utterance = *turn.utterance;
    const uint64_t drop = turn.from.drop;
    // Where the first sample of this run that is not dropped lies on the utterance's timeline.
    const uint64_t origin = utterance.produced - (std::max(turn.made, drop) - drop);
    for (PendingMark& pending : marks) {
        Mark& mark = pending.mark;
        if (mark.kind == Mark::Kind::Sentence && mark.sentence == 0) {
            const auto last = std::find_if(utterance.marks.rbegin(), utterance.marks.rend(),
                                           [](const Mark& m) { return !m.complete; });
            if (last != utterance.marks.rend() && mark.position > last->position)
                last->length = mark.position - last->position;
            continue;
        }
        if (pending.runSample < drop)
            continue; // delivered by an earlier run
        if (mark.kind == Mark::Kind::Sentence) {
            utterance.CompleteSentence();
            mark.complete = false;
        }
        mark.sample = origin + pending.runSample - drop;
        utterance.marks.push_back(std::move(mark));
    }
    const uint64_t skip = turn.made < drop ? std::min<uint64_t>(count, drop - turn.made) : 0;
    turn.made += count;
    if (count > skip)
        utterance.Append(samples + skip, count - static_cast<size_t>(skip));
    if (utterance.wanted > 0 && (utterance.file ? utterance.Settled() : utterance.Queued()) >= utterance.wanted)
        turn.voice->changed.notify_all();
}

} // namespace

bool AddToSynthesizer(const std::shared_ptr<VoiceState>& voice)
{
    return Synthesizer::Get().Add(voice);
}

void RemoveFromSynthesizer(const std::shared_ptr<VoiceState>& voice)
{
    Synthesizer::Get().Remove(voice);
}

void WakeSynthesizer()
{
    Synthesizer::Get().Wake();
}

bool AlertVoiceSpeaks(const VoiceState& voice)
{
    return Synthesizer::Get().AlertSpeaks(voice);
}

} // namespace qxvoice
