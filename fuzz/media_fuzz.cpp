// Any bytes as a media file: opened, read and sought through the provider, and converted for a consumer, with bounded
// work. MIT licence.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <wx/log.h>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/log.h>
}

#include "mediakit/fileprovider.h"
#include "mediakit/frameconverter.h"

namespace
{

const int kMostStreams = 4;
const int kMostReads = 64;
const int kMostDrained = 64; // frames from one: sound of 1 Hz turns into very many
const size_t kMostBytes = 1 << 16;

void Require(bool isTrue, const char* what)
{
    if (isTrue)
        return;
    fprintf(stderr, "%s\n", what);
    abort();
}

// A file in memory, under a name that FFmpeg can open.
class MemoryFile
{
public:
    MemoryFile(const uint8_t* data, size_t size) : m_file(memfd_create("media", MFD_CLOEXEC))
    {
        Require(m_file >= 0 && write(m_file, data, size) == static_cast<ssize_t>(size), "no file in memory");
    }
    ~MemoryFile() { close(m_file); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string Path() const { return "/proc/self/fd/" + std::to_string(m_file); }

private:
    int m_file;
};

// What a player does with the frames of one stream.
class Consumer
{
public:
    // type: of the stream.
    void Take(MKMediaType type, MKFrame& frame)
    {
        Require(frame.GetAVFrame()->nb_samples >= 0, "a count of samples below zero");
        if (frame.GetMediaType() == MKMediaVideo)
            MKColorSpaceFromFrame(frame.GetAVFrame());
        if (!m_converter)
            Prepare(type);
        int result = m_converter->Convert(&frame, &m_converted);
        for (int i = 0; i < kMostDrained && result >= 0; ++i)
            result = m_converter->Drain(&frame, &m_converted);
    }

private:
    void Prepare(MKMediaType type)
    {
        MKStreamParameters wanted;
        wanted.type = type;
        wanted.format = type == MKMediaVideo ? int32_t{MKPixelBgra} : int32_t{MKSampleS16};
        wanted.width = 48;
        wanted.height = 36;
        wanted.colorSpace = MKColorSpaceRgbFull709;
        wanted.channels = 2;
        wanted.rateNum = 48000;
        wanted.rateDen = 1;
        wanted.frameSize = 1024;
        m_converter = std::make_unique<MKFrameConverter>();
        Require(m_converted.Allocate(wanted), "no memory for a small frame");
    }

    std::unique_ptr<MKFrameConverter> m_converter;
    MKFrame m_converted;
};

void ReadSome(MKFileProvider& provider, int streamCount)
{
    MKFrame frame;
    Consumer consumers[kMostStreams];
    for (int i = 0; i < kMostReads; ++i) {
        const auto index = static_cast<size_t>(i % streamCount);
        const int result = provider.Read(index, &frame);
        Require(result == 1 || result == 0 || result == -1 || result == -2, "Read gave another number");
        if (result == 1) {
            Require(provider.GetStreamTimeStamp(index) == frame.GetTimeStamp(), "the time stamp is another one");
            consumers[index].Take(provider.GetStreamType(index), frame);
        }
    }
}

void Play(MKFileProvider& provider)
{
    const int streamCount = provider.GetStreamCount();
    if (streamCount < 1 || streamCount > kMostStreams)
        return;
    for (int i = 0; i < streamCount; ++i) {
        const auto index = static_cast<size_t>(i);
        MKStreamParameters params;
        provider.OpenStream(index, &params);
        provider.QueryStreamParameters(index, &params);
        provider.GetStreamDuration(index);
    }
    ReadSome(provider, streamCount);
    Require(provider.GetDuration() >= 1, "a length below one");
    provider.Seek(provider.GetDuration() / 2);
    ReadSome(provider, streamCount);
    provider.DiscardStream(0, true);
    provider.Seek(INT64_MIN);
    provider.Seek(INT64_MAX);
    ReadSome(provider, streamCount);
    provider.CloseStream(0);
    ReadSome(provider, streamCount);
}

void Quiet()
{
    wxLog::EnableLogging(false);
    av_log_set_level(AV_LOG_QUIET);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Quiet();
    if (size > kMostBytes)
        return 0;
    const MemoryFile file(data, size);
    MKFileProvider provider(file.Path());
    if (provider.Open())
        Play(provider);
    return 0;
}
