// Substitution, line filters and the way of a file through the transformer. MIT licence.
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "speech/qxtexttospeech.h"
#include "speech/ttstransformer.h"
#include "support/filled_pipe.h"
#include "support/log_capture.h"
#include "support/recording_handler.h"
#include "support/scratch_dir.h"

namespace
{

wxString Utf8(const std::string& text)
{
    return wxString::FromUTF8(text.data(), text.size());
}

void Put(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

// What is not there reads as "(none)".
std::string Get(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "(none)";
}

// Numbered names in the present folder; none while it is empty.
std::string tempFolder;
int tempCount = 0;

wxString MakeTempName(const wxString& prefix)
{
    return tempFolder.empty() ? wxString() : Utf8(tempFolder) + "/" + prefix + wxString::Format("%d", ++tempCount);
}

class Pipeline : public testing::Test
{
protected:
    Pipeline()
    {
        std::filesystem::create_directory(dir / "temp");
        tempFolder = dir / "temp";
        tempCount = 0;
        QXTextToSpeech::SetTempFileFunction(MakeTempName);
        transformer.AddString("sql", "sequel");
        transformer.AddString("dr", "doctor");
    }
    ~Pipeline() override { QXTextToSpeech::SetTempFileFunction(nullptr); }

    bool Transform(int options) { return transformer.TransformFile(Utf8(dir / "in"), Utf8(dir / "out"), options); }

    size_t FilesLeft() const
    {
        const std::filesystem::directory_iterator files(dir / "temp");
        return static_cast<size_t>(std::distance(begin(files), end(files)));
    }

    ScratchDir dir;
    wxTTSTransformer transformer;
};

const std::string kSapiHead = "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<sapi>\n";
const std::string kSapiTail = "\n</sapi>\n";

// Files may not grow beyond some bytes while it lives; the signal of that is off.
class FullDisk
{
public:
    explicit FullDisk(rlim_t bytes)
    {
        m_oldHandler = std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_old);
        const rlimit limit = {bytes, m_old.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk()
    {
        setrlimit(RLIMIT_FSIZE, &m_old);
        std::signal(SIGXFSZ, m_oldHandler);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    rlimit m_old{};
    void (*m_oldHandler)(int);
};

} // namespace

TEST_F(Pipeline, StringsAreReplacedWordByWord)
{
    const std::vector<std::pair<std::string, std::string>> more = {
        {"a", "a a"},      {"x", ""},        {"don", "Donald"},    {"two words", "never"}, {"co-op", "never"},
        {"über", "over"},  {"ёжик", "Igel"}, {"中文", "Chinese"},  {"école", "school"},    {"λόγοσ", "word"},
        {"straße", "Weg"}, {"7up", "soda"},  {"istanbul", "city"}, {"e\u0301", "never"}};
    for (const auto& [key, replacement] : more)
        transformer.AddString(Utf8(key), Utf8(replacement));
    const struct {
        const char* label;
        const char* text;
        const char* expected; // null: unchanged
    } rows[] = {
        {"empty", "", nullptr},
        {"any case, whole words", "SQL, Sql and mysql.", "sequel, sequel and mysql."},
        {"the result is not scanned again", "a", "a a"},
        {"a word vanishes", "x y", " y"},
        {"all vanishes", "x", ""},
        {"no word", "!!! ???", nullptr},
        {"an apostrophe ends a word", "don't", "Donald't"},
        {"keys of two words never match", "two words co-op", nullptr},
        {"digits belong to words", "7up 7 up dr2", "soda 7 up dr2"},
        {"underscore ends a word", "sql_dr", "sequel_doctor"},
        {"at both ends", "dr sql", "doctor sequel"},
        {"German", "ÜBER Straße über-dr", "over Weg over-doctor"},
        {"French", "L'ÉCOLE", "L'school"},
        {"Greek", "ΛΌΓΟΣ.", "word."},
        {"Cyrillic", "Ёжик ёжики", "Igel ёжики"},
        {"Turkish", "İstanbul İSTANBUL ıstanbul", "city city ıstanbul"},
        {"Chinese", "中文，中文字", "Chinese，中文字"},
        {"emoji ends a word", "sql😀sql", "sequel😀sequel"},
        {"a combining mark ends a word", "e\u0301 sql\u0301", "e\u0301 sequel\u0301"},
        {"no-break space ends a word", "dr\u00a0sql", "doctor\u00a0sequel"},
    };
    for (const bool indexed : {false, true}) {
        if (indexed)
            transformer.Index();
        for (const auto& row : rows) {
            SCOPED_TRACE(row.label);
            wxString output = "old";
            EXPECT_EQ(transformer.TransformString(Utf8(row.text), output, 0), row.expected != nullptr);
            EXPECT_EQ(output.utf8_string(), row.expected ? row.expected : row.text);
            EXPECT_EQ(transformer.GetDirty(), !indexed);
        }
    }
}

TEST_F(Pipeline, OutputMayBeTheInput)
{
    wxString text = "dr x dr";
    EXPECT_TRUE(transformer.TransformString(text, text, 0));
    EXPECT_EQ(text, "doctor x doctor");
    EXPECT_FALSE(transformer.TransformString(text, text, 0));
    EXPECT_EQ(text, "doctor x doctor");
}

TEST_F(Pipeline, NulIsAnOrdinaryCharacter)
{
    wxString output;
    EXPECT_TRUE(transformer.TransformString(Utf8(std::string("dr\0dr", 5)), output, 0));
    EXPECT_EQ(output.utf8_string(), std::string("doctor\0doctor", 13));
}

TEST_F(Pipeline, DuplicateKeysAnswerAsLookUpsDoHoweverLongTheText)
{
    transformer.AddString("dr", "drive");
    wxString text;
    wxString first;
    wxString last;
    for (int i = 0; i < 40; ++i) {
        text += "dr ";
        first += "doctor ";
        last += "drive ";
    }
    wxString output;
    EXPECT_TRUE(transformer.TransformString(text, output, 0));
    EXPECT_EQ(output, first);
    Put(dir / "in", (text + "\n" + text).utf8_string());
    EXPECT_TRUE(Transform(1));
    EXPECT_EQ(Get(dir / "out"), (first + "\n" + first + "\n").utf8_string());
    transformer.Index();
    EXPECT_TRUE(transformer.TransformString(text, output, 0));
    EXPECT_EQ(output, last);
}

TEST_F(Pipeline, FilesEndAsTheirOptionsSay)
{
    const std::string bom = "\xEF\xBB\xBF";
    const std::string head = "<?xml version=\"1.0\"?>\n";
    const struct {
        const char* label;
        int options;
        std::string input;
        std::string output;
    } rows[] = {
        {"no option copies", 0, bom + "dr\r\nx\r", bom + "dr\r\nx\r"},
        {"no match copies", 1, bom + "cat\r\nx\xff\r", bom + "cat\r\nx\xff\r"},
        {"a match rewrites all lines", 1, bom + "dr\r\ncaf\u00e9\rlast", "doctor\ncaf\u00e9\nlast\n"},
        {"the last line matches", 1, "one\ntwo\ndr", "one\ntwo\ndoctor\n"},
        {"UTF-16LE", 1,
         std::string("\xFF\xFE"
                     "d\0r\0\n\0\xe9\0",
                     10),
         "doctor\n\u00e9\n"},
        {"no character", 1, std::string("\xFF\xFE\0\0a\0\0\0\n\0\0\0\0\0\x11\0\n\0\0\0d\0\0\0r\0\0\0", 28),
         "a\n\ndoctor\n"},
        {"UTF-16BE", 1, std::string("\xFE\xFF\0d\0r\0\n\0\xe9", 10), "doctor\n\u00e9\n"},
        {"Latin-1", 1, "dr caf\xe9\n", "doctor caf\u00e9\n"},
        {"NUL characters", 1, std::string("dr\0x\n", 5), std::string("doctor\0x\n", 9)},
        {"empty", 0xF, "", ""},
        {"substitution is asked for", 4, "dr “x”\n", "dr \"x\"\n"},
        {"title lines", 2, "a\n<head><title>x</title></head><body>Hello\n<TITLE>\n<Title>x", "a\n\n\n<Title>x\n"},
        {"XML heads", 8, "<?xml ?><p>\n<!DOCTYPE html>\n<!doctype>\nx\n", "\n\n<!doctype>\nx\n"},
        {"punctuation", 4, "“a” – b’s…‘—\n", "\"a\" - b's.‘—\n"},
        {"no punctuation to simplify", 4, "‘x—\r\n", "‘x—\r\n"},
        {"filters see the substituted line", 7, "dr <title>\ndr…\n", "\ndoctor.\n"},
        {"native switches the filters off", 0x1E, head + "<title>…\n", head + "<title>…\n"},
        {"native substitutes", 0x1F, "<title>dr…\n", "<title>doctor…\n"},
        {"text to SAPI, unchanged", 0x100, "a & <b>\r\nc", kSapiHead + "a & <b>\nc\n" + kSapiTail},
        {"text to SAPI, rewritten", 0x101, "dr\r\nc", kSapiHead + "doctor\nc\n" + kSapiTail},
        {"text to SAPI, empty", 0x101, "", kSapiHead + kSapiTail},
        {"HTML, unchanged", 0x21, "<h1>Caf\u00e9</h1>x", "\nCaf\u00e9.\nx"},
        {"HTML, rewritten", 0x25, "<h1>Dr</h1>\r\n“x”", "\ndoctor.\n\"x\""},
        {"HTML in UTF-16, rewritten", 0x21, std::string("\xFF\xFE<\0p\0>\0d\0r\0", 12), "\ndoctor"},
    };
    for (const bool temp : {true, false}) {
        tempFolder = temp ? dir / "temp" : "";
        for (const auto& row : rows) {
            SCOPED_TRACE(row.label);
            Put(dir / "in", row.input);
            std::filesystem::remove(dir / "out");
            EXPECT_TRUE(Transform(row.options));
            EXPECT_EQ(Get(dir / "out"), row.output);
            EXPECT_EQ(Get(dir / "in"), row.input);
            EXPECT_EQ(FilesLeft(), 0U);
            // The same file as input and output.
            EXPECT_TRUE(transformer.TransformFile(Utf8(dir / "in"), Utf8(dir.Path() + "/./in"), row.options));
            EXPECT_EQ(Get(dir / "in"), row.output);
            EXPECT_EQ(FilesLeft(), 0U);
        }
    }
}

TEST_F(Pipeline, APipeIsReadOnceFromItsFirstCharacter)
{
    const struct {
        int options;
        const char* given;
        std::string output;
    } rows[] = {
        {0x0, "dr\r\n", "dr\r\n"},
        {0x1, "cat\r\n", "cat\r\n"},
        {0x1, "dr\r\n", "doctor\n"},
        {0x21, "<p>cat</p>", "\ncat\n"},
        {0x100, "cat\rdr", kSapiHead + "cat\ndr\n" + kSapiTail},
        {0x101, "dr", kSapiHead + "doctor\n" + kSapiTail},
        {0x40, "caf\xe9", "(none)"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.options);
        const FilledPipe pipe(row.given);
        std::filesystem::remove(dir / "out");
        EXPECT_EQ(transformer.TransformFile(pipe.Name(), Utf8(dir / "out"), row.options), row.options != 0x40);
        EXPECT_EQ(Get(dir / "out"), row.output);
    }
    EXPECT_TRUE(transformer.LoadFile(FilledPipe("sql,sequel").Name()));
    EXPECT_EQ(transformer.GetString("sql"), "sequel");
}

TEST_F(Pipeline, EmptyDictionaryOnNativeInputOnlyCopies)
{
    transformer.Clear();
    Put(dir / "in", "a\r\n“b”");
    for (const int options : {0x10, 0x11, 0x1F, 0x110, 0x30}) {
        std::filesystem::remove(dir / "out");
        EXPECT_TRUE(Transform(options));
        EXPECT_EQ(Get(dir / "out"), "a\r\n“b”");
    }
    std::filesystem::remove(dir / "in");
    EXPECT_TRUE(Transform(0x10));
}

TEST_F(Pipeline, FailuresEndAsToldAndWithoutAMessage)
{
    const std::string bad = "<p>caf\xe9";
    const LogCapture log;
    Put(dir / "out", "old");
    EXPECT_FALSE(Transform(0x1)) << "missing input";
    EXPECT_FALSE(transformer.TransformFile(Utf8(dir.Path()), Utf8(dir / "out"), 0x1)) << "a folder as input";
    EXPECT_FALSE(transformer.TransformFile(wxString(), Utf8(dir / "out"), 0x100)) << "no name";
    EXPECT_EQ(Get(dir / "out"), "old");

    Put(dir / "in", bad);
    EXPECT_FALSE(Transform(0x40)) << "direct conversion of what is no UTF-8";
    EXPECT_EQ(Get(dir / "out"), kSapiHead);
    EXPECT_FALSE(transformer.TransformFile(Utf8(dir / "in"), Utf8(dir / "in"), 0x40));
    EXPECT_EQ(Get(dir / "in"), bad) << "the only copy of a text";

    Put(dir / "in", "dr\nx");
    for (const std::string& path : {dir / "none/out", dir.Path(), std::string()}) {
        SCOPED_TRACE(path);
        for (const int options : {0x0, 0x1, 0x20, 0x100, 0x101})
            EXPECT_TRUE(transformer.TransformFile(Utf8(dir / "in"), Utf8(path), options)) << options;
    }
    EXPECT_EQ(FilesLeft(), 0U);
    wxLog::FlushActive();
    EXPECT_TRUE(log.records.empty());
}

TEST_F(Pipeline, AFileWithoutPermissionIsNotReplaced)
{
    // Permissions do not bind root: it takes the place of a user for a while.
    const uid_t user = geteuid();
    const uid_t nobody = 65534;
    Put(dir / "in", "dr");
    Put(dir / "out", "kept");
    if (user == 0) {
        for (const std::string& path : {dir.Path(), dir / "temp", dir / "in", dir / "out"})
            ASSERT_EQ(chown(path.c_str(), nobody, static_cast<gid_t>(-1)), 0);
        ASSERT_EQ(seteuid(nobody), 0);
    }
    chmod((dir / "in").c_str(), 0);
    EXPECT_FALSE(Transform(0x1));
    chmod((dir / "in").c_str(), 0600);
    chmod((dir / "out").c_str(), 0400);
    EXPECT_TRUE(Transform(0x101));
    EXPECT_EQ(Get(dir / "out"), "kept");
    EXPECT_TRUE(transformer.TransformFile(Utf8(dir / "out"), Utf8(dir / "none/out"), 0x101));
    EXPECT_EQ(Get(dir / "out"), "kept");
    ASSERT_EQ(seteuid(user), 0);
}

// Fails each conversion behind its first words.
class HalfTransformer : public wxTTSTransformer
{
public:
    bool ConvertTextToXML(const wxString& source, wxOutputStream& stream, wxTextOutputStream& textStream, int,
                          bool isString) override
    {
        wxTTSTransformer::ConvertTextToXML(source, stream, textStream, 0, isString);
        return false;
    }
};

TEST_F(Pipeline, ARewrittenFileWhoseConversionFailsStaysUnconverted)
{
    HalfTransformer half;
    half.AddString("dr", "doctor");
    for (const bool temp : {true, false}) {
        tempFolder = temp ? dir / "temp" : "";
        Put(dir / "in", "dr");
        EXPECT_TRUE(half.TransformFile(Utf8(dir / "in"), Utf8(dir / "out"), 0x101));
        EXPECT_EQ(Get(dir / "out"), "doctor\n");
        EXPECT_EQ(FilesLeft(), 0U);
    }
    EXPECT_FALSE(half.TransformFile(Utf8(dir / "in"), Utf8(dir / "out"), 0x100));
}

TEST_F(Pipeline, AFullDiskDestroysNoOnlyCopy)
{
    std::string text = "dr\n";
    for (int i = 0; i < 1000; ++i)
        text += "some more words\n";
    std::string rewritten = text;
    rewritten.replace(0, 2, "doctor");
    for (const bool temp : {true, false}) {
        SCOPED_TRACE(temp);
        tempFolder = temp ? dir / "temp" : "";
        Put(dir / "in", text);
        {
            // The rewritten text fits, its envelope does not.
            const FullDisk full(rewritten.size() + 10);
            EXPECT_TRUE(Transform(0x101));
            EXPECT_EQ(Get(dir / "out"), rewritten);
        }
        for (const int options : {0x1, 0x100, 0x101}) {
            const FullDisk full(1000);
            EXPECT_TRUE(transformer.TransformFile(Utf8(dir / "in"), Utf8(dir / "in"), options));
            EXPECT_EQ(Get(dir / "in"), text);
        }
        EXPECT_EQ(FilesLeft(), 0U);
        std::filesystem::remove(dir / "out");
        std::filesystem::remove(dir / "in");
        EXPECT_TRUE(std::filesystem::is_empty(dir.Path()) || FilesLeft() == 0U);
    }
}

TEST_F(Pipeline, TemporaryNamesThatCannotBeUsedAreNotNeeded)
{
    Put(dir / "in", "dr");
    tempFolder = dir / "none";
    EXPECT_TRUE(Transform(0x101));
    EXPECT_EQ(Get(dir / "out"), kSapiHead + "doctor\n" + kSapiTail);
    // A host's function that names the output itself.
    QXTextToSpeech::SetTempFileFunction([](const wxString&) { return Utf8(tempFolder); });
    tempFolder = dir / "out";
    EXPECT_TRUE(Transform(0x101));
    EXPECT_EQ(Get(dir / "out"), kSapiHead + "doctor\n" + kSapiTail);
}

// Notes what TransformFile calls, and changes the dictionary in the middle.
class CallingTransformer : public wxTTSTransformer
{
public:
    bool TransformString(const wxString& input, wxString& output, int options) override
    {
        calls += input + wxString::Format("/%d ", options);
        const bool changed = wxTTSTransformer::TransformString(input, output, options);
        AddString("later", "now");
        return changed;
    }
    wxString calls;
};

TEST_F(Pipeline, EachLineGoesThroughTransformString)
{
    CallingTransformer calling;
    Put(dir / "in", "later\nlater");
    EXPECT_TRUE(calling.TransformFile(Utf8(dir / "in"), Utf8(dir / "out"), 0x7));
    EXPECT_EQ(calling.calls, "later/1 later/1 ");
    EXPECT_EQ(Get(dir / "out"), "later\nnow\n");
}

TEST_F(Pipeline, HandlerSpeaksTheTransformedFile)
{
    Put(dir / "in", "dr");
    const wxString in = Utf8(dir / "in");
    RecordingHandler lone;
    EXPECT_EQ(lone.DoTransformation(in, 1), in);
    wxTextToSpeech front;
    auto* const handler = new RecordingHandler;
    front.AddHandler(handler);
    EXPECT_EQ(handler->DoTransformation(in, 1), in) << "no transformer";
    front.SetTransformer(&transformer);
    EXPECT_EQ(handler->DoTransformation(in, 0), in) << "no option";
    EXPECT_EQ(tempCount, 0);

    const wxString spoken = handler->DoTransformation(in, 1);
    EXPECT_EQ(spoken, Utf8(dir / "temp/speechinputfile1"));
    EXPECT_EQ(handler->GetTempInputFile(), spoken);
    EXPECT_EQ(Get(spoken.utf8_string()), "doctor\n");
    handler->DeleteTempFile();
    EXPECT_EQ(FilesLeft(), 0U);
    EXPECT_EQ(handler->DoTransformation(Utf8(dir / "missing"), 1), Utf8(dir / "temp/speechinputfile2"));
    tempFolder.clear();
    EXPECT_EQ(handler->DoTransformation(in, 1), "");
    front.SetTransformer(nullptr);
}

// A way that rebuilds the text at each match, or searches a dirty dictionary word by word, does not end in time.
TEST_F(Pipeline, EveryWordOfALongTextIsReplaced)
{
    constexpr size_t kWords = 1000000;
    std::wstring text;
    std::wstring expected;
    for (size_t i = 0; i < kWords; ++i) {
        text += L"dr ";
        expected += L"doctor ";
    }
    wxString output;
    EXPECT_TRUE(transformer.TransformString(text, output, 0));
    EXPECT_TRUE(output == wxString(expected));
}

TEST_F(Pipeline, DirtyAndCleanDictionaryAgreeOnALongText)
{
    for (int i = 0; i < 50000; ++i)
        transformer.AddString(wxString::Format("key%d", i), wxString::Format("value%d", i));
    std::wstring text;
    for (int i = 0; i < 1000000; ++i)
        text += L"key" + std::to_wstring(i % 80000) + L' ';
    wxString dirty;
    wxString clean;
    EXPECT_TRUE(transformer.TransformString(text, dirty, 0));
    transformer.Index();
    EXPECT_TRUE(transformer.TransformString(text, clean, 0));
    EXPECT_TRUE(dirty == clean);
    EXPECT_TRUE(clean.Contains("value49999 key50000 "));
}
