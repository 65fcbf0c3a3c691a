// The file provider over files of many kinds, compared with the ffmpeg command's decoding. MIT licence.
#include <gtest/gtest.h>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/samplefmt.h>
}

#include <cmath>
#include <cstring>

#include "mediakit/ffmpegcompat.h"
#include "mediakit/fileprovider.h"
#include "support/log_capture.h"
#include "support/mediafile.h"

namespace
{

// Far more calls than any of the files needs: a limit against a hang.
const int kMostReads = 10000;

struct Decoded {
    std::string bytes; // interleaved, as the frames hold them
    int frames = 0;
    int result = 0; // the last of Read
    int64_t firstTime = 0;
    int64_t endTime = 0;  // the last frame's time plus its length
    int64_t worstGap = 0; // between a frame's time and the end of the one before
    bool hasLayout = true;
    int channels = 0;
    int rate = 0;
    int format = -1;
};

void AppendSamples(std::string& bytes, const AVFrame& frame)
{
    const auto format = static_cast<AVSampleFormat>(frame.format);
    const auto size = static_cast<size_t>(av_get_bytes_per_sample(format));
    const auto channels = static_cast<size_t>(frame.ch_layout.nb_channels);
    const auto count = static_cast<size_t>(frame.nb_samples);
    if (!av_sample_fmt_is_planar(format)) {
        bytes.append(reinterpret_cast<const char*>(frame.data[0]), count * channels * size);
        return;
    }
    for (size_t i = 0; i < count; ++i) {
        for (size_t channel = 0; channel < channels; ++channel)
            bytes.append(reinterpret_cast<const char*>(frame.extended_data[channel]) + i * size, size);
    }
}

void Take(Decoded& decoded, const AVFrame& frame)
{
    AppendSamples(decoded.bytes, frame);
    if (decoded.frames++ == 0)
        decoded.firstTime = frame.pts;
    else
        decoded.worstGap = std::max(decoded.worstGap, std::abs(frame.pts - decoded.endTime));
    decoded.rate = frame.sample_rate;
    decoded.channels = frame.ch_layout.nb_channels;
    decoded.format = frame.format;
    decoded.endTime = frame.pts + int64_t{frame.nb_samples} * 1000000 / frame.sample_rate;
    decoded.hasLayout = decoded.hasLayout && mkFrameChannelLayout(&frame) != 0 &&
                        av_channel_layout_check(&frame.ch_layout) && frame.ch_layout.order == AV_CHANNEL_ORDER_NATIVE;
}

// Reads an audio stream until Read says that no more comes.
Decoded ReadSound(MKFileProvider& provider, size_t index, int mostFrames = kMostReads)
{
    Decoded decoded;
    MKFrame frame;
    for (int i = 0; i < kMostReads && decoded.result >= 0 && decoded.frames < mostFrames; ++i) {
        decoded.result = provider.Read(index, &frame);
        if (decoded.result > 0)
            Take(decoded, *frame.GetAVFrame());
    }
    return decoded;
}

// One frame, skipping answers of "not yet".
int ReadFrame(MKFileProvider& provider, size_t index, MKFrame& frame)
{
    int result = 0;
    for (int i = 0; i < kMostReads && result == 0; ++i)
        result = provider.Read(index, &frame);
    return result;
}

// Root of the mean square of 32-bit float samples.
double Rms(const std::string& bytes)
{
    double sum = 0;
    const size_t count = bytes.size() / sizeof(float);
    for (size_t i = 0; i < count; ++i) {
        float value = 0;
        memcpy(&value, bytes.data() + i * sizeof(float), sizeof value);
        sum += double{value} * value;
    }
    return count ? std::sqrt(sum / static_cast<double>(count)) : 0;
}

class FileProvider : public testing::Test
{
protected:
    // Opens the file and its first audio stream.
    size_t OpenSound(MKFileProvider& provider)
    {
        if (!provider.Open())
            throw std::runtime_error("not opened");
        const int index = provider.FindStream(MKMediaAudio, 0);
        if (index < 0 || !provider.OpenStream(static_cast<size_t>(index), &params))
            throw std::runtime_error("no sound");
        return static_cast<size_t>(index);
    }

