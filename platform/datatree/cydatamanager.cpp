#include "platform/datatree/cydatamanager.h"

#include "platform/datatree/internal/cylockengine.h"

#include <array>
#include <chrono>
#include <utility>

namespace
{

void linkLast(CyDataTreeEntry& father, CyDataTreeEntry& entry) noexcept
{
    entry.parent = &father;
    entry.next = nullptr;
    CyDataTreeEntry* const first = father.firstChild;
    if (first == nullptr) {
        father.firstChild = &entry;
        entry.previous = &entry;
    } else {
        entry.previous = std::exchange(first->previous, &entry);
        entry.previous->next = &entry;
    }
}

void unlink(CyDataTreeEntry& entry) noexcept
{
    CyDataTreeEntry* const father = entry.parent;
    if (father == nullptr) return;
    CyDataTreeEntry* const first = father->firstChild;
    if (entry.next != nullptr) {
        entry.next->previous = entry.previous;
    } else {
        first->previous = entry.previous; // the new last child; the only one goes with this
    }
    (&entry != first ? entry.previous->next : father->firstChild) = entry.next;
    entry.parent = nullptr;
    entry.previous = nullptr;
    entry.next = nullptr;
}

bool isInSubtree(const CyDataTreeEntry& entry, const CyDataTreeEntry& top) noexcept
{
    auto* above = &entry;
    while (above != nullptr && above != &top) above = above->parent;
    return above != nullptr;
}

CyDataTreeEntry& firstBottom(CyDataTreeEntry& entry) noexcept
{
    auto* bottom = &entry;
    while (bottom->firstChild != nullptr) bottom = bottom->firstChild;
    return *bottom;
}

} // namespace

CyDataManager::CyDataManager() : engine_(new CyLockEngine), top_(new CyNode)
{
    top_->dataManager_.store(this, std::memory_order_release);
}

CyDataManager::~CyDataManager()
{
    // From the bottom up, in portions: references are given back outside the mutex.
    std::array<CyNode*, 256> portion;
    CyDataTreeEntry* entry = &top_->entry_;
    while (entry != nullptr) {
        std::size_t count = 0;
        {
            const CyDataTreeMutexLock lock(engine_->mutex);
            while (entry != nullptr && count < portion.size()) {
                CyDataTreeEntry& bottom = firstBottom(*entry);
                entry = bottom.parent;
                engine_->NodeLeaves(bottom, nullptr);
                takeOut(bottom);
                if (entry != nullptr) portion[count++] = bottom.owner;
            }
            if (entry == nullptr) engine_->Close();
        }
        for (std::size_t i = 0; i < count; ++i) {
            (void)CbSmartPointer<CyNode>::Adopt(portion[i]);
        }
    }
    engine_->Release();
}

CyDataManager::CheckedBool CyDataManager::InsertNode(const CbSmartPointer<CyNode>& father,
                                                     const CbSmartPointer<CyNode>& node)
{
    if (!father || !node) return false;
    CbSmartPointer<CyNode> owned = node;
    const CyDataTreeMutexLock lock(engine_->mutex);
    if (father->GetDataManager() != this) return false;
    // Two managers may be handed one node at the same time.
    CyDataManager* none = nullptr;
    if (!node->dataManager_.compare_exchange_strong(none, this, std::memory_order_acq_rel)) {
        return false;
    }
    linkLast(father->entry_, node->entry_);
    (void)owned.Detach(); // the manager's own reference
    return true;
}

CyDataManager::CheckedBool CyDataManager::RemoveNode(CyDataHandleLockOnly<1>& handle)
{
    CbSmartPointer<CyNode> removed; // given back outside the mutex
    const CyDataTreeMutexLock lock(engine_->mutex);
    if (!engine_->HasMomentaryAccess(handle.record_)) return false;
    CyDataTreeEntry& entry = *handle.record_.entry;
    if (entry.firstChild != nullptr || entry.parent == nullptr) return false;
    removed = CbSmartPointer<CyNode>::Adopt(entry.owner);
    engine_->NodeLeaves(entry, &handle.record_);
    takeOut(entry);
    return true;
}

