// The program for substitution files, run as a user runs it: exit statuses, what it says, what the file holds after.
// MIT licence.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "childprocess.h"
#include "support/scratch_dir.h"

namespace
{

namespace fs = std::filesystem;
using Result = ChildProcess::Result;
using Arguments = std::vector<std::string>;

std::string ReadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

void WriteFile(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

std::string Utf16(const std::string& ascii)
{
    std::string bytes = "\xFF\xFE";
    for (const char ch : ascii)
        bytes += {ch, '\0'};
    return bytes;
}

ChildProcess Program(Arguments arguments)
{
    arguments.insert(arguments.begin(), QX_DICTIONARY_PROGRAM);
    ChildProcess child;
    child.arguments = std::move(arguments);
    return child;
}

class DictionaryCli : public testing::Test
{
protected:
    Result Run(Arguments arguments) const
    {
        arguments.insert(arguments.begin(), File());
        return Program(std::move(arguments)).Run();
    }
    std::string File() const { return m_folder / "w\xC3\xB6rter.txt"; }
    // Hidden ones too: nothing of an edit stays behind.
    size_t FilesInFolder() const
    {
        return static_cast<size_t>(std::distance(fs::directory_iterator(m_folder.Path()), fs::directory_iterator()));
    }

    ScratchDir m_folder;
};

TEST_F(DictionaryCli, EditsChangeTheirOwnLineAlone)
{
    const std::string messy = "# notes, kept\nSQL,sequel\n\nsql,\n  Dr,doctor \nlast";
    const struct {
        const char* label;
        std::string before;
        Arguments command;
        int status;
        std::string after;
    } rows[] = {
        {"add to nothing", "", {"add", "sql", "sequel"}, 0, "sql,sequel\n"},
        {"add behind an open line", messy, {"add", "abc", "a, b,c "}, 0, messy + "\nabc,a, b,c \n"},
        {"add keeps the case", "a,b\n", {"add", "New", "X"}, 0, "a,b\nNew,X\n"},
        {"add with CR LF", "a,b\r\n", {"add", "c", "d"}, 0, "a,b\r\nc,d\r\n"},
        {"add behind an open CR LF line", "a,b\r\nc,d", {"add", "e", "f"}, 0, "a,b\r\nc,d\r\ne,f\r\n"},
        {"add with CR", "a,b\rc,d\r", {"add", "e", "f"}, 0, "a,b\rc,d\re,f\r"},
        {"add behind a mark",
         "\xEF\xBB\xBF",
         {"add", "e", "f"},
         0,
         "\xEF\xBB\xBF"
         "e,f\n"},
        {"add in any script", "a,b\n", {"add", "\xC3\x84ra", "\xE2\x82\xAC"}, 0, "a,b\n\xC3\x84ra,\xE2\x82\xAC\n"},
        {"add changes the entry",
         messy,
         {"add", "sQl", "S Q L"},
         0,
         "# notes, kept\nSQL,S Q L\n\nsql,\n  Dr,doctor \nlast"},
        {"add changes the one that wins", "A,1\r\na,2\nb,3", {"add", "A", "9"}, 0, "A,1\r\na,9\nb,3"},
        {"add of what is there", "A,1\r\n", {"add", "a", "1"}, 0, "A,1\r\n"},
        {"add compares beyond ASCII", "\xC3\x84,1\n", {"add", "\xC3\xA4", "2"}, 0, "\xC3\x84,2\n"},
        {"remove takes every entry", "A,1\r\na,\r\na,2\nb,3\na,4", {"remove", "A"}, 0, "a,\r\nb,3\n"},
        {"remove keeps the rest", messy, {"remove", "SQL"}, 0, "# notes, kept\n\nsql,\n  Dr,doctor \nlast"},
        {"remove the first behind a mark",
         "\xEF\xBB\xBF"
         "a,1\nb,2\n",
         {"remove", "a"},
         0,
         "\xEF\xBB\xBF"
         "b,2\n"},
        {"remove what can never match", messy, {"remove", "  dr"}, 0, "# notes, kept\nSQL,sequel\n\nsql,\nlast"},
        {"remove with CR", "a,b\rc,d\r", {"remove", "a"}, 0, "c,d\r"},
        {"remove the last one", "a,1\n", {"remove", "a"}, 0, ""},
        {"remove an absent word", messy, {"remove", "dr"}, 1, messy},
        {"remove what is no entry", "a,\n", {"remove", "a"}, 1, "a,\n"},
        {"word with a comma", "a,b\n", {"add", "x,y", "z"}, 2, "a,b\n"},
        {"word with a blank", "a,b\n", {"add", "x y", "z"}, 2, "a,b\n"},
        {"word with a hyphen", "a,b\n", {"add", "x-y", "z"}, 2, "a,b\n"},
        {"empty word", "a,b\n", {"add", "", "z"}, 2, "a,b\n"},
        {"empty replacement", "a,b\n", {"add", "x", ""}, 2, "a,b\n"},
        {"replacement with a line end", "a,b\n", {"add", "x", "y\nz,1"}, 2, "a,b\n"},
        {"word that is not UTF-8", "a,b\n", {"add", "\xFF", "z"}, 2, "a,b\n"},
        {"UTF-16", Utf16("a,b\n"), {"add", "x", "y"}, 4, Utf16("a,b\n")},
        {"UTF-16, remove", Utf16("a,b\n"), {"remove", "a"}, 4, Utf16("a,b\n")},
        {"Latin-1", "a,\xE4\n", {"add", "x", "y"}, 4, "a,\xE4\n"},
        {"no text", std::string("a,b\n\0", 5), {"add", "x", "y"}, 4, std::string("a,b\n\0", 5)},
        {"remove between lone CRs", "a,1\r\rb,2\r\rc,3", {"remove", "b"}, 0, "a,1\r\r\rc,3"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        WriteFile(File(), row.before);
        const Result result = Run(row.command);
        EXPECT_EQ(result.status, row.status) << result.err;
        EXPECT_EQ(ReadFile(File()), row.after);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), row.status == 0 ? 0 : 1) << result.err;
        EXPECT_EQ(FilesInFolder(), 1U);
    }
}

TEST_F(DictionaryCli, ReadingCommandsAnswerAsALoadDoes)
{
    const std::string text = "SQL,sequel\nword\na,b,c\nsql, S Q L\n";
    const std::string listed = "sql,sequel\na,b,c\nsql, S Q L\n";
    const struct {
        const char* label;
        std::string file;
        Arguments command;
        int status;
        std::string out;
    } rows[] = {
        {"list", text, {"list"}, 0, listed},
        {"list UTF-16", Utf16(text), {"list"}, 0, listed},
        {"list UTF-8 with a mark", "\xEF\xBB\xBF" + text, {"list"}, 0, listed},
        {"list Latin-1", "\xC4,b\r\n", {"list"}, 0, "\xC3\xA4,b\n"},
        {"list an empty file", "", {"list"}, 0, ""},
        {"list a mark alone", "\xFF\xFE", {"list"}, 0, ""},
        {"list broken UTF-16", Utf16("a,b\nc") + "\xD8\xD8\xD8", {"list"}, 4, ""},
        {"find the last one", text, {"find", "Sql"}, 0, " S Q L\n"},
        {"find in UTF-16", Utf16(text), {"find", "A"}, 0, "b,c\n"},
        {"find an absent word", text, {"find", "word"}, 1, ""},
        {"find behind --", "-x,y\n", {"find", "--", "-x"}, 0, "y\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        WriteFile(File(), row.file);
        const Result result = Run(row.command);
        EXPECT_EQ(result.status, row.status) << result.err;
        EXPECT_EQ(result.out, row.out);
        EXPECT_EQ(result.err.empty(), row.status == 0) << result.err;
        EXPECT_EQ(ReadFile(File()), row.file);
    }
}

TEST_F(DictionaryCli, CheckTellsEachLineThatDoesNotDoWhatItSeemsTo)
{
    const std::string clean = "SQL,sequel\r\n\xC3\x84rzte,doctors\r\nmp3,m p three, as they say\r\n";
    for (const std::string& bytes : {std::string(), clean, Utf16("a,b\nc,d")}) {
        WriteFile(File(), bytes);
        const Result result = Run({"check"});
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.out + result.err, "");
    }
    const std::string text = "SQL,1\n"
                             "word\n"
                             "\n"
                             ",x\n"
                             "word,\n"
                             "new york,x\n"
                             "mother-in-law,x\n"
                             "don't,x\n"
                             "sql,2\n"
                             "don\xE2\x80\x99t,x\n"
                             "Sql,3\n"
                             "ok,fine\n";
    const std::string lines[] = {
        ":1: \"sql\" is overridden by line 11",
        ":2: passed over: no comma",
        ":3: passed over: the line is empty",
        ":4: passed over: no key before the comma",
        ":5: passed over: no replacement behind the comma",
        ":6: \"new york\" can never match: U+0020 is no letter or digit",
        ":7: \"mother-in-law\" can never match: \"-\" (U+002D) is no letter or digit",
        ":8: \"don't\" can never match: \"'\" (U+0027) is no letter or digit",
        ":9: \"sql\" is overridden by line 11",
        ":10: \"don\xE2\x80\x99t\" can never match: U+2019 is no letter or digit",
    };
    std::string expected;
    for (const std::string& line : lines)
        expected += File() + line + "\n";
    WriteFile(File(), text);
    const Result result = Run({"check"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, expected);
    EXPECT_EQ(result.err, "");
}

TEST_F(DictionaryCli, CommandLinesThatMakeNoSenseAreUsageErrors)
{
    const Arguments rows[] = {
        {},
        {"FILE"},
        {"FILE", "delete", "x"},
        {"FILE", "add", "x"},
        {"FILE", "add", "x", "y", "z"},
        {"FILE", "find"},
        {"FILE", "list", "x"},
        {"--nonsense", "FILE", "list"},
        {"", "list"},
    };
    for (const Arguments& row : rows) {
        const Result result = Program(row).Run();
        EXPECT_EQ(result.status, 2) << testing::PrintToString(row);
        EXPECT_EQ(result.err.compare(0, 21, "qxspeech-dictionary: "), 0) << result.err;
        EXPECT_EQ(result.out, "");
    }
    EXPECT_NE(Program({"--help"}).Run().out.find("FILE COMMAND"), std::string::npos);
    const Result version = Program({"--version"}).Run();
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out.compare(0, 20, "qxspeech-dictionary "), 0);
}

TEST_F(DictionaryCli, FilesThatCannotBeReadOrWrittenAreFour)
{
    for (const Arguments& command : {Arguments{"list"}, {"check"}, {"find", "x"}, {"remove", "x"}})
        EXPECT_EQ(Run(command).status, 4) << command[0] << " without a file";
    fs::create_symlink("nowhere", File());
    EXPECT_EQ(Run({"add", "x", "y"}).status, 4) << "a link that leads nowhere";
    EXPECT_EQ(FilesInFolder(), 1U);
    fs::remove(File());
    fs::create_directory(File());
    for (const Arguments& command : {Arguments{"list"}, {"check"}, {"find", "x"}, {"remove", "x"}, {"add", "x", "y"}})
        EXPECT_EQ(Run(command).status, 4) << command[0] << " of a folder";
    fs::remove(File());
    ASSERT_EQ(mkfifo(File().c_str(), 0600), 0);
    EXPECT_EQ(Run({"add", "x", "y"}).status, 4) << "a FIFO";
    EXPECT_TRUE(fs::is_fifo(File()));
    fs::remove(File());
    EXPECT_EQ(Program({m_folder / "none/file", "add", "x", "y"}).Run().status, 4) << "no folder";
    WriteFile(File(), "a,b\n");
    ChildProcess full = Program({File(), "list"});
    full.output = ChildProcess::Output::kFull;
    EXPECT_EQ(full.Run().status, 4) << "output full";
}

TEST_F(DictionaryCli, EditsKeepLinksAndPermissions)
{
    const std::string link = m_folder / "link";
    WriteFile(File(), "a,1\n");
    fs::permissions(File(), fs::perms(0640));
    fs::create_symlink(File(), link);
    EXPECT_EQ(Program({link, "add", "b", "2"}).Run().status, 0);
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(ReadFile(File()), "a,1\nb,2\n");
    EXPECT_EQ(fs::status(File()).permissions(), fs::perms(0640));
    EXPECT_EQ(FilesInFolder(), 2U);
}

TEST_F(DictionaryCli, NewFilesComeIntoBeing)
{
    const mode_t mask = umask(027);
    EXPECT_EQ(Run({"add", "sql", "sequel"}).status, 0);
    umask(mask);
    EXPECT_EQ(ReadFile(File()), "sql,sequel\n");
    EXPECT_EQ(fs::status(File()).permissions(), fs::perms(0640));
}

// A file size limit stands for a full disk: the program must not have touched the old file by then.
TEST_F(DictionaryCli, AnEditThatDoesNotFitLeavesTheOldFile)
{
    std::string text;
    for (int i = 0; i < 1000; ++i)
        text += "word" + std::to_string(i) + ",number\n";
    WriteFile(File(), text);
    rlimit before = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit small = {text.size(), before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const Result result = Run({"add", "one", "more"});
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    EXPECT_EQ(result.status, 4);
    EXPECT_NE(result.err, "");
    EXPECT_EQ(ReadFile(File()), text);
    EXPECT_EQ(FilesInFolder(), 1U);
}

TEST_F(DictionaryCli, ReadOnlyFilesAreRefusedToTheUnprivileged)
{
    WriteFile(File(), "a,1\n");
    fs::permissions(File(), fs::perms(0444));
    fs::permissions(m_folder.Path(), fs::perms(0777));
    ChildProcess child = Program({File(), "add", "b", "2"});
    child.unprivileged = true;
    EXPECT_EQ(child.Run().status, 4);
    EXPECT_EQ(ReadFile(File()), "a,1\n");
    EXPECT_EQ(FilesInFolder(), 1U);
}

} // namespace