    ScratchDir folder;
    MKStreamParameters params;
};

} // namespace

TEST_F(FileProvider, LosslessSoundComesOutSampleBySample)
{
    QX_REQUIRE_FFMPEG();
    struct Case {
        const char* name;
        const char* codec;
        int rateHz;
        int channels;
        const char* raw; // format of the independent decode
        int32_t kitFormat;
        int32_t kitCodec;
    };
    const Case cases[] = {
        {"u8.wav", "pcm_u8", 8000, 1, "u8", MKSampleU8, MKCodecOther},
        {"s16.wav", "pcm_s16le", 24000, 1, "s16le", MKSampleS16, MKCodecPcmS16LE},
        {"stereo.wav", "pcm_s16le", 44100, 2, "s16le", MKSampleS16, MKCodecPcmS16LE},
        {"six.wav", "pcm_s16le", 48000, 6, "s16le", MKSampleS16, MKCodecPcmS16LE},
        {"s24.wav", "pcm_s24le", 96000, 2, "s32le", MKSampleS24, MKCodecOther},
        {"s32.wav", "pcm_s32le", 16000, 1, "s32le", MKSampleS32, MKCodecOther},
        {"float.wav", "pcm_f32le", 11025, 2, "f32le", MKSampleFloat, MKCodecOther},
        {"double.wav", "pcm_f64le", 22050, 1, "f64le", MKSampleDouble, MKCodecOther},
        {"s16.flac", "flac", 44100, 2, "s16le", MKSampleS16, MKCodecOther},
        {"big.au", "pcm_s16be", 8000, 1, "s16le", MKSampleS16, MKCodecPcmS16BE},
        {"big.aiff", "pcm_s16be", 32000, 2, "s16le", MKSampleS16, MKCodecPcmS16BE},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        MediaSpec spec;
        spec.name = c.name;
        spec.audioCodec = c.codec;
        spec.rateHz = c.rateHz;
        spec.channels = c.channels;
        if (spec.audioCodec == "flac")
            spec.extraArgs = {"-sample_fmt", "s16"};
        const std::string path = MakeMediaFile(folder, spec);
        MKFileProvider provider(path);
        const size_t index = OpenSound(provider);
        EXPECT_EQ(params.format, c.kitFormat);
        EXPECT_EQ(params.codec, c.kitCodec);
        EXPECT_EQ(params.channels, c.channels);
        EXPECT_EQ(params.rateNum, c.rateHz);
        EXPECT_NEAR(static_cast<double>(provider.GetDuration()), 1e6, 1000);

        const Decoded decoded = ReadSound(provider, index);
        EXPECT_EQ(decoded.result, -1);
        EXPECT_TRUE(decoded.hasLayout);
        EXPECT_EQ(decoded.firstTime, 0);
        EXPECT_LE(decoded.worstGap, 1);
        EXPECT_NEAR(static_cast<double>(decoded.endTime), 1e6, 100); // times round down
        EXPECT_TRUE(decoded.bytes == DecodeWithFFmpeg(folder, path, 0, c.raw)) << decoded.bytes.size() << " bytes";
    }
}

