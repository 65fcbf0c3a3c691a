// The sample queue of an utterance. MIT licence.
#include "platform/posix/utterance.h"

#include <algorithm>

namespace qxvoice
{

size_t Utterance::Settled() const
{
    const auto growing = std::find_if(marks.rbegin(), marks.rend(), [](const Mark& mark) { return !mark.complete; });
    if (growing == marks.rend())
        return Queued();
    return growing->sample > consumed ? static_cast<size_t>(growing->sample - consumed) : 0;
}

void Utterance::Append(const int16_t* samples, size_t count)
{
    m_pcm.insert(m_pcm.end(), samples, samples + count);
    produced += count;
}

void Utterance::Take(size_t most, std::vector<int16_t>& out)
{
    out.clear();
    const size_t count = std::min(most, Queued());
    if (m_head == 0 && count == m_pcm.size()) {
        out.swap(m_pcm);
    } else {
        const auto first = m_pcm.begin() + static_cast<std::ptrdiff_t>(m_head);
        out.assign(first, first + static_cast<std::ptrdiff_t>(count));
        m_head += count;
        // Moving the rest to the front only when it is the smaller part keeps the queue linear.
        if (m_head * 2 >= m_pcm.size()) {
            m_pcm.erase(m_pcm.begin(), m_pcm.begin() + static_cast<std::ptrdiff_t>(m_head));
            m_head = 0;
        }
    }
    consumed += count;
}

void Utterance::CompleteSentence()
{
    const auto last = std::find_if(marks.rbegin(), marks.rend(), [](const Mark& mark) { return !mark.complete; });
    if (last != marks.rend())
        last->complete = true;
}

void Utterance::Restart(uint32_t sentence)
{
    ++generation;
    from = TakeUp{sentence, 0};
    synthesized = false;
    m_pcm.clear();
    m_head = 0;
    marks.clear();
    produced = consumed;
}

} // namespace qxvoice
