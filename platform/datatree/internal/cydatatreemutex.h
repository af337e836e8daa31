#pragma once

#include "platform/base/cbthreadannotations.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

/// The mutex of a data manager: guards the links of the data tree and all lock records.
///
/// It is the innermost of all: nothing is called under it that could enter another lock, and no
/// reference is given back.
class CB_CAPABILITY("data tree mutex") CyDataTreeMutex
{
public:
    void Enter() CB_ACQUIRE() { mutex_.lock(); }
    void Leave() CB_RELEASE() { mutex_.unlock(); }

    /// Leaves, waits for a notification or the end of the time, and enters again.
    void WaitUntil(std::condition_variable& changed, std::chrono::steady_clock::time_point end)
        CB_REQUIRES(this)
    {
        std::unique_lock lock(mutex_, std::adopt_lock);
        changed.wait_until(lock, end);
        lock.release();
    }

private:
    std::mutex mutex_;
};

/// Holds the mutex of a data manager from construction to destruction.
class CB_SCOPED_CAPABILITY CyDataTreeMutexLock
{
public:
    explicit CyDataTreeMutexLock(CyDataTreeMutex& mutex) CB_ACQUIRE(mutex) : mutex_(mutex)
    {
        mutex_.Enter();
    }
    CyDataTreeMutexLock(const CyDataTreeMutexLock&) = delete;
    CyDataTreeMutexLock& operator=(const CyDataTreeMutexLock&) = delete;
    ~CyDataTreeMutexLock() CB_RELEASE() { mutex_.Leave(); }

private:
    CyDataTreeMutex& mutex_;
};