TEST_F(FileProvider, LossySoundKeepsLengthAndLevel)
{
    QX_REQUIRE_FFMPEG();
    struct Case {
        const char* name;
        const char* codec;
        int rateHz;
        int channels;
    };
    const Case cases[] = {{"t.mp3", "libmp3lame", 24000, 1}, {"t2.mp3", "libmp3lame", 44100, 2},
                          {"t.m4a", "aac", 44100, 2},        {"t.aac", "aac", 48000, 6},
                          {"t.ogg", "libvorbis", 44100, 2},  {"t.opus", "libopus", 48000, 1}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        MediaSpec spec;
        spec.name = c.name;
        spec.audioCodec = c.codec;
        spec.rateHz = c.rateHz;
        spec.channels = c.channels;
        spec.seconds = 2;
        const std::string path = MakeMediaFile(folder, spec);
        MKFileProvider provider(path);
        const Decoded decoded = ReadSound(provider, OpenSound(provider));
        EXPECT_EQ(decoded.result, -1);
        EXPECT_TRUE(decoded.hasLayout);
        EXPECT_EQ(decoded.channels, c.channels);
        EXPECT_EQ(decoded.rate, c.rateHz);
        EXPECT_EQ(decoded.format, AV_SAMPLE_FMT_FLTP);
        EXPECT_LE(decoded.worstGap, 1000); // a time base of a millisecond or so, in the container
        const std::string expected = DecodeWithFFmpeg(folder, path, 0, "f32le");
        // The command drops what a decoder adds before the beginning and after the end; a packet or two may differ.
        const double length = static_cast<double>(decoded.bytes.size() / sizeof(float)) / (c.channels * c.rateHz);
        EXPECT_NEAR(length, 2, 0.06);
        EXPECT_NEAR(Rms(decoded.bytes), Rms(expected), 0.02 * Rms(expected));
        EXPECT_GT(Rms(expected), 0.2);
    }
}

TEST_F(FileProvider, PlainWavHasALayout)
{
    for (const int channels : {1, 2, 6}) {
        MKFileProvider provider(MakeWavFile(folder, "plain.wav", 16000, channels, MakeTone(16000, channels, 0.25)));
        const Decoded decoded = ReadSound(provider, OpenSound(provider));
        EXPECT_TRUE(decoded.hasLayout) << channels;
        EXPECT_EQ(decoded.channels, channels);
        EXPECT_EQ(decoded.bytes.size(), static_cast<size_t>(4000 * 2 * channels));
    }
}

TEST_F(FileProvider, LengthIsKnownInHeaderByFileOrNotAtAll)
{
    const std::vector<int16_t> samples = MakeTone(8000, 1, 3); // 48000 bytes
    MKFileProvider known(MakeAuFile(folder, "known.au", 8000, 1, samples, false));
    ASSERT_TRUE(known.Open());
    EXPECT_EQ(known.GetDuration(), 3000000);

    MKFileProvider unknown(MakeAuFile(folder, "unknown.au", 8000, 1, samples, true));
    EXPECT_EQ(unknown.GetDuration(), 1);
    ASSERT_TRUE(unknown.Open());
    ASSERT_TRUE(unknown.OpenStream(0, &params));
    EXPECT_EQ(unknown.GetDuration(), 3000000);
    EXPECT_EQ(ReadSound(unknown, 0).bytes.size(), 48000u);
}

TEST_F(FileProvider, ContainerWithoutLengthSaysOne)
{
    QX_REQUIRE_FFMPEG();
    MediaSpec spec;
    spec.name = "live.mkv";
    spec.audioCodec = "libopus";
    spec.rateHz = 48000;
    spec.extraArgs = {"-live", "1"};
    MKFileProvider provider(MakeMediaFile(folder, spec));
    OpenSound(provider);
    EXPECT_EQ(provider.GetDuration(), 1);
    EXPECT_EQ(provider.GetStreamCount(), 1);
    // Seeking goes on as with any other length.
    EXPECT_TRUE(provider.Seek(0));
    EXPECT_GT(ReadSound(provider, 0).frames, 10);
}

TEST_F(FileProvider, ThreeHoursAreOpenedAndSoughtWithoutReadingThem)
{
    const int64_t seconds = 3 * 3600;
    MKFileProvider provider(MakeSparseWavFile(folder, "long.wav", seconds));
    const size_t index = OpenSound(provider);
    EXPECT_EQ(provider.GetDuration(), seconds * 1000000);
    EXPECT_EQ(provider.GetStreamDuration(index), seconds * 1000000);
    ASSERT_TRUE(provider.Seek(2 * 3600 * int64_t{1000000}));
    MKFrame frame;
    ASSERT_EQ(ReadFrame(provider, index, frame), 1);
    EXPECT_NEAR(static_cast<double>(frame.GetTimeStamp()), 7199.9e6, 0.6e6);
}

