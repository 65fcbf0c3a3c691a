// Standard output and standard error as the programs use them: UTF-8, whatever the locale. MIT licence.
#ifndef QXSPEECH_EXAMPLES_COMMON_CONSOLE_H
#define QXSPEECH_EXAMPLES_COMMON_CONSOLE_H

#include <string>
#include <wx/string.h>

namespace tool
{

// Call first of all: gives each closed standard descriptor a harmless file, so that no file opened later takes its
// place, and turns a closed pipe and a file-size limit from fatal signals into write errors.
void SecureStandardFiles();
// Writes all of it, whatever signals come; the system's error number, 0 for none.
int WriteAll(int file, const std::string& bytes);
// False if the program was started with standard output closed.
bool HasStandardOutput();

// Whether standard error is a terminal, whatever SilenceStandardError did.
bool ErrorsGoToTerminal();
// Control characters, which make a terminal do things, become "?"; line ends and tabs stay. What services, files and
// devices say goes through it on its way to a terminal.
wxString Printable(const wxString& text);
// One printable line with the name of the program in front, which the build sets (QX_PROGRAM_NAME).
void PrintError(const wxString& text);
// As it is, without a line end; for the progress line.
void PrintProgress(const wxString& text);
// Printable on a terminal, elsewhere as it is. Throws Failure (kExitFile) if it cannot be written whole.
void PrintOutput(const wxString& text);

// Library noise: from here to the end, whatever writes to descriptor 2 is dropped; the functions above still reach the
// real standard error. The sound system's libraries print there and cannot all be asked not to.
void SilenceStandardError();

// On: each record of the log is a line on standard error. Off: none is shown, but one that ends the process.
void SetUpLog(bool verbose);

} // namespace tool

#endif
