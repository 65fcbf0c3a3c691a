// The nodes that play to and record from an audio device. MIT licence.
#include "mediakit/audio_io.h"

#include <atomic>

extern "C" {
#include <libavutil/avutil.h>
}

#include "common/logging.h"
#include "mediakit/nodeimpl.h"
#include "mediakit/portaudiostream.h"

namespace
{

constexpr int kDefaultBufferSize = 5;
constexpr int kChannelShift = 22;
constexpr int32_t kUnfixedFrameSize = 192000;

} // namespace

// The stream of MKAudioDisplay. Its time line begins at the first time stamp that was written since it was started.
class MKAudioDisplayImpl : public MKConsumerImpl, public MKPortAudio
{
public:
    MKAudioDisplayImpl() : MKPortAudio(false) {}

    bool Open() override { return true; }
    bool Close() override { return MKPortAudio::CloseStream() >= 0; }
    int GetStreamCount() override { return 1; }
    MKMediaType GetStreamType(size_t index) override;
    bool OpenStream(size_t index, MKStreamParameters* record) override;
    bool QueryStreamParameters(size_t index, MKStreamParameters* record) override;
    bool CloseStream(size_t index) override;
    bool IsStreamOpened(size_t index) override;
    int64_t GetDuration() override { return GetSampleTime(); }
    int64_t GetStreamDuration(size_t index) override;
    int64_t GetStreamTimeStamp(size_t index) override;
    int GetBufferSize(size_t index) override;
    int Write(size_t index, MKFrame* frame) override;
    int StartStream();

private:
    std::atomic<int64_t> firstPts{0}; // microseconds
    bool waitingForFirstPts = true;   // writing thread
};

MKMediaType MKAudioDisplayImpl::GetStreamType(size_t index)
{
    if (index == 0)
        return MKMediaAudio;
    QX_LOG("Could not get stream type, invalid index");
    return MKMediaNone;
}

bool MKAudioDisplayImpl::OpenStream(size_t index, MKStreamParameters* record)
{
    if (index != 0) {
        QX_LOG("Could not open stream, invalid index");
        return false;
    }
    if (MKPortAudio::OpenStream(record) < 0)
        return false;
    firstPts = 0;
    waitingForFirstPts = true;
    return true;
}

bool MKAudioDisplayImpl::QueryStreamParameters(size_t index, MKStreamParameters* record)
{
    if (index == 0)
        return MKPortAudio::QueryStreamParameters(record) >= 0;
    QX_LOG("Could not get stream parameters, invalid index");
    return false;
}

bool MKAudioDisplayImpl::CloseStream(size_t index)
{
    if (index == 0)
        return Close();
    QX_LOG("Could not close stream, invalid index");
    return false;
}

bool MKAudioDisplayImpl::IsStreamOpened(size_t index)
{
    if (index == 0)
        return IsStreamOpen();
    QX_LOG("Could not get stream opened state, invalid index");
    return false;
}

int64_t MKAudioDisplayImpl::GetStreamDuration(size_t index)
{
    if (index == 0)
        return GetDuration() + firstPts;
    QX_LOG("Could not get stream duration, invalid index");
    return 0;
}

int64_t MKAudioDisplayImpl::GetStreamTimeStamp(size_t index)
{
    if (index == 0)
        return GetPlayTime() + firstPts;
    QX_LOG("Could not get stream timestamp, invalid index");
    return 0;
}

int MKAudioDisplayImpl::GetBufferSize(size_t index)
{
    if (index != 0) {
        QX_LOG("Could not get stream buffer size, invalid index");
        return kDefaultBufferSize;
    }
    if (!IsStreamOpen()) {
        QX_LOG("Could not get stream buffer size, stream is not opened");
        return kDefaultBufferSize;
    }
    MKStreamParameters opened;
    MKPortAudio::QueryStreamParameters(&opened);
    const int32_t bytes = static_cast<int32_t>(static_cast<uint32_t>(opened.channels) << kChannelShift);
    return bytes / (opened.frameSize > 0 ? opened.frameSize : kUnfixedFrameSize);
}

int MKAudioDisplayImpl::Write(size_t index, MKFrame* frame)
{
    if (index != 0) {
        QX_LOG("Could not write stream, invalid index");
        return 0;
    }
    if (waitingForFirstPts && frame && frame->GetTimeStamp() != AV_NOPTS_VALUE) {
        firstPts = frame->GetTimeStamp();
        waitingForFirstPts = false;
    }
    return MKPortAudio::Write(frame);
}

