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

    explicit CyLockThread(CyLockEngine& lockEngine);
    CyLockThread(const CyLockThread&) = delete;
    CyLockThread& operator=(const CyLockThread&) = delete;
    ~CyLockThread();

    /// Returns the calling thread's object with an engine; null where it had no handle so far.
    [[nodiscard]] static CyLockThread* Find(const CyLockEngine& engine) noexcept;
    /// The same, made where there is none.
    [[nodiscard]] static CyLockThread& Get(CyLockEngine& engine);

    /// Deletes the object of a thread that has ended, after its last record.
    static void Delete(CyLockThread* thread) noexcept;

    CyLockEngine& engine; ///< kept alive

    CyLockRecord* pending = nullptr;
    CyLockRecord* granted = nullptr;
    std::uint32_t records = 0;       ///< in use, dead and void ones included
    std::uint32_t dead = 0;          ///< among them dead ones
    std::uint32_t grantedWrites = 0; ///< among them granted writes
    bool ended = false;              ///< the thread is gone; the last record deletes this

    /// Number of the present set of grants, from the engine; 0 where a new one is due.
    std::uint64_t epoch = 0;

    // Place in the queue of blocked requests, oldest first.
    CyLockThread* olderInQueue = nullptr;
    CyLockThread* newerInQueue = nullptr;
    bool inQueue = false;
    bool waiting = false;        ///< waits at this moment; otherwise its time ran out
    Clock::time_point keepUntil; ///< end of its place where it does not wait
    std::condition_variable wake;
};
