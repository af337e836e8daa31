#pragma once

#include "platform/base/platformapi.h"
#include "platform/datatree/cydatatreeentry.h"
#include "platform/datatree/internal/cydatatreeedit.h"
#include "platform/datatree/internal/cydatatreemutex.h"
#include "platform/datatree/internal/cylockqueue.h"

#include <atomic>

/// The locks of a data manager: grants, refuses and takes back.
///
/// Every node counts the granted locks on it and strictly below it, so that a request sees what is
/// in its way by climbing to the top; the source has the tables. A thread that is granted something
/// new holds nothing so far, hence all counters it meets are those of others.
///
/// Whether a thread's own locks cover a node is found by climbing too. A climb that succeeds leaves
/// a stamp with the thread's epoch on the nodes it passed, so that the next one ends there. An
/// epoch is of one thread, and ends when that thread gives a lock back, or moves a node to where
/// its locks do not cover it for writing. Moves by others end no epoch: who moves a node either
/// covers it, or nobody else has a lock at, above or below it.
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
    /// @return as LetGo()
    [[nodiscard]] bool TakeBack(CyLockRecord& record) noexcept CB_REQUIRES(mutex);
    /// Moves a query or lock into an unused record.
    void Relocate(CyLockRecord& from, CyLockRecord& to) noexcept CB_REQUIRES(mutex);

    /// True if a lock that the thread holds on the node or above it gives reading, or writing.
    [[nodiscard]] bool Covers(CyLockThread& thread, CyDataTreeEntry& entry, bool write) noexcept
        CB_REQUIRES(mutex);
    /// True if the lock is granted, or pending and covered.
    [[nodiscard]] bool IsValid(const CyLockRecord& record) noexcept CB_REQUIRES(mutex);
    /// Locks all pending queries of a thread, or none. An outcome other than blocked ends the
    /// thread's place in the queue.
    /// @param now looked at only if the queue is not empty
    [[nodiscard]] EOutcome Attempt(CyLockThread& thread, Clock::time_point now) noexcept
        CB_REQUIRES(mutex);
    /// The same, and waits for others. The only function that enters the mutex by itself.
    [[nodiscard]] EOutcome Lock(CyLockThread& thread, std::chrono::milliseconds wait);

    /// Voids the locks on a node that leaves the manager and kills the queries on it; @p own, which
    /// may be null, becomes void in any case.
    void NodeLeaves(CyDataTreeEntry& entry, const CyLockRecord* own) noexcept CB_REQUIRES(mutex);

    /// @name Removals and moves by a thread; see CyDataTreeEdit
    /// @{

    /// True if the query is to this engine and not dead or void, so that its node may be edited
    /// as far as locks allow.
    [[nodiscard]] bool IsLinkedHere(const CyLockRecord& record) const noexcept CB_REQUIRES(mutex);
    /// Starts to remove nodes or, below @p newFather, to move them.
    [[nodiscard]] CyDataTreeEdit StartEdit(CyLockThread* thread,
                                           CyDataTreeEntry* newFather) noexcept CB_REQUIRES(mutex);
    /// Takes a node out as NodeLeaves(). False, and nothing changed, for the top node, one with
    /// children, or without access.
    [[nodiscard]] bool Remove(CyDataTreeEdit& edit, CyDataTreeEntry& entry,
                              const CyLockRecord* own) noexcept CB_REQUIRES(mutex);
    /// Moves a node to the end of the new father's children. False, and nothing changed, if the
    /// new father is the node or below it, without access, or if locks in the subtree would
    /// come into conflict with another thread's at the new place.
    [[nodiscard]] bool Move(CyDataTreeEdit& edit, CyDataTreeEntry& entry) noexcept
        CB_REQUIRES(mutex);
    /// Ends the edit: who waits looks again if nodes were moved.
    void EndEdit(const CyDataTreeEdit& edit) noexcept CB_REQUIRES(mutex);
    /// @}

    /// Says that the manager is gone.
    void Close() noexcept CB_REQUIRES(mutex) { closed_ = true; }
    [[nodiscard]] bool IsClosed() const noexcept CB_REQUIRES(mutex) { return closed_; }
    /// Says that a thread has ended, or soon will: it is found by a number from now on.
    /// @return as LetGo()
    [[nodiscard]] bool EndThread(CyLockThread& thread, std::uint64_t number) noexcept
        CB_REQUIRES(mutex);
    /// Adds a thread that had no handle until it ended.
    void AddEnded(CyLockThread& thread, std::uint64_t number) noexcept CB_REQUIRES(mutex);
    /// Returns the thread that ended with the number, or null.
    [[nodiscard]] CyLockThread* FindEnded(std::uint64_t number) const noexcept CB_REQUIRES(mutex);
    /// Gives up one use of a thread's object.
    /// @return true if it was the last one: the caller deletes the object once it left the mutex
    [[nodiscard]] bool LetGo(CyLockThread& thread) noexcept CB_REQUIRES(mutex);

private:
    friend struct datatreetests::TestAccess;

    ~CyLockEngine() = default;

    [[nodiscard]] bool areAllCovered(CyLockThread& thread) noexcept CB_REQUIRES(mutex);
    [[nodiscard]] CyLockThread::Blocker findBlocker(const CyLockThread& thread) noexcept
        CB_REQUIRES(mutex);
    void grantAll(CyLockThread& thread) noexcept CB_REQUIRES(mutex);
    void ungrant(CyLockRecord& record) noexcept CB_REQUIRES(mutex);

    [[nodiscard]] bool hasAccess(CyDataTreeEdit& edit, CyDataTreeEntry& entry) noexcept
        CB_REQUIRES(mutex);
    void movesLocks(CyDataTreeEdit& edit, CyDataTreeEntry& entry) noexcept CB_REQUIRES(mutex);
    void movesMarks(CyDataTreeEdit& edit, CyDataTreeEntry& entry) noexcept CB_REQUIRES(mutex);

    std::atomic<std::uint32_t> references_{1};
    bool closed_ CB_GUARDED_BY(mutex) = false;
    std::uint64_t granted_ CB_GUARDED_BY(mutex) = 0;  ///< granted locks of all threads
    std::uint64_t epochs_ CB_GUARDED_BY(mutex) = 0;   ///< the newest epoch
    std::uint64_t searches_ CB_GUARDED_BY(mutex) = 0; ///< the newest search
    /// Those that have ended, in no order.
    CbIntrusiveList<CyLockThread, &CyLockThread::amongEnded> ended_ CB_GUARDED_BY(mutex);
    CyLockQueue queue_ CB_GUARDED_BY(mutex);
};
