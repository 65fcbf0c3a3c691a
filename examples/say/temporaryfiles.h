// Temporary files of the program and of the library, removed at the end whatever happens. MIT licence.
#ifndef QXSPEECH_EXAMPLES_SAY_TEMPORARYFILES_H
#define QXSPEECH_EXAMPLES_SAY_TEMPORARYFILES_H

#include <string>
#include <wx/string.h>

namespace say
{

// The folder for temporary files: TMPDIR, else /tmp.
std::string TemporaryFolder();

// While it lives, the library gets its temporary files here; its end removes all of them, those of Make too. Only one
// at a time, made before the speech instance and outliving it. A second Ctrl-C removes the files as well.
class TemporaryFiles
{
public:
    TemporaryFiles();
    ~TemporaryFiles();
    TemporaryFiles(const TemporaryFiles&) = delete;
    TemporaryFiles& operator=(const TemporaryFiles&) = delete;

    // A new, empty file that only its owner can read. Throws Failure (kExitFile).
    static wxString Make();
    // A new file with these bytes. Throws Failure (kExitFile).
    static wxString MakeWith(const std::string& bytes);
    // Why the library last got no file; empty if it always got one.
    static wxString LibraryError();
};

} // namespace say

#endif
