// Removals and moves of nodes beside the locks of other threads.
//
// Who may edit a node, by what a climb from it to the top meets first:
//
//   answer    met                                             may edit
//   covered   a write lock of the thread                      yes
//   held      a lock of another thread                        no
//   free      neither, up to the top                          if no other thread has a lock below
//
// A move takes the counts of the subtree along. Above the node where both paths meet nothing
// changes:
//
//        common                   common
//        /    \                   /    \           oldFather: countBelow -= inside
//   oldFather  newFather  ->  oldFather newFather   newFather: countBelow += inside
//      |                                   |
//    moved                               moved      inside = countHere + countBelow of moved

#include "platform/datatree/internal/cylockengine.h"

#include <algorithm>

namespace
{

using Edit = CyDataTreeEdit;

bool isBelow(const CyDataTreeEntry& entry, const CyDataTreeEntry& top) noexcept
{
    auto* above = entry.parent;
    while (above != nullptr && above != &top) above = above->parent;
    return above != nullptr;
}

// What the locks on this one node say, or 0.
unsigned answerHere(const CyDataTreeEntry& entry, const CyLockThread* thread) noexcept
{
    if (entry.countHere.IsZero()) return 0;
    unsigned answer = 0;
    for (const CyLockRecord& record : entry.granted) {
        if (record.thread != thread) return Edit::c_held;
        if (record.write) answer = Edit::c_covered;
    }
    return answer;
}

// Covered, held or free. Stamps tell what is covered beyond the edit.
unsigned findAnswer(Edit& edit, CyDataTreeEntry& entry) noexcept
{
    // Nothing but the climb depends on the depth: it ends at the first mark, stamp or lock.
    const std::uint64_t epoch = edit.thread != nullptr ? edit.thread->epoch : 0;
    const std::uint64_t stamp = epoch << 1 | 1; // for writing
    unsigned answer = 0;
    CyDataTreeEntry* end = &entry;
    for (;;) {
        answer = edit.search.Get(*end, Edit::c_answers);
        if (answer == 0 && epoch != 0 && end->coverStamp == stamp) {
            answer = Edit::c_covered;
            edit.usedStamps = true;
        }
        if (answer == 0) answer = answerHere(*end, edit.thread);
        if (answer == 0 && end->parent == nullptr) answer = Edit::c_free;
        if (answer != 0) break;
        end = end->parent;
    }
    std::size_t climb = 0;
    for (auto* passed = &entry;; passed = passed->parent) {
        (void)edit.search.Set(*passed, answer);
        if (answer == Edit::c_covered && epoch != 0) passed->coverStamp = stamp;
        ++climb;
        if (passed == end) break;
    }
    edit.longestClimb = std::max(edit.longestClimb, climb);
    return answer;
}

void markFather(Edit& edit) noexcept
{
    if (edit.isFatherMarked) return;
    edit.isFatherMarked = true;
    std::size_t climb = 0;
    for (auto* above = edit.newFather; above != nullptr; above = above->parent) {
        (void)edit.search.Set(*above, Edit::c_aboveFather);
        ++climb;
        for (const CyLockRecord& record : above->granted) {
            if (record.thread == edit.thread) continue;
            (record.write ? edit.othersWrite : edit.othersRead) = true;
        }
    }
    edit.longestClimb = std::max(edit.longestClimb, climb);
}

bool isAtOrAboveFather(Edit& edit, const CyDataTreeEntry& entry) noexcept
{
    if (&entry == edit.newFather) return true;
    if (entry.children.IsEmpty()) return false; // so leaves move without a look upwards
    markFather(edit);
    return edit.search.Get(entry, Edit::c_aboveFather) != 0;
}

} // namespace

bool CyLockEngine::IsLinkedHere(const CyLockRecord& record) const noexcept
{
    return record.thread != nullptr && &record.thread->engine == this &&
           (record.state == CyLockRecord::EState::Pending ||
            record.state == CyLockRecord::EState::Granted);
}

