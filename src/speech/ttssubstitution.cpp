// The hash table behind the substitution dictionary: open addressing, never more than half full. MIT licence.
#include "speech/ttssubstitution.h"

#include <cwchar>

namespace qxspeech
{

namespace
{

constexpr size_t kFewestSlots = 16;

std::uint32_t Hash(const wchar_t* key, size_t length)
{
    std::uint64_t hash = length;
    for (size_t i = 0; i < length; ++i) {
        hash = (hash ^ static_cast<std::uint32_t>(key[i])) * 0x9E3779B97F4A7C15U;
        hash ^= hash >> 29;
    }
    return static_cast<std::uint32_t>(hash ^ (hash >> 32));
}

} // namespace

void SubstitutionIndex::Clear()
{
    m_slots.clear();
    m_text.clear();
    m_count = 0;
}

void SubstitutionIndex::Reserve(size_t keys)
{
    size_t slots = kFewestSlots;
    while (slots < keys * 2)
        slots *= 2;
    if (slots > m_slots.size())
        Resize(slots);
}

void SubstitutionIndex::Resize(size_t slots)
{
    std::vector<Slot> old(slots);
    old.swap(m_slots);
    const size_t mask = slots - 1;
    for (const Slot& slot : old) {
        if (slot.position == kNone)
            continue;
        size_t at = slot.hash & mask;
        while (m_slots[at].position != kNone)
            at = (at + 1) & mask;
        m_slots[at] = slot;
    }
}

// The slot that holds the key, or the free one where it belongs.
size_t SubstitutionIndex::FindSlot(const wchar_t* key, size_t length, std::uint32_t hash) const
{
    const size_t mask = m_slots.size() - 1;
    for (size_t at = hash & mask;; at = (at + 1) & mask) {
        const Slot& slot = m_slots[at];
        if (slot.position == kNone ||
            (slot.hash == hash && slot.length == length && std::wmemcmp(m_text.data() + slot.start, key, length) == 0))
            return at;
    }
}

void SubstitutionIndex::Add(const wxString& key, size_t position, bool replace)
{
    Reserve(m_count + 1);
    const std::wstring& text = key.ToStdWstring();
    const std::uint32_t hash = Hash(text.data(), text.size());
    Slot& slot = m_slots[FindSlot(text.data(), text.size(), hash)];
    if (slot.position == kNone) {
        slot = {hash, static_cast<std::uint32_t>(text.size()), m_text.size(), position};
        m_text += text;
        ++m_count;
    } else if (replace) {
        slot.position = position;
    }
}

size_t SubstitutionIndex::Find(const wchar_t* key, size_t length) const
{
    return m_slots.empty() ? kNone : m_slots[FindSlot(key, length, Hash(key, length))].position;
}

} // namespace qxspeech
