#include "platform/datatree/internal/cylockengine.h"

#include <algorithm>
#include <utility>

namespace
{

// A waiter that is blocked by older requests alone looks again after this time: their places may
// end without anybody noticing.
constexpr std::chrono::milliseconds c_lookAgain{20};

void linkToThread(CyLockRecord*& head, CyLockRecord& record) noexcept
{
    record.nextOfThread = head;
    record.linkOfThread = &head;
    if (head != nullptr) head->linkOfThread = &record.nextOfThread;
    head = &record;
}

void linkToNode(CyLockRecord*& head, CyLockRecord& record) noexcept
{
    record.nextOfNode = head;
    record.linkOfNode = &head;
    if (head != nullptr) head->linkOfNode = &record.nextOfNode;
    head = &record;
}

void unlink(CyLockRecord& record) noexcept
{
    *record.linkOfThread = record.nextOfThread;
    if (record.nextOfThread != nullptr) record.nextOfThread->linkOfThread = record.linkOfThread;
    *record.linkOfNode = record.nextOfNode;
    if (record.nextOfNode != nullptr) record.nextOfNode->linkOfNode = record.linkOfNode;
}

bool isLinked(const CyLockRecord& record) noexcept
{
    return record.state == CyLockRecord::EState::Pending ||
           record.state == CyLockRecord::EState::Granted;
}

CyLockCounts one(const CyLockRecord& record) noexcept
{
    return record.write ? CyLockCounts(0, 1) : CyLockCounts(1, 0);
}

void addAbove(const CyDataTreeEntry& entry, CyLockCounts counts) noexcept
{
    for (auto* above = entry.parent; above != nullptr; above = above->parent) {
        above->countBelow += counts;
    }
}

void subtractAbove(const CyDataTreeEntry& entry, CyLockCounts counts) noexcept
{
    for (auto* above = entry.parent; above != nullptr; above = above->parent) {
        above->countBelow -= counts;
    }
}

bool holdsHere(const CyLockThread& thread, const CyDataTreeEntry& entry, bool write) noexcept
{
    if (write ? entry.countHere.GetWrites() == 0 : entry.countHere.IsZero()) return false;
    for (auto* record = entry.granted; record != nullptr; record = record->nextOfNode) {
        if (record->thread == &thread && (record->write || !write)) return true;
    }
    return false;
}

bool isBelow(const CyDataTreeEntry& entry, const CyDataTreeEntry& top) noexcept
{
    auto* above = entry.parent;
    while (above != nullptr && above != &top) above = above->parent;
    return above != nullptr;
}

// True where granted locks conflict with a query whose thread has none of them.
bool conflicts(const CyLockRecord& query) noexcept
{
    const CyDataTreeEntry& entry = *query.entry;
    if ((entry.countHere + entry.countBelow).Excludes(query.write)) return true;
    for (auto* above = entry.parent; above != nullptr; above = above->parent) {
        if (above->countHere.Excludes(query.write)) return true;
    }
    return false;
}

} // namespace

