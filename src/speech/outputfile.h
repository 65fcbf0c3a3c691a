// Audio files as the engines on the network write them. Private. MIT licence.
#ifndef QXSPEECH_SPEECH_OUTPUTFILE_H
#define QXSPEECH_SPEECH_OUTPUTFILE_H

#include <fstream>
#include <wx/string.h>

namespace qxspeech
{

// Who may read a file that is made: whom the process's own mask lets, or its owner alone.
enum class FileAccess { kUsual, kOwner };

// Replaces a file; each call throws CloudFailure, with the file's name and the system's reason, if that fails. Not the
// HTTP library's own file stream: on a full disk that one ends the process.
class OutputFile
{
public:
    OutputFile(const wxString& path, FileAccess access);
    void Write(const void* bytes, size_t count);
    void Close();

private:
    void Check() const;

    wxString m_path;
    std::ofstream m_file;
};

} // namespace qxspeech

#endif
