// One line on standard error that says what goes on. MIT licence.
#ifndef QXSPEECH_EXAMPLES_SAY_PROGRESS_H
#define QXSPEECH_EXAMPLES_SAY_PROGRESS_H

#include <chrono>
#include <wx/string.h>

#include "../common/progressline.h"
#include "output.h"

namespace say
{

// Shows nothing unless it is wanted and standard error is a terminal.
class Progress
{
public:
    // Without an output the speech is played. The output outlives this object.
    Progress(bool wanted, const OutputTarget* output);

    void Waiting(const wxString& engine);
    void Started();
    void SetPaused(bool paused);
    // Renews the line, a few times a second at most.
    void Update();

private:
    using Clock = std::chrono::steady_clock;

    wxString Text(Clock::time_point now) const;

    tool::ProgressLine m_line;
    const OutputTarget* const m_output;
    bool m_paused = false;
    Clock::time_point m_playingSince;
    Clock::duration m_played{0}; // before m_playingSince
    Clock::time_point m_nextUpdate;
};

} // namespace say

#endif
