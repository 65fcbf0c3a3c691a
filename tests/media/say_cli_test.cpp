// The program behind ./speak, run as a user runs it: exit statuses, files, signals, keys. MIT licence.
#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

#include "childprocess.h"
#include "support/run_tests.h"

namespace
{

namespace fs = std::filesystem;
using Result = ChildProcess::Result;
using Arguments = std::vector<std::string>;

std::string ReadFile(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

void WriteFile(const fs::path& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

uint32_t LittleEndian(const std::string& bytes, size_t at, size_t size)
{
    uint32_t value = 0;
    for (size_t i = 0; i < size; ++i)
        value |= static_cast<uint32_t>(static_cast<unsigned char>(bytes[at + i])) << (8 * i);
    return value;
}

// Seconds of a complete 16 kHz mono WAV file that holds sound; 0 for anything else.
double SpokenSeconds(const std::string& wav)
{
    constexpr size_t kHeader = 44;
    if (wav.size() <= kHeader || wav.compare(0, 4, "RIFF") != 0 || wav.compare(8, 8, "WAVEfmt ") != 0)
        return 0;
    if (LittleEndian(wav, 4, 4) != wav.size() - 8 || LittleEndian(wav, 40, 4) != wav.size() - kHeader)
        return 0;
    if (LittleEndian(wav, 22, 2) != 1 || LittleEndian(wav, 24, 4) != 16000 || LittleEndian(wav, 34, 2) != 16)
        return 0;
    int loudest = 0;
    for (size_t at = kHeader; at + 1 < wav.size(); at += 2)
        loudest = std::max(loudest, std::abs(static_cast<int>(static_cast<int16_t>(LittleEndian(wav, at, 2)))));
    return loudest > 1000 ? static_cast<double>(wav.size() - kHeader) / 32000.0 : 0;
}

size_t Lines(const std::string& text)
{
    return static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
}

std::string LongText()
{
    std::string text;
    for (int i = 0; i < 20000; ++i)
        text += "This is sentence number " + std::to_string(i) + ", and it goes on for a while. ";
    return text;
}

// Each test has a folder of its own, one for temporary files in it, which is empty again at the end, and a sound
// configuration that opens but does not pace.
class SayCli : public testing::Test
{
protected:
    SayCli()
    {
        std::string name = (fs::temp_directory_path() / "qxspeech-cli-XXXXXX").string();
        m_folder = mkdtemp(name.data());
        fs::create_directory(Path("out"));
        fs::create_directory(Path("tmp"));
        WriteFile(Path("sound.conf"), "pcm.!default { type null }\n");
        setenv("ALSA_CONFIG_PATH", Path("sound.conf").c_str(), 1);
        if (const char* const folder = std::getenv("TMPDIR"))
            m_formerTmpDir = folder;
        setenv("TMPDIR", Path("tmp").c_str(), 1);
    }
    void TearDown() override { EXPECT_TRUE(fs::is_empty(Path("tmp"))) << "temporary files stayed"; }
    ~SayCli() override
    {
        if (m_formerTmpDir.empty())
            unsetenv("TMPDIR");
        else
            setenv("TMPDIR", m_formerTmpDir.c_str(), 1);
        std::error_code ignored;
        fs::remove_all(m_folder, ignored);
    }

    std::string Path(const std::string& name) const { return (m_folder / name).string(); }
    std::string Out(const std::string& name) const { return Path("out/" + name); }
    // Everything in the output folder, hidden files too.
    std::vector<std::string> OutNames() const
    {
        std::vector<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator(m_folder / "out"))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    static ChildProcess Say(Arguments arguments, const std::string& input = std::string())
    {
        arguments.insert(arguments.begin(), QX_SAY_PROGRAM);
        ChildProcess child;
        child.arguments = std::move(arguments);
        child.input = input;
        return child;
    }
    static Result Run(Arguments arguments, const std::string& input = std::string())
    {
        return Say(std::move(arguments), input).Run();
    }

    // Length of the speech of a successful, silent call.
    double Seconds(Arguments arguments, const std::string& input = std::string())
    {
        arguments.insert(arguments.begin(), {"-o", Out("spoken.wav")});
        const Result result = Run(arguments, input);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.out + result.err, "");
        const double seconds = SpokenSeconds(ReadFile(Out("spoken.wav")));
        fs::remove(Out("spoken.wav"));
        return seconds;
    }
    std::string SavedText(Arguments arguments, const std::string& input = std::string())
    {
        arguments.insert(arguments.begin(), {"--save-text", "-"});
        const Result result = Run(arguments, input);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.err, "");
        return result.out;
    }

    fs::path m_folder;
    std::string m_formerTmpDir;
};

TEST_F(SayCli, WritesSpeechFromEverySource)
{
    WriteFile(Path("in.txt"), "Text from a file.");
    WriteFile(Path("in.ssml"),
              "<speak version=\"1.0\" xml:lang=\"en-US\">Text <break time=\"100ms\"/> with pauses.</speak>");
    const struct {
        const char* label;
        Arguments arguments;
        std::string input;
    } rows[] = {
        {"arguments", {"Text", "from", "words."}, ""},
        {"file", {"-f", Path("in.txt")}, ""},
        {"pipe", {}, "Text from a pipe."},
        {"dash", {"-"}, "Text from a pipe."},
        {"markup by extension", {"-f", Path("in.ssml")}, ""},
        {"settings", {"--rate", "-2", "--volume", "90%", "Settings."}, ""},
        {"plain text that looks like markup", {"<b is not a tag"}, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        Arguments arguments = row.arguments;
        arguments.insert(arguments.begin(), {"-o", Out("a.wav")});
        const Result result = Run(arguments, row.input);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "");
        EXPECT_GT(SpokenSeconds(ReadFile(Out("a.wav"))), 0.3);
        EXPECT_EQ(OutNames(), std::vector<std::string>{"a.wav"});
        fs::remove(Out("a.wav"));
    }
}

TEST_F(SayCli, FailuresHaveTheirStatusOneLineAndNoOutput)
{
    WriteFile(Path("binary"), std::string("\x7f"
                                          "ELF\0\0\0",
                                          7));
    WriteFile(Path("bad.ssml"), "<speak>Not <b>closed</speak>");
    const std::string out = Out("a.wav");
    const struct {
        const char* label;
        Arguments arguments;
        int status;
        const char* word; // that the line holds
    } rows[] = {
        {"malformed markup", {"-o", out, "-f", Path("bad.ssml")}, 1, "malformed"},
        {"unknown option", {"--nonsense", "x"}, 2, "nonsense"},
        {"unknown engine", {"-o", out, "-e", "nobody", "x"}, 2, "sapi"},
        {"unknown voice", {"-o", out, "-v", "Nobody", "x"}, 2, "-L"},
        {"percentage", {"-o", out, "--volume", "101%", "x"}, 2, "100%"},
        {"out of range", {"-o", out, "--rate", "11", "x"}, 2, "-10 to 10"},
        {"headings in text", {"-o", out, "--headings", "x"}, 2, "HTML"},
        {"saving and speaking", {"-o", out, "--save-text", Out("a.txt"), "x"}, 2, "--save-text"},
        {"no words to save", {"--save-text", Out("a.txt"), "--input", "html", "<p></p>"}, 2, "empty"},
        {"no such dictionary", {"-o", out, "--dict", Path("no.csv"), "x"}, 4, "no.csv"},
        {"folder as dictionary", {"-o", out, "--dict", m_folder.string(), "x"}, 4, "irectory"},
        {"saving into no folder", {"--save-text", Path("none/a.txt"), "x"}, 4, "none/a.txt"},
        {"white space", {"-o", out, " "}, 2, "empty"},
        {"folder as input", {"-o", out, "-f", m_folder.string()}, 4, "irectory"},
        {"no such input", {"-o", out, "-f", Path("absent")}, 4, "absent"},
        {"binary input", {"-o", out, "-f", Path("binary")}, 4, "binary"},
        {"folder as output", {"-o", Path("out"), "x"}, 4, "irectory"},
        {"output below a file", {"-o", Path("binary") + "/a.wav", "x"}, 4, "irectory"},
        {"output in no folder", {"-o", Path("none/a.wav"), "x"}, 4, "none/a.wav"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        const Result result = Run(row.arguments);
        EXPECT_EQ(result.status, row.status);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(Lines(result.err), 1U) << result.err;
        EXPECT_NE(result.err.find(row.word), std::string::npos) << result.err;
        EXPECT_TRUE(OutNames().empty());
    }
}

// The title and the markup would double the length.
TEST_F(SayCli, HtmlIsSpokenWithoutTitleAndMarkup)
{
    const std::string head = "<html><head><title>Nobody should ever hear this title of a page at all</title>";
    const std::string body = "</head><body><p>Hello there, this is <b>a page</b> of a book.</p></body></html>";
    WriteFile(Path("page.html"), head + body);
    WriteFile(Path("marked.htm"), "\xEF\xBB\xBF" + head + body);
    WriteFile(Path("notes.html"), "Hello there, this is a page of a book.");
    std::string wide = "\xFF\xFE";
    for (const char c : head + body)
        wide.append({c, '\0'});
    WriteFile(Path("wide.html"), wide);
    const struct {
        const char* label;
        Arguments arguments;
        std::string input;
    } rows[] = {
        {"file", {"-f", Path("page.html")}, ""},
        {"byte-order mark", {"-f", Path("marked.htm")}, ""},
        {"UTF-16", {"-f", Path("wide.html")}, ""},
        {"standard input", {"--input", "html"}, head + body},
        {"arguments", {"--input", "html", head + body}, ""},
        {"prepared by the program", {"--headings", "-f", Path("page.html")}, ""},
        {"plain text", {"-f", Path("notes.html")}, ""},
    };
    const double plain = Seconds({"Hello there, this is a page of a book."});
    EXPECT_GT(plain, 1);
    for (const auto& row : rows)
        EXPECT_NEAR(Seconds(row.arguments, row.input), plain, plain / 10) << row.label;
}

TEST_F(SayCli, HeadingsAreAnnouncedOnRequest)
{
    WriteFile(Path("page.html"), "<h2>Cats</h2>");
    const double announced = Seconds({"--headings", "-f", Path("page.html")});
    EXPECT_GT(announced, Seconds({"-f", Path("page.html")}) + 0.3);
    EXPECT_NEAR(announced, Seconds({"Heading 2: Cats."}), announced / 5);
}

TEST_F(SayCli, SavedTextIsWhatWouldBeSpoken)
{
    const std::string page = "<title>No</title><h1>One &amp; all</h1><p><i>Fish</i> & chips, 3 < 5, caf&eacute;.</p>"
                             "<ol><li>first</li></ol>";
    WriteFile(Path("page.html"), page);
    WriteFile(Path("old.html"), "<meta charset=windows-1252><p>\x93na\xEFve\x94</p>");
    WriteFile(Path("cats.csv"), "cat,feline\nHEADING,chapter\n");
    const std::string dictionary = Path("cats.csv");
    const struct {
        const char* label;
        Arguments arguments;
        std::string text;
    } rows[] = {
        {"text", {"<b> & \"x\""}, "<b> & \"x\"\n"},
        {"text with a dictionary", {"--dict", dictionary, "A Cat & a catfish"}, "A feline & a catfish\n"},
        {"plain punctuation", {"--simplify-punctuation", "<\xE2\x80\x9Cx\xE2\x80\x9D &"}, "<\"x\" &\n"},
        {"both", {"--dict", dictionary, "--simplify-punctuation", "cat\xE2\x80\x99s"}, "feline's\n"},
        {"dictionary set aside", {"--dict", dictionary, "--no-dict", "cat"}, "cat\n"},
        {"markup stays", {"--input", "ssml", "<speak>a &amp; b</speak>"}, "<speak>a &amp; b</speak>\n"},
        {"HTML", {"-f", Path("page.html")}, "One & all.\n\nFish & chips, 3 < 5, caf\xC3\xA9.\n\n1. first\n"},
        {"headings, not replaced",
         {"--headings", "--dict", dictionary, "--input", "html", "<h1>Cat</h1>"},
         "Heading 1: feline.\n"},
        {"declared encoding", {"-f", Path("old.html")}, "\xE2\x80\x9Cna\xC3\xAFve\xE2\x80\x9D\n"},
        {"HTML with plain punctuation", {"--simplify-punctuation", "-f", Path("old.html")}, "\"na\xC3\xAFve\"\n"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(SavedText(row.arguments), row.text) << row.label;
    EXPECT_EQ(Run({"--save-text", Out("a.txt"), "Hello."}).status, 0);
    EXPECT_EQ(ReadFile(Out("a.txt")), "Hello.\n");
    EXPECT_EQ(OutNames(), std::vector<std::string>{"a.txt"});
}

TEST_F(SayCli, SavingNeedsNoSoundAndKeepsTheTargetOnFailure)
{
    WriteFile(Path("sound.conf"), "pcm.!default { type hw card 77 }\n");
    WriteFile(Out("a.txt"), "precious");
    EXPECT_EQ(Run({"--save-text", Out("a.txt"), "--dict", Path("no.csv"), "x"}).status, 4);
    EXPECT_EQ(ReadFile(Out("a.txt")), "precious");
    EXPECT_EQ(Run({"--save-text", Out("a.txt"), "x"}).status, 0);
    EXPECT_EQ(ReadFile(Out("a.txt")), "x\n");
    EXPECT_EQ(OutNames(), std::vector<std::string>{"a.txt"});
}

TEST_F(SayCli, DictionaryIsHeardInEveryForm)
{
    WriteFile(Path("utf8.csv"), "cat,na\xC3\xAFve feline creature with whiskers\n");
    std::string wide = "\xFF\xFE";
    for (const char c : std::string("cat,na\xEFve feline creature with whiskers\n"))
        wide.append({c, '\0'});
    WriteFile(Path("utf16.csv"), wide);
    for (const char* form : {"text", "html", "ssml", "native"}) {
        for (const char* dictionary : {"utf8.csv", "utf16.csv"}) {
            SCOPED_TRACE(testing::Message() << form << ' ' << dictionary);
            const std::string text = form == std::string("html") ? "<p>The cat.</p>" : "The cat.";
            const double without = Seconds({"--input", form, text});
            EXPECT_GT(Seconds({"--input", form, "--dict", Path(dictionary), text}), without + 0.8);
            EXPECT_DOUBLE_EQ(Seconds({"--input", form, "--no-dict", "--dict", Path(dictionary), text}), without);
        }
    }
}

TEST_F(SayCli, DictionaryWithoutAUsableEntryIsAWarning)
{
    WriteFile(Path("empty.csv"), "no comma\n,x\ne-mail,mail\n");
    const Result result = Run({"-o", Out("a.wav"), "--dict", Path("empty.csv"), "Hello."});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(Lines(result.err), 1U) << result.err;
    EXPECT_NE(result.err.find("warning: "), std::string::npos);
}

TEST_F(SayCli, PlainTextIsNeverReadAsMarkup)
{
    const double markup = Seconds({"--input", "native", "<emph>cats</emph> dogs"});
    for (const Arguments& options : {Arguments{}, Arguments{"--simplify-punctuation"}}) {
        Arguments arguments = options;
        arguments.push_back("<emph>cats</emph> &amp; dogs");
        EXPECT_GT(Seconds(arguments), markup + 0.8) << testing::PrintToString(options);
    }
}

TEST_F(SayCli, WithoutRoomForTemporaryFilesThereIsOneLine)
{
    setenv("TMPDIR", Path("none").c_str(), 1);
    const Result result = Run({"-o", Out("a.wav"), "--input", "html", "<p>Hello"});
    setenv("TMPDIR", Path("tmp").c_str(), 1);
    EXPECT_EQ(result.status, 4);
    EXPECT_EQ(Lines(result.err), 1U) << result.err;
    EXPECT_TRUE(OutNames().empty());
}

TEST_F(SayCli, FailureLeavesAnExistingTargetAsItWas)
{
    WriteFile(Out("a.wav"), "precious");
    WriteFile(Path("bad.ssml"), "<speak>Not <b>closed</speak>");
    EXPECT_EQ(Run({"-o", Out("a.wav"), "-f", Path("bad.ssml")}).status, 1);
    EXPECT_EQ(ReadFile(Out("a.wav")), "precious");
    EXPECT_EQ(OutNames(), std::vector<std::string>{"a.wav"});
}

TEST_F(SayCli, ReplacedTargetKeepsItsModeAndItsLink)
{
    WriteFile(Out("real.wav"), "old");
    chmod(Out("real.wav").c_str(), 0640);
    fs::create_symlink("real.wav", Out("link.wav"));
    EXPECT_EQ(Run({"-o", Out("link.wav"), "Hello there."}).status, 0);
    EXPECT_TRUE(fs::is_symlink(Out("link.wav")));
    EXPECT_GT(SpokenSeconds(ReadFile(Out("real.wav"))), 0.3);
    struct stat info = {};
    ASSERT_EQ(stat(Out("real.wav").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640U);
}

TEST_F(SayCli, StandardOutputGetsTheWholeFileOrAFailure)
{
    for (const char* target : {"-", "/dev/stdout"}) {
        SCOPED_TRACE(target);
        const Result whole = Run({"-o", target, "Hello there."});
        EXPECT_EQ(whole.status, 0);
        EXPECT_EQ(whole.err, "");
        EXPECT_GT(SpokenSeconds(whole.out), 0.3);
    }
    for (const auto output : {ChildProcess::Output::kClosed, ChildProcess::Output::kFull}) {
        for (const Arguments& arguments : {Arguments{"-o", "-", "Hello."}, Arguments{"-L"}, Arguments{"--help"}}) {
            SCOPED_TRACE(testing::PrintToString(arguments));
            ChildProcess child = Say(arguments);
            child.output = output;
            const Result result = child.Run();
            EXPECT_EQ(result.status, 4);
            EXPECT_EQ(Lines(result.err), 1U) << result.err;
        }
    }
}

TEST_F(SayCli, FifoIsCopiedToOnceItIsRead)
{
    ASSERT_EQ(mkfifo(Out("fifo").c_str(), 0600), 0);
    std::string read;
    std::thread reader([&] { read = ReadFile(Out("fifo")); });
    EXPECT_EQ(Run({"-o", Out("fifo"), "Hello there."}).status, 0);
    reader.join();
    EXPECT_GT(SpokenSeconds(read), 0.3);
    EXPECT_EQ(OutNames(), std::vector<std::string>{"fifo"});
}

TEST_F(SayCli, SignalStopsTheFileAndLeavesTheTarget)
{
    WriteFile(Path("long.txt"), LongText());
    WriteFile(Path("long.html"), "<title>Long</title><p>" + LongText());
    const struct {
        const char* file;
        int signalNumber;
    } rows[] = {{"long.txt", SIGINT}, {"long.txt", SIGTERM}, {"long.html", SIGINT}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.file);
        WriteFile(Out("a.wav"), "precious");
        ChildProcess child = Say({"-o", Out("a.wav"), "-f", Path(row.file)});
        bool sent = false;
        child.whileRunning = [&](pid_t pid) {
            for (const std::string& name : OutNames()) {
                std::error_code gone;
                const uintmax_t size = fs::file_size(Out(name), gone);
                // It speaks: the file beside the target grows.
                if (!sent && name != "a.wav" && !gone && size > 100000)
                    sent = kill(pid, row.signalNumber) == 0;
            }
        };
        const Result result = child.Run();
        EXPECT_TRUE(sent);
        EXPECT_EQ(result.status, 130);
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(ReadFile(Out("a.wav")), "precious");
        EXPECT_EQ(OutNames(), std::vector<std::string>{"a.wav"});
    }
}

TEST_F(SayCli, SecondSignalLeavesNoFileEither)
{
    WriteFile(Path("long.html"), "<p>" + LongText());
    ChildProcess child = Say({"-o", Out("a.wav"), "-f", Path("long.html")});
    child.whileRunning = [&](pid_t pid) {
        std::error_code gone;
        for (const fs::directory_entry& entry : fs::directory_iterator(Path("tmp"))) {
            const uintmax_t size = fs::file_size(entry.path(), gone);
            if (!gone && size > 0) {
                kill(pid, SIGINT);
                kill(pid, SIGTERM);
                return;
            }
        }
    };
    EXPECT_EQ(child.Run().status, 130);
    EXPECT_TRUE(OutNames().empty());
}

TEST_F(SayCli, SignalEndsTheWaitForInput)
{
    ASSERT_EQ(mkfifo(Path("fifo").c_str(), 0600), 0);
    ChildProcess child = Say({"-o", Out("a.wav"), "-f", Path("fifo")});
    int writer = -1;
    child.whileRunning = [&](pid_t pid) {
        if (writer >= 0)
            return;
        writer = open(Path("fifo").c_str(), O_WRONLY | O_NONBLOCK); // succeeds once the program reads
        if (writer >= 0)
            kill(pid, SIGINT);
    };
    const Result result = child.Run();
    EXPECT_GE(writer, 0);
    close(writer);
    EXPECT_EQ(result.status, 130);
    EXPECT_TRUE(OutNames().empty());
}

TEST_F(SayCli, KeyStopsAndTheTerminalIsRestored)
{
    WriteFile(Path("long.txt"), LongText());
    for (const char* keys : {"q", "  nq", "\x03"}) { // the last is Ctrl-C
        SCOPED_TRACE(keys);
        ChildProcess child = Say({"--progress", "-o", Out("a.wav"), "-f", Path("long.txt")}, keys);
        child.onTerminal = true;
        child.typeAfter = "writing";
        const Result result = child.Run();
        EXPECT_EQ(result.status, 130) << result.err;
        EXPECT_TRUE(result.terminalRestored);
        EXPECT_TRUE(OutNames().empty());
    }
}

TEST_F(SayCli, TerminalWithoutTextIsAUsageError)
{
    ChildProcess child = Say({});
    child.onTerminal = true;
    const Result result = child.Run();
    EXPECT_EQ(result.status, 2);
    EXPECT_TRUE(result.terminalRestored);
}

TEST_F(SayCli, PlaysOnADeviceWithoutAWord)
{
    const Result result = Run({"Hello there."});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
}

TEST_F(SayCli, NoDeviceIsOneLineButFilesNeedNone)
{
    WriteFile(Path("sound.conf"), "pcm.!default { type hw card 77 }\n");
    const Result result = Run({"Hello there."});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(Lines(result.err), 1U) << result.err;
    EXPECT_NE(result.err.find("-o FILE"), std::string::npos);
    EXPECT_EQ(Run({"-v", "Nobody", "Hello there."}).status, 2); // the command line is looked at first
    EXPECT_EQ(Run({"-o", Out("a.wav"), "Hello there."}).status, 0);
    EXPECT_EQ(Run({"-L"}).err, "");
}

TEST_F(SayCli, FileOutputAsksNoSoundServer)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    Path("server").copy(address.sun_path, sizeof(address.sun_path) - 1);
    const int server = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0); // never answers
    ASSERT_EQ(bind(server, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    ASSERT_EQ(listen(server, 8), 0);
    setenv("PULSE_SERVER", ("unix:" + Path("server")).c_str(), 1);
    EXPECT_EQ(Run({"-o", Out("a.wav"), "Hello there."}).status, 0);
    unsetenv("PULSE_SERVER");
    EXPECT_LT(accept(server, nullptr, nullptr), 0);
    close(server);
}

TEST_F(SayCli, ListsVoicesByLanguage)
{
    const Result all = Run({"-L"});
    const Result english = Run({"-L", "--lang", "en"});
    const Result json = Run({"-L", "--lang", "de", "--json"});
    EXPECT_EQ(all.status, 0);
    EXPECT_GT(Lines(all.out), Lines(english.out));
    EXPECT_GT(Lines(english.out), 0U);
    EXPECT_EQ(json.out.compare(0, 2, "[{"), 0) << json.out;
    EXPECT_NE(json.out.find("\"handler_id\":\"Microsoft SAPI\""), std::string::npos);
    EXPECT_EQ(Run({"-L", "--lang", "xx", "--json"}).out, "[]\n");
    EXPECT_NE(Run({"--list-engines"}).out.find("Microsoft SAPI"), std::string::npos);
}

TEST_F(SayCli, SpeechThatDoesNotFitIsAFileError)
{
    WriteFile(Out("a.wav"), "precious");
    WriteFile(Path("long.txt"), LongText());
    ChildProcess child;
    child.arguments = {
        "/bin/sh",       "-c", "ulimit -f 1000; exec \"$0\" \"$@\"", QX_SAY_PROGRAM, "-o", Out("a.wav"), "-f",
        Path("long.txt")};
    const Result result = child.Run();
    EXPECT_EQ(result.status, 4);
    EXPECT_EQ(Lines(result.err), 1U) << result.err;
    EXPECT_EQ(ReadFile(Out("a.wav")), "precious");
    EXPECT_EQ(OutNames(), std::vector<std::string>{"a.wav"});
}

TEST_F(SayCli, LogIsShownOnRequestOnly)
{
    const std::string record = "Error Code: -2147200958"; // malformed markup
    const Arguments arguments = {"-o", Out("a.wav"), "--input", "native", "<a>"};
    EXPECT_EQ(Run(arguments).err.find(record), std::string::npos);
    Arguments verbose = arguments;
    verbose.insert(verbose.begin(), "--verbose");
    const Result result = Run(verbose);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find(record), std::string::npos) << result.err;
}

TEST_F(SayCli, UnprivilegedUserIsRefusedByAReadOnlyFolder)
{
    chmod(m_folder.c_str(), 0755);
    chmod(Path("out").c_str(), 0555);
    ChildProcess child = Say({"-o", Out("a.wav"), "Hello."});
    child.unprivileged = true;
    const Result result = child.Run();
    chmod(Path("out").c_str(), 0755);
    if (result.status == 126 || result.status == 127)
        GTEST_SKIP() << "nobody cannot run " << QX_SAY_PROGRAM;
    EXPECT_EQ(result.status, 4);
    EXPECT_EQ(Lines(result.err), 1U) << result.err;
    EXPECT_TRUE(OutNames().empty());
}

} // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    std::signal(SIGPIPE, SIG_IGN);
    return RunTests();
}
