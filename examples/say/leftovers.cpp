// The lock of flock, which dies with its process. MIT licence.
#include "leftovers.h"

#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace say
{
namespace
{

namespace fs = std::filesystem;

int Lock(const std::string& path, int operation)
{
    const int file = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (file < 0)
        return -1;
    struct stat locked = {};
    struct stat present = {};
    // It may have been removed before the lock was held.
    if (fstat(file, &locked) == 0 && locked.st_uid == geteuid() && flock(file, operation) == 0 &&
        lstat(path.c_str(), &present) == 0 && present.st_dev == locked.st_dev && present.st_ino == locked.st_ino)
        return file;
    close(file);
    return -1;
}

} // namespace

const char kTemporaryPrefix[] = ".qxspeech-tmp-";

int HoldLock(const std::string& path)
{
    return Lock(path, LOCK_EX);
}

void RemoveLeftovers(const std::string& folder)
{
    std::error_code error;
    std::vector<std::string> candidates;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        if (entry->path().filename().string().compare(0, sizeof kTemporaryPrefix - 1, kTemporaryPrefix) == 0)
            candidates.push_back(entry->path().string());
    }
    for (const std::string& path : candidates) {
        const int lock = Lock(path, LOCK_EX | LOCK_NB);
        if (lock < 0)
            continue;
        fs::remove_all(path, error);
        close(lock);
    }
}

} // namespace say