// The frames of this run may begin elsewhere than those of the last one, after a seek.
int MKAudioDisplayImpl::StartStream()
{
    firstPts = 0;
    waitingForFirstPts = true;
    return MKPortAudio::StartStream();
}

// The stream of MKAudioCapture.
class MKAudioCaptureImpl : public MKProviderImpl, public MKPortAudio
{
public:
    MKAudioCaptureImpl() : MKPortAudio(true) {}

    bool Open() override { return true; }
    bool Close() override { return MKPortAudio::CloseStream() >= 0; }
    int GetStreamCount() override { return 1; }
    MKMediaType GetStreamType(size_t index) override;
    bool OpenStream(size_t index, MKStreamParameters* record) override;
    bool QueryStreamParameters(size_t index, MKStreamParameters* record) override;
    bool CloseStream(size_t index) override;
    bool IsStreamOpened(size_t index) override;
    int64_t GetDuration() override { return GetSampleTime(); }
    int64_t GetStreamDuration(size_t index) override;
    int64_t GetStreamTimeStamp(size_t index) override;
    bool Seek(int64_t) override { return false; }
    int Read(size_t index, MKFrame* frame) override;
};

MKMediaType MKAudioCaptureImpl::GetStreamType(size_t index)
{
    if (index == 0)
        return MKMediaAudio;
    QX_LOG("Could not get stream type, invalid index");
    return MKMediaNone;
}

bool MKAudioCaptureImpl::OpenStream(size_t index, MKStreamParameters* record)
{
    if (index == 0)
        return MKPortAudio::OpenStream(record) >= 0;
    QX_LOG("Could not open stream, invalid index");
    return false;
}

bool MKAudioCaptureImpl::QueryStreamParameters(size_t index, MKStreamParameters* record)
{
    if (index == 0)
        return MKPortAudio::QueryStreamParameters(record) >= 0;
    QX_LOG("Could not get stream parameters, invalid index");
    return false;
}

bool MKAudioCaptureImpl::CloseStream(size_t index)
{
    if (index == 0)
        return Close();
    QX_LOG("Could not close stream, invalid index");
    return false;
}

bool MKAudioCaptureImpl::IsStreamOpened(size_t index)
{
    if (index == 0)
        return IsStreamOpen();
    QX_LOG("Could not get stream opened state, invalid index");
    return false;
}

int64_t MKAudioCaptureImpl::GetStreamDuration(size_t index)
{
    if (index == 0)
        return GetDuration();
    QX_LOG("Could not get stream duration, invalid index");
    return 0;
}

int64_t MKAudioCaptureImpl::GetStreamTimeStamp(size_t index)
{
    if (index == 0)
        return GetSampleTime();
    QX_LOG("Could not get stream timestamp, invalid index");
    return 0;
}

int MKAudioCaptureImpl::Read(size_t index, MKFrame* frame)
{
    if (index != 0) {
        QX_LOG("Could not read stream, invalid index");
        return -2;
    }
    if (!frame) {
        QX_LOG("Could not read stream, frame is null");
        return -22;
    }
    return MKPortAudio::Read(frame);
}

MKAudioDisplay::MKAudioDisplay() : stream(new MKAudioDisplayImpl)
{
    impl = stream;
}

MKAudioDisplay::~MKAudioDisplay()
{
    delete impl;
}

void MKAudioDisplay::SetDevice(const std::string& id)
{
    stream->SetDevice(id);
}

bool MKAudioDisplay::Open()
{
    return impl->Open();
}

bool MKAudioDisplay::Close()
{
    return impl->Close();
}

int MKAudioDisplay::GetStreamCount()
{
    return impl->GetStreamCount();
}

MKMediaType MKAudioDisplay::GetStreamType(size_t index)
{
    return impl->GetStreamType(index);
}

bool MKAudioDisplay::OpenStream(size_t index, MKStreamParameters* params)
{
    return impl->OpenStream(index, params);
}

bool MKAudioDisplay::QueryStreamParameters(size_t index, MKStreamParameters* params)
{
    return impl->QueryStreamParameters(index, params);
}

bool MKAudioDisplay::CloseStream(size_t index)
{
    return impl->CloseStream(index);
}

bool MKAudioDisplay::IsStreamOpened(size_t index)
{
    return impl->IsStreamOpened(index);
}

