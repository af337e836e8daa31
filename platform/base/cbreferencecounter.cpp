#include "platform/base/cbreferencecounter.h"

#include "platform/base/cbreferencecounted.h"

#include <array>
#include <cstdint>
#include <type_traits>

namespace
{

constexpr std::size_t c_poolSize = 64;

struct alignas(64) PooledSection
{
    CbCriticalSection section;
};

// There before everything else and never destroyed: weak pointers of static objects reach it from
// first to last.
constinit std::array<PooledSection, c_poolSize> g_lockPool;
static_assert(std::is_trivially_destructible_v<decltype(g_lockPool)>);

} // namespace

CbCriticalSection& CbReferenceCounter::LockOf(const CbReferenceCounter* block) noexcept
{
    // Fibonacci hashing (Knuth, The Art of Computer Programming 6.4), by 2^64 divided by the golden
    // ratio: addresses side by side get far-off products, whose highest six bits are the slot.
    // Allocators hand out addresses whose low bits hardly vary.
    const auto hash = reinterpret_cast<std::uintptr_t>(block) * std::uint64_t{0x9E3779B97F4A7C15};
    return g_lockPool[hash >> 58].section;
}

bool CbReferenceCounter::dropLastReference() noexcept
{
    const CbCriticalSectionLock lock(LockOf(this));
    // A weak pointer makes a reference under the lock alone. It may have done so before this thread
    // entered: then the object lives on. After that it finds its link null.
    if (strong_.fetch_sub(1, std::memory_order_acq_rel) != 1) return false;
    while (!weakLinks_.IsEmpty()) {
        CbWeakLink& link = *weakLinks_.First();
        Unlink(link);
        link.target.store(nullptr, std::memory_order_release);
    }
    return true;
}

void CbReferenceCounter::destroy(const CbReferenceCounted* object) noexcept { delete object; }