TEST_F(FileProvider, StartTimeAboveZeroIsKept)
{
    QX_REQUIRE_FFMPEG();
    MediaSpec spec;
    spec.name = "late.mkv";
    spec.audioCodec = "pcm_s16le";
    spec.extraArgs = {"-output_ts_offset", "5"};
    MKFileProvider provider(MakeMediaFile(folder, spec));
    const Decoded decoded = ReadSound(provider, OpenSound(provider));
    EXPECT_EQ(decoded.firstTime, 5000000);
    EXPECT_NEAR(static_cast<double>(decoded.endTime), 6e6, 1000);
    EXPECT_LE(decoded.worstGap, 1000);
}

TEST_F(FileProvider, CoverArtIsAStreamOfItsOwn)
{
    QX_REQUIRE_FFMPEG();
    for (const char* name : {"cover.flac", "cover.mp3"}) {
        SCOPED_TRACE(name);
        MediaSpec spec;
        spec.name = name;
        spec.hasCover = true;
        MKFileProvider provider(MakeMediaFile(folder, spec));
        const size_t sound = OpenSound(provider);
        EXPECT_EQ(provider.GetStreamCount(), 2);
        const int cover = provider.FindStream(MKMediaVideo, 0);
        ASSERT_GE(cover, 0);
        MKStreamParameters picture;
        ASSERT_TRUE(provider.OpenStream(static_cast<size_t>(cover), &picture));
        EXPECT_EQ(picture.width, 16);
        MKFrame frame;
        ASSERT_EQ(ReadFrame(provider, static_cast<size_t>(cover), frame), 1);
        EXPECT_EQ(frame.GetMediaType(), MKMediaVideo);
        EXPECT_EQ(frame.GetAVFrame()->width, 16);
        ASSERT_TRUE(provider.CloseStream(static_cast<size_t>(cover)));
        EXPECT_GE(ReadSound(provider, sound).endTime, 990000);
    }
}

TEST_F(FileProvider, PicturesComeInOrderWithTheirTimes)
{
    QX_REQUIRE_FFMPEG();
    MediaSpec spec;
    spec.name = "film.mkv";
    spec.width = 64;
    spec.height = 48;
    spec.framesPerSecond = 25;
    spec.seconds = 2;
    spec.videoCodec = "mpeg4";
    spec.audioCodec = "pcm_s16le";
    const std::string path = MakeMediaFile(folder, spec);
    MKFileProvider provider(path);
    ASSERT_TRUE(provider.Open());
    ASSERT_EQ(provider.GetStreamType(0), MKMediaVideo);
    ASSERT_TRUE(provider.OpenStream(0, &params));
    EXPECT_EQ(params.type, MKMediaVideo);
    EXPECT_EQ(params.format, MKPixelYuv420P);
    EXPECT_EQ(params.width, 64);
    EXPECT_EQ(params.height, 48);
    EXPECT_EQ(params.rateNum, 1000); // the container's time base of a millisecond
    EXPECT_EQ(params.rateDen, 1);
    EXPECT_TRUE(provider.QueryStreamParameters(0, &params));

    std::string pixels;
    MKFrame frame;
    int count = 0;
    for (; ReadFrame(provider, 0, frame) == 1; ++count) {
        const AVFrame* av = frame.GetAVFrame();
        EXPECT_NEAR(static_cast<double>(frame.GetTimeStamp()), count * 40000.0, 1000);
        EXPECT_EQ(provider.GetStreamTimeStamp(0), frame.GetTimeStamp());
        for (int plane = 0; plane < 3; ++plane) {
            const int width = plane ? 32 : 64;
            for (int y = 0; y < (plane ? 24 : 48); ++y)
                pixels.append(reinterpret_cast<const char*>(av->data[plane]) + ptrdiff_t{y} * av->linesize[plane],
                              static_cast<size_t>(width));
        }
    }
    EXPECT_EQ(count, 50);
    EXPECT_TRUE(pixels == DecodeWithFFmpeg(folder, path, 0, "rawvideo"));
}

