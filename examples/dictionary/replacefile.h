// Reads a file's bytes, and puts new ones in their place without ever losing the old. MIT licence.
#ifndef QXSPEECH_EXAMPLES_DICTIONARY_REPLACEFILE_H
#define QXSPEECH_EXAMPLES_DICTIONARY_REPLACEFILE_H

#include <csignal>
#include <string>
#include <sys/types.h>
#include <wx/string.h>

namespace dictionary
{

// Throws Failure (kExitFile).
[[noreturn]] void FailOn(const wxString& file, const wxString& reason);

// Bytes of a regular file; a missing one is empty if mayBeMissing. Throws Failure (kExitFile).
std::string ReadBytes(const wxString& file, bool mayBeMissing);

// A new file beside the old one, written and read back by the constructor, with the old one's permissions; a link
// stays a link. Until Commit the old file is as it was; the destructor removes the new one if it is not committed.
// Signals that ask for the end wait for the destructor. The constructor and Commit throw Failure (kExitFile).
class FileReplacement
{
public:
    FileReplacement(const wxString& file, const std::string& bytes);
    ~FileReplacement();
    FileReplacement(const FileReplacement&) = delete;
    FileReplacement& operator=(const FileReplacement&) = delete;

    wxString NewFile() const { return wxString::FromUTF8(m_temporary.c_str()); }
    void Commit();

private:
    // Holds signals back for its lifetime.
    class SignalDelay
    {
    public:
        SignalDelay();
        ~SignalDelay();
        SignalDelay(const SignalDelay&) = delete;
        SignalDelay& operator=(const SignalDelay&) = delete;

    private:
        sigset_t m_previous;
    };

    void FindTarget();
    [[noreturn]] void Fail(int error);

    const SignalDelay m_delay;
    const wxString m_file;
    std::string m_target; // links resolved
    std::string m_temporary;
    mode_t m_mode = 0;
    uid_t m_owner = 0;
    gid_t m_group = 0;
    bool m_exists = false;
};

} // namespace dictionary

#endif
