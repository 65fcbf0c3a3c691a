// The seconds played are those that passed unpaused; those written are read off the growing file. MIT licence.
#include "progress.h"

#include "console.h"

namespace say
{
namespace
{

constexpr std::chrono::milliseconds kUpdateInterval(200);

} // namespace

Progress::Progress(bool wanted, const OutputTarget* output) : m_shown(wanted && ErrorsGoToTerminal()), m_output(output)
{
}

Progress::~Progress()
{
    Show(wxString());
}

void Progress::Waiting(const wxString& engine)
{
    Show("waiting for " + engine + " ...");
}

void Progress::Started()
{
    m_playingSince = Clock::now();
    Update();
}

void Progress::SetPaused(bool paused)
{
    const Clock::time_point now = Clock::now();
    if (paused && !m_paused)
        m_played += now - m_playingSince;
    if (!paused && m_paused)
        m_playingSince = now;
    m_paused = paused;
    m_nextUpdate = now;
}

void Progress::Update()
{
    const Clock::time_point now = Clock::now();
    if (!m_shown || now < m_nextUpdate)
        return;
    m_nextUpdate = now + kUpdateInterval;
    Show(Text(now));
}

wxString Progress::Text(Clock::time_point now) const
{
    if (m_output)
        return wxString::Format("writing, %llu KB%s", static_cast<unsigned long long>(m_output->SpeechBytes() / 1024),
                                m_paused ? " (paused)" : "");
    const Clock::duration played = m_paused ? m_played : m_played + (now - m_playingSince);
    return wxString::Format("%s %.1f s", m_paused ? "paused at" : "playing,",
                            std::chrono::duration<double>(played).count());
}

void Progress::Show(const wxString& text)
{
    if (!m_shown || (text.empty() && m_width == 0))
        return;
    wxString line = "\r" + text;
    if (text.length() < m_width)
        line.append(m_width - text.length(), ' ');
    if (text.empty())
        line += "\r";
    m_width = text.length();
    PrintProgress(line);
}

} // namespace say