TEST_F(FileProvider, TwoStreamsReadInTurnGiveEachItsOwn)
{
    QX_REQUIRE_FFMPEG();
    MediaSpec spec;
    spec.name = "two.mkv";
    spec.audioStreams = 2;
    spec.audioCodec = "pcm_s16le";
    const std::string path = MakeMediaFile(folder, spec);
    MKFileProvider provider(path);
    ASSERT_TRUE(provider.Open());
    ASSERT_TRUE(provider.OpenStream(0, &params));
    ASSERT_TRUE(provider.OpenStream(1, &params));
    std::string bytes[2];
    bool isDone[2] = {};
    MKFrame frame;
    for (int i = 0; i < kMostReads && !(isDone[0] && isDone[1]); ++i) {
        const size_t index = static_cast<size_t>(i % 2);
        const int result = provider.Read(index, &frame);
        if (result > 0)
            AppendSamples(bytes[index], *frame.GetAVFrame());
        isDone[index] = result < 0;
    }
    EXPECT_TRUE(bytes[0] == DecodeWithFFmpeg(folder, path, 0, "s16le"));
    EXPECT_TRUE(bytes[1] == DecodeWithFFmpeg(folder, path, 1, "s16le"));
    EXPECT_FALSE(bytes[0] == bytes[1]);
}

TEST_F(FileProvider, StreamThatNobodyOpenedDoesNotHinder)
{
    QX_REQUIRE_FFMPEG();
    MediaSpec spec;
    spec.name = "two.mkv";
    spec.audioStreams = 2;
    spec.seconds = 10;
    spec.audioCodec = "pcm_s16le";
    MKFileProvider provider(MakeMediaFile(folder, spec));
    ASSERT_TRUE(provider.Open());
    ASSERT_TRUE(provider.OpenStream(1, &params));
    const Decoded decoded = ReadSound(provider, 1);
    EXPECT_EQ(decoded.result, -1);
    EXPECT_NEAR(static_cast<double>(decoded.endTime), 10e6, 1000);
}

TEST_F(FileProvider, StreamThatNobodyReadsHoldsTheOtherUntilDiscardedOrClosed)
{
    QX_REQUIRE_FFMPEG();
    MediaSpec spec;
    spec.name = "two.mkv";
    spec.audioStreams = 2;
    spec.seconds = 10;
    spec.audioCodec = "pcm_s16le";
    const std::string path = MakeMediaFile(folder, spec);
    for (const bool byDiscard : {true, false}) {
        SCOPED_TRACE(byDiscard);
        MKFileProvider provider(path);
        provider.SetDeepReadAhead(!byDiscard);
        ASSERT_TRUE(provider.Open());
        ASSERT_TRUE(provider.OpenStream(0, &params));
        ASSERT_TRUE(provider.OpenStream(1, &params));
        MKFrame frame;
        int zeros = 0; // in a row
        int frames = 0;
        while (zeros < 50 && frames < 1000) {
            const int result = provider.Read(0, &frame);
            ASSERT_GE(result, 0);
            frames += result;
            zeros = result ? 0 : zeros + 1;
        }
        EXPECT_EQ(zeros, 50);
        if (byDiscard)
            EXPECT_LE(frames, 21 + 2); // streams take turns in the file, and 20 packets of the other were kept
        else
            EXPECT_NEAR(static_cast<double>(provider.GetStreamTimeStamp(0)), 2e6, 0.1e6);
        if (byDiscard)
            ASSERT_TRUE(provider.DiscardStream(1, true));
        else
            ASSERT_TRUE(provider.CloseStream(1));
        EXPECT_EQ(ReadSound(provider, 0).result, -1);
        if (byDiscard) {
            // What was thrown away doesn't come back.
            EXPECT_TRUE(provider.IsStreamDiscarded(1));
            EXPECT_TRUE(provider.DiscardStream(1, false));
            EXPECT_FALSE(provider.IsStreamDiscarded(1));
            EXPECT_EQ(ReadSound(provider, 1).frames, 0);
        }
    }
}