void CyLockEngine::Release() noexcept
{
    if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

void CyLockEngine::Ask(CyLockThread& thread, CyDataTreeEntry& entry, bool write,
                       CyLockRecord& record) noexcept
{
    record.thread = &thread;
    record.entry = &entry;
    record.state = CyLockRecord::EState::Pending;
    record.write = write;
    linkToThread(thread.pending, record);
    linkToNode(entry.pending, record);
    ++thread.records;
}

bool CyLockEngine::TakeBack(CyLockRecord& record) noexcept
{
    CyLockThread& thread = *record.thread;
    // Others may go on where a lock goes, or a query that stood in the queue.
    const bool matters = record.state == CyLockRecord::EState::Granted || thread.inQueue;
    switch (record.state) {
    case CyLockRecord::EState::Pending:
        unlink(record);
        break;
    case CyLockRecord::EState::Granted:
        ungrant(record);
        break;
    case CyLockRecord::EState::Dead:
        --thread.dead;
        break;
    case CyLockRecord::EState::Void:
        break;
    }
    record = CyLockRecord();
    --thread.records;
    const bool isLast = thread.ended && thread.records == 0;
    if (isLast) queue_.Leave(thread);
    if (matters) wakeQueue();
    return isLast;
}

void CyLockEngine::Relocate(CyLockRecord& from, CyLockRecord& to) noexcept
{
    to = std::exchange(from, CyLockRecord());
    if (!isLinked(to)) return;
    *to.linkOfThread = &to;
    if (to.nextOfThread != nullptr) to.nextOfThread->linkOfThread = &to.nextOfThread;
    *to.linkOfNode = &to;
    if (to.nextOfNode != nullptr) to.nextOfNode->linkOfNode = &to.nextOfNode;
}

bool CyLockEngine::IsValid(const CyLockRecord& record) noexcept
{
    if (record.state == CyLockRecord::EState::Granted) return true;
    return record.state == CyLockRecord::EState::Pending &&
           Covers(*record.thread, *record.entry, record.write);
}

bool CyLockEngine::HasMomentaryAccess(const CyLockRecord& record) noexcept
{
    if (record.thread == nullptr || &record.thread->engine != this || !isLinked(record))
        return false;
    return IsValid(record) || !doOthersHold(*record.entry, *record.thread);
}

CyLockEngine::EOutcome CyLockEngine::Attempt(CyLockThread& thread, Clock::time_point now) noexcept
{
    if (!queue_.IsEmpty()) queue_.Expire(now);
    auto outcome = EOutcome::Locked;
    if (thread.dead != 0) {
        outcome = EOutcome::InvalidNode;
    } else if (thread.granted == nullptr && thread.pending == nullptr) {
        outcome = EOutcome::NoQueries;
    } else if (!areAllCovered(thread)) {
        if (thread.granted != nullptr) {
            outcome = EOutcome::NotReleased;
        } else if (isBlockedByLock(thread)) {
            return EOutcome::BlockedByLock;
        } else if (!queue_.IsEmpty() && queue_.IsOlderInTheWay(thread)) {
            return EOutcome::BlockedByOlder;
        }
    }
    if (outcome == EOutcome::Locked) grantAll(thread);
    if (thread.inQueue) {
        queue_.Leave(thread);
        // Whoever stood behind a request that was granted is now blocked by the lock.
        if (outcome != EOutcome::Locked) queue_.WakeAll();
    }
    return outcome;
}

CyLockEngine::EOutcome CyLockEngine::Lock(CyLockThread& thread, std::chrono::milliseconds wait)
{
    const CyDataTreeMutexLock lock(mutex);
    const auto isBlocked = [](EOutcome outcome) {
        return outcome == EOutcome::BlockedByLock || outcome == EOutcome::BlockedByOlder;
    };
    auto outcome = Attempt(thread, queue_.IsEmpty() ? Clock::time_point() : Clock::now());
    if (!isBlocked(outcome) || wait.count() == 0) return outcome;
    auto now = Clock::now();
    const auto end = now + wait;
    queue_.StartWaiting(thread);
    while (now < end) {
        mutex.WaitUntil(thread.wake, outcome == EOutcome::BlockedByOlder
                                         ? std::min(end, now + c_lookAgain)
                                         : end);
        now = Clock::now();
        outcome = Attempt(thread, now);
        if (!isBlocked(outcome)) return outcome;
    }
    queue_.StopWaiting(thread, now);
    return outcome;
}

void CyLockEngine::NodeLeaves(CyDataTreeEntry& entry, const CyLockRecord* own) noexcept
{
    const bool wasAsked = entry.granted != nullptr || entry.pending != nullptr;
    while (entry.granted != nullptr) {
        CyLockRecord& record = *entry.granted;
        ungrant(record);
        record.state = CyLockRecord::EState::Void;
        record.entry = nullptr;
    }
    while (entry.pending != nullptr) {
        CyLockRecord& record = *entry.pending;
        unlink(record);
        record.state = &record == own ? CyLockRecord::EState::Void : CyLockRecord::EState::Dead;
        if (&record != own) ++record.thread->dead;
        record.entry = nullptr;
    }
    entry.coverStamp = 0;
    entry.queueMark = 0;
    if (wasAsked) wakeQueue();
}

bool CyLockEngine::FitsBelow(const CyDataTreeEntry& subtree, const CyDataTreeEntry& father,
                             const CyLockThread& thread) const noexcept
{
    const auto inside = subtree.countHere + subtree.countBelow;
    if (inside.IsZero()) return true;
    for (auto* entry = &father; entry != nullptr; entry = entry->parent) {
        for (auto* record = entry->granted; record != nullptr; record = record->nextOfNode) {
            if (record->thread != &thread && inside.Excludes(record->write)) return false;
        }
    }
    return true;
}

void CyLockEngine::SubtreeUnlinks(const CyDataTreeEntry& subtree) noexcept
{
    const auto inside = subtree.countHere + subtree.countBelow;
    if (!inside.IsZero()) subtractAbove(subtree, inside);
    lastMove_ = epochs_;
}

void CyLockEngine::SubtreeLinked(const CyDataTreeEntry& subtree) noexcept
{
    const auto inside = subtree.countHere + subtree.countBelow;
    if (!inside.IsZero()) addAbove(subtree, inside);
    wakeQueue();
}

bool CyLockEngine::EndThread(CyLockThread& thread) noexcept
{
    thread.ended = true;
    queue_.Leave(thread);
    wakeQueue();
    return thread.records == 0;
}

bool CyLockEngine::Covers(CyLockThread& thread, CyDataTreeEntry& entry, bool write) noexcept
{
    if (write ? thread.grantedWrites == 0 : thread.granted == nullptr) return false;
    if (thread.epoch <= lastMove_) thread.epoch = ++epochs_;
    // A stamp is the epoch above one bit: whether writing is covered too.
    const auto isStamped = [&](const CyDataTreeEntry& at) {
        return at.coverStamp >> 1 == thread.epoch && (!write || (at.coverStamp & 1) != 0);
    };
    auto* found = &entry;
    while (!isStamped(*found) && !holdsHere(thread, *found, write)) {
        found = found->parent;
        if (found == nullptr) return false;
    }
    const std::uint64_t stamp = thread.epoch << 1 | (write ? 1 : 0);
    for (auto* passed = &entry; !isStamped(*passed); passed = passed->parent) {
        passed->coverStamp = stamp;
        if (passed == found) break;
    }
    return true;
}

bool CyLockEngine::areAllCovered(CyLockThread& thread) noexcept
{
    for (auto* record = thread.pending; record != nullptr; record = record->nextOfThread) {
        if (!Covers(thread, *record->entry, record->write)) return false;
    }
    return true;
}

bool CyLockEngine::isBlockedByLock(const CyLockThread& thread) const noexcept
{
    if (granted_ == 0) return false;
    for (auto* record = thread.pending; record != nullptr; record = record->nextOfThread) {
        if (conflicts(*record)) return true;
    }
    return false;
}

bool CyLockEngine::doOthersHold(const CyDataTreeEntry& entry,
                                const CyLockThread& thread) const noexcept
{
    if (granted_ == 0) return false;
    for (auto* above = &entry; above != nullptr; above = above->parent) {
        for (auto* record = above->granted; record != nullptr; record = record->nextOfNode) {
            if (record->thread != &thread) return true;
        }
    }
    auto below = entry.countBelow.GetReads() + entry.countBelow.GetWrites();
    if (below == 0) return false;
    for (auto* record = thread.granted; record != nullptr; record = record->nextOfThread) {
        if (isBelow(*record->entry, entry)) --below;
    }
    return below != 0;
}

void CyLockEngine::grantAll(CyLockThread& thread) noexcept
{
    while (thread.pending != nullptr) {
        CyLockRecord& record = *thread.pending;
        unlink(record);
        record.state = CyLockRecord::EState::Granted;
        linkToThread(thread.granted, record);
        linkToNode(record.entry->granted, record);
        record.entry->countHere += one(record);
        addAbove(*record.entry, one(record));
        ++granted_;
        if (record.write) ++thread.grantedWrites;
    }
}

void CyLockEngine::ungrant(CyLockRecord& record) noexcept
{
    unlink(record);
    record.entry->countHere -= one(record);
    subtractAbove(*record.entry, one(record));
    --granted_;
    if (record.write) --record.thread->grantedWrites;
    record.thread->epoch = 0;
}

void CyLockEngine::wakeQueue() noexcept
{
    if (!queue_.IsEmpty()) queue_.WakeAll();
}
