// A pipe that holds some bytes and has no writer any more, as a name to read from. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_FILLED_PIPE_H
#define QXSPEECH_TESTS_SUPPORT_FILLED_PIPE_H

#include <string>
#include <unistd.h>

#include <gtest/gtest.h>
#include <wx/string.h>

class FilledPipe
{
public:
    // Fewer bytes than a pipe takes without a reader.
    explicit FilledPipe(const std::string& bytes)
    {
        EXPECT_EQ(pipe(m_ends), 0);
        EXPECT_EQ(write(m_ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        close(m_ends[1]);
    }
    FilledPipe(const FilledPipe&) = delete;
    FilledPipe& operator=(const FilledPipe&) = delete;
    ~FilledPipe() { close(m_ends[0]); }

    wxString Name() const { return wxString::Format("/dev/fd/%d", m_ends[0]); }

private:
    int m_ends[2] = {-1, -1};
};

#endif
