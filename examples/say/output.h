// The file that is asked for: written as a temporary file, put in place only when it is whole. MIT licence.
#ifndef QXSPEECH_EXAMPLES_SAY_OUTPUT_H
#define QXSPEECH_EXAMPLES_SAY_OUTPUT_H

#include <cstdint>
#include <string>
#include <sys/types.h>
#include <wx/string.h>

namespace say
{

// Made before any work: the constructor finds out whether the target can be written, and throws Failure (kExitFile)
// if not, with the target untouched. Until Commit the target is as it was; the destructor removes the temporary file.
//
//   target                                       temporary file      Commit
//   regular file, or a new name                  beside it           renames
//   "-", a FIFO, a device, a file in a folder
//   that takes no new file                       temporary folder    copies
class OutputTarget
{
public:
    enum class Content { kSpeech, kText };

    // Path as bytes; "-" is standard output.
    OutputTarget(const std::string& path, Content content);
    ~OutputTarget();
    OutputTarget(const OutputTarget&) = delete;
    OutputTarget& operator=(const OutputTarget&) = delete;

    const wxString& Name() const { return m_name; } // of the target, for messages
    // Where the engine is to write.
    wxString SpeechFile() const;
    // Writes a text there in the engine's place. Throws Failure (kExitFile).
    void WriteText(const std::string& bytes);
    // Throws Failure (kExitFile) if the engine has no room to write on.
    void RequireRoom() const;
    // For services, which may answer well without audio, with less than there should be or with something else: throws
    // Failure, kExitRefused without any, kExitFile if it is cut short.
    void RequireAudio(const wxString& engine) const;
    // Bytes there so far.
    uint64_t SpeechBytes() const;
    // Throws Failure: kExitFile if the file is empty or cannot be put in place, kExitInterrupted if the program is to
    // end while it waits for a reader.
    void Commit();

private:
    enum class Way { kRename, kCopyToFile, kCopyToStandardOutput };

    void ChooseWay(const std::string& path);
    void ChooseWayToExisting(const std::string& path);
    bool MakeTemporaryFile(const std::string& folder, mode_t mode);
    void Rename();
    void CopyToTarget();
    void CopyTo(int target);
    int OpenTarget();
    void WarnOfExtension() const;
    [[noreturn]] void Fail(int error) const;
    void DropTemporaryFile();
    void ReleaseLock();

    wxString m_name; // of the target, for messages
    std::string m_target;
    std::string m_temporary;
    int m_lock = -1; // on the temporary file
    const Content m_content;
    Way m_way = Way::kRename;
};

} // namespace say

#endif
