#pragma once

#include "platform/base/cbthreadannotations.h"
#include "platform/base/platformapi.h"

#include <atomic>
#include <cstdint>

/// A recursive lock: the thread that holds it may enter again and leaves as often as it entered.
///
/// Two words large, since every node has one. Threads that wait are not served in any order.
///
/// Lifetime: destroyed only after every Leave() has returned.
class PLATFORM_API CB_CAPABILITY("critical section") CbCriticalSection
{
public:
    CbCriticalSection() = default;
    CbCriticalSection(const CbCriticalSection&) = delete;
    CbCriticalSection& operator=(const CbCriticalSection&) = delete;
    ~CbCriticalSection() = default;

    /// Waits until no other thread is inside, then enters.
    void Enter() noexcept CB_ACQUIRE();
    /// Enters and returns true if no other thread is inside; returns false at once otherwise.
    [[nodiscard]] bool TryEnter() noexcept CB_TRY_ACQUIRE(true);
    /// Leaves. Only the thread that entered may call it.
    void Leave() noexcept CB_RELEASE();

private:
    enum EState : std::uint32_t
    {
        Free,
        Held,
        HeldAndWaitedFor
    };

    std::atomic<const void*> owner_{nullptr}; ///< stands for the thread inside
    std::atomic<std::uint32_t> state_{Free};
    std::uint32_t depth_ = 0; ///< how often the thread inside has entered; only that thread looks
};

/// Holds a critical section from construction to destruction.
///
/// @code
/// const CbCriticalSectionLock lock(section_);
/// @endcode
class CB_SCOPED_CAPABILITY CbCriticalSectionLock
{
public:
    /// Enters, and so may wait. Lifetime: @p section outlives the lock.
    explicit CbCriticalSectionLock(CbCriticalSection& section) CB_ACQUIRE(section)
        : section_(section)
    {
        section_.Enter();
    }
    CbCriticalSectionLock(const CbCriticalSectionLock&) = delete;
    CbCriticalSectionLock& operator=(const CbCriticalSectionLock&) = delete;
    ~CbCriticalSectionLock() CB_RELEASE() { section_.Leave(); }

private:
    CbCriticalSection& section_;
};
