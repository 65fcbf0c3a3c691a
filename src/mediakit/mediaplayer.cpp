// The player: which streams are played, and the order in which device and threads start and stop. MIT licence.
#include "mediakit/mediaplayer.h"

#include "mediakit/audio_io.h"
#include "mediakit/devicemanager.h"
#include "mediakit/videodisplay.h"

// The caller's thread only.
struct MKMediaPlayer::Record {
    std::unique_ptr<MKProvider> provider; // until OpenMedia hands it over
    MKVideoSurface* surface = nullptr;    // not owned
    std::string audioDevice;
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
    const bool audioWanted = HasOutput(record->audioDevice);
    const bool videoWanted = record->surface != nullptr;
    MKAVDisplay* const display = new MKAVDisplay;
    display->SetAudioDevice(record->audioDevice);
    display->SetSurface(record->surface);
    return MKTransform::Open(record->provider.release(), display, [=](MKStreamParameters* params) {
        ChooseStream(display, audioWanted, videoWanted, params);
    });
}

// Null without an open graph, or with a consumer of another kind.
MKAVDisplay* MKMediaPlayer::Display() const
{
    return dynamic_cast<MKAVDisplay*>(GetConsumer());
}

bool MKMediaPlayer::Play()
{
    MKAVDisplay* const display = Display();
    if (!display)
        return false;
    // The device runs before the threads write to it.
    if (display->GetAudioDisplay() && !display->GetAudioDisplay()->StartStream())
        return false;
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
    MKAVDisplay* const display = Display();
    if (!display || (display->GetAudioDisplay() && !display->GetAudioDisplay()->ResumeStream()))
        return false;
    if (display->GetVideoDisplay() && !display->GetVideoDisplay()->Resume())
        return false;
    return MKTransform::Resume();
}

bool MKMediaPlayer::Stop()
{
    if (!MKTransform::Stop())
        return false;
    MKAVDisplay* const display = Display();
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
