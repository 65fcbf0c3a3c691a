// What a voice is doing, shared by its object, the synthesizer and the thread that plays it. MIT licence.
#ifndef QXSPEECH_PLATFORM_POSIX_VOICESTATE_H
#define QXSPEECH_PLATFORM_POSIX_VOICESTATE_H

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <sapi.h>

#include "common/devicethread.h"
#include "platform/posix/messages.h"
#include "platform/posix/utterance.h"

namespace qxvoice
{

// An event that waits for GetEvents.
struct VoiceEvent {
    SPEVENTENUM id;
    ULONG stream;
    uint64_t byteOffset;
    size_t length;
    size_t position;
    std::wstring name;
};

// A player that has been inside one device call for longer than this has lost its device: its utterances end.
constexpr std::chrono::seconds kDeviceStallLimit = kDevicePatience;

// Made by a voice object; the synthesizer's list and the player's thread share it, so that it outlives the object while
// one of them is still at work. Every field is guarded by the speech lock unless it says otherwise, and every operation
// is called with that lock held, by whatever thread.
class VoiceState
{
public:
    using Lock = std::unique_lock<std::mutex>;

    explicit VoiceState(std::shared_ptr<qxplatform::NoticeQueue> creatorNotices);

    // Speaking.

    bool Busy() const { return !utterances.empty(); }
    // Ends every utterance. The end events of accepted streams are kept with tellEnds; without it, undelivered events
    // of theirs are dropped as well.
    void Purge(bool tellEnds);
    // Takes the first utterance off, or one that failed, and tells its end.
    void Finish(const std::shared_ptr<Utterance>& utterance, HRESULT result);
    // Ends all utterances that go to the device.
    void FailDevice(HRESULT result);
    // Moves the first utterance by sentences from the one that is heard.
    HRESULT Skip(LONG count, ULONG* skipped);
    void Pause();
    void Resume();

    // Events.

    // Queues a mark or a stream's start or end if it is of interest, and posts the notice.
    void Tell(SPEVENTENUM id, const Utterance& utterance, const Mark* mark = nullptr);
    // Tells every mark whose sample was taken, but for a sentence whose length is not known yet and what follows it.
    void TellMarks(Utterance& utterance);

    // Set once by the constructor.
    const std::shared_ptr<qxplatform::NoticeQueue> notices;
    const uint64_t noticeOwner;

    // Signalled at every change that a player or a waiting caller may look for.
    std::condition_variable changed;

    std::deque<std::shared_ptr<Utterance>> utterances; // the first one is spoken
    int pauseCount = 0;                                // 0 whenever nothing is queued
    HRESULT lastResult = S_OK;                         // of the last Speak, or of what failed since
    uint64_t lastServed = 0;                           // turn in which the synthesizer last worked for this voice

    // The player: one thread at a time; its number changes when it is given up.
    uint64_t playerId = 0;    // 0: none
    int playersAlive = 0;     // threads that have not ended, given up ones included
    std::thread playerThread; // the last one started; the voice's object joins it, or leaves a hung one to itself
    bool deviceOpen = false;
    bool fileBusy = false; // samples are being written to a file
    bool released = false;
    std::chrono::steady_clock::time_point deviceCallSince{}; // not set: in no device call

    // Events and their receiver.
    std::deque<VoiceEvent> events;
    ULONGLONG queuedInterest = SPFEI(SPEI_START_INPUT_STREAM) | SPFEI(SPEI_END_INPUT_STREAM);
    SPNOTIFYCALLBACK* callback = nullptr;
    WPARAM callbackWParam = 0;
    LPARAM callbackLParam = 0;

private:
    void PostNotice();
    void MakeRoomForEvent();

    std::weak_ptr<VoiceState> m_self;

public:
    // Lets notices refer to the voice without keeping it alive; called once by the maker.
    void SetSelf(const std::shared_ptr<VoiceState>& self) { m_self = self; }
};

// The one lock of all voices and the synthesizer; a forked copy has one of its own. Never destroyed. No device, file or
// host code runs under it.
std::mutex& SpeechLock();

} // namespace qxvoice

#endif
