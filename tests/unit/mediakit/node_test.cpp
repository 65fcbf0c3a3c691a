// What nodes have without doing anything for it. MIT licence.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

#include "mediakit/mediakit.h"

namespace
{

// Streams of given types; all are sound of 100 samples a frame as soon as they may be queried.
class ListedStreams : public MKNode
{
public:
    explicit ListedStreams(std::vector<MKMediaType> list) : types(std::move(list)) {}

    bool Open() override { return true; }
    bool Close() override { return true; }
    int GetStreamCount() override { return static_cast<int>(types.size()); }
    MKMediaType GetStreamType(size_t index) override { return types.at(index); }
    bool OpenStream(size_t, MKStreamParameters*) override { return true; }
    bool QueryStreamParameters(size_t index, MKStreamParameters* params) override
    {
        given = *params;
        params->type = MKMediaAudio;
        params->format = MKSampleS16;
        params->channels = 1;
        params->frameSize = 100;
        params->rateNum = 8000;
        return index < types.size();
    }
    bool CloseStream(size_t) override { return true; }
    bool IsStreamOpened(size_t) override { return true; }
    int64_t GetDuration() override { return 0; }
    int64_t GetStreamDuration(size_t) override { return 0; }
    int64_t GetStreamTimeStamp(size_t index) override { return static_cast<int64_t>(index) * 1000 + tick; }

    std::vector<MKMediaType> types;
    MKStreamParameters given;
    int64_t tick = 0;
};

} // namespace

TEST(Node, FindStreamGoesUpFromFirst)
{
    ListedStreams node({MKMediaVideo, MKMediaAudio, MKMediaNone, MKMediaAudio});
    struct Case {
        MKMediaType type;
        size_t first;
        int expected;
    };
    const Case cases[] = {{MKMediaAudio, 0, 1},
                          {MKMediaAudio, 1, 1},
                          {MKMediaAudio, 2, 3},
                          {MKMediaVideo, 0, 0},
                          {MKMediaVideo, 1, -1},
                          {MKMediaAudio, 4, -1},
                          {MKMediaAudio, static_cast<size_t>(-1), -1},
                          {MKMediaSubtitle, 0, -1}};
    for (const Case& c : cases)
        EXPECT_EQ(node.FindStream(c.type, c.first), c.expected) << c.type << " from " << c.first;
    EXPECT_EQ(ListedStreams({}).FindStream(MKMediaAudio, 0), -1);
}

TEST(Node, StreamClockShowsTheStreamsTimeStamp)
{
    ListedStreams node({MKMediaAudio, MKMediaAudio, MKMediaAudio});
    const std::unique_ptr<MKClock> clock(node.CreateStreamClock(2));
    EXPECT_EQ(clock->GetTime(), 2000);
    node.tick = 5;
    EXPECT_EQ(clock->GetTime(), 2005);
}

TEST(Node, FrameIsAllocatedByTheStreamsParameters)
{
    ListedStreams node({MKMediaAudio});
    MKFrame frame;
    EXPECT_TRUE(node.AllocateFrame(0, &frame));
    EXPECT_EQ(frame.GetFrameSize(), 100);
    EXPECT_EQ(frame.GetAVFrame()->sample_rate, 8000);
    EXPECT_EQ(node.given.format, -1);
    EXPECT_EQ(node.given.colorSpace, MKColorSpaceYuvStudio709);
    EXPECT_FALSE(node.AllocateFrame(1, &frame));
    EXPECT_FALSE(node.AllocateFrame(0, nullptr));
}

TEST(Node, DefaultsDiscardNothingAndHoldTenFrames)
{
    ListedStreams node({MKMediaAudio});
    EXPECT_FALSE(node.DiscardStream(0, true));
    EXPECT_FALSE(node.IsStreamDiscarded(0));
    EXPECT_EQ(node.GetBufferSize(0), 10);
}
