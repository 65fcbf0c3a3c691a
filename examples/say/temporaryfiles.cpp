// One list for the process, as the library's maker of files is a plain function. MIT licence.
#include "temporaryfiles.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <vector>

#include "../common/interrupt.h"
#include "console.h"
#include "exitstatus.h"
#include "leftovers.h"
#include "speech/tts.h"

namespace say
{
namespace
{

std::vector<std::string> g_paths;
std::vector<int> g_locks; // on these files
wxString g_libraryError;

[[noreturn]] void Fail(int error)
{
    throw Failure{kExitFile,
                  wxString::FromUTF8(TemporaryFolder().c_str()) + ": " + wxString::FromUTF8(std::strerror(error))};
}

// An open descriptor; the path is the last of the list. Throws Failure.
int Open(const std::string& prefix)
{
    std::string name = TemporaryFolder() + "/" + kTemporaryPrefix + prefix + "-XXXXXX";
    if (wxString::FromUTF8(name.c_str()).empty())
        Fail(EILSEQ); // the library takes paths as Unicode text
    const int file = mkostemp(&name[0], O_CLOEXEC);
    if (file < 0)
        Fail(errno);
    g_paths.push_back(name);
    g_locks.push_back(HoldLock(name));
    RegisterTemporaryFile(name);
    return file;
}

wxString LastPath()
{
    return wxString::FromUTF8(g_paths.back().c_str());
}

wxString MakeForLibrary(const wxString& prefix)
{
    try {
        close(Open(std::string(prefix.utf8_str())));
        return LastPath();
    } catch (const Failure& failure) {
        g_libraryError = failure.text;
        return wxString();
    }
}

} // namespace

std::string TemporaryFolder()
{
    const char* const folder = std::getenv("TMPDIR");
    return folder && *folder ? folder : "/tmp";
}

TemporaryFiles::TemporaryFiles()
{
    RemoveLeftovers(TemporaryFolder());
    QXTextToSpeech::SetTempFileFunction(&MakeForLibrary);
}

// The library has removed some of them by now.
TemporaryFiles::~TemporaryFiles()
{
    QXTextToSpeech::SetTempFileFunction(nullptr);
    for (const std::string& path : g_paths) {
        unlink(path.c_str());
        ForgetTemporaryFile(path);
    }
    g_paths.clear();
    for (const int lock : g_locks) {
        if (lock >= 0)
            close(lock);
    }
    g_locks.clear();
}

wxString TemporaryFiles::Make()
{
    return MakeWith(std::string());
}

wxString TemporaryFiles::MakeWith(const std::string& bytes)
{
    const int file = Open("text");
    const int error = WriteAll(file, bytes);
    close(file);
    if (error != 0)
        Fail(error);
    return LastPath();
}

wxString TemporaryFiles::LibraryError()
{
    return g_libraryError;
}

} // namespace say
