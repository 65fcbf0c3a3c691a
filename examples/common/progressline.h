// The line on standard error that is written over again and again. MIT licence.
#ifndef QXSPEECH_EXAMPLES_COMMON_PROGRESSLINE_H
#define QXSPEECH_EXAMPLES_COMMON_PROGRESSLINE_H

#include <cstddef>
#include <wx/string.h>

namespace tool
{

// Shows nothing unless it is wanted and standard error is a terminal. The line is cleared at the end. One at a time.
class ProgressLine
{
public:
    explicit ProgressLine(bool wanted);
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    bool IsShown() const { return m_shown; }
    // In place of what the line holds; an empty text clears it.
    void Show(const wxString& text);

private:
    const bool m_shown;
    size_t m_width = 0; // characters on the line
};

} // namespace tool

#endif
