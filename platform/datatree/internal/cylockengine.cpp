// How locks are granted and given back.
//
// A record and what it counts for:
//
//   state     in the lists of           counters of the tree        its thread
//   unused    -                         -                           -
//   Pending   pending: thread, node     -                           may be in the queue
//   Granted   granted: thread, node     countHere of its node,      grantedWrites if it writes
//                                       countBelow of all above
//   Dead      -                         -                           dead, so it can't lock
//   Void      -                         -                           -
//
//   from      by                        to         then
//   unused    Ask                       Pending    a thread with a place may get a part in it
//   Pending   Attempt: grantAll         Granted    together with all others of its thread
//   Pending   NodeLeaves                Dead       Void for the handle that takes the node out
//   Granted   NodeLeaves                Void       who waited for it is woken
//   any       TakeBack                  unused     who waited for it is woken
//   any       Relocate                  the same   in another handle
//
// What a lock of one thread leaves to the others (r may read, w may write, - neither). Each node
// counts the locks on it and those below it, so a request looks at the counters of its node, and
// above that only at the locks on the nodes themselves:
//
//                    the other asks for a lock
//   the lock         above the node    on the node    below the node
//   reads            r -               r -            r -
//   writes           - -               - -            - -
//
//   beside the node, that is, on no common path to the top: r w
//
// Example: b is written, so nobody else enters top, a, b or c, but d may be written.
//
//   top               countBelow 1 write     a request for "write a" sees the 1 below and stops
//    +-- a            countBelow 1 write     a request for "read c" climbs, and stops at b
//        +-- b        countHere 1 write      a request for "write d" climbs to the top: free
//        |   +-- c
//        +-- d

#include "platform/datatree/internal/cylockengine.h"

#include <algorithm>