TEST_F(FileProvider, SeekLandsShortlyBefore)
{
    const int64_t length = 20000000;
    MKFileProvider provider(MakeWavFile(folder, "long.wav", 8000, 1, MakeTone(8000, 1, 20)));
    const size_t index = OpenSound(provider);
    EXPECT_EQ(provider.GetStreamTimeStamp(index), AV_NOPTS_VALUE);
    struct Case {
        int64_t timestamp;
        int64_t expected;
    };
    const Case cases[] = {{0, 0},
                          {100000, 0},
                          {10000000, 9900000},
                          {length - 1000000, length - 1100000},
                          {length - 900000, length - 1000000},
                          {length - 899999, length - 1999999},
                          {length, length - 1100000},
                          {INT64_MIN, 0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.timestamp);
        ASSERT_TRUE(provider.Seek(c.timestamp));
        EXPECT_EQ(provider.GetStreamTimeStamp(index), c.expected);
        MKFrame frame;
        ASSERT_EQ(ReadFrame(provider, index, frame), 1);
        EXPECT_EQ(frame.GetTimeStamp() / 1000, c.expected / 1000); // a WAV file seeks to the sample
    }
}

TEST_F(FileProvider, ExactSeekLeavesOutWhatEndsBefore)
{
    QX_REQUIRE_FFMPEG();
    MediaSpec film;
    film.name = "film.mkv";
    film.width = 64;
    film.height = 48;
    film.seconds = 8;
    film.videoCodec = "mpeg4";
    film.audioCodec = "pcm_s16le";
    film.extraArgs = {"-g", "250"};
    MediaSpec pictures = film;
    pictures.name = "pictures.mkv";
    pictures.extraArgs = {"-vf", "setpts=N*2/TB", "-vsync", "vfr"};
    const struct {
        const MediaSpec& spec;
        size_t stream;
        int64_t from; // of the first frame, at the earliest
        int64_t next; // of the one behind it
    } rows[] = {
        {film, 0, 5000000, 5100000},
        {film, 1, 4900000, 0},
        {pictures, 0, 5010000, 6000000}, // each is seen for 2 s, whatever the file says
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.spec.name + std::to_string(row.stream));
        MKFileProvider provider(MakeMediaFile(folder, row.spec));
        provider.SetExactSeek(true);
        ASSERT_TRUE(provider.Open());
        ASSERT_TRUE(provider.OpenStream(row.stream, &params));
        ASSERT_TRUE(provider.Seek(5010000));
        MKFrame frame;
        ASSERT_EQ(ReadFrame(provider, row.stream, frame), 1);
        EXPECT_GE(frame.GetTimeStamp(), row.from);
        EXPECT_LE(frame.GetTimeStamp(), 5010000);
        ASSERT_EQ(ReadFrame(provider, row.stream, frame), 1);
        EXPECT_EQ(row.next ? frame.GetTimeStamp() : 0, row.next);
    }
}

// A film's second chunk of pictures is said to lie behind the end of the file.
TEST_F(FileProvider, StreamThatCannotBeReadOnHoldsUpNoOther)
{
    QX_REQUIRE_FFMPEG();
    MediaSpec spec;
    spec.name = "film.mp4";
    spec.width = 64;
    spec.height = 48;
    spec.framesPerSecond = 25;
    spec.seconds = 10;
    spec.videoCodec = "mpeg4";
    std::string bytes = ReadWholeFile(MakeMediaFile(folder, spec));
    const size_t offsets = bytes.find("stco") + 12;
    bytes[offsets + 4] = 0x7f;
    MKFileProvider provider(MakeFile(folder, "broken.mp4", bytes));
    ASSERT_TRUE(provider.Open());
    ASSERT_TRUE(provider.OpenStream(0, &params));
    ASSERT_TRUE(provider.OpenStream(1, &params));
    MKFrame frame;
    int results[2] = {};
    for (int i = 0; i < kMostReads && (results[0] >= 0 || results[1] >= 0); ++i)
        for (size_t stream : {0, 1})
            results[stream] = results[stream] < 0 ? results[stream] : provider.Read(stream, &frame);
    EXPECT_EQ(results[0], -1);
    EXPECT_EQ(results[1], -1);
}

