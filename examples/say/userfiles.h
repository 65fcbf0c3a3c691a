// What the program keeps between runs: folders of the user, files written whole or not at all. MIT licence.
#ifndef QXSPEECH_EXAMPLES_SAY_USERFILES_H
#define QXSPEECH_EXAMPLES_SAY_USERFILES_H

#include <string>

namespace say
{

// $XDG_CACHE_HOME/qxspeech or ~/.cache/qxspeech, and $XDG_STATE_HOME/qxspeech or ~/.local/state/qxspeech; empty if the
// environment tells neither. As the convention has it, a variable that holds no absolute path does not count.
std::string CacheFolder();
std::string StateFolder();

// The file's bytes; empty if it cannot be read, is no regular file or has more than 64 MiB.
std::string ReadUserFile(const std::string& path);
// Puts a new file in place of the old one, and makes its folder, which only the user can enter. False, with the old one
// untouched, if that fails. Several processes may do it at once.
bool ReplaceUserFile(const std::string& path, const std::string& bytes);

// Holds the lock on a file, which it makes, against other processes; without one if it cannot.
class UserLock
{
public:
    explicit UserLock(const std::string& path);
    ~UserLock();
    UserLock(const UserLock&) = delete;
    UserLock& operator=(const UserLock&) = delete;

private:
    int m_file;
};

} // namespace say

#endif
