// Locks on two bytes of a file, each held by the open file itself. MIT licence.
#include "core/filelock.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qxspeech
{
namespace
{

constexpr off_t kPresenceByte = 0;
constexpr off_t kEditByte = 1;

// False only if others are in the way; a file system without locks is in nobody's way.
bool SetLock(int file, int command, short type, off_t byte)
{
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = byte;
    lock.l_len = 1;
    int result = 0;
    do
        result = fcntl(file, command, &lock);
    while (result != 0 && errno == EINTR);
    return result == 0 || (errno != EAGAIN && errno != EACCES);
}

} // namespace

FileLock::FileLock(const wxString& path) : m_path(path), m_file(open(path.fn_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666))
{
}

FileLock::~FileLock()
{
    if (m_file >= 0)
        close(m_file);
}

bool FileLock::TryAlone()
{
    return SetLock(m_file, F_OFD_SETLK, F_WRLCK, kPresenceByte);
}

void FileLock::BePresent()
{
    SetLock(m_file, F_OFD_SETLKW, F_RDLCK, kPresenceByte);
}

void FileLock::BeginEdit()
{
    SetLock(m_file, F_OFD_SETLKW, F_WRLCK, kEditByte);
}

bool FileLock::IsInPlace() const
{
    struct stat opened = {};
    struct stat present = {};
    return m_file < 0 || fstat(m_file, &opened) != 0 ||
           (stat(m_path.fn_str(), &present) == 0 && present.st_dev == opened.st_dev && present.st_ino == opened.st_ino);
}

void FileLock::RemoveFile()
{
    if (m_file >= 0 && IsInPlace())
        unlink(m_path.fn_str());
}

void FileLock::EndEdit()
{
    SetLock(m_file, F_OFD_SETLK, F_UNLCK, kEditByte);
}

} // namespace qxspeech
