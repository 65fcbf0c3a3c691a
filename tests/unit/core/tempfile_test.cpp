// Temporary files by several processes, killed ones among them. The program is its own child. MIT licence.
#include "core/qxtempfile.h"

#include <algorithm>
#include <atomic>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iostream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <wx/app.h>
#include <wx/init.h>
#include <wx/stdpaths.h>

#include "support/log_capture.h"
#include "support/run_tests.h"
#include "support/scratch_dir.h"
#include "support/stepped_time.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

namespace
{

namespace fs = std::filesystem;

const char* const kJournal = "_qxtempfiles.txt";
const char* const kLock = "_qxtempfiles.lock";

std::string Utf8(const wxString& text)
{
    return std::string(text.utf8_str());
}

void Touch(const std::string& path)
{
    std::ofstream(path) << "audio";
}

std::vector<std::string> Lines(const std::string& path)
{
    std::vector<std::string> lines;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

// Everything in the folder but the lock file.
std::vector<std::string> Entries(const std::string& folder)
{
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        if (entry.path().filename() != kLock)
            names.push_back(entry.path().filename().string());
    }
    return names;
}

std::string NameOf(const std::string& path)
{
    return fs::path(path).filename().string();
}

// Obeys its input: "make" makes a temporary file and prints its path, "end" or the end of input exits.
int RunChild(const char* folder)
{
    const wxInitializer wx;
    QXSingleton<QXTempFileMan>::Get()->SetTempDir(wxString::FromUTF8(folder));
    std::cout << "ready" << std::endl;
    for (std::string order; std::getline(std::cin, order) && order == "make";) {
        const std::string path = Utf8(QXTempFileMan::CreateTempFile("wav"));
        Touch(path);
        std::cout << path << std::endl;
    }
    return 0;
}

class Child
{
public:
    Child(const std::string& folder, const std::string& home)
    {
        int in[2];
        int out[2];
        if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe");
        m_process = fork();
        if (m_process == 0) {
            dup2(in[0], STDIN_FILENO);
            dup2(out[1], STDOUT_FILENO);
            setenv("HOME", home.c_str(), 1);
            execl("/proc/self/exe", "tempfile", "--child", folder.c_str(), nullptr);
            _exit(127);
        }
        close(in[0]);
        close(out[1]);
        m_in = in[1];
        m_out = fdopen(out[0], "r");
        ReadLine();
    }
    ~Child()
    {
        if (m_process > 0)
            End();
        fclose(m_out);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    std::string Make()
    {
        EXPECT_EQ(write(m_in, "make\n", 5), 5);
        return ReadLine();
    }
    void End()
    {
        close(m_in);
        EXPECT_EQ(Wait(), 0);
    }
    void Kill()
    {
        kill(m_process, SIGKILL);
        Wait();
        close(m_in);
    }

private:
    std::string ReadLine()
    {
        char line[4096] = "";
        if (!fgets(line, sizeof(line), m_out))
            ADD_FAILURE() << "the child says nothing";
        return std::string(line, std::strcspn(line, "\n"));
    }
    int Wait()
    {
        int status = -1;
        waitpid(m_process, &status, 0);
        m_process = 0;
        return status;
    }

    pid_t m_process = 0;
    int m_in = -1;
    FILE* m_out = nullptr;
};

class TempFiles : public testing::Test
{
protected:
    void SetUp() override
    {
        setenv("HOME", m_home.Path().c_str(), 1);
        m_folder = m_home / "fold\xc3\xa9r";
    }
    void TearDown() override { QXTempFileMan::DestroyInstance(); }
    std::string Make() { return Utf8(QXTempFileMan::CreateTempFile("wav")); }
    void UseFolder() { QXSingleton<QXTempFileMan>::Get()->SetTempDir(wxString::FromUTF8(m_folder)); }
    std::string operator/(const std::string& name) const { return m_folder + "/" + name; }

