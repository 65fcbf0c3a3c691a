// Temporary files and their journal. MIT licence.
#include "core/qxtempfile.h"

#include <random>
#include <unordered_set>
#include <wx/app.h>
#include <wx/convauto.h>
#include <wx/datetime.h>
#include <wx/ffile.h>
#include <wx/file.h>
#include <wx/hashmap.h>
#include <wx/stdpaths.h>
#include <wx/textfile.h>
#include <wx/utils.h>

#include "common/logging.h"
#include "common/timesource.h"
#include "core/filelock.h"

template class QXSingleton<QXTempFileMan>;

using qxspeech::FileLock;

namespace
{

const char kJournalName[] = "_qxtempfiles.txt";
const char kLockName[] = "_qxtempfiles.lock";
constexpr int kTries = 100;
constexpr int kRandomLength = 10;

wxString RandomPart()
{
    static const char characters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    std::random_device source;
    std::uniform_int_distribution<size_t> index(0, sizeof(characters) - 2);
    wxString text;
    for (int i = 0; i < kRandomLength; ++i)
        text += characters[index(source)];
    return text;
}

// A journal that somebody tampered with must not reach beyond the folder.
bool IsPlainName(const wxString& name)
{
    return name.find_first_of("/\\") == wxString::npos && name != "." && name != "..";
}

// What belongs to "x.zip": a folder "x" that it was unpacked into.
void DeleteUnpacked(const wxFileName& file)
{
    const wxString stem = file.GetPathWithSep() + file.GetName();
    if (file.GetExt() == "zip" && !file.GetName().empty() && IsPlainName(file.GetName()) && wxDirExists(stem))
        wxFileName::Rmdir(stem, wxPATH_RMDIR_RECURSIVE);
}

void MakeDir(const wxString& dir)
{
    const wxLogNull noLog;
    if (!wxFileName::DirExists(dir))
        wxFileName::Mkdir(dir, wxS_DIR_DEFAULT, wxPATH_MKDIR_FULL);
}

// Also one that an earlier version made for all to read.
void MakePrivateDir(const wxString& dir)
{
    const wxLogNull noLog;
    constexpr int kOwner = wxS_IRUSR | wxS_IWUSR | wxS_IXUSR;
    if (!wxFileName::Mkdir(dir, kOwner))
        wxFileName::DirName(dir).SetPermissions(kOwner);
}

void ReadNames(const wxString& journal, wxArrayString& names)
{
    wxTextFile file;
    if (!file.Open(journal, wxConvAuto()))
        return;
    for (size_t i = 0; i < file.GetLineCount(); ++i) {
        const wxString name = wxString(file[i]).Trim(true).Trim(false);
        if (!name.empty())
            names.Add(name);
    }
}

} // namespace

QXTempFileMan::QXTempFileMan() : m_dirChosen(false), m_process(wxGetProcessId()), m_dirLock(nullptr)
{
    UseDefaultDir();
}

// What a fork left here belongs to the process that was forked.
QXTempFileMan::~QXTempFileMan()
{
    if (m_process == wxGetProcessId())
        Leave();
    delete m_dirLock;
}

// Without an application wxWidgets has no name for its folder, so the first call behind one settles it.
void QXTempFileMan::UseDefaultDir()
{
    if (m_dirChosen || !wxAppConsole::GetInstance())
        return;
    wxFileName dir = wxFileName::DirName(wxStandardPaths::Get().GetUserDataDir());
    MakeDir(dir.GetPath());
    dir.AppendDir("temp");
    m_dirChosen = true;
    MakePrivateDir(dir.GetPath());
    SetTempDir(dir.GetPath());
}

void QXTempFileMan::SetTempDir(const wxString& dir)
{
    const wxCriticalSectionLocker lock(m_critsect);
    if (dir.empty())
        return;
    m_dirChosen = true;
    MakeDir(dir);
    if (!wxFileName::IsDirWritable(dir)) {
        QX_LOG("TempDir not writable: %s", dir);
        return;
    }
    RestartAfterFork();
    Leave();
    m_tempDir.AssignDir(dir);
    QX_LOG("TempDir: %s", dir);
    Enter();
}

