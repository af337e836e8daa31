#pragma once

#include "platform/base/cbcriticalsection.h"
#include "platform/base/cbintrusivelist.h"
#include "platform/base/ireferencecounted.h"
#include "platform/base/platformapi.h"

#include <atomic>
#include <concepts>
#include <cstdint>

class CbReferenceCounted;

/// The untyped part of a weak pointer: its target and its place in the target's list of weak links.
///
/// Threads: the place is guarded by the lock of the target's reference-count block. The target is
/// written under that lock and may be read without it.
struct CbWeakLink
{
    std::atomic<void*> target{nullptr}; ///< null if there is none, or none any more
    CbListLinks<CbWeakLink> place;      ///< in the list
};

/// Reference-count block of an object: strong count and list of weak links.
///
/// The lock of a block comes from an immortal pool and is picked by the block's address, so that a
/// weak pointer can enter it without touching an object that may be gone. Only the step from one
/// reference to none is made under the lock: there all weak links become null, then the lock is
/// left and the object deleted. All other counting is lock-free.
class PLATFORM_API CbReferenceCounter
{
public:
    CbReferenceCounter() = default;
    CbReferenceCounter(const CbReferenceCounter&) = delete;
    CbReferenceCounter& operator=(const CbReferenceCounter&) = delete;
    ~CbReferenceCounter() = default;

    /// The block of an object.
    [[nodiscard]] static CbReferenceCounter& Of(const IReferenceCounted& object) noexcept
    {
        return object.getReferenceCounter();
    }
    [[nodiscard]] static CbReferenceCounter& Of(const CbReferenceCounted& object) noexcept;

    /// The lock of the block at an address. The block itself is not touched.
    [[nodiscard]] static CbCriticalSection& LockOf(const CbReferenceCounter* block) noexcept;

    /// Takes one more reference. The caller has one, holds the block's lock, or the object is new.
    void AddReference() noexcept { strong_.fetch_add(1, std::memory_order_relaxed); }

    /// Gives one reference back. Deletes the object with the last one.
    template<class T>
    void Release(const T* object) noexcept
    {
        if (!dropReference()) return;
        if constexpr (std::derived_from<T, CbReferenceCounted>) {
            destroy(static_cast<const CbReferenceCounted*>(object));
        } else {
            destroy(static_cast<const IReferenceCounted*>(object));
        }
    }

    /// Number of strong references at this moment. For tests and diagnostics.
    [[nodiscard]] std::int32_t GetCount() const noexcept
    {
        return strong_.load(std::memory_order_relaxed);
    }

    /// Puts a link at the head of the list. The caller holds the block's lock.
    void Link(CbWeakLink& link) noexcept { weakLinks_.PushFront(link); }
    /// Takes a link out of the list. The caller holds the block's lock.
    void Unlink(CbWeakLink& link) noexcept { weakLinks_.Remove(link); }

private:
    [[nodiscard]] bool dropReference() noexcept;
    [[nodiscard]] bool dropLastReference() noexcept;
    static void destroy(const CbReferenceCounted* object) noexcept;
    static void destroy(const IReferenceCounted* object) noexcept { delete object; }

    std::atomic<std::int32_t> strong_{0};
    CbIntrusiveList<CbWeakLink, &CbWeakLink::place> weakLinks_; ///< guarded by LockOf(this)
};

inline bool CbReferenceCounter::dropReference() noexcept
{
    auto count = strong_.load(std::memory_order_relaxed);
    while (count > 1) {
        if (strong_.compare_exchange_weak(count, count - 1, std::memory_order_release,
                                          std::memory_order_relaxed)) {
            return false;
        }
    }
    return dropLastReference();
}
