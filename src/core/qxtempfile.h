// Names for temporary audio files, which are removed at the end or, after a crash, by the next run. MIT licence.
#ifndef QXSPEECH_CORE_QXTEMPFILE_H
#define QXSPEECH_CORE_QXTEMPFILE_H

#include <wx/arrstr.h>
#include <wx/filename.h>
#include <wx/string.h>

#include "../common/export.h"
#include "qxsingleton.h"

namespace qxspeech
{
class FileLock;
}

class QXSPEECH_API QXTempFileMan;

// One instance for host and library: it is instantiated in this library alone.
extern template class QXSingleton<QXTempFileMan>;

// Hands out names in the folder "temp" of the application's user data folder and keeps a journal of them there.
// QXSingleton<QXTempFileMan>::Get() makes and owns the one instance, as the first CreateTempFile does; it goes away at
// exit with all files and the journal. Any thread; the singleton's lock is held throughout each call. CreateTempFile
// may run beside DestroyInstance; the pointer that SetTempDir is called on must not die meanwhile. Until a folder is
// settled wxWidgets is asked for one, so neither may run while the wxApp comes or goes.
//
// Processes that share the folder share the journal. Whoever is alone there works it off, at its start and at its end;
// beside others a process takes away only its own files and lines.
class QXSPEECH_API QXTempFileMan : public QXSingleton<QXTempFileMan>
{
public:
    // The path of a file that does not exist yet; nobody makes it but the caller. The extension comes without its dot.
    // "" if no free name is found, or if there is neither a wxApp to tell the folder nor one set.
    static wxString CreateTempFile(const wxString& extension);

    // Removes the files of the folder until now and goes on in this one, which is made if it is missing. A folder that
    // cannot be written changes nothing; "" neither. Without any folder, names are for the current one.
    void SetTempDir(const wxString& dir);

private:
    friend class QXSingleton<QXTempFileMan>;

    QXTempFileMan();
    ~QXTempFileMan() override;

    void UseDefaultDir();
    void Enter();
    void Leave();
    void LoadJournal();
    void DeleteFiles();
    void RemoveLines();
    void RestartAfterFork();
    wxString MakeName(const wxString& extension);
    void AppendToJournal(const wxString& name);
    wxString Path(const wxString& name) const;

    wxArrayString m_names; // without folder, in the order of creation
    wxFileName m_tempDir;
    bool m_dirChosen;              // or tried
    unsigned long m_process;       // that made the names
    qxspeech::FileLock* m_dirLock; // owned; null without a folder
};

#endif
