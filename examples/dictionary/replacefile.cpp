// By descriptor, so that each failure has its reason. MIT licence.
#include "replacefile.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "../common/console.h"
#include "../common/exitstatus.h"

namespace dictionary
{
namespace
{

wxString SystemText(int error)
{
    return wxString::FromUTF8(std::strerror(error));
}

// False with errno.
bool ReadAll(int file, std::string& bytes)
{
    char block[65536];
    for (;;) {
        const ssize_t count = read(file, block, sizeof(block));
        if (count == 0)
            return true;
        if (count > 0)
            bytes.append(block, static_cast<size_t>(count));
        else if (errno != EINTR)
            return false;
    }
}

bool ReadFile(const std::string& path, std::string& bytes)
{
    // Not to block on a FIFO that has taken the file's place.
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0)
        return false;
    const bool whole = ReadAll(file, bytes);
    const int error = errno;
    close(file);
    errno = error;
    return whole;
}

mode_t NewFileMode()
{
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

std::string FolderOf(const std::string& path)
{
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

} // namespace

void FailOn(const wxString& file, const wxString& reason)
{
    throw tool::Failure{tool::kExitFile, file + ": " + reason};
}

std::string ReadBytes(const wxString& file, bool mayBeMissing)
{
    const std::string path(file.utf8_str());
    struct stat info = {};
    if (stat(path.c_str(), &info) != 0) {
        if (errno == ENOENT && mayBeMissing)
            return std::string();
        FailOn(file, SystemText(errno));
    }
    if (!S_ISREG(info.st_mode))
        FailOn(file, S_ISDIR(info.st_mode) ? SystemText(EISDIR) : "not a regular file");
    std::string bytes;
    if (!ReadFile(path, bytes))
        FailOn(file, SystemText(errno));
    return bytes;
}

FileReplacement::SignalDelay::SignalDelay()
{
    sigset_t held;
    sigemptyset(&held);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
        sigaddset(&held, signal);
    sigprocmask(SIG_BLOCK, &held, &m_previous);
}

FileReplacement::SignalDelay::~SignalDelay()
{
    sigprocmask(SIG_SETMASK, &m_previous, nullptr);
}

FileReplacement::FileReplacement(const wxString& file, const std::string& bytes) : m_file(file)
{
    FindTarget();
    m_temporary = FolderOf(m_target) + "/.qxspeech-XXXXXX";
    const int made = mkostemp(&m_temporary[0], O_CLOEXEC);
    if (made < 0) {
        const int error = errno;
        m_temporary.clear();
        Fail(error);
    }
    // Only root may give files away, and not every file system has modes; neither is a reason to refuse.
    if (m_exists) [[maybe_unused]]
        const int given = fchown(made, m_owner, m_group);
    [[maybe_unused]] const int changed = fchmod(made, m_mode);
    errno = tool::WriteAll(made, bytes);
    bool whole = errno == 0 && fsync(made) == 0;
    int error = errno;
    if (close(made) != 0 && whole) {
        whole = false;
        error = errno;
    }
    if (!whole)
        Fail(error);
    std::string readBack;
    if (!ReadFile(m_temporary, readBack) || readBack != bytes)
        Fail(EIO);
}

FileReplacement::~FileReplacement()
{
    if (!m_temporary.empty())
        unlink(m_temporary.c_str());
}

void FileReplacement::FindTarget()
{
    m_target = std::string(m_file.utf8_str());
    struct stat info = {};
    if (stat(m_target.c_str(), &info) != 0) {
        if (errno != ENOENT)
            Fail(errno);
        if (lstat(m_target.c_str(), &info) == 0)
            FailOn(m_file, "a link that leads nowhere");
        m_mode = NewFileMode();
        return;
    }
    if (access(m_target.c_str(), W_OK) != 0)
        Fail(errno);
    char* const resolved = realpath(m_target.c_str(), nullptr);
    if (!resolved)
        Fail(errno);
    m_target = resolved;
    std::free(resolved);
    m_exists = true;
    m_mode = info.st_mode & 07777;
    m_owner = info.st_uid;
    m_group = info.st_gid;
}

void FileReplacement::Commit()
{
    if (rename(m_temporary.c_str(), m_target.c_str()) != 0)
        Fail(errno);
    m_temporary.clear();
}

void FileReplacement::Fail(int error)
{
    if (!m_temporary.empty()) // a constructor that throws has no destructor
        unlink(m_temporary.c_str());
    m_temporary.clear();
    FailOn(m_file, SystemText(error));
}

} // namespace dictionary
