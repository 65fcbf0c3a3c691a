// Plays utterances in order: pause, starvation, the tail of the device, end of stream. MIT licence.
#include "platform/posix/voiceplayer.h"

#include <system_error>
#include <thread>

#include "common/logging.h"
#include "platform/posix/deviceoutput.h"
#include "platform/posix/synthesizer.h"

namespace qxvoice
{
namespace
{

using Clock = std::chrono::steady_clock;

// Writing a file pays per call, so it waits for about two seconds of speech.
constexpr size_t kFileBlockSamples = 2 * kSynthRateHz;

class Player
{
public:
    Player(std::shared_ptr<VoiceState> voice, uint64_t id) : m_voice(std::move(voice)), m_id(id) {}
    void Run();

private:
    bool Current() const { return m_voice->playerId == m_id; }
    bool Held() const;
    void PlayToFile(const std::shared_ptr<Utterance>& utterance);
    void PlayToDevice(const std::shared_ptr<Utterance>& utterance);
    bool OpenDevice(const std::shared_ptr<Utterance>& utterance);
    void CloseDevice();
    void EndOnDevice(const std::shared_ptr<Utterance>& utterance);
    void TakeBlock(Utterance& utterance, size_t most);
    void AwaitSamples(Utterance& utterance, size_t wanted);
    template <class Call>
    bool WithDevice(Call call);

