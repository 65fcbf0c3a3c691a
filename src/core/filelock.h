// Advisory locks between processes; the platform layer defines them. Private. MIT licence.
#ifndef QXSPEECH_CORE_FILELOCK_H
#define QXSPEECH_CORE_FILELOCK_H

#include <wx/string.h>

namespace qxspeech
{

// A lock file with two locks. A process that dies gives up both. Each lock belongs to the object, not to the process:
// two objects in one process exclude each other too. One thread at a time.
//
//   presence  shared for as long as the object's owner works beside others; alone: nobody else has it
//   edit      exclusive, for short
//
// Alone is asked for, and left, only under the edit lock, so that nobody comes in between. Who is alone and leaves may
// remove the file; who comes takes the edit lock first and looks whether the file is still in place.
class FileLock
{
public:
    // Makes the file if need be. Without one, or where files cannot be locked, every call answers as if nobody else
    // were there.
    explicit FileLock(const wxString& path);
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    // Never waits. False: others are present; what was held before is still held.
    bool TryAlone();
    void BePresent();
    // Waits until others have finished their edit.
    void BeginEdit();
    void EndEdit();
    // Whether the path still leads to the file that was opened. True without a file.
    bool IsInPlace() const;
    // Only alone, and under the edit lock.
    void RemoveFile();

    class Edit
    {
    public:
        explicit Edit(FileLock& lock) : m_lock(lock) { m_lock.BeginEdit(); }
        ~Edit() { m_lock.EndEdit(); }
        Edit(const Edit&) = delete;
        Edit& operator=(const Edit&) = delete;

    private:
        FileLock& m_lock;
    };

private:
    const wxString m_path;
    int m_file; // -1 for none
};

} // namespace qxspeech

#endif
