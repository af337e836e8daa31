#pragma once

#include "platform/base/cbthreadannotations.h"

#include <mutex>

/// A recursive lock: the thread that holds it may enter again and leaves as often as it entered.
class CB_CAPABILITY("critical section") CbCriticalSection
{
public:
    CbCriticalSection() = default;
    CbCriticalSection(const CbCriticalSection&) = delete;
    CbCriticalSection& operator=(const CbCriticalSection&) = delete;
    ~CbCriticalSection() = default;

    /// Waits until no other thread is inside, then enters.
    void Enter() CB_ACQUIRE() { mutex_.lock(); }
    /// Enters and returns true where no other thread is inside; returns false at once otherwise.
    [[nodiscard]] bool TryEnter() CB_TRY_ACQUIRE(true) { return mutex_.try_lock(); }
    /// Leaves. Only the thread that entered may call it.
    void Leave() CB_RELEASE() { mutex_.unlock(); }

private:
    std::recursive_mutex mutex_;
};

/// Holds a critical section from construction to destruction.
///
/// @code
/// const CbCriticalSectionLock lock(section_);
/// @endcode
class CB_SCOPED_CAPABILITY CbCriticalSectionLock
{
public:
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
