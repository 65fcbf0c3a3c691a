// A failure here never ends the program: it speaks without cache and history, too. MIT licence.
#include "userfiles.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include "console.h"

namespace say
{
namespace
{

constexpr off_t kMaxBytes = 64 * 1024 * 1024;

std::string Folder(const char* variable, const char* belowHome)
{
    const char* const named = std::getenv(variable);
    if (named && *named == '/')
        return std::string(named) + "/qxspeech";
    const char* const home = std::getenv("HOME");
    return home && *home == '/' ? std::string(home) + belowHome : std::string();
}

bool MakeFolder(const std::string& file)
{
    namespace fs = std::filesystem;
    const fs::path folder = fs::path(file).parent_path();
    std::error_code error;
    if (fs::is_directory(folder, error))
        return true;
    fs::create_directories(folder.parent_path(), error);
    return mkdir(folder.c_str(), 0700) == 0 || fs::is_directory(folder, error);
}

bool WriteWhole(int file, const std::string& bytes)
{
    const bool written = WriteAll(file, bytes) == 0 && fsync(file) == 0;
    return close(file) == 0 && written;
}

} // namespace

std::string CacheFolder()
{
    return Folder("XDG_CACHE_HOME", "/.cache/qxspeech");
}

std::string StateFolder()
{
    return Folder("XDG_STATE_HOME", "/.local/state/qxspeech");
}

std::string ReadUserFile(const std::string& path)
{
    std::string bytes;
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0)
        return bytes;
    struct stat info = {};
    if (fstat(file, &info) == 0 && S_ISREG(info.st_mode) && info.st_size <= kMaxBytes) {
        bytes.resize(static_cast<size_t>(info.st_size));
        size_t done = 0;
        ssize_t count = 0;
        while (done < bytes.size() && (count = read(file, &bytes[done], bytes.size() - done)) > 0)
            done += static_cast<size_t>(count);
        bytes.resize(done);
    }
    close(file);
    return bytes;
}

bool ReplaceUserFile(const std::string& path, const std::string& bytes)
{
    if (!MakeFolder(path))
        return false;
    std::string temporary = path + ".XXXXXX";
    const int file = mkostemp(&temporary[0], O_CLOEXEC);
    if (file < 0)
        return false;
    if (WriteWhole(file, bytes) && rename(temporary.c_str(), path.c_str()) == 0)
        return true;
    unlink(temporary.c_str());
    return false;
}

UserLock::UserLock(const std::string& path) : m_file(-1)
{
    if (MakeFolder(path))
        m_file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (m_file >= 0)
        flock(m_file, LOCK_EX);
}

UserLock::~UserLock()
{
    if (m_file >= 0)
        close(m_file);
}

} // namespace say