TEST_F(FileProvider, ShapeOfThePicturesIsTold)
{
    QX_REQUIRE_FFMPEG();
    MediaSpec spec;
    spec.name = "film.mp4";
    spec.audioStreams = 0;
    spec.width = 64;
    spec.height = 48;
    spec.videoCodec = "mpeg4";
    spec.extraArgs = {"-vf", "setsar=4/3"};
    std::string bytes = ReadWholeFile(MakeMediaFile(folder, spec));
    const size_t matrix = bytes.find("tkhd") + 44; // five numbers of 16.16 bits, the third 0
    const struct {
        int8_t numbers[5];
        int32_t rotation;
        bool isMirrored;
    } rows[] = {
        {{1, 0, 0, 0, 1}, 0, false},    {{0, 1, 0, -1, 0}, 90, false}, {{-1, 0, 0, 0, -1}, 180, false},
        {{0, -1, 0, 1, 0}, 270, false}, {{-1, 0, 0, 0, 1}, 0, true},   {{0, -1, 0, -1, 0}, 90, true},
    };
    for (const auto& row : rows) {
        for (size_t i = 0; i < 5; ++i)
            bytes.replace(matrix + 4 * i, 2,
                          {static_cast<char>(row.numbers[i] < 0 ? -1 : 0), static_cast<char>(row.numbers[i])});
        MKFileProvider provider(MakeFile(folder, "turned.mp4", bytes));
        ASSERT_TRUE(provider.Open());
        const MKPictureShape shape = provider.GetPictureShape(0);
        EXPECT_EQ(shape.rotation, row.rotation);
        EXPECT_EQ(shape.isMirrored, row.isMirrored) << row.rotation;
        EXPECT_EQ(shape.pixelWidth * 3, shape.pixelHeight * 4);
    }
}

TEST_F(FileProvider, SeekAfterTheEndReadsAgain)
{
    MKFileProvider provider(MakeWavFile(folder, "short.wav", 8000, 1, MakeTone(8000, 1, 0.5)));
    const size_t index = OpenSound(provider);
    const Decoded first = ReadSound(provider, index);
    EXPECT_EQ(first.result, -1);
    MKFrame frame;
    EXPECT_EQ(provider.Read(index, &frame), -1);
    EXPECT_EQ(provider.Read(index, &frame), -1);
    ASSERT_TRUE(provider.Seek(0));
    const Decoded second = ReadSound(provider, index);
    EXPECT_EQ(second.firstTime, 0);
    EXPECT_TRUE(second.bytes == first.bytes);
}

TEST_F(FileProvider, SeekDropsPacketsThatWait)
{
    QX_REQUIRE_FFMPEG();
    MediaSpec spec;
    spec.name = "two.mkv";
    spec.audioStreams = 2;
    spec.seconds = 10;
    spec.audioCodec = "pcm_s16le";
    MKFileProvider provider(MakeMediaFile(folder, spec));
    ASSERT_TRUE(provider.Open());
    ASSERT_TRUE(provider.OpenStream(0, &params));
    ASSERT_TRUE(provider.OpenStream(1, &params));
    MKFrame frame;
    for (int i = 0; i < 10; ++i)
        ASSERT_EQ(ReadFrame(provider, 0, frame), 1);
    ASSERT_TRUE(provider.Seek(6000000));
    ASSERT_EQ(ReadFrame(provider, 1, frame), 1);
    EXPECT_GT(frame.GetTimeStamp(), 5000000);
}

