// Output files by descriptor, so that waiting for a reader can be interrupted. MIT licence.
#include "output.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <vector>
#include <wx/filename.h>

#include "../common/interrupt.h"
#include "audiofile.h"
#include "console.h"
#include "exitstatus.h"
#include "leftovers.h"
#include "temporaryfiles.h"

namespace say
{
namespace
{

constexpr int kPipePollMs = 50;
// A pipe that polls as writable takes this much without blocking.
constexpr size_t kPipeBytes = PIPE_BUF;

// A descriptor that is closed with its scope.
class File
{
public:
    explicit File(int file) : m_file(file) {}
    ~File()
    {
        if (m_file >= 0)
            close(m_file);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    operator int() const { return m_file; }

private:
    const int m_file;
};

std::string FolderOf(const std::string& path)
{
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

mode_t NewFileMode()
{
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

bool IsStandardOutput(const struct stat& info)
{
    struct stat output = {};
    return HasStandardOutput() && fstat(STDOUT_FILENO, &output) == 0 && output.st_dev == info.st_dev &&
           output.st_ino == info.st_ino;
}

std::string ResolveLinks(const std::string& path)
{
    char* const resolved = realpath(path.c_str(), nullptr);
    std::string result = resolved ? resolved : path;
    std::free(resolved);
    return result;
}

// The library takes paths as Unicode text.
bool IsUtf8(const std::string& path)
{
    return path.empty() || !wxString::FromUTF8(path.c_str()).empty();
}

} // namespace

OutputTarget::OutputTarget(const std::string& path, Content content)
    : m_name(wxString::FromUTF8(path.c_str())), m_content(content)
{
    if (m_name.empty())
        m_name = "the output file";
    ChooseWay(path);
    if (m_way != Way::kRename && !MakeTemporaryFile(TemporaryFolder(), 0600)) {
        const int error = errno;
        m_name = wxString::FromUTF8(TemporaryFolder().c_str());
        Fail(error);
    }
}

OutputTarget::~OutputTarget()
{
    DropTemporaryFile();
}

void OutputTarget::ChooseWay(const std::string& path)
{
    m_target = path;
    if (path == "-") {
        m_name = "standard output";
        m_way = Way::kCopyToStandardOutput;
        if (!HasStandardOutput())
            throw Failure{kExitFile, "standard output is closed"};
        return;
    }
    struct stat info = {};
    if (stat(path.c_str(), &info) == 0) {
        ChooseWayToExisting(path);
        return;
    }
    if (errno != ENOENT)
        Fail(errno);
    // A link that leads nowhere is left to open: the file is made where it points to.
    if (lstat(path.c_str(), &info) == 0) {
        m_way = Way::kCopyToFile;
        const std::string folder = FolderOf(path);
        if (access(folder.c_str(), W_OK) != 0)
            Fail(errno);
        return;
    }
    if (!IsUtf8(FolderOf(path)))
        m_way = Way::kCopyToFile;
    else if (!MakeTemporaryFile(FolderOf(path), NewFileMode()))
        Fail(errno);
}

void OutputTarget::ChooseWayToExisting(const std::string& path)
{
    struct stat info = {};
    if (stat(path.c_str(), &info) != 0)
        Fail(errno);
    if (S_ISDIR(info.st_mode))
        Fail(EISDIR);
    if (IsStandardOutput(info)) {
        m_way = Way::kCopyToStandardOutput;
        return;
    }
    if (access(path.c_str(), W_OK) != 0)
        Fail(errno);
    m_way = Way::kCopyToFile;
    if (!S_ISREG(info.st_mode))
        return;
    m_target = ResolveLinks(path); // a link stays a link
    const std::string folder = FolderOf(m_target);
    if (!IsUtf8(folder) || !MakeTemporaryFile(folder, info.st_mode & 07777))
        return;
    // Only root may give files away; otherwise the new file is the caller's own.
    [[maybe_unused]] const int given = chown(m_temporary.c_str(), info.st_uid, info.st_gid);
    m_way = Way::kRename;
}

bool OutputTarget::MakeTemporaryFile(const std::string& folder, mode_t mode)
{
    RemoveLeftovers(folder);
    const std::string pattern =
        folder + "/" + kTemporaryPrefix + (m_content == Content::kText ? "XXXXXX.txt" : "XXXXXX.wav");
    std::vector<char> name(pattern.c_str(), pattern.c_str() + pattern.size() + 1);
    const File file(mkostemps(name.data(), 4, O_CLOEXEC));
    if (file < 0)
        return false;
    m_temporary = name.data();
    m_lock = HoldLock(m_temporary);
    RegisterTemporaryFile(m_temporary);
    // A file system without modes is no reason to refuse.
    [[maybe_unused]] const int changed = fchmod(file, mode);
    return true;
}

wxString OutputTarget::SpeechFile() const
{
    return wxString::FromUTF8(m_temporary.c_str());
}

void OutputTarget::WriteText(const std::string& bytes)
{
    const File file(open(m_temporary.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
    const int error = file < 0 ? errno : WriteAll(file, bytes);
    if (error != 0)
        Fail(error);
}

void OutputTarget::RequireRoom() const
{
    struct statvfs info = {};
    if (statvfs(m_temporary.c_str(), &info) == 0 && info.f_blocks > 0 && info.f_bfree == 0)
        Fail(ENOSPC);
}

void OutputTarget::RequireAudio(const wxString& engine) const
{
    const uint64_t size = SpeechBytes();
    const bool isWhole = size >= AnnouncedBytes(m_temporary);
    RequireRoom();
    if (size == 0)
        throw Failure{kExitRefused, engine + " gave no audio"};
    if (!isWhole)
        throw Failure{kExitFile, m_name + ": the speech could not be written whole"};
    if (!HoldsSound(m_temporary))
        throw Failure{kExitRefused, engine + " gave an answer that is no audio"};
}

uint64_t OutputTarget::SpeechBytes() const
{
    struct stat info = {};
    return stat(m_temporary.c_str(), &info) == 0 ? static_cast<uint64_t>(info.st_size) : 0;
}

void OutputTarget::Commit()
{
    // The engine empties what it cannot finish, and says nothing more.
    if (SpeechBytes() == 0)
        throw Failure{kExitFile, m_name + ": the speech could not be written (is the disk full?)"};
    if (m_content == Content::kSpeech)
        WarnOfExtension();
    if (m_way == Way::kRename)
        Rename();
    else
        CopyToTarget();
}

void OutputTarget::WarnOfExtension() const
{
    wxString extension;
    wxFileName::SplitPath(m_name, nullptr, nullptr, &extension);
    const wxString format = AudioFormatOf(m_temporary);
    for (const char* known : {"wav", "mp3", "ogg", "oga", "opus", "flac", "m4a", "aac"})
        if (!format.empty() && extension.CmpNoCase(known) == 0 && extension.CmpNoCase(format) != 0)
            PrintError("warning: " + m_name + " holds " + format + " data, not " + extension);
}

void OutputTarget::Rename()
{
    if (rename(m_temporary.c_str(), m_target.c_str()) != 0)
        Fail(errno);
    ForgetTemporaryFile(m_temporary);
    m_temporary.clear();
    ReleaseLock();
}

void OutputTarget::CopyToTarget()
{
    if (m_way == Way::kCopyToStandardOutput) {
        CopyTo(STDOUT_FILENO);
        return;
    }
    const File target(OpenTarget());
    CopyTo(target);
}

int OutputTarget::OpenTarget()
{
    for (;;) {
        ThrowIfInterrupted();
        const int file = open(m_target.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0666);
        if (file >= 0)
            return file;
        if (errno != ENXIO && errno != EINTR)
            Fail(errno);
        poll(nullptr, 0, kPipePollMs); // a FIFO that nobody reads yet
    }
}

void OutputTarget::CopyTo(int target)
{
    const File source(open(m_temporary.c_str(), O_RDONLY | O_CLOEXEC));
    char block[kPipeBytes];
    ssize_t count = 0;
    while (source >= 0 && (count = read(source, block, sizeof(block))) > 0) {
        ssize_t done = 0;
        while (done < count) {
            pollfd entry{target, POLLOUT, 0};
            ThrowIfInterrupted();
            if (poll(&entry, 1, kPipePollMs) <= 0)
                continue;
            const ssize_t written = write(target, block + done, static_cast<size_t>(count - done));
            if (written > 0)
                done += written;
            else if (errno != EINTR && errno != EAGAIN)
                Fail(errno);
        }
    }
    if (source < 0 || count < 0)
        Fail(errno);
}

void OutputTarget::Fail(int error) const
{
    throw Failure{kExitFile, m_name + ": " + wxString::FromUTF8(std::strerror(error))};
}

void OutputTarget::DropTemporaryFile()
{
    if (m_temporary.empty())
        return;
    unlink(m_temporary.c_str());
    ForgetTemporaryFile(m_temporary);
    m_temporary.clear();
    ReleaseLock();
}

void OutputTarget::ReleaseLock()
{
    if (m_lock >= 0)
        close(m_lock);
    m_lock = -1;
}

} // namespace say
