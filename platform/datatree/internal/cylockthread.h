#pragma once

#include "platform/base/platformapi.h"
#include "platform/datatree/cylockrecord.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>

class CyLockEngine;

/// One thread as a data manager sees it: its queries and locks, and its place in the queue.
///
/// Made with a thread's first handle on a manager. The object itself is the thread's identity, so a
/// recycled id of the system never makes one thread pass for another. It lives until the thread has
/// ended and its last record was given back, wherever the handle was then.
///
/// Threads: guarded by the mutex of the engine, but for @c engine.
struct PLATFORM_API CyLockThread
{
    using Clock = std::chrono::steady_clock;

    /// What a thread that waits met when it looked last: an older request or a lock. Nothing, once
    /// it was woken.
    struct Blocker
    {
        const CyLockThread* older = nullptr; ///< the newest of those that were in its way
        const CyDataTreeEntry* at = nullptr; ///< or where it met the lock,
        bool orBelow = false;                ///< or one below that,
        bool write = false;                  ///< when it asked for writing, or else reading

        [[nodiscard]] bool IsNone() const noexcept { return older == nullptr && at == nullptr; }
    };

    explicit CyLockThread(CyLockEngine& lockEngine);
    CyLockThread(const CyLockThread&) = delete;
    CyLockThread& operator=(const CyLockThread&) = delete;
    ~CyLockThread();

    CyLockEngine& engine; ///< kept alive

    CyLockRecordsOfThread pending;
    CyLockRecordsOfThread granted;
    std::uint32_t uses = 1;          ///< records, dead and void ones too, and who knows the object
    std::uint32_t dead = 0;          ///< number of dead records
    std::uint32_t grantedWrites = 0; ///< number of granted writes

    /// Number of the present set of grants, from the engine; 0 if a new one is due.
    std::uint64_t epoch = 0;

    // The place among blocked requests; see CyLockQueue.
    CbListLinks<CyLockThread> inQueue;
    std::uint64_t place = 0; ///< 0 for none
    bool waiting = false;    ///< in the queue; otherwise a place is only kept
    Clock::time_point until; ///< end of its time to wait or, if a place is only kept, of that
    Blocker blocker;
    std::condition_variable wake;

    // What is left of a thread that has ended, or is destroying its last objects; see CyLockCaller.
    std::uint64_t endedNumber = 0; ///< 0 while it goes on
    CbListLinks<CyLockThread> amongEnded;
};

/// The calling thread as an engine sees it, for the time of a call.
///
/// A thread keeps a list of its objects until its thread-local objects are destroyed. Those that go
/// after the list may still use handles: from then on the engine finds the thread by a number, and
/// the object goes with its last use.
class CyLockCaller
{
public:
    enum class EUnknown
    {
        Null, ///< a thread that has had no handle so far is null
        Make  ///< or made; may throw std::bad_alloc
    };
    CyLockCaller(CyLockEngine& engine, EUnknown unknown);
    CyLockCaller(const CyLockCaller&) = delete;
    CyLockCaller& operator=(const CyLockCaller&) = delete;
    ~CyLockCaller()
    {
        if (isCounted_) letGo();
    }

    [[nodiscard]] CyLockThread* Get() const noexcept { return thread_; }

private:
    void letGo() noexcept;

    CyLockThread* thread_ = nullptr;
    bool isCounted_ = false; ///< as a use of the object
};