namespace
{

// Whoever waits in slices is back this long after one of them. Who is behind it looks again then.
constexpr std::chrono::milliseconds c_isBack{20};

bool isLinked(const CyLockRecord& record) noexcept
{
    return record.state == CyLockRecord::EState::Pending ||
           record.state == CyLockRecord::EState::Granted;
}

// Puts a record into the lists of the pending ones, and takes it out.
void linkPending(CyLockRecord& record) noexcept
{
    record.thread->pending.PushFront(record);
    record.entry->pending.PushFront(record);
}

void unlinkPending(CyLockRecord& record) noexcept
{
    record.thread->pending.Remove(record);
    record.entry->pending.Remove(record);
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

// Most nodes have no locks at all, which the counter tells without a look at the records.
bool holdsHere(const CyLockThread& thread, const CyDataTreeEntry& entry, bool write) noexcept
{
    if (write ? entry.countHere.GetWrites() == 0 : entry.countHere.IsZero()) return false;
    return std::any_of(entry.granted.begin(), entry.granted.end(), [&](const auto& record) {
        return record.thread == &thread && (record.write || !write);
    });
}

// The lock, if any, that conflicts with a query whose thread has none so far.
CyLockThread::Blocker findLockInTheWay(const CyLockRecord& query) noexcept
{
    const CyDataTreeEntry& entry = *query.entry;
    if ((entry.countHere + entry.countBelow).Excludes(query.write)) {
        return {nullptr, &entry, true, query.write};
    }
    for (auto* above = entry.parent; above != nullptr; above = above->parent) {
        if (above->countHere.Excludes(query.write)) return {nullptr, above, false, query.write};
    }
    return {};
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
    linkPending(record);
    ++thread.uses;
    if (thread.place != 0) CyLockQueue::QueryComes(thread, record);
}

bool CyLockEngine::TakeBack(CyLockRecord& record) noexcept
{
    CyLockThread& thread = *record.thread;
    switch (record.state) {
    case CyLockRecord::EState::Pending:
        unlinkPending(record);
        if (thread.place != 0) CyLockQueue::QueryGoes(thread);
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
    if (!queue_.IsEmpty())
        queue_.WakeFreed(&thread); // nobody points to the thread if this was its last record
    return LetGo(thread);
}

void CyLockEngine::Relocate(CyLockRecord& from, CyLockRecord& to) noexcept
{
    to = from;
    if (isLinked(from)) {
        const bool isGranted = from.state == CyLockRecord::EState::Granted;
        (isGranted ? from.thread->granted : from.thread->pending).Replace(from, to);
        (isGranted ? from.entry->granted : from.entry->pending).Replace(from, to);
    }
    from = CyLockRecord();
}

bool CyLockEngine::IsValid(const CyLockRecord& record) noexcept
{
    if (record.state == CyLockRecord::EState::Granted) return true;
    return record.state == CyLockRecord::EState::Pending &&
           Covers(*record.thread, *record.entry, record.write);
}

CyLockEngine::EOutcome CyLockEngine::Attempt(CyLockThread& thread, Clock::time_point now) noexcept
{
    // The order tells which outcome is given if several are true. What the thread's own locks cover
    // is never blocked, and a thread with locks never waits: that is why nobody holds and waits.
    if (thread.place != 0) CyLockQueue::Expire(thread, now);
    auto outcome = EOutcome::Locked;
    if (thread.dead != 0) {
        outcome = EOutcome::InvalidNode;
    } else if (thread.granted.IsEmpty() && thread.pending.IsEmpty()) {
        outcome = EOutcome::NoQueries;
    } else if (!areAllCovered(thread)) {
        if (!thread.granted.IsEmpty()) {
            outcome = EOutcome::NotReleased;
        } else if (granted_ != 0 || !queue_.IsEmpty()) {
            thread.blocker = findBlocker(thread);
            if (thread.blocker.older != nullptr) return EOutcome::BlockedByOlder;
            if (thread.blocker.at != nullptr) return EOutcome::BlockedByLock;
        }
    }
    const bool wasInTheWay = thread.waiting && outcome != EOutcome::Locked;
    if (thread.place != 0) queue_.Leave(thread);
    if (outcome == EOutcome::Locked) grantAll(thread); // those behind it are behind its locks now
    if (wasInTheWay) queue_.WakeFreed(&thread);
    return outcome;
}

CyLockEngine::EOutcome CyLockEngine::Lock(CyLockThread& thread, std::chrono::milliseconds wait)
{
    const CyDataTreeMutexLock lock(mutex);
    const auto isBlocked = [](EOutcome outcome) {
        return outcome == EOutcome::BlockedByLock || outcome == EOutcome::BlockedByOlder;
    };
    auto outcome = Attempt(thread, thread.place == 0 ? Clock::time_point() : Clock::now());
    if (!isBlocked(outcome) || wait.count() == 0) return outcome;
    auto now = Clock::now();
    const auto end = now + wait;
    queue_.StartWaiting(thread, end);
    // Between two looks the mutex is left. Whoever frees what this thread met notifies it; a wake
    // that comes for nothing costs one more look.
    while (now < end) {
        // The older request leaves, is granted and released, or ends: only that wakes nobody.
        const auto* const older = thread.blocker.older;
        const auto look = older != nullptr ? std::max(older->until, now) + c_isBack : end;
        mutex.WaitUntil(thread.wake, std::min(look, end));
        now = Clock::now();
        outcome = Attempt(thread, now);
        if (!isBlocked(outcome)) return outcome;
    }
    queue_.StopWaiting(thread, now);
    return outcome;
}

void CyLockEngine::NodeLeaves(CyDataTreeEntry& entry, const CyLockRecord* own) noexcept
{
    // Records stay with their handles, which find them dead or void. An entry that is put into a
    // manager again starts without marks and stamps.
    while (!entry.granted.IsEmpty()) {
        CyLockRecord& record = *entry.granted.First();
        ungrant(record);
        record.state = CyLockRecord::EState::Void;
        record.entry = nullptr;
        queue_.WakeFreed(record.thread);
    }
    while (!entry.pending.IsEmpty()) {
        CyLockRecord& record = *entry.pending.First();
        unlinkPending(record);
        record.state = &record == own ? CyLockRecord::EState::Void : CyLockRecord::EState::Dead;
        if (&record != own) ++record.thread->dead;
        record.entry = nullptr;
        if (record.thread->place != 0) CyLockQueue::QueryGoes(*record.thread);
        queue_.WakeFreed(record.thread);
    }
    entry.coverStamp = 0;
    entry.searchMark = 0;
}

bool CyLockEngine::EndThread(CyLockThread& thread, std::uint64_t number) noexcept
{
    queue_.Leave(thread);
    AddEnded(thread, number);
    return LetGo(thread);
}

void CyLockEngine::AddEnded(CyLockThread& thread, std::uint64_t number) noexcept
{
    thread.endedNumber = number;
    ended_.PushFront(thread);
}

CyLockThread* CyLockEngine::FindEnded(std::uint64_t number) const noexcept
{
    const auto found = std::find_if(ended_.begin(), ended_.end(), [&](const auto& thread) {
        return thread.endedNumber == number;
    });
    return found != ended_.end() ? &*found : nullptr;
}

bool CyLockEngine::LetGo(CyLockThread& thread) noexcept
{
    if (--thread.uses != 0) return false;
    if (thread.endedNumber != 0) ended_.Remove(thread);
    return true;
}

bool CyLockEngine::Covers(CyLockThread& thread, CyDataTreeEntry& entry, bool write) noexcept
{
    if (write ? thread.grantedWrites == 0 : thread.granted.IsEmpty()) return false;
    if (thread.epoch == 0) thread.epoch = ++epochs_;
    // A stamp is the epoch above one bit: whether writing is covered too.
    const auto isStamped = [&](const CyDataTreeEntry& at) {
        return at.coverStamp >> 1 == thread.epoch && (!write || (at.coverStamp & 1) != 0);
    };
    auto* found = &entry;
    while (!isStamped(*found) && !holdsHere(thread, *found, write)) {
        found = found->parent;
        if (found == nullptr) return false;
    }
    // Path compression, as in union-find: all nodes passed learn the answer.
    const std::uint64_t stamp = thread.epoch << 1 | (write ? 1 : 0);
    for (auto* passed = &entry; !isStamped(*passed); passed = passed->parent) {
        passed->coverStamp = stamp;
        if (passed == found) break;
    }
    return true;
}

bool CyLockEngine::areAllCovered(CyLockThread& thread) noexcept
{
    for (const CyLockRecord& record : thread.pending) {
        if (!Covers(thread, *record.entry, record.write)) return false;
    }
    return true;
}

CyLockThread::Blocker CyLockEngine::findBlocker(const CyLockThread& thread) noexcept
{
    // Older requests first: they go on being in the way once they are granted.
    if (!queue_.IsEmpty()) {
        const auto* const older = queue_.FindOlderInTheWay(thread, CyDataTreeSearch(searches_));
        if (older != nullptr) return {older};
    }
    if (granted_ == 0) return {};
    for (const CyLockRecord& query : thread.pending) {
        const auto blocker = findLockInTheWay(query);
        if (!blocker.IsNone()) return blocker;
    }
    return {};
}

void CyLockEngine::grantAll(CyLockThread& thread) noexcept
{
    while (!thread.pending.IsEmpty()) {
        CyLockRecord& record = *thread.pending.First();
        unlinkPending(record);
        record.state = CyLockRecord::EState::Granted;
        thread.granted.PushFront(record);
        record.entry->granted.PushFront(record);
        record.entry->countHere += one(record);
        addAbove(*record.entry, one(record));
        ++granted_;
        if (record.write) ++thread.grantedWrites;
    }
}

void CyLockEngine::ungrant(CyLockRecord& record) noexcept
{
    record.thread->granted.Remove(record);
    record.entry->granted.Remove(record);
    record.entry->countHere -= one(record);
    subtractAbove(*record.entry, one(record));
    --granted_;
    if (record.write) --record.thread->grantedWrites;
    record.thread->epoch = 0; // its stamps may tell too much from now on
}
