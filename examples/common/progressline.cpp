// A shorter text is filled with blanks, so that nothing of the longer one before it stays. MIT licence.
#include "progressline.h"

#include "console.h"

namespace tool
{

ProgressLine::ProgressLine(bool wanted) : m_shown(wanted && ErrorsGoToTerminal()) {}

ProgressLine::~ProgressLine()
{
    Show(wxString());
}

void ProgressLine::Show(const wxString& text)
{
    if (!m_shown || (text.empty() && m_width == 0))
        return;
    wxString line = "\r" + Printable(text);
    if (text.length() < m_width)
        line.append(m_width - text.length(), ' ');
    if (text.empty())
        line += "\r";
    m_width = text.length();
    PrintProgress(line);
}

} // namespace tool
