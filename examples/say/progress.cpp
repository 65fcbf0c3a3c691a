// The seconds played are those that passed unpaused; those written are read off the growing file. MIT licence.
#include "progress.h"

namespace say
{
namespace
{

constexpr std::chrono::milliseconds kUpdateInterval(200);

} // namespace

Progress::Progress(bool wanted, const OutputTarget* output) : m_line(wanted), m_output(output) {}

void Progress::Waiting(const wxString& engine)
{
    m_line.Show("waiting for " + engine + " ...");
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
    if (!m_line.IsShown() || now < m_nextUpdate)
        return;
    m_nextUpdate = now + kUpdateInterval;
    m_line.Show(Text(now));
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

} // namespace say
