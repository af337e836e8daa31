#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

/// An event that lets one waiting thread through for each Set().
///
/// A Set() that nobody waits for is remembered; several of them count as one.
///
/// Threads: any thread may set, any number may wait.
class CbEvent
{
public:
    CbEvent() = default;
    CbEvent(const CbEvent&) = delete;
    CbEvent& operator=(const CbEvent&) = delete;
    ~CbEvent() = default;

    /// Lets one thread through: one that waits now, or the next one to wait.
    void Set()
    {
        // Notified inside the lock: the thread let through may destroy the event.
        const std::lock_guard lock(mutex_);
        set_ = true;
        changed_.notify_one();
    }

    /// Forgets a Set() that nobody waited for.
    void Reset()
    {
        const std::lock_guard lock(mutex_);
        set_ = false;
    }

    /// Waits for a Set() and uses it up.
    void Wait()
    {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return set_; });
        set_ = false;
    }

    /// Waits for a Set() and uses it up; false if none came in time. With 0 it only looks.
    [[nodiscard]] bool Wait(std::uint32_t milliseconds)
    {
        std::unique_lock lock(mutex_);
        if (!changed_.wait_for(lock, std::chrono::milliseconds(milliseconds),
                               [this] { return set_; })) {
            return false;
        }
        set_ = false;
        return true;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool set_ = false; ///< guarded by mutex_
};
