#pragma once

#include "platform/base/platformapi.h"
#include "platform/datatree/cydatatreeentry.h"
#include "platform/datatree/internal/cydatatreemutex.h"
#include "platform/datatree/internal/cylockqueue.h"

#include <atomic>

/// The locks of a data manager: grants, refuses and takes back.
///
/// Every node counts the granted locks on it and strictly below it, so that a request sees what is
/// in its way by climbing to the top. A thread that is granted something new holds nothing so far,
/// hence all counters it meets are those of others.
///
/// Whether a thread's own locks cover a node is found by climbing too. A climb that succeeds leaves
/// a stamp with the thread's epoch on the nodes it passed, so that the next one ends there. An
/// epoch is of one thread, and ends when that thread gives a lock back or any node is moved.
///
/// Nothing here allocates, throws or calls out of the engine.
///
/// Lifetime: counted; the manager and each thread that had a handle keep it.
class PLATFORM_API CyLockEngine
{
public:
    using Clock = CyLockThread::Clock;

    enum class EOutcome
    {
        Locked,
        NoQueries,
        NotReleased,
        InvalidNode,
        BlockedByLock, ///< another thread's lock conflicts
        BlockedByOlder ///< no lock conflicts, but an older request does
    };

    /// Made with one reference.
    CyLockEngine() = default;
    CyLockEngine(const CyLockEngine&) = delete;
    CyLockEngine& operator=(const CyLockEngine&) = delete;

    void AddReference() noexcept { references_.fetch_add(1, std::memory_order_relaxed); }
    void Release() noexcept;

    mutable CyDataTreeMutex mutex;

    /// Records a query in an unused record.
    void Ask(CyLockThread& thread, CyDataTreeEntry& entry, bool write,
             CyLockRecord& record) noexcept CB_REQUIRES(mutex);
    /// Takes a query or lock back; the record is unused then.
    /// @return true where the thread has ended and this was its last record: the caller deletes the
    ///     thread once it left the mutex
    [[nodiscard]] bool TakeBack(CyLockRecord& record) noexcept CB_REQUIRES(mutex);
    /// Moves a query or lock into an unused record.
    void Relocate(CyLockRecord& from, CyLockRecord& to) noexcept CB_REQUIRES(mutex);

    /// True where a lock that the thread holds on the node or above it gives reading, or writing.
    [[nodiscard]] bool Covers(CyLockThread& thread, CyDataTreeEntry& entry, bool write) noexcept
        CB_REQUIRES(mutex);
    /// True where the lock is granted, or pending and covered.
    [[nodiscard]] bool IsValid(const CyLockRecord& record) noexcept CB_REQUIRES(mutex);
    /// True where the node of a query to this engine may be taken out or moved: the query is valid,
    /// or no other thread holds a lock on the node, above or below it.
    [[nodiscard]] bool HasMomentaryAccess(const CyLockRecord& record) noexcept CB_REQUIRES(mutex);

    /// Locks all pending queries of a thread, or none. An outcome other than blocked ends the
    /// thread's place in the queue.
    /// @param now looked at only where the queue is not empty
    [[nodiscard]] EOutcome Attempt(CyLockThread& thread, Clock::time_point now) noexcept
        CB_REQUIRES(mutex);
    /// The same, and waits for others. The only function that enters the mutex by itself.
    [[nodiscard]] EOutcome Lock(CyLockThread& thread, std::chrono::milliseconds wait);

    /// Voids the locks on a node that leaves the manager and kills the queries on it; @p own, which
    /// may be null, becomes void in any case.
    void NodeLeaves(CyDataTreeEntry& entry, const CyLockRecord* own) noexcept CB_REQUIRES(mutex);
    /// True where the locks of a thread in a subtree would conflict with no other thread's if the
    /// subtree hung below @p father. No other thread has locks in it.
    [[nodiscard]] bool FitsBelow(const CyDataTreeEntry& subtree, const CyDataTreeEntry& father,
                                 const CyLockThread& thread) const noexcept CB_REQUIRES(mutex);
    /// Takes the locks in a subtree out of the counters above, before the subtree is unlinked.
    void SubtreeUnlinks(const CyDataTreeEntry& subtree) noexcept CB_REQUIRES(mutex);
    /// Adds them to the counters above, after the subtree was linked in a new place.
    void SubtreeLinked(const CyDataTreeEntry& subtree) noexcept CB_REQUIRES(mutex);

    /// Says that the manager is gone.
    void Close() noexcept CB_REQUIRES(mutex) { closed_ = true; }
    [[nodiscard]] bool IsClosed() const noexcept CB_REQUIRES(mutex) { return closed_; }
    /// Says that a thread is gone.
    /// @return true where it has no record: the caller deletes the thread once it left the mutex
    [[nodiscard]] bool EndThread(CyLockThread& thread) noexcept CB_REQUIRES(mutex);

private:
    friend struct TestAccess;

    ~CyLockEngine() = default;

    [[nodiscard]] bool areAllCovered(CyLockThread& thread) noexcept CB_REQUIRES(mutex);
    [[nodiscard]] bool isBlockedByLock(const CyLockThread& thread) const noexcept
        CB_REQUIRES(mutex);
    [[nodiscard]] bool doOthersHold(const CyDataTreeEntry& entry,
                                    const CyLockThread& thread) const noexcept CB_REQUIRES(mutex);
    void grantAll(CyLockThread& thread) noexcept CB_REQUIRES(mutex);
    void ungrant(CyLockRecord& record) noexcept CB_REQUIRES(mutex);
    void wakeQueue() noexcept CB_REQUIRES(mutex);

    std::atomic<std::uint32_t> references_{1};
    bool closed_ CB_GUARDED_BY(mutex) = false;
    std::uint64_t granted_ CB_GUARDED_BY(mutex) = 0;  ///< granted locks of all threads
    std::uint64_t epochs_ CB_GUARDED_BY(mutex) = 0;   ///< the newest epoch
    std::uint64_t lastMove_ CB_GUARDED_BY(mutex) = 0; ///< epochs up to this one have ended
    CyLockQueue queue_ CB_GUARDED_BY(mutex);
};