wxString QXTempFileMan::CreateTempFile(const wxString& extension)
{
    const wxCriticalSectionLocker lock(m_critsect);
    QXTempFileMan* const manager = Get(); // under the lock, so that nobody destroys it meanwhile
    manager->UseDefaultDir();
    const wxString name = manager->m_dirChosen ? manager->MakeName(extension) : wxString();
    if (name.empty()) {
        QX_LOG("Unable to create temp file");
        return wxString();
    }
    manager->RestartAfterFork();
    manager->m_names.Add(name);
    manager->AppendToJournal(name);
    return manager->Path(name);
}

// Empty if every name tried is taken.
wxString QXTempFileMan::MakeName(const wxString& extension)
{
    for (int i = 0; i < kTries; ++i) {
        const wxDateTime::Tm now = wxDateTime(wxLongLong(qxspeech::TimeSource::Get().UtcMs())).GetTm();
        const wxString name = wxString::Format(
            "qx_%04d%02d%02d_%02d%02d%02d_%s.%s", now.year, now.mon + 1, static_cast<int>(now.mday),
            static_cast<int>(now.hour), static_cast<int>(now.min), static_cast<int>(now.sec), RandomPart(), extension);
        if (!wxFileExists(Path(name)))
            return name;
    }
    return wxString();
}

// In a forked copy that goes on by itself: the names stay the other's, and a lock of its own takes the place of the
// inherited one.
void QXTempFileMan::RestartAfterFork()
{
    if (m_process == wxGetProcessId())
        return;
    m_process = wxGetProcessId();
    m_names.Clear();
    if (m_dirLock)
        Enter();
}

void QXTempFileMan::Enter()
{
    const wxLogNull noLog;
    for (int i = 0; i < kTries; ++i) {
        delete m_dirLock;
        m_dirLock = new FileLock(Path(kLockName));
        const FileLock::Edit edit(*m_dirLock);
        if (!m_dirLock->IsInPlace())
            continue; // somebody left and took the file away
        if (m_dirLock->TryAlone())
            LoadJournal();
        m_dirLock->BePresent();
        return;
    }
}

void QXTempFileMan::Leave()
{
    const wxLogNull noLog;
    if (!m_dirLock) {
        DeleteFiles();
        return;
    }
    {
        const FileLock::Edit edit(*m_dirLock);
        if (m_dirLock->TryAlone()) {
            LoadJournal();
            m_dirLock->RemoveFile();
        } else {
            RemoveLines();
        }
    }
    delete m_dirLock;
    m_dirLock = nullptr;
}

// Under the edit lock and alone: what the journal names goes away, and the journal with it.
void QXTempFileMan::LoadJournal()
{
    const wxString journal = Path(kJournalName);
    if (wxFileExists(journal))
        ReadNames(journal, m_names);
    DeleteFiles();
    if (wxFileExists(journal))
        wxRemoveFile(journal);
}

void QXTempFileMan::DeleteFiles()
{
    for (const wxString& name : m_names) {
        if (!IsPlainName(name))
            continue;
        const wxString path = Path(name);
        if (wxFileExists(path))
            wxRemoveFile(path);
        DeleteUnpacked(wxFileName(path));
    }
    m_names.Clear();
}

// Under the edit lock, beside others: takes the own files away, and their names out of what the others go on with.
void QXTempFileMan::RemoveLines()
{
    wxArrayString lines;
    ReadNames(Path(kJournalName), lines);
    const std::unordered_set<wxString, wxStringHash, wxStringEqual> own(m_names.begin(), m_names.end());
    wxString rest;
    for (const wxString& line : lines) {
        if (own.count(line) == 0)
            rest += line + wxTextFile::GetEOL();
    }
    DeleteFiles();
    wxTempFile file;
    if (file.Open(Path(kJournalName)) && file.Write(rest, wxConvUTF8))
        file.Commit();
}

// Without a journal, as without a folder, the file is still removed at a normal end.
void QXTempFileMan::AppendToJournal(const wxString& name)
{
    if (!m_dirLock)
        return;
    const wxLogNull noLog;
    const FileLock::Edit edit(*m_dirLock);
    wxFFile journal;
    if (journal.Open(Path(kJournalName), "a+"))
        journal.Write(name + "\n", wxConvAuto());
}

wxString QXTempFileMan::Path(const wxString& name) const
{
    return m_tempDir.GetPathWithSep() + name;
}
