#include "tests/support/failingallocations.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace
{

thread_local long t_allocationsLeft = -1;
std::atomic<std::size_t> s_allocated{0};
std::atomic<std::size_t> s_peak{0};

/// Stands in front of each allocation.
struct Header
{
    void* block; ///< what malloc gave
    std::size_t size;
};

void* allocate(std::size_t size, std::size_t alignment)
{
    if (t_allocationsLeft == 0) throw std::bad_alloc();
    if (t_allocationsLeft > 0) --t_allocationsLeft;
    const std::size_t slack = alignment - __STDCPP_DEFAULT_NEW_ALIGNMENT__;
    void* const block = std::malloc(sizeof(Header) + slack + size);
    if (block == nullptr) throw std::bad_alloc();
    const auto first = reinterpret_cast<std::uintptr_t>(block) + sizeof(Header) + alignment - 1;
    auto* const header = reinterpret_cast<Header*>(first / alignment * alignment) - 1;
    *header = {block, size};
    const std::size_t allocated = s_allocated += size;
    std::size_t peak = s_peak;
    while (allocated > peak && !s_peak.compare_exchange_weak(peak, allocated)) {
    }
    return header + 1;
}

void release(void* memory)
{
    if (memory == nullptr) return;
    const Header header = static_cast<const Header*>(memory)[-1];
    s_allocated -= header.size;
    std::free(header.block);
}

} // namespace

static_assert(sizeof(Header) % __STDCPP_DEFAULT_NEW_ALIGNMENT__ == 0);

void FailAllocationsAfter(long number) { t_allocationsLeft = number; }

std::size_t AllocatedBytes() { return s_allocated; }
std::size_t AllocationPeak() { return s_peak; }
void StartAllocationPeak() { s_peak = s_allocated.load(); }

void* operator new(std::size_t size) { return allocate(size, __STDCPP_DEFAULT_NEW_ALIGNMENT__); }
void* operator new(std::size_t size, std::align_val_t alignment)
{
    return allocate(size, static_cast<std::size_t>(alignment));
}

void operator delete(void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { release(memory); }
void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept { release(memory); }
void operator delete(void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept
{
    release(memory);
}