    const std::shared_ptr<VoiceState> m_voice;
    const uint64_t m_id;
    std::unique_lock<std::mutex> m_lock;
    DeviceOutput m_device;
    Clock::time_point m_lastWrite;
    std::vector<int16_t> m_block;
};

void Player::Run()
{
    m_lock = std::unique_lock<std::mutex>(SpeechLock());
    VoiceState& voice = *m_voice;
    while (Current()) {
        if (!voice.utterances.empty()) {
            const std::shared_ptr<Utterance> utterance = voice.utterances.front();
            if (utterance->file)
                PlayToFile(utterance);
            else
                PlayToDevice(utterance);
        } else if (m_device.IsOpen()) {
            CloseDevice();
        } else if (voice.released) {
            break;
        } else {
            voice.changed.wait(m_lock);
        }
    }
    if (Current())
        voice.playerId = 0;
    m_lock.unlock();
    m_device.Close();
    m_lock.lock();
    --voice.playersAlive;
    voice.changed.notify_all();
}

bool Player::Held() const
{
    return m_voice->pauseCount > 0 ||
           (m_voice->utterances.front()->priority == SPVPRI_NORMAL && AlertVoiceSpeaks(*m_voice));
}

// Runs a device call without the lock. False: the player was given up meanwhile.
template <class Call>
bool Player::WithDevice(Call call)
{
    m_voice->deviceCallSince = Clock::now();
    m_lock.unlock();
    call();
    m_lock.lock();
    if (!Current())
        return false;
    m_voice->deviceCallSince = {};
    return true;
}

void Player::TakeBlock(Utterance& utterance, size_t most)
{
    if (!utterance.started) {
        utterance.started = true;
        m_voice->Tell(SPEI_START_INPUT_STREAM, utterance);
    }
    utterance.Take(most, m_block);
    m_voice->TellMarks(utterance);
    if (!utterance.synthesized && utterance.Queued() < kQueueLowSamples)
        WakeSynthesizer();
}

void Player::AwaitSamples(Utterance& utterance, size_t wanted)
{
    utterance.wanted = wanted;
    m_voice->changed.wait(m_lock);
    utterance.wanted = 0;
}

void Player::PlayToFile(const std::shared_ptr<Utterance>& utterance)
{
    VoiceState& voice = *m_voice;
    if (m_device.IsOpen()) {
        CloseDevice();
        return;
    }
    if (voice.pauseCount > 0) {
        voice.changed.wait(m_lock);
        return;
    }
    // Nobody waits to hear a file: sentences are taken whole, so that their events come with their first sample.
    // The first one is taken as soon as it is there.
    const size_t settled = utterance->Settled();
    const size_t enough = utterance->started ? kFileBlockSamples : 1;
    if (!utterance->synthesized && settled < enough) {
        AwaitSamples(*utterance, enough);
        return;
    }
    TakeBlock(*utterance, settled);
    const bool last = utterance->synthesized && utterance->Queued() == 0;
    const unsigned generation = utterance->generation;
    voice.fileBusy = true;
    m_lock.unlock();
    HRESULT hr = utterance->file->Write(m_block.data(), m_block.size());
    if (last && SUCCEEDED(hr))
        hr = utterance->file->EndUtterance();
    m_lock.lock();
    voice.fileBusy = false;
    if (FAILED(hr) || (last && utterance->generation == generation)) {
        voice.TellMarks(*utterance);
        voice.Finish(utterance, hr);
    }
    voice.changed.notify_all();
}

bool Player::OpenDevice(const std::shared_ptr<Utterance>& utterance)
{
    HRESULT hr = S_OK;
    if (!WithDevice([&] { hr = m_device.Open(); }))
        return false;
    if (FAILED(hr)) {
        QX_LOG("Could not open the audio device: 0x%08x", static_cast<unsigned>(hr));
        m_voice->Finish(utterance, hr);
        return false;
    }
    m_voice->deviceOpen = true;
    m_lastWrite = Clock::now();
    return true;
}

void Player::CloseDevice()
{
    m_voice->deviceOpen = false;
    WithDevice([this] { m_device.Close(); });
}

void Player::PlayToDevice(const std::shared_ptr<Utterance>& utterance)
{
    VoiceState& voice = *m_voice;
    if (!m_device.IsOpen() && !OpenDevice(utterance))
        return;
    if (utterance->output == OutputState::Pending) {
        utterance->output = OutputState::Ready;
        voice.changed.notify_all();
    }
    if (utterance->done)
        return; // purged while the device was opened
    bool written = true;
    if (Held()) {
        if (!WithDevice([&] { written = m_device.WriteSilence(); }))
            return;
    } else if (!utterance->synthesized && utterance->Queued() < kDeviceBlockSamples) {
        AwaitSamples(*utterance, kDeviceBlockSamples);
        return;
    } else if (utterance->Queued() == 0) {
        EndOnDevice(utterance);
        return;
    } else {
        TakeBlock(*utterance, kDeviceBlockSamples);
        if (!WithDevice([&] { written = m_device.Write(m_block.data(), m_block.size()); }))
            return;
    }
    m_lastWrite = Clock::now();
    if (!written) {
        QX_LOG("The audio device failed, speech on it was ended");
        voice.FailDevice(SPERR_DEVICE_BUSY);
        CloseDevice();
    }
}

// Everything was handed to the device: the next utterance follows without a gap, the last one is awaited to its end.
void Player::EndOnDevice(const std::shared_ptr<Utterance>& utterance)
{
    VoiceState& voice = *m_voice;
    voice.TellMarks(*utterance);
    const bool followed = voice.utterances.size() > 1 && !voice.utterances[1]->file;
    const Clock::time_point heard = m_lastWrite + m_device.Tail();
    if (followed || Clock::now() >= heard)
        voice.Finish(utterance, S_OK);
    else
        voice.changed.wait_until(m_lock, heard);
}

} // namespace

bool EnsurePlayer(const std::shared_ptr<VoiceState>& voice)
{
    static uint64_t lastId = 0; // guarded by the speech lock
    if (voice->playerId != 0)
        return true;
    const uint64_t id = ++lastId;
    try {
        std::thread thread([player = std::make_shared<Player>(voice, id)] { player->Run(); });
        if (voice->playerThread.joinable())
            voice->playerThread.detach(); // given up
        voice->playerThread = std::move(thread);
    } catch (const std::system_error& error) {
        QX_LOG("Could not start the playing thread: %s", wxString::FromUTF8(error.what()));
        return false;
    }
    voice->playerId = id;
    ++voice->playersAlive;
    return true;
}

} // namespace qxvoice