bool MKAudioDisplay::DiscardStream(size_t index, bool discard)
{
    return impl->DiscardStream(index, discard);
}

bool MKAudioDisplay::IsStreamDiscarded(size_t index)
{
    return impl->IsStreamDiscarded(index);
}

int64_t MKAudioDisplay::GetDuration()
{
    return impl->GetDuration();
}

int64_t MKAudioDisplay::GetStreamDuration(size_t index)
{
    return impl->GetStreamDuration(index);
}

int64_t MKAudioDisplay::GetStreamTimeStamp(size_t index)
{
    return impl->GetStreamTimeStamp(index);
}

bool MKAudioDisplay::AllocateFrame(size_t index, MKFrame* frame)
{
    return impl->AllocateFrame(index, frame);
}

int MKAudioDisplay::GetBufferSize(size_t index)
{
    return impl->GetBufferSize(index);
}

int MKAudioDisplay::Write(size_t index, MKFrame* frame)
{
    return stream->Write(index, frame);
}

bool MKAudioDisplay::StartStream()
{
    return stream->StartStream() == 0;
}

bool MKAudioDisplay::StopStream()
{
    return stream->StopStream() == 0;
}

bool MKAudioDisplay::PauseStream()
{
    return stream->PauseStream() == 0;
}

bool MKAudioDisplay::ResumeStream()
{
    return stream->ResumeStream() == 0;
}

MKFailure MKAudioDisplay::GetLastFailure() const
{
    return stream->GetLastFailure();
}

void MKAudioDisplay::ShareFailures(const std::shared_ptr<MKFailureRecord>& record)
{
    stream->SetFailures(record);
}

MKAudioCapture::MKAudioCapture() : stream(new MKAudioCaptureImpl)
{
    impl = stream;
}

MKAudioCapture::~MKAudioCapture()
{
    delete impl;
}

void MKAudioCapture::SetDevice(const std::string& id)
{
    stream->SetDevice(id);
}

bool MKAudioCapture::Open()
{
    return impl->Open();
}

bool MKAudioCapture::Close()
{
    return impl->Close();
}

int MKAudioCapture::GetStreamCount()
{
    return impl->GetStreamCount();
}

MKMediaType MKAudioCapture::GetStreamType(size_t index)
{
    return impl->GetStreamType(index);
}

bool MKAudioCapture::OpenStream(size_t index, MKStreamParameters* params)
{
    return impl->OpenStream(index, params);
}

bool MKAudioCapture::QueryStreamParameters(size_t index, MKStreamParameters* params)
{
    return impl->QueryStreamParameters(index, params);
}

bool MKAudioCapture::CloseStream(size_t index)
{
    return impl->CloseStream(index);
}

bool MKAudioCapture::IsStreamOpened(size_t index)
{
    return impl->IsStreamOpened(index);
}

bool MKAudioCapture::DiscardStream(size_t index, bool discard)
{
    return impl->DiscardStream(index, discard);
}

bool MKAudioCapture::IsStreamDiscarded(size_t index)
{
    return impl->IsStreamDiscarded(index);
}

int64_t MKAudioCapture::GetDuration()
{
    return impl->GetDuration();
}

int64_t MKAudioCapture::GetStreamDuration(size_t index)
{
    return impl->GetStreamDuration(index);
}

int64_t MKAudioCapture::GetStreamTimeStamp(size_t index)
{
    return impl->GetStreamTimeStamp(index);
}

bool MKAudioCapture::AllocateFrame(size_t index, MKFrame* frame)
{
    return impl->AllocateFrame(index, frame);
}

int MKAudioCapture::GetBufferSize(size_t index)
{
    return impl->GetBufferSize(index);
}

bool MKAudioCapture::Seek(int64_t timestamp)
{
    return stream->Seek(timestamp);
}

int MKAudioCapture::Read(size_t index, MKFrame* frame)
{
    return stream->Read(index, frame);
}

bool MKAudioCapture::StartStream()
{
    return stream->StartStream() == 0;
}

bool MKAudioCapture::StopStream()
{
    return stream->StopStream() == 0;
}

bool MKAudioCapture::PauseStream()
{
    return stream->PauseStream() == 0;
}

bool MKAudioCapture::ResumeStream()
{
    return stream->ResumeStream() == 0;
}

double MKAudioCapture::GetLevel()
{
    return stream->GetInputLevel();
}
