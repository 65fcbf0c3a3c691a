// What the file provider answers and logs where it cannot do what it is asked. MIT licence.
#include <gtest/gtest.h>

#include <functional>

extern "C" {
#include <libavcodec/avcodec.h>
}

#include "mediakit/d3d11device.h"
#include "mediakit/fileprovider.h"
#include "mediakit/filestream.h"
#include "support/log_capture.h"
#include "support/mediafile.h"

namespace
{

struct Case {
    std::function<int64_t(MKFileProvider&)> call;
    int64_t expected;
    const char* text;
    const char* function;
};

void Check(MKFileProvider& provider, const std::vector<Case>& cases)
{
    for (const Case& c : cases) {
        LogCapture log;
        EXPECT_EQ(c.call(provider), c.expected) << c.text;
        ASSERT_EQ(log.records.size(), 1u) << c.text;
        EXPECT_EQ(log.records[0].text, c.text);
        if (c.function) {
            EXPECT_EQ(log.records[0].function, c.function) << c.text;
        }
    }
}

// All that takes a stream's index, with the texts for one index.
std::vector<Case> StreamCalls(size_t index, const std::vector<const char*>& texts)
{
    static MKStreamParameters params;
    static MKFrame frame;
    const std::vector<Case> calls = {
        {[=](MKFileProvider& p) { return p.GetStreamType(index); }, 0, "", "MKFileProviderImpl::GetStreamType"},
        {[=](MKFileProvider& p) { return p.OpenStream(index, &params); }, 0, "", "MKFileProviderImpl::OpenStream"},
        {[=](MKFileProvider& p) { return p.QueryStreamParameters(index, &params); }, 0, "",
         "MKFileProviderImpl::QueryStreamParameters"},
        {[=](MKFileProvider& p) { return p.CloseStream(index); }, 0, "", "MKFileProviderImpl::CloseStream"},
        {[=](MKFileProvider& p) { return p.IsStreamOpened(index); }, 0, "", "MKFileProviderImpl::IsStreamOpened"},
        {[=](MKFileProvider& p) { return p.DiscardStream(index, true); }, 0, "", "MKFileProviderImpl::DiscardStream"},
        {[=](MKFileProvider& p) { return p.IsStreamDiscarded(index); }, 0, "", "MKFileProviderImpl::IsStreamDiscarded"},
        {[=](MKFileProvider& p) { return p.GetStreamDuration(index); }, -2, "",
         "MKFileProviderImpl::GetStreamDuration"},
        {[=](MKFileProvider& p) { return p.GetStreamTimeStamp(index); }, -2, "",
         "MKFileProviderImpl::GetStreamTimeStamp"},
        {[=](MKFileProvider& p) { return p.Read(index, &frame); }, -2, "", "MKFileProviderImpl::Read"},
    };
    std::vector<Case> cases;
    for (size_t i = 0; i < calls.size(); ++i) {
        if (texts.at(i))
            cases.push_back({calls[i].call, calls[i].expected, texts[i], calls[i].function});
    }
    return cases;
}

class FileProviderFailures : public testing::Test
{
protected:
    ScratchDir folder;
    MKFileProvider provider{MakeWavFile(folder, "t.wav", 8000, 1, MakeTone(8000, 1, 0.1))};
};

} // namespace

TEST_F(FileProviderFailures, NotOpen)
{
    Check(provider, StreamCalls(0, {"Could not get stream type, maybe the file is not opened",
                                    "Could not open stream, maybe the file is not opened",
                                    "Could not query stream parameters, maybe the file is not opened",
                                    "Could not close stream, maybe the file is not opened",
                                    "Could not check stream state, maybe the file is not opened",
                                    "Could not discard stream, maybe the file is not opened",
                                    "Could not check discard stream, maybe the file is not opened",
                                    "Could not read stream duration, maybe the file is not opened",
                                    "Could not get stream time stamp, maybe the file is not opened",
                                    "Could not read stream, maybe the file is not opened"}));
    Check(provider, {{[](MKFileProvider& p) { return p.GetStreamCount(); }, 0,
                      "Could not get stream count, maybe the file is not opened", "MKFileProviderImpl::GetStreamCount"},
                     {[](MKFileProvider& p) { return p.Seek(0); }, 0,
                      "Could not seak file, maybe the file is not opened", "MKFileProviderImpl::Seek"}});
}

TEST_F(FileProviderFailures, NoSuchStream)
{
    ASSERT_TRUE(provider.Open());
    for (const size_t index : {size_t{1}, static_cast<size_t>(-1)}) {
        Check(provider,
              StreamCalls(index,
                          {"Could not get stream type, invalid index", "Could not open stream, invalid index",
                           "Could not query stream parameters, invalid index", "Could not close stream, invalid index",
                           "Could not check stream state, invalid index", "Could not discard stream, invalid index",
                           "Could not  check discard stream, invalid index",
                           "Could not read stream duration, invalid index",
                           "Could not get stream time stamp, invalid index", "Could read stream, invalid index"}));
    }
}

