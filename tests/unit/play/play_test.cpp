// Times, keys, options and the surface of qxspeech-play. MIT licence.
#include <gtest/gtest.h>

extern "C" {
#include <libavutil/frame.h>
}

#include "../../../examples/common/exitstatus.h"
#include "keys.h"
#include "options.h"
#include "surface.h"
#include "times.h"

namespace play
{
namespace
{

TEST(PlayTimes, ParseTakesSecondsAndClockTimes)
{
    const struct {
        const char* text;
        int64_t microseconds; // -1: refused
    } rows[] = {
        {"0", 0},
        {"90", 90000000},
        {"1.5", 1500000},
        {".5", -1},
        {"1.", -1},
        {"0.0000019", 1},
        {"1:30", 90000000},
        {"61:05", 3665000000},
        {"1:02:03.5", 3723500000},
        {"1:60", -1},
        {"1:2:3:4", -1},
        {"1:", -1},
        {":1", -1},
        {"", -1},
        {"-1", -1},
        {"+1", -1},
        {"1e3", -1},
        {" 1", -1},
        {"1,5", -1},
        {"1.5.5", -1},
        {"1000:00:00", 3600000000000},
        {"1000:00:01", -1},
        {"99999999999999999999999", -1},
    };
    for (const auto& row : rows) {
        int64_t result = -1;
        EXPECT_EQ(ParseTime(row.text, result), row.microseconds >= 0) << row.text;
        EXPECT_EQ(result, row.microseconds) << row.text;
    }
}

TEST(PlayTimes, FormatCutsToTenths)
{
    EXPECT_EQ(FormatTime(-35000), "0:00.0");
    EXPECT_EQ(FormatTime(99999), "0:00.0");
    EXPECT_EQ(FormatTime(59999999), "0:59.9");
    EXPECT_EQ(FormatTime(60000000), "1:00.0");
    EXPECT_EQ(FormatTime(3600000000), "1:00:00.0");
    EXPECT_EQ(FormatTime(3600000000000 * 100 + 100000), "100000:00:00.1");
}

std::vector<Command> Commands(const std::string& bytes)
{
    KeyDecoder decoder;
    std::vector<Command> commands;
    for (const char byte : bytes)
        if (const Command command = decoder.Feed(byte); command != Command::kNone)
            commands.push_back(command);
    return commands;
}

TEST(PlayKeys, ArrowsAreSequencesOfBytes)
{
    using List = std::vector<Command>;
    EXPECT_EQ(Commands(" nq"), (List{Command::kTogglePause, Command::kNext, Command::kStop}));
    EXPECT_EQ(Commands("\x1b[C\x1b[D"), (List{Command::kForward, Command::kBack}));
    EXPECT_EQ(Commands("\x1bOC\x1bOD"), (List{Command::kForward, Command::kBack}));
    EXPECT_EQ(Commands("\x1b[1;5C"), (List{Command::kForward})); // with Ctrl
    EXPECT_EQ(Commands("\x1b[A\x1b[3~"), List());                // up, delete
    EXPECT_EQ(Commands("\x1bq"), (List{Command::kStop}));        // a lone escape before it
    EXPECT_EQ(Commands("\x1b\x1b[C"), (List{Command::kForward}));
    EXPECT_EQ(Commands("CD[O"), List());
}

TEST(PlayOptions, ReadsFilesDeviceAndStart)
{
    const Options options = ParseOptions(
        {"--device", "Ger\xC3\xA4t", "--from", "1:05", "--no-video", "a.mp3", "--", "-b.mp3", "c\xFF.wav"});
    EXPECT_EQ(options.device, "Ger\xC3\xA4t");
    EXPECT_EQ(options.fromUs, 65000000);
    EXPECT_TRUE(options.noVideo);
    EXPECT_EQ(options.files, (std::vector<std::string>{"a.mp3", "-b.mp3", "c\xFF.wav"}));
}

TEST(PlayOptions, RecordTakesAFileAndALength)
{
    const Options options = ParseOptions({"--record", "out.wav", "2.5"});
    EXPECT_EQ(options.record, "out.wav");
    EXPECT_EQ(options.recordUs, 2500000);
    EXPECT_TRUE(options.files.empty());
}

TEST(PlayOptions, SenselessCommandLinesAreRefused)
{
    const std::vector<std::string> rows[] = {
        {},
        {""},
        {"--json", "a.mp3"},
        {"-L", "a.mp3"},
        {"-L", "--record", "a.wav"},
        {"--from", "soon", "a.mp3"},
        {"--from", "-1", "a.mp3"},
        {"--record", "out.wav"},
        {"--record", "out.wav", "0"},
        {"--record", "out.wav", "x"},
        {"--record", "out.wav", "1", "2"},
        {"--record", "", "1"},
        {"--record", "out.wav", "--from", "1", "1"},
        {"--device", "", "a.mp3"},
        {"--nonsense", "a.mp3"},
    };
    for (const auto& arguments : rows) {
        try {
            ParseOptions(arguments);
            ADD_FAILURE() << testing::PrintToString(arguments);
        } catch (const tool::Failure& failure) {
            EXPECT_EQ(failure.status, tool::kExitUsage);
            EXPECT_FALSE(failure.text.empty());
        }
    }
}

TEST(PlayOptions, UsageNamesEveryOptionAndKey)
{
    const wxString text = UsageText();
    for (const char* word : {"--device", "--list-devices", "--json", "--from", "--no-video", "--record", "--verbose",
                             "--help", "--version", "space", "left", "130"})
        EXPECT_TRUE(text.Contains(word)) << word;
}

// A surface for pictures of 3 x 2 pixels, as the display sets it up.
class SmallSurface : public PictureSurface
{
public:
    SmallSurface()
    {
        input.width = 3;
        input.height = 2;
    }
    void Show(unsigned char shade)
    {
        MKFrame frame;
        ASSERT_TRUE(AllocateFrame(&frame));
        AVFrame& picture = *frame.GetAVFrame();
        for (int row = 0; row < 2; ++row)
            for (int byte = 0; byte < 9; ++byte)
                picture.data[0][row * picture.linesize[0] + byte] = static_cast<unsigned char>(shade + 9 * row + byte);
        Write(&frame, 0);
        Present();
    }
};

TEST(PlaySurface, NewestPictureIsTakenOnceAndWithoutGaps)
{
    SmallSurface surface;
    Picture picture;
    EXPECT_FALSE(surface.Take(picture));
    surface.Show(100);
    surface.Show(10);
    ASSERT_TRUE(surface.Take(picture));
    EXPECT_EQ(picture.width, 3);
    EXPECT_EQ(picture.height, 2);
    ASSERT_EQ(picture.bytes.size(), 18U);
    for (size_t i = 0; i < picture.bytes.size(); ++i)
        EXPECT_EQ(picture.bytes[i], 10 + i);
    EXPECT_FALSE(surface.Take(picture));
    surface.Show(20);
    ASSERT_TRUE(surface.Take(picture));
    EXPECT_EQ(picture.bytes[0], 20);
}

TEST(PlaySurface, ListenerIsCalledOnceUntilThePictureIsTaken)
{
    SmallSurface surface;
    Picture picture;
    int calls = 0;
    surface.SetListener([&] { ++calls; });
    surface.Show(1);
    surface.Show(2);
    EXPECT_EQ(calls, 1);
    surface.Take(picture);
    surface.Show(3);
    EXPECT_EQ(calls, 2);
}

TEST(PlaySurface, SinglePictureIsNoMotion)
{
    SmallSurface surface;
    surface.Show(1);
    EXPECT_FALSE(surface.HasMotion());
    surface.Show(2);
    EXPECT_TRUE(surface.HasMotion());
    surface.Reset();
    Picture picture;
    EXPECT_FALSE(surface.HasMotion());
    EXPECT_FALSE(surface.Take(picture));
}

} // namespace
} // namespace play
