// The player: which streams are played, and the order in which device and threads start and stop. MIT licence.
#include "mediakit/mediaplayer.h"

#include "mediakit/audio_io.h"
#include "mediakit/devicemanager.h"
#include "mediakit/failurerecord.h"
#include "mediakit/videodisplay.h"

// The caller's thread only, but for failures.
struct QXSPEECH_HIDDEN MKMediaPlayer::Record {
    std::unique_ptr<MKProvider> provider; // until OpenMedia hands it over
    MKVideoSurface* surface = nullptr;    // not owned
    std::string audioDevice;
    // shared with the display of the open graph, whose threads may set it
    const std::shared_ptr<MKFailureRecord> failures = std::make_shared<MKFailureRecord>();
};

namespace
{

bool HasOutput(const std::string& device)
{
    MKAudioDeviceManager* const manager = MKAudioDeviceManager::Get();
    return device.empty() ? !manager->GetDefaultOutputDevice().empty() : manager->IsOutput(device);
}

// What is asked of the device; it writes back what it takes.
void WantPlainStereo(MKStreamParameters* params)
{
    params->channels = 2;
    params->format = MKSampleS16;
    params->frameSize = -1;
    params->rateNum = 48000;
    params->rateDen = 1;
}

// Leaves the type of the first stream of each kind that can be played, and refuses all others.
void ChooseStream(MKAVDisplay* display, bool audioWanted, bool videoWanted, MKStreamParameters* params)
{
    const MKMediaType type = static_cast<MKMediaType>(params->type);
    const bool wanted = (type == MKMediaAudio && audioWanted) || (type == MKMediaVideo && videoWanted);
    if (type == MKMediaAudio)
        WantPlainStereo(params);
    if (!wanted || display->FindStream(type, 0) >= 0)
        params->type = MKMediaNone;
}

// A display that refused has told why already.
void TellNotOpened(MKFailureRecord* failures, bool hasStreams, bool lacksDevice)
{
    if (lacksDevice)
        failures->Set(MKFailureDevice, "There is no audio device.");
    else if (hasStreams)
        failures->Set(MKFailureFile, "Nothing in the media can be played.");
    else
        failures->Set(MKFailureFile, "The media does not open.");
}

} // namespace

MKMediaPlayer::MKMediaPlayer() : record(new Record) {}

MKMediaPlayer::~MKMediaPlayer()
{
    if (MKMediaPlayer::Stop())
        MKTransform::Close();
    delete record;
}

void MKMediaPlayer::SetProvider(MKProvider* provider)
{
    if (provider != record->provider.get())
        record->provider.reset(provider);
}

void MKMediaPlayer::SetSurface(MKVideoSurface* surface)
{
    record->surface = surface;
}

void MKMediaPlayer::SetAudioDevice(const std::string& id)
{
    record->audioDevice = id;
}

bool MKMediaPlayer::OpenMedia()
{
    if (RefuseOwnThread())
        return false; // the provider stays the record's
    std::unique_ptr<MKProvider> provider = std::move(record->provider);
    Close(); // before the record is cleared: what ends there may still fail
    record->failures->Clear();
    const bool audioWanted = HasOutput(record->audioDevice);
    const bool videoWanted = record->surface != nullptr;
    MKAVDisplay* const display = new MKAVDisplay;
    display->SetAudioDevice(record->audioDevice);
    display->SetSurface(record->surface);
    display->failures = record->failures;
    bool hasStreams = false;
    bool lacksDevice = false;
    const bool opened = MKTransform::Open(provider.release(), display, [&](MKStreamParameters* params) {
        hasStreams = true;
        lacksDevice = lacksDevice || (params->type == MKMediaAudio && !audioWanted);
        ChooseStream(display, audioWanted, videoWanted, params);
    });
    if (!opened)
        TellNotOpened(record->failures.get(), hasStreams, lacksDevice);
    return opened;
}

// Null without an open graph, or with a consumer of another kind.
MKAVDisplay* MKMediaPlayer::Display() const
{
    return dynamic_cast<MKAVDisplay*>(GetConsumer());
}

bool MKMediaPlayer::Play()
{
    MKAVDisplay* const display = RefuseOwnThread() ? nullptr : Display();
    if (!display)
        return false;
    const MKTransformState state = GetState();
    if (state == MKTransformRunning || state == MKTransformPaused)
        return MKTransform::Start(); // which refuses; what plays is left alone
    if (state != MKTransformClosed)
        record->failures->Clear();
    // The device runs before the threads write to it.
    if (display->GetAudioDisplay() && !display->GetAudioDisplay()->StartStream())
        return false;
    if (display->GetVideoDisplay())
        display->GetVideoDisplay()->Restart();
    return MKTransform::Start();
}

bool MKMediaPlayer::Pause()
{
    if (!MKTransform::Pause())
        return false;
    MKAVDisplay* const display = Display();
    if (!display || (display->GetAudioDisplay() && !display->GetAudioDisplay()->PauseStream()))
        return false;
    return !display->GetVideoDisplay() || display->GetVideoDisplay()->Pause();
}

// The displays come first, so that the clock runs before frames flow.
bool MKMediaPlayer::Resume()
{
    MKAVDisplay* const display = RefuseOwnThread() ? nullptr : Display();
    if (!display || (display->GetAudioDisplay() && !display->GetAudioDisplay()->ResumeStream()))
        return false;
    if (display->GetVideoDisplay() && !display->GetVideoDisplay()->Resume())
        return false;
    return MKTransform::Resume();
}

bool MKMediaPlayer::Stop()
{
    if (RefuseOwnThread())
        return false;
    MKAVDisplay* const display = Display();
    MKVideoDisplay* const video = display ? display->GetVideoDisplay() : nullptr;
    if (video)
        video->SetInterrupted(true); // the picture that a Write waits for may be due in an hour
    const bool stopped = MKTransform::Stop();
    if (video)
        video->SetInterrupted(false);
    if (!stopped)
        return false;
    return !display || !display->GetAudioDisplay() || display->GetAudioDisplay()->StopStream();
}

bool MKMediaPlayer::Close()
{
    if (!Stop())
        return false;
    const bool closed = MKTransform::Close();
    record->provider.reset();
    return closed;
}

MKFailure MKMediaPlayer::GetLastFailure() const
{
    return record->failures->Get();
}
