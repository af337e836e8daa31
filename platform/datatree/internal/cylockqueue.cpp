// Who waits for whom. Of the older requests in the way, each remembers the newest one, or else the
// lock that it met:
//
//   oldest                                  newest
//   A: write n --- B: write n --- C: write n      D: write m, which is elsewhere
//   met the lock   met A          met B           met nothing, and does not wait
//   on n
//
// When the lock on n goes, A alone is woken. B goes on waiting for A, which holds n by now, and is
// woken when A gives it back.

#include "platform/datatree/internal/cylockqueue.h"

#include <algorithm>
#include <limits>

namespace
{

constexpr std::chrono::milliseconds c_keepPlace{100};

// Flags of a search. A thread that looks marks what it asks for: its nodes, and all above them.
// Then the queries of the older threads climb, and end at the first mark that conflicts:
//
//   here    the thread asks for this node             below   it asks for something below
//   may     a climb has passed here, and found that nothing above conflicts
//
// So all climbs together pass each node a few times, however many queries there are.

// What the thread that looks asks for, here and below.
constexpr unsigned c_readHere = 1;
constexpr unsigned c_writeHere = 2;
constexpr unsigned c_readBelow = 4;
constexpr unsigned c_writeBelow = 8;
// It asks for nothing, here and above, that conflicts with reading or writing further down.
constexpr unsigned c_mayReadBelow = 16;
constexpr unsigned c_mayWriteBelow = 32;

template<class Predicate>
bool isAnyPending(const CyLockThread& thread, Predicate predicate)
{
    return std::any_of(thread.pending.begin(), thread.pending.end(), predicate);
}

// True if the thread has a place and asks for nothing else than when it got it.
bool isForPlace(const CyLockThread& thread) noexcept
{
    return thread.place != 0 && !isAnyPending(thread, [&](const CyLockRecord& record) {
               return record.place != thread.place;
           });
}

void mark(CyDataTreeSearch search, const CyLockRecord& record) noexcept
{
    (void)search.Set(*record.entry, record.write ? c_writeHere : c_readHere);
    const auto below = record.write ? c_writeBelow : c_readBelow;
    for (auto* above = record.entry->parent; above != nullptr; above = above->parent) {
        if (!search.Set(*above, below)) return; // and so have all above it
    }
}

// To be asked until it is true once, since it takes for granted that no conflict was found.
bool isMarkedAgainst(CyDataTreeSearch search, const CyLockRecord& record) noexcept
{
    const auto here = record.write ? c_readHere | c_writeHere : c_writeHere;
    const auto below = record.write ? c_readBelow | c_writeBelow : c_writeBelow;
    if (search.Get(*record.entry, here | below) != 0) return true;
    const auto mayBelow = record.write ? c_mayWriteBelow : c_mayReadBelow;
    for (auto* above = record.entry->parent; above != nullptr; above = above->parent) {
        if (search.Get(*above, here) != 0) return true;
        if (!search.Set(*above, mayBelow)) return false;
    }
    return false;
}

// An older request that was granted meanwhile is in the way by its locks.
bool isStillBlocked(const CyLockThread& thread, const CyLockThread* changed) noexcept
{
    const CyLockThread::Blocker& blocker = thread.blocker;
    if (const CyLockThread* const older = blocker.older) {
        const bool isInTheWay = older->waiting && older->place < thread.place;
        return older != changed && (isInTheWay || !older->granted.IsEmpty());
    }
    auto counts = blocker.at->countHere;
    if (blocker.orBelow) counts += blocker.at->countBelow;
    return counts.Excludes(blocker.write);
}

} // namespace

void CyLockQueue::StartWaiting(CyLockThread& thread, Clock::time_point end) noexcept
{
    if (!isForPlace(thread)) {
        thread.place = ++places_;
        for (CyLockRecord& record : thread.pending) record.place = thread.place;
    }
    // A new place is the highest number and goes to the end; one that was kept, to where it was.
    CyLockThread* older = waiting_.Last();
    while (older != nullptr && older->place > thread.place) older = waiting_.Before(*older);
    waiting_.InsertBehind(older, thread);
    thread.waiting = true;
    thread.until = end;
}

void CyLockQueue::StopWaiting(CyLockThread& thread, Clock::time_point now) noexcept
{
    const auto place = thread.place;
    Leave(thread);
    thread.place = place;
    thread.until = now + c_keepPlace;
    QueryGoes(thread); // the last one may have gone while it waited
}

void CyLockQueue::Leave(CyLockThread& thread) noexcept
{
    thread.place = 0;
    if (!thread.waiting) return;
    thread.waiting = false;
    thread.blocker = {};
    waiting_.Remove(thread);
}

void CyLockQueue::Expire(CyLockThread& thread, Clock::time_point now) noexcept
{
    if (!thread.waiting && thread.until < now) thread.place = 0;
}

void CyLockQueue::QueryGoes(CyLockThread& thread) noexcept
{
    if (thread.waiting) return Wake(thread);
    const auto hasPart = [&](const CyLockRecord& record) { return record.place == thread.place; };
    if (!isAnyPending(thread, hasPart)) thread.place = 0;
}

void CyLockQueue::QueryComes(const CyLockThread& thread, CyLockRecord& record) noexcept
{
    for (const CyLockRecord& other : record.entry->pending) {
        if (other.thread == &thread && other.place == thread.place) record.place = thread.place;
    }
}

const CyLockThread* CyLockQueue::FindOlderInTheWay(const CyLockThread& thread,
                                                   CyDataTreeSearch search) const noexcept
{
    const auto place =
        isForPlace(thread) ? thread.place : std::numeric_limits<std::uint64_t>::max();
    const CyLockThread* older = waiting_.Last();
    while (older != nullptr && older->place >= place) older = waiting_.Before(*older);
    if (older == nullptr) return nullptr;
    for (const CyLockRecord& record : thread.pending) mark(search, record);
    const auto isInTheWay = [&](const auto& record) { return isMarkedAgainst(search, record); };
    while (older != nullptr && !isAnyPending(*older, isInTheWay)) older = waiting_.Before(*older);
    return older;
}

void CyLockQueue::WakeFreed(const CyLockThread* changed) noexcept
{
    for (CyLockThread& thread : waiting_) {
        const bool isWoken = thread.blocker.IsNone();
        if (!isWoken && !isStillBlocked(thread, changed)) Wake(thread);
    }
}

void CyLockQueue::Wake(CyLockThread& thread) noexcept
{
    thread.blocker = {};
    thread.wake.notify_one();
}

void CyLockQueue::WakeAll() noexcept
{
    for (CyLockThread& thread : waiting_) {
        if (!thread.blocker.IsNone()) Wake(thread);
    }
}
