#include "platform/datatree/internal/cylockqueue.h"

#include "platform/datatree/cydatatreeentry.h"

namespace
{

constexpr std::chrono::milliseconds c_keepPlace{100};

// A mark: the number of the search above four flags that tell what older requests ask for.
constexpr std::uint64_t c_readHere = 1;
constexpr std::uint64_t c_writeHere = 2;
constexpr std::uint64_t c_readBelow = 4;
constexpr std::uint64_t c_writeBelow = 8;
constexpr int c_flagBits = 4;

// False where the flag was set already.
bool setFlag(CyDataTreeEntry& entry, std::uint64_t search, std::uint64_t flag) noexcept
{
    if (entry.queueMark >> c_flagBits != search) entry.queueMark = search << c_flagBits;
    if ((entry.queueMark & flag) != 0) return false;
    entry.queueMark |= flag;
    return true;
}

} // namespace

void CyLockQueue::StartWaiting(CyLockThread& thread) noexcept
{
    thread.waiting = true;
    if (thread.inQueue) return;
    thread.inQueue = true;
    thread.olderInQueue = newest_;
    thread.newerInQueue = nullptr;
    (newest_ != nullptr ? newest_->newerInQueue : oldest_) = &thread;
    newest_ = &thread;
}

void CyLockQueue::StopWaiting(CyLockThread& thread, Clock::time_point now) noexcept
{
    thread.waiting = false;
    thread.keepUntil = now + c_keepPlace;
}

void CyLockQueue::Leave(CyLockThread& thread) noexcept
{
    if (!thread.inQueue) return;
    thread.inQueue = false;
    thread.waiting = false;
    auto& fromOlder = thread.olderInQueue != nullptr ? thread.olderInQueue->newerInQueue : oldest_;
    auto& fromNewer = thread.newerInQueue != nullptr ? thread.newerInQueue->olderInQueue : newest_;
    fromOlder = thread.newerInQueue;
    fromNewer = thread.olderInQueue;
}

void CyLockQueue::Expire(Clock::time_point now) noexcept
{
    for (CyLockThread* thread = oldest_; thread != nullptr;) {
        CyLockThread* const newer = thread->newerInQueue;
        if (!thread->waiting && thread->keepUntil < now) Leave(*thread);
        thread = newer;
    }
}

void CyLockQueue::WakeAll() noexcept
{
    for (CyLockThread* thread = oldest_; thread != nullptr; thread = thread->newerInQueue) {
        if (thread->waiting) thread->wake.notify_one();
    }
}

bool CyLockQueue::IsOlderInTheWay(const CyLockThread& thread) noexcept
{
    if (oldest_ == &thread) return false;
    ++search_;
    for (const CyLockThread* older = oldest_; older != nullptr && older != &thread;
         older = older->newerInQueue) {
        for (auto* record = older->pending; record != nullptr; record = record->nextOfThread) {
            mark(*record);
        }
    }
    for (auto* record = thread.pending; record != nullptr; record = record->nextOfThread) {
        if (isMarkedAgainst(*record)) return true;
    }
    return false;
}

void CyLockQueue::mark(const CyLockRecord& record) noexcept
{
    (void)setFlag(*record.entry, search_, record.write ? c_writeHere : c_readHere);
    const auto below = record.write ? c_writeBelow : c_readBelow;
    for (auto* above = record.entry->parent; above != nullptr; above = above->parent) {
        if (!setFlag(*above, search_, below)) return; // and so have all above it
    }
}

bool CyLockQueue::isMarkedAgainst(const CyLockRecord& record) const noexcept
{
    const auto isMarked = [this](const CyDataTreeEntry& entry, std::uint64_t flags) {
        return entry.queueMark >> c_flagBits == search_ && (entry.queueMark & flags) != 0;
    };
    const auto here = record.write ? c_readHere | c_writeHere : c_writeHere;
    const auto below = record.write ? c_readBelow | c_writeBelow : c_writeBelow;
    if (isMarked(*record.entry, here | below)) return true;
    for (auto* above = record.entry->parent; above != nullptr; above = above->parent) {
        if (isMarked(*above, here)) return true;
    }
    return false;
}
