// Encodings of text files, and files that cannot be read. MIT licence.
#include "platform/posix/speechfile.h"

#include <cstdio>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>
#include <wx/string.h>

using namespace qxvoice;

namespace
{

// A file of its own in a scratch folder; gone at the end.
class Scratch
{
public:
    Scratch()
    {
        char folder[] = "/tmp/speechfile.XXXXXX";
        m_folder = mkdtemp(folder);
    }
    ~Scratch()
    {
        std::remove(NarrowPath().c_str());
        rmdir(m_folder.c_str());
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    void Write(const std::string& bytes) const
    {
        FILE* const file = std::fopen(NarrowPath().c_str(), "wb");
        ASSERT_TRUE(file);
        EXPECT_EQ(std::fwrite(bytes.data(), 1, bytes.size(), file), bytes.size());
        std::fclose(file);
    }
    std::string NarrowPath() const { return m_folder + "/\xC3\xA9\xD0\x96.txt"; }
    std::wstring Path() const { return wxString::FromUTF8(NarrowPath()).ToStdWstring(); }
    std::wstring Folder() const { return wxString::FromUTF8(m_folder).ToStdWstring(); }

private:
    std::string m_folder;
};

} // namespace

TEST(SpeechFile, EncodingIsFoundOut)
{
    using namespace std::string_literals;
    const std::wstring wide = L"h\xE9\U0001F600";
    const struct {
        const char* label;
        std::string bytes;
        std::wstring text;
    } rows[] = {
        {"empty", "", L""},
        {"UTF-8", "h\xC3\xA9\xF0\x9F\x98\x80", wide},
        {"UTF-8 with mark", "\xEF\xBB\xBFh\xC3\xA9\xF0\x9F\x98\x80", wide},
        {"UTF-16 LE", "\xFF\xFEh\0\xE9\0\x3D\xD8\0\xDE"s, wide},
        {"UTF-16 BE", "\xFE\xFF\0h\0\xE9\xD8\x3D\xDE\0"s, wide},
        {"UTF-32 LE", "\xFF\xFE\0\0h\0\0\0\xE9\0\0\0\0\xF6\1\0"s, wide},
        {"UTF-32 BE", "\0\0\xFE\xFF\0\0\0h\0\0\0\xE9\0\1\xF6\0"s, wide},
        {"mark alone", "\xFF\xFE", L""},
        {"half a unit", "\xFF\xFEh\0x"s, L"h\xFFFD"},
        {"lone surrogate", "\xFF\xFE\x3D\xD8h\0"s, L"\xFFFDh"},
        {"UTF-32 out of range", "\0\0\xFE\xFF\0\x11\0\0"s, L"\xFFFD"},
        {"Latin-1", "h\xE9 x", L"h\xE9 x"},
        {"one bad byte", "h\xC3\xA9 \xE9", L"h\xC3\xA9 \xE9"},
        {"cut sequence", "h\xF0\x9F\x98", L"h\xF0\x9F\x98"},
        {"too long a form", "\xC0\xAF", L"\xC0\xAF"},
        {"surrogate in UTF-8", "\xED\xA0\x80", L"\xED\xA0\x80"},
        {"NUL", "a\0b"s, L"a b"},
        {"line ends stay", "a\r\nb\n", L"a\r\nb\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        const Scratch scratch;
        scratch.Write(row.bytes);
        std::wstring text = L"old";
        EXPECT_EQ(ReadSpeechFile(scratch.Path(), text), FileError::None);
        EXPECT_EQ(text, row.text);
    }
}

TEST(SpeechFile, WhatCannotBeReadIsTold)
{
    const Scratch scratch;
    std::wstring text = L"old";
    EXPECT_EQ(ReadSpeechFile(scratch.Path(), text), FileError::Missing);
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(ReadSpeechFile(scratch.Folder(), text), FileError::Unreadable);
    EXPECT_EQ(ReadSpeechFile(L"", text), FileError::Missing);
    scratch.Write("x");
    EXPECT_EQ(ReadSpeechFile(scratch.Path() + L"/y", text), FileError::Missing);
    if (geteuid() != 0) {
        chmod(scratch.NarrowPath().c_str(), 0);
        EXPECT_EQ(ReadSpeechFile(scratch.Path(), text), FileError::Unreadable);
    }
}
