// Reading of text files that are to be spoken. MIT licence.
#pragma once

#include <string>

namespace qxvoice
{

enum class FileError {
    None,
    Missing,   // no such file, or a folder of the path is none
    Unreadable // a directory, no permission, or reading failed
};

// Reads a whole file into `text`; on error `text` is empty. The encoding is told by a byte-order mark (UTF-8, UTF-16,
// UTF-32; the mark itself is dropped), else UTF-8 if every byte of the file fits, else Latin-1. NUL characters become
// blanks, invalid units of UTF-16 and UTF-32 U+FFFD. Blocks while it reads.
FileError ReadSpeechFile(const std::wstring& path, std::wstring& text);

} // namespace qxvoice