TEST_F(FileProvider, DamagedFilesEndWithoutHarm)
{
    QX_REQUIRE_FFMPEG();
    MediaSpec spec;
    spec.name = "whole.mp3";
    spec.audioCodec = "libmp3lame";
    spec.seconds = 4;
    const std::string mp3 = MakeMediaFile(folder, spec);
    MKFileProvider truncated(MakeTruncatedFile(folder, mp3, "half.mp3", 4000));
    const Decoded half = ReadSound(truncated, OpenSound(truncated));
    EXPECT_EQ(half.result, -1);
    EXPECT_GT(half.frames, 5);

    // The header promises more than there is.
    const std::vector<int16_t> tone = MakeTone(8000, 1, 1);
    MKFileProvider lying(MakeWavFile(folder, "lying.wav", 8000, 1, tone, 1000000));
    EXPECT_EQ(ReadSound(lying, OpenSound(lying)).bytes.size(), tone.size() * 2);

    // Sound with a stretch of nonsense in the middle goes on behind it.
    std::string bytes = ReadWholeFile(mp3);
    for (size_t i = bytes.size() / 2; i < bytes.size() / 2 + 1000; ++i)
        bytes[i] = static_cast<char>(i * 7);
    MKFileProvider damaged(MakeFile(folder, "damaged.mp3", bytes));
    const Decoded rest = ReadSound(damaged, OpenSound(damaged));
    EXPECT_EQ(rest.result, -1);
    EXPECT_GT(rest.endTime, 3500000);
}

TEST_F(FileProvider, FileThatIsNoneIsNamedInTheLog)
{
    struct Case {
        const char* name;
        std::string content;
    };
    const Case cases[] = {
        {"empty.wav", ""}, {"text.mp3", "This is a letter, not music. "}, {"zeros", std::string(5000, '\0')}};
    for (const Case& c : cases) {
        MKFileProvider provider(MakeFile(folder, c.name, c.content));
        LogCapture log;
        EXPECT_FALSE(provider.Open()) << c.name;
        ASSERT_EQ(log.records.size(), 1u) << c.name;
        EXPECT_EQ(log.records[0].text,
                  wxString::FromUTF8(("Could not open input file [" + (folder / c.name) + "]").c_str()));
        EXPECT_EQ(log.records[0].function, "MKFileProviderImpl::Open");
        EXPECT_EQ(provider.GetStreamCount(), 0);
    }
}

TEST_F(FileProvider, NameIsUtf8AndTakesEffectAtTheNextOpen)
{
    const std::string name = "\xC3\xBC\xE6\x97\xA5.wav";
    MKFileProvider provider("");
    EXPECT_TRUE(provider.Close()); // without Open
    LogCapture log;
    EXPECT_FALSE(provider.Open());
    EXPECT_EQ(log.records.at(0).text, "Could not open input file []");
    provider.SetFileName(folder / name);
    EXPECT_FALSE(provider.Open());
    EXPECT_EQ(log.records.at(1).text,
              wxString::FromUTF8(("Could not open input file [" + (folder / name) + "]").c_str()));
    MakeWavFile(folder, name, 8000, 1, MakeTone(8000, 1, 0.1));
    EXPECT_TRUE(provider.Open());
    EXPECT_TRUE(provider.Open()); // again, after closing by itself
    EXPECT_EQ(provider.GetStreamCount(), 1);
    EXPECT_TRUE(provider.Close());
    EXPECT_EQ(provider.GetStreamCount(), 0);
}

TEST_F(FileProvider, FrameForTheStreamIsAllocatedByItsParameters)
{
    MKFileProvider provider(MakeWavFile(folder, "t.wav", 8000, 2, MakeTone(8000, 2, 0.1)));
    const size_t index = OpenSound(provider);
    MKFrame frame;
    EXPECT_TRUE(provider.AllocateFrame(index, &frame));
    EXPECT_EQ(frame.GetAVFrame()->sample_rate, 8000);
    EXPECT_EQ(frame.GetAVFrame()->ch_layout.nb_channels, 2);
    EXPECT_EQ(provider.GetBufferSize(index), 10);
}