CyDataTreeEdit CyLockEngine::StartEdit(CyLockThread* thread, CyDataTreeEntry* newFather) noexcept
{
    if (thread != nullptr && thread->epoch == 0) thread->epoch = ++epochs_;
    return {thread, newFather, CyDataTreeSearch(searches_)};
}

bool CyLockEngine::Remove(CyDataTreeEdit& edit, CyDataTreeEntry& entry,
                          const CyLockRecord* own) noexcept
{
    if (!entry.children.IsEmpty() || entry.parent == nullptr) return false;
    if (!hasAccess(edit, entry)) return false;
    NodeLeaves(entry, own);
    entry.Unlink();
    return true;
}

bool CyLockEngine::Move(CyDataTreeEdit& edit, CyDataTreeEntry& entry) noexcept
{
    if (isAtOrAboveFather(edit, entry) || !hasAccess(edit, entry)) return false;
    const auto inside = entry.countHere + entry.countBelow;
    // Locks inside come below whatever others hold at the new place: the same conflicts as for a
    // request, looked for from the other side.
    if (!inside.IsZero()) {
        markFather(edit);
        if ((edit.othersRead && inside.Excludes(false)) ||
            (edit.othersWrite && inside.Excludes(true))) {
            return false;
        }
        movesLocks(edit, entry);
    }
    if (granted_ != 0) movesMarks(edit, entry);
    entry.Unlink();
    entry.LinkLast(*edit.newFather);
    edit.hasMoved = true;
    return true;
}

void CyLockEngine::EndEdit(const CyDataTreeEdit& edit) noexcept
{
    if (edit.hasMoved) queue_.WakeAll();
}

bool CyLockEngine::hasAccess(CyDataTreeEdit& edit, CyDataTreeEntry& entry) noexcept
{
    if (granted_ == 0) return true;
    const auto answer = findAnswer(edit, entry);
    if (answer != Edit::c_free) return answer == Edit::c_covered;
    // Free above: what is left are locks below, all of which have to be the thread's own.
    auto below = entry.countBelow.GetReads() + entry.countBelow.GetWrites();
    if (below == 0 || edit.thread == nullptr) return below == 0;
    for (const CyLockRecord& record : edit.thread->granted) {
        if (isBelow(*record.entry, entry)) --below;
    }
    return below == 0;
}

// Takes the locks in a subtree out of the counters above its old place and adds them above the new
// one, both only up to where the two meet.
void CyLockEngine::movesLocks(CyDataTreeEdit& edit, CyDataTreeEntry& entry) noexcept
{
    const auto inside = entry.countHere + entry.countBelow;
    CyDataTreeEntry* common = entry.parent;
    while (edit.search.Get(*common, Edit::c_aboveFather) == 0) {
        common->countBelow -= inside;
        common = common->parent;
    }
    for (auto* above = edit.newFather; above != common; above = above->parent) {
        above->countBelow += inside;
    }
}

// Keeps what is known about a subtree at its old place, as far as that is true at the new one.
void CyLockEngine::movesMarks(CyDataTreeEdit& edit, CyDataTreeEntry& entry) noexcept
{
    const auto there = findAnswer(edit, *edit.newFather);
    const bool stampsEnd = there != Edit::c_covered;
    if (edit.thread != nullptr && stampsEnd) edit.thread->epoch = 0;
    if (edit.search.Get(entry, Edit::c_answers) == there) return;
    // What climbs from further down found above the node is marked on one of its children as well,
    // unless they ended at a stamp.
    bool isKnownBelow = stampsEnd && edit.usedStamps;
    isKnownBelow =
        isKnownBelow ||
        std::any_of(entry.children.begin(), entry.children.end(), [&](const auto& child) {
            return edit.search.Get(child, Edit::c_answers) != 0;
        });
    if (isKnownBelow) {
        edit.search = CyDataTreeSearch(searches_);
        edit.isFatherMarked = false;
        edit.usedStamps = false;
    } else {
        entry.searchMark = 0;
    }
}
