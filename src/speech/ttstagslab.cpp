// A document has a tag for every fifty characters or so: one by one the heap spends more on freeing them than the
// scanner on finding them. MIT licence.
#include "speech/ttstagslab.h"

#include <atomic>
#include <new>

namespace
{

// Small enough that a tag which outlives its document holds little.
constexpr size_t kSlabBytes = 32 * 1024;

// Address checkers see single tags only if each has its own block.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QX_OWN_BLOCKS
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(QX_OWN_BLOCKS)
constexpr bool kOwnBlocks = true;
#else
constexpr bool kOwnBlocks = false;
#endif

} // namespace

// The memory of one piece; users are its tags and the parser that still takes from it. The last one deletes it.
class TagSlab
{
public:
    void* Take(size_t bytes)
    {
        if (m_used + bytes > sizeof m_memory)
            return nullptr;
        void* const memory = m_memory + m_used;
        m_used += bytes;
        m_users.fetch_add(1, std::memory_order_relaxed);
        return memory;
    }
    void Release()
    {
        if (m_users.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete this;
    }

private:
    std::atomic<size_t> m_users{1};
    size_t m_used = 0;
    alignas(std::max_align_t) unsigned char m_memory[kSlabBytes - 2 * sizeof(size_t)];
};

namespace
{

// Stands before each tag; no slab means a block of its own.
struct Prefix {
    TagSlab* slab;
};

void* BehindPrefix(void* memory, TagSlab* slab)
{
    return new (memory) Prefix{slab} + 1;
}

} // namespace

void* TagSlabs::Allocate(size_t bytes)
{
    if (kOwnBlocks)
        return AllocateTagMemory(bytes);
    bytes += sizeof(Prefix);
    void* memory = m_current ? m_current->Take(bytes) : nullptr;
    if (!memory) {
        Release();
        m_current = new TagSlab;
        memory = m_current->Take(bytes);
    }
    return BehindPrefix(memory, m_current);
}

void TagSlabs::Release()
{
    if (m_current)
        m_current->Release();
    m_current = nullptr;
}

void* AllocateTagMemory(size_t bytes)
{
    return BehindPrefix(::operator new(bytes + sizeof(Prefix)), nullptr);
}

void FreeTagMemory(void* memory)
{
    if (!memory)
        return;
    Prefix* const prefix = static_cast<Prefix*>(memory) - 1;
    if (prefix->slab)
        prefix->slab->Release();
    else
        ::operator delete(prefix);
}
