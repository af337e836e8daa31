#pragma once

#include "platform/base/platformapi.h"
#include "platform/datatree/internal/cydatatreesearch.h"
#include "platform/datatree/internal/cylockthread.h"

/// The blocked requests of a data manager whose threads wait, oldest first.
///
/// A request gets a place when its thread begins to wait. While it waits it bars newer ones that
/// conflict. When its time runs out it bars nobody, but the place is kept for a while, so that a
/// thread that waits in short slices is not overtaken for ever:
///
///   waits --time is over--> kept for 100 ms --waits again--> waits, at the old place
///     |                         |
///     granted, failed           no query left, or other nodes asked for: there is no place
///
/// A place is a number, ascending with time. Queries that have a part in it carry the number, too;
/// so does a new query on a node that such a one is on.
///
/// Who waits is woken when what it met last is not in its way any more: an older request, which
/// may hold its locks by now, or a lock. Of several requests in the way the newest one counts, so
/// that those who wait for one node make a chain and one release wakes one of them. Time that runs
/// out wakes nobody, or a thread that waits in slices would be overtaken between two of them: who
/// is behind it looks by itself a little later.
///
/// Threads: guarded by the mutex of the engine.
class PLATFORM_API CyLockQueue
{
public:
    using Clock = CyLockThread::Clock;

    /// True if nobody waits.
    [[nodiscard]] bool IsEmpty() const noexcept { return waiting_.IsEmpty(); }

    /// The thread, which does not wait so far, waits up to @p end, at the place that it kept if
    /// it asks for nothing else.
    void StartWaiting(CyLockThread& thread, Clock::time_point end) noexcept;
    /// The thread's time ran out. Its place is kept.
    void StopWaiting(CyLockThread& thread, Clock::time_point now) noexcept;
    // These are for threads that have a place.

    /// Gives the place up.
    void Leave(CyLockThread& thread) noexcept;
    /// Gives the place up if it was kept long enough.
    static void Expire(CyLockThread& thread, Clock::time_point now) noexcept;
    /// A query has gone that was pending. The place of a thread that does not wait goes with the
    /// last one that has a part in it; a thread that waits is woken.
    static void QueryGoes(CyLockThread& thread) noexcept;
    /// Gives a new query its part in the place, if there is another one on the node.
    static void QueryComes(const CyLockThread& thread, CyLockRecord& record) noexcept;

    /// Of those that wait and are older than what @p thread asks for, the newest one that wants
    /// what conflicts; or null. Cost: linear in the depth and in the number of queries of the
    /// thread and of those that wait.
    [[nodiscard]] const CyLockThread* FindOlderInTheWay(const CyLockThread& thread,
                                                        CyDataTreeSearch search) const noexcept;

    /// Wakes those who are not blocked any more by what they met, or who met @p changed.
    void WakeFreed(const CyLockThread* changed) noexcept;
    /// Makes a thread that waits look again.
    static void Wake(CyLockThread& thread) noexcept;
    /// Makes everybody look again.
    void WakeAll() noexcept;

private:
    CbIntrusiveList<CyLockThread, &CyLockThread::inQueue> waiting_; ///< the oldest one first
    std::uint64_t places_ = 0;                                      ///< number of the newest place
};
