// The routing of the AV display. MIT licence.
#include <algorithm>

#include "common/logging.h"
#include "mediakit/audio_io.h"
#include "mediakit/mediaplayer.h"
#include "mediakit/videodisplay.h"

MKAVDisplay::MKAVDisplay() = default;

MKAVDisplay::~MKAVDisplay()
{
    MKAVDisplay::Close();
}

// Null for an index that neither stream has.
MKConsumer* MKAVDisplay::Display(size_t index) const
{
    if (video && index == videoIndex)
        return video.get();
    if (audio && index == audioIndex)
        return audio.get();
    return nullptr;
}

bool MKAVDisplay::Open()
{
    return Close();
}

bool MKAVDisplay::Close()
{
    video.reset(); // first: its clock reads the audio display
    audio.reset();
    return true;
}

int MKAVDisplay::GetStreamCount()
{
    return (audio ? 1 : 0) + (video ? 1 : 0);
}

MKMediaType MKAVDisplay::GetStreamType(size_t index)
{
    if (audio && index == audioIndex)
        return MKMediaAudio;
    if (video && index == videoIndex)
        return MKMediaVideo;
    QX_LOG("Could not get stream type, invalid stream index");
    return MKMediaNone;
}

bool MKAVDisplay::OpenStream(size_t index, MKStreamParameters* params)
{
    if (params && params->type == MKMediaAudio)
        return OpenAudio(index, params);
    if (params && params->type == MKMediaVideo)
        return OpenVideo(index, params);
    QX_LOG("Could not open stream, type is not supported");
    return false;
}

// Whichever display comes second makes the clock, so the sound leads wherever there is sound.
bool MKAVDisplay::OpenAudio(size_t index, MKStreamParameters* params)
{
    if (audio) {
        QX_LOG("Could not open stream, audio stream already opened");
        return false;
    }
    audio = std::make_unique<MKAudioDisplay>();
    audio->SetDevice(audioDevice);
    if (failures)
        audio->ShareFailures(failures);
    if (video)
        video->SetClock(audio->CreateStreamClock(0), true);
    audioIndex = index;
    return audio->OpenStream(0, params);
}

bool MKAVDisplay::OpenVideo(size_t index, MKStreamParameters* params)
{
    if (video) {
        QX_LOG("Could not open stream, video stream already opened");
        return false;
    }
    video = std::make_unique<MKVideoDisplay>();
    video->SetSurface(surface);
    if (audio)
        video->SetClock(audio->CreateStreamClock(0), true);
    videoIndex = index;
    return video->OpenStream(0, params);
}

bool MKAVDisplay::QueryStreamParameters(size_t index, MKStreamParameters* params)
{
    if (MKConsumer* const display = Display(index))
        return display->QueryStreamParameters(0, params);
    QX_LOG("Could not get stream parameters, invalid stream index");
    return false;
}

bool MKAVDisplay::CloseStream(size_t index)
{
    if (audio && index == audioIndex) {
        if (video)
            video->SetClock(nullptr, true);
        audio.reset();
        return true;
    }
    if (video && index == videoIndex) {
        video.reset();
        return true;
    }
    QX_LOG("Could not close stream, invalid stream index");
    return false;
}

bool MKAVDisplay::IsStreamOpened(size_t index)
{
    if (MKConsumer* const display = Display(index))
        return display->IsStreamOpened(0);
    QX_LOG("Could not get stream opened state, invalid stream index");
    return false;
}

int64_t MKAVDisplay::GetDuration()
{
    const int64_t audioDuration = audio ? std::max<int64_t>(audio->GetStreamDuration(0), 0) : 0;
    return video ? std::max(audioDuration, video->GetStreamDuration(0)) : audioDuration;
}

int64_t MKAVDisplay::GetStreamDuration(size_t index)
{
    if (MKConsumer* const display = Display(index))
        return display->GetStreamDuration(0);
    QX_LOG("Could not get stream duration, invalid stream index");
    return 0;
}

int64_t MKAVDisplay::GetStreamTimeStamp(size_t index)
{
    if (MKConsumer* const display = Display(index))
        return display->GetStreamTimeStamp(0);
    QX_LOG("Could not get stream time stamp, invalid stream index");
    return 0;
}

bool MKAVDisplay::AllocateFrame(size_t index, MKFrame* frame)
{
    MKConsumer* const display = Display(index);
    return display && display->AllocateFrame(0, frame);
}

int MKAVDisplay::GetBufferSize(size_t index)
{
    MKConsumer* const display = Display(index);
    return display ? display->GetBufferSize(0) : 0;
}

int MKAVDisplay::Write(size_t index, MKFrame* frame)
{
    if (MKConsumer* const display = Display(index))
        return display->Write(0, frame);
    QX_LOG("Could not write to stream, invalid stream index");
    return -1;
}
