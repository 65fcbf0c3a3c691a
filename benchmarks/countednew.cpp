// Replaces the global operator new by one that counts; a unit of its own, so that no caller sees into it. MIT licence.
#include "countednew.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace
{

std::atomic<uint64_t> g_allocations{0};

} // namespace

uint64_t AllocationCount()
{
    return g_allocations.load(std::memory_order_relaxed);
}

void* operator new(size_t size)
{
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* const memory = std::malloc(size ? size : 1))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, size_t) noexcept
{
    std::free(memory);
}