    const ScratchDir m_home;
    std::string m_folder; // made by the manager
};

} // namespace

TEST_F(TempFiles, NamesLieInTheUserDataFolderAndAreNotMade)
{
    const SteppedTime time; // about noon in UTC
    const std::string path = Make();
    const std::string folder = Utf8(wxStandardPaths::Get().GetUserDataDir()) + "/temp";
    EXPECT_EQ(fs::path(path).parent_path().string(), folder);
    EXPECT_EQ(fs::status(folder).permissions(), fs::perms(0700));
    EXPECT_THAT(NameOf(path), testing::MatchesRegex("qx_20261118_[0-9]{6}_[a-z0-9]{10}\\.wav"));
    EXPECT_FALSE(fs::exists(path));
    EXPECT_NE(Make(), path);
}

TEST_F(TempFiles, JournalHoldsBareNamesAndEverythingIsGoneAtTheEnd)
{
    UseFolder();
    const std::vector<std::string> paths = {Make(), Make(), Make()};
    Touch(paths[0]);
    Touch(paths[2]);
    EXPECT_THAT(Lines(*this / kJournal), ElementsAre(NameOf(paths[0]), NameOf(paths[1]), NameOf(paths[2])));
    EXPECT_TRUE(fs::exists(*this / kLock));
    QXTempFileMan::DestroyInstance();
    EXPECT_TRUE(fs::is_empty(m_folder));
}

TEST_F(TempFiles, JournalOfACrashIsWorkedOffInsideTheFolderOnly)
{
    fs::create_directories(*this / "pack/inner");
    for (const char* name : {"old.wav", "sp ace.mp3", "pack.zip", ".zip", "pack/inner/x", "stays.wav"})
        Touch(*this / name);
    Touch(m_home / "outside.wav");
    std::ofstream(*this / kJournal) << "  old.wav  \n\n \t \nsp ace.mp3\r\ngone.wav\npack.zip\n.zip\n../outside.wav\n"
                                    << m_home / "outside.wav"
                                    << "\n..\n";
    UseFolder();
    EXPECT_THAT(Entries(m_folder), UnorderedElementsAre("stays.wav"));
    EXPECT_TRUE(fs::exists(m_home / "outside.wav"));
}

TEST_F(TempFiles, LeavingAFolderCleansIt)
{
    LogCapture log;
    UseFolder();
    Touch(Make());
    QXSingleton<QXTempFileMan>::Get()->SetTempDir(wxString());
    EXPECT_THAT(Entries(m_folder), SizeIs(2));
    QXSingleton<QXTempFileMan>::Get()->SetTempDir(wxString::FromUTF8(m_home / "next/one"));
    EXPECT_THAT(Entries(m_folder), IsEmpty());
    EXPECT_EQ(fs::path(Make()).parent_path().string(), m_home / "next/one");
    ASSERT_FALSE(log.records.empty());
    EXPECT_EQ(log.records.back().text, "TempDir: " + wxString::FromUTF8(m_home / "next/one"));
}

TEST_F(TempFiles, FolderThatCannotBeWrittenChangesNothing)
{
    UseFolder();
    Touch(m_home / "file");
    LogCapture log;
    QXSingleton<QXTempFileMan>::Get()->SetTempDir(wxString::FromUTF8(m_home / "file/dir"));
    ASSERT_THAT(log.records, SizeIs(1));
    EXPECT_EQ(log.records[0].text, "TempDir not writable: " + wxString::FromUTF8(m_home / "file/dir"));
    EXPECT_EQ(fs::path(Make()).parent_path().string(), m_folder);
}

TEST_F(TempFiles, WithoutAnApplicationThereIsNoNameUntilAFolderIsSet)
{
    wxAppConsole* const app = wxAppConsole::GetInstance();
    wxAppConsole::SetInstance(nullptr);
    LogCapture log;
    EXPECT_EQ(Make(), "");
    ASSERT_THAT(log.records, SizeIs(1));
    EXPECT_EQ(log.records[0].text, "Unable to create temp file");
    UseFolder();
    EXPECT_EQ(fs::path(Make()).parent_path().string(), m_folder);
    wxAppConsole::SetInstance(app);
}

TEST_F(TempFiles, ProcessesThatShareAFolderTakeAwayOnlyTheirOwn)
{
    Child first(m_folder, m_home.Path());
    Child second(m_folder, m_home.Path());
    const std::string firstPath = first.Make();
    const std::string secondPath = second.Make();
    const Child late(m_folder, m_home.Path());
    EXPECT_THAT(Lines(*this / kJournal), ElementsAre(NameOf(firstPath), NameOf(secondPath)));
    first.End();
    EXPECT_THAT(Entries(m_folder), UnorderedElementsAre(kJournal, NameOf(secondPath)));
    EXPECT_THAT(Lines(*this / kJournal), ElementsAre(NameOf(secondPath)));
    second.End();
    EXPECT_THAT(Entries(m_folder), UnorderedElementsAre(kJournal));
}

TEST_F(TempFiles, NextRunRemovesWhatAKilledProcessLeft)
{
    Child killed(m_folder, m_home.Path());
    const std::string path = killed.Make();
    killed.Kill();
    EXPECT_THAT(Entries(m_folder), UnorderedElementsAre(kJournal, NameOf(path)));
    UseFolder();
    EXPECT_THAT(Entries(m_folder), IsEmpty());
}

TEST_F(TempFiles, LastProcessRemovesWhatAKilledOneLeftBesideIt)
{
    Child killed(m_folder, m_home.Path());
    Child last(m_folder, m_home.Path());
    killed.Make();
    last.Make();
    killed.Kill();
    last.End();
    EXPECT_TRUE(fs::is_empty(m_folder));
}

TEST_F(TempFiles, NamesAreMadeWhileAnotherThreadDestroysTheInstance)
{
    std::atomic<bool> done{false};
    std::thread other([&] {
        while (!done)
            QXTempFileMan::DestroyInstance();
    });
    for (int i = 0; i < 300; ++i)
        EXPECT_NE(Make(), "");
    done = true;
    other.join();
}

TEST_F(TempFiles, ForkedCopyLeavesTheFilesOfItsOrigin)
{
    UseFolder();
    const std::string path = Make();
    Touch(path);
    const pid_t copy = fork();
    if (copy == 0) {
        Touch(Make());
        QXTempFileMan::DestroyInstance();
        _exit(0);
    }
    waitpid(copy, nullptr, 0);
    EXPECT_THAT(Entries(m_folder), UnorderedElementsAre(kJournal, NameOf(path)));
    EXPECT_THAT(Lines(*this / kJournal), ElementsAre(NameOf(path)));
}

int main(int argc, char** argv)
{
    if (argc == 3 && std::strcmp(argv[1], "--child") == 0)
        return RunChild(argv[2]);
    testing::InitGoogleTest(&argc, argv);
    std::setlocale(LC_ALL, "");
    const wxInitializer wx;
    if (!wx.IsOk())
        return 1;
    wxAppConsole::GetInstance()->SetAppName("qxtempfile-test");
    return RunTests();
}