TEST_F(FileProviderFailures, StreamNotOpened)
{
    ASSERT_TRUE(provider.Open());
    EXPECT_FALSE(provider.IsStreamOpened(0));
    EXPECT_TRUE(provider.CloseStream(0));
    Check(provider, StreamCalls(0, {nullptr, nullptr, "Could not query stream parameters, stream not opened", nullptr,
                                    nullptr, "Could not discard stream, null stream data",
                                    "Could not check discard stream, null stream data", nullptr,
                                    "Could not read stream, stream not opened or null pointer",
                                    "Could not read stream, stream not opened or null pointer"}));
}

TEST_F(FileProviderFailures, NullArguments)
{
    const Case noFrame = {[](MKFileProvider& p) { return p.Read(0, nullptr); }, -22,
                          "Could not read stream, frame is null", "MKFileProviderImpl::Read"};
    const Case noParameters = {[](MKFileProvider& p) { return p.OpenStream(0, nullptr); }, 0,
                               "Could not open stream, null parameters", "MKFileProviderImpl::OpenStream"};
    Check(provider, {noFrame, noParameters});
    ASSERT_TRUE(provider.Open());
    Check(provider, {noFrame, noParameters});
    MKStreamParameters params;
    ASSERT_TRUE(provider.OpenStream(0, &params));
    Check(provider, {{[](MKFileProvider& p) { return p.QueryStreamParameters(0, nullptr); }, 0,
                      "Could not query stream parameters, null pointer", "MKFileProviderImpl::QueryStreamParameters"}});
}

TEST_F(FileProviderFailures, StreamWithoutADecoderStaysClosed)
{
    // A WAV whose sound has a tag that nobody decodes.
    std::string bytes = ReadWholeFile(folder / "t.wav");
    bytes[20] = '\x77';
    bytes[21] = '\x66';
    provider.SetFileName(MakeFile(folder, "odd.wav", bytes));
    ASSERT_TRUE(provider.Open());
    MKStreamParameters params;
    Check(provider, {{[&](MKFileProvider& p) { return p.OpenStream(0, &params); }, 0,
                      "Could not open stream, decoder not found", "MKFileProviderImpl::OpenStream"}});
    EXPECT_FALSE(provider.IsStreamOpened(0));
}

TEST_F(FileProviderFailures, SubtitlesAreOpenedButGiveNoFrames)
{
    provider.SetFileName(MakeFile(folder, "t.srt", "1\n00:00:00,000 --> 00:00:01,000\nHello\n\n"));
    ASSERT_TRUE(provider.Open());
    EXPECT_EQ(provider.GetStreamType(0), MKMediaSubtitle);
    MKStreamParameters params;
    ASSERT_TRUE(provider.OpenStream(0, &params));
    EXPECT_EQ(params.type, MKMediaNone);
    MKFrame frame;
    Check(provider, {{[&](MKFileProvider& p) { return p.Read(0, &frame); }, -1,
                      "Error while decoding stream 0 (type 3)", nullptr}});
    EXPECT_TRUE(provider.Seek(0));
}

TEST_F(FileProviderFailures, OpeningAgainBeginsAgain)
{
    ASSERT_TRUE(provider.Open());
    MKStreamParameters params;
    ASSERT_TRUE(provider.OpenStream(0, &params));
    ASSERT_TRUE(provider.OpenStream(0, &params));
    EXPECT_TRUE(provider.IsStreamOpened(0));
    ASSERT_TRUE(provider.CloseStream(0));
    EXPECT_FALSE(provider.IsStreamOpened(0));
}

TEST(DecoderFormat, DeviceComesFirstElseWhatIsOfferedFirst)
{
    const AVPixelFormat software[] = {AV_PIX_FMT_VAAPI, AV_PIX_FMT_YUV420P, AV_PIX_FMT_NONE};
    const AVPixelFormat device[] = {AV_PIX_FMT_YUV420P, AV_PIX_FMT_D3D11, AV_PIX_FMT_NONE};
    const AVPixelFormat none[] = {AV_PIX_FMT_NONE};
    EXPECT_EQ(mkChooseDecoderFormat(nullptr, software), AV_PIX_FMT_VAAPI);
    EXPECT_EQ(mkChooseDecoderFormat(nullptr, device), AV_PIX_FMT_D3D11);
    LogCapture log;
    EXPECT_EQ(mkChooseDecoderFormat(nullptr, none), AV_PIX_FMT_NONE);
    ASSERT_EQ(log.records.size(), 1u);
    EXPECT_EQ(log.records[0].text, "Could not get pixel format");
}

TEST_F(FileProviderFailures, DeviceIsRefusedWhereThereIsNoDirect3D)
{
    if (mkHasD3D11())
        GTEST_SKIP() << "this build has it";
    LogCapture log;
    EXPECT_FALSE(provider.SetD3D11Device(nullptr, nullptr));
    EXPECT_EQ(log.records.size(), 1u);
}
