#pragma once

#include "platform/base/platformapi.h"
#include "platform/datatree/internal/cylockthread.h"

/// The blocked requests of a data manager, oldest first.
///
/// A request keeps its place while it waits and for 100 ms after its time ran out, so that a thread
/// that tries again in short slices is not overtaken for ever.
///
/// Threads: guarded by the mutex of the engine.
class PLATFORM_API CyLockQueue
{
public:
    using Clock = CyLockThread::Clock;

    [[nodiscard]] bool IsEmpty() const noexcept { return oldest_ == nullptr; }

    /// The thread waits from now on, at its old place where it has one.
    void StartWaiting(CyLockThread& thread) noexcept;
    /// The thread's time ran out. It keeps its place for a while.
    void StopWaiting(CyLockThread& thread, Clock::time_point now) noexcept;
    /// Gives the thread's place up, if it has one.
    void Leave(CyLockThread& thread) noexcept;
    /// Gives the places up that were kept long enough.
    void Expire(Clock::time_point now) noexcept;
    /// Makes everybody who waits look again.
    void WakeAll() noexcept;

    /// True where an older request wants what conflicts with the pending queries of @p thread.
    /// Cost: linear in the depth times the number of pending queries of the thread and of all older
    /// requests.
    [[nodiscard]] bool IsOlderInTheWay(const CyLockThread& thread) noexcept;

private:
    [[nodiscard]] bool isMarkedAgainst(const CyLockRecord& record) const noexcept;
    void mark(const CyLockRecord& record) noexcept;

    CyLockThread* oldest_ = nullptr;
    CyLockThread* newest_ = nullptr;
    std::uint64_t search_ = 0; ///< number of the present search; tells its marks from older ones
};