CyDataManager::CheckedBool CyDataManager::MoveNode(CyDataHandleLockOnly<1>& handle,
                                                   const CbSmartPointer<CyNode>& newFather)
{
    if (!newFather) return false;
    const CyDataTreeMutexLock lock(engine_->mutex);
    if (newFather->GetDataManager() != this) return false;
    if (!engine_->HasMomentaryAccess(handle.record_)) return false;
    CyDataTreeEntry& entry = *handle.record_.entry;
    CyDataTreeEntry& father = newFather->entry_;
    if (isInSubtree(father, entry)) return false;
    if (!engine_->FitsBelow(entry, father, *handle.record_.thread)) return false;
    engine_->SubtreeUnlinks(entry);
    unlink(entry);
    linkLast(father, entry);
    engine_->SubtreeLinked(entry);
    return true;
}

bool CyDataManager::IsLocked(const CyNode& node, bool forWriting) const noexcept
{
    CyLockThread* const thread = CyLockThread::Find(*engine_);
    if (thread == nullptr) return false;
    const CyDataTreeMutexLock lock(engine_->mutex);
    return node.GetDataManager() == this && engine_->Covers(*thread, node.entry_, forWriting);
}

CyDataManager::CheckedBool CyDataManager::TryLock() { return TryLockAndWait(0); }

CyDataManager::CheckedBool CyDataManager::TryLockAndWait(std::uint32_t milliseconds)
{
    auto status = eGeneralError;
    return TryLockAndWait(milliseconds, status);
}

CyDataManager::CheckedBool CyDataManager::TryLockAndWait(std::uint32_t milliseconds,
                                                         ELockStatus& status)
{
    using EOutcome = CyLockEngine::EOutcome;
    CyLockThread* const thread = CyLockThread::Find(*engine_);
    const auto outcome = thread != nullptr
                             ? engine_->Lock(*thread, std::chrono::milliseconds(milliseconds))
                             : EOutcome::NoQueries;
    switch (outcome) {
    case EOutcome::Locked:
        status = eLocked;
        break;
    case EOutcome::NoQueries:
        status = eNoQueries;
        break;
    case EOutcome::NotReleased:
        status = eNotReleased;
        break;
    case EOutcome::InvalidNode:
        status = eInvalidNode;
        break;
    case EOutcome::BlockedByLock:
    case EOutcome::BlockedByOlder:
        status = milliseconds == 0 ? eLockedByOther : eTimeout;
        break;
    }
    return status == eLocked;
}

void CyDataManager::ask(const CyNode& node, bool write, CyLockRecord& record)
{
    if (node.GetDataManager() != this) return; // no thread object for nothing
    CyLockThread& thread = CyLockThread::Get(*engine_);
    const CyDataTreeMutexLock lock(engine_->mutex);
    if (node.GetDataManager() == this) engine_->Ask(thread, node.entry_, write, record);
}

void CyDataManager::takeOut(CyDataTreeEntry& entry) noexcept
{
    unlink(entry);
    entry.owner->dataManager_.store(nullptr, std::memory_order_release);
}

CbSmartPointer<CyNode> CyDataManager::parentOf(const CyNode& node) const
{
    const CyDataTreeMutexLock lock(engine_->mutex);
    if (node.GetDataManager() != this || node.entry_.parent == nullptr) return nullptr;
    return CbSmartPointer<CyNode>(node.entry_.parent->owner);
}

std::vector<CbSmartPointer<CyNode>> CyDataManager::childrenOf(const CyNode& node) const
{
    std::vector<CbSmartPointer<CyNode>> children;
    const auto isFilled = [&] {
        const CyDataTreeMutexLock lock(engine_->mutex);
        if (node.GetDataManager() != this) return true;
        std::size_t count = 0;
        for (auto* child = node.entry_.firstChild; child != nullptr; child = child->next) ++count;
        if (count > children.capacity()) return false;
        for (auto* child = node.entry_.firstChild; child != nullptr; child = child->next) {
            children.emplace_back(child->owner);
        }
        return true;
    };
    // Room is made outside the mutex, as often as other threads insert meanwhile.
    while (!isFilled()) children.reserve(2 * children.capacity() + 8);
    return children;
}
