// A mutex of three states (Drepper, Futexes Are Tricky, 2011), made recursive by its owner:
//
//   state              Enter                                     Leave
//   Free               Held                                      -
//   Held               HeldAndWaitedFor, and waits               Free, and wakes nobody
//   HeldAndWaitedFor   waits                                     Free, and wakes one
//
// Whoever was woken enters with HeldAndWaitedFor, since others may wait behind it. So without
// contention no system call is made.

#include "platform/base/cbcriticalsection.h"

#include <cassert>

namespace
{

// An address that stands for the calling thread. A thread that ends has left all sections, and its
// address is handed on to another thread only after that.
const void* thisThread() noexcept
{
    static thread_local const char token = 0;
    return &token;
}

} // namespace

void CbCriticalSection::Enter() noexcept CB_NO_THREAD_SAFETY_ANALYSIS
{
    const void* const self = thisThread();
    // Only this thread ever stores its own token, so the answer can't be out of date.
    if (owner_.load(std::memory_order_relaxed) == self) {
        ++depth_;
        return;
    }
    std::uint32_t state = Free;
    if (!state_.compare_exchange_strong(state, Held, std::memory_order_acquire,
                                        std::memory_order_relaxed)) {
        while (state_.exchange(HeldAndWaitedFor, std::memory_order_acquire) != Free) {
            state_.wait(HeldAndWaitedFor, std::memory_order_relaxed);
        }
    }
    owner_.store(self, std::memory_order_relaxed);
    depth_ = 1;
}

bool CbCriticalSection::TryEnter() noexcept CB_NO_THREAD_SAFETY_ANALYSIS
{
    const void* const self = thisThread();
    if (owner_.load(std::memory_order_relaxed) == self) {
        ++depth_;
        return true;
    }
    std::uint32_t state = Free;
    if (!state_.compare_exchange_strong(state, Held, std::memory_order_acquire,
                                        std::memory_order_relaxed)) {
        return false;
    }
    owner_.store(self, std::memory_order_relaxed);
    depth_ = 1;
    return true;
}

void CbCriticalSection::Leave() noexcept CB_NO_THREAD_SAFETY_ANALYSIS
{
    assert(owner_.load(std::memory_order_relaxed) == thisThread());
    if (--depth_ != 0) return;
    owner_.store(nullptr, std::memory_order_relaxed);
    if (state_.exchange(Free, std::memory_order_release) == HeldAndWaitedFor) state_.notify_one();
}
