#include "platform/datatree/cydatamanager.h"

#include "platform/datatree/internal/cylockengine.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <iterator>
#include <utility>

namespace
{

// Other threads get a turn after so many nodes of an edit, or after as many as its longest climb
// passed: if turns were shorter, climbing anew in each of them would make edits of deep trees
// quadratic.
constexpr std::size_t c_portion = 1024;

CyDataTreeEntry& firstBottom(CyDataTreeEntry& entry) noexcept
{
    auto* bottom = &entry;
    while (!bottom->children.IsEmpty()) bottom = bottom->children.First();
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
                bottom.Unlink();
                hasLeft(bottom);
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
    node->entry_.LinkLast(father->entry_);
    (void)owned.Detach(); // the manager's own reference
    return true;
}

CyDataManager::CheckedBool CyDataManager::RemoveNode(CyDataHandleLockOnly<1>& handle)
{
    CbSmartPointer<CyNode> removed; // given back outside the mutex
    const CyDataTreeMutexLock lock(engine_->mutex);
    if (!engine_->IsLinkedHere(handle.record_)) return false;
    CyDataTreeEntry& entry = *handle.record_.entry;
    auto edit = engine_->StartEdit(handle.record_.thread, nullptr);
    if (!engine_->Remove(edit, entry, &handle.record_)) return false;
    removed = CbSmartPointer<CyNode>::Adopt(entry.owner);
    hasLeft(entry);
    return true;
}

CyDataManager::CheckedBool CyDataManager::MoveNode(CyDataHandleLockOnly<1>& handle,
                                                   const CbSmartPointer<CyNode>& newFather)
{
    if (!newFather) return false;
    const CyDataTreeMutexLock lock(engine_->mutex);
    if (newFather->GetDataManager() != this) return false;
    if (!engine_->IsLinkedHere(handle.record_)) return false;
    auto edit = engine_->StartEdit(handle.record_.thread, &newFather->entry_);
    const bool moved = engine_->Move(edit, *handle.record_.entry);
    engine_->EndEdit(edit);
    return moved;
}

std::size_t CyDataManager::RemoveNodes(CyNodeView nodes) noexcept
{
    const CyLockCaller caller(*engine_, CyLockCaller::EUnknown::Null);
    return editNodes(caller.Get(), nodes, nullptr);
}

std::size_t CyDataManager::MoveNodes(CyNodeView nodes,
                                     const CbSmartPointer<CyNode>& newFather) noexcept
{
    if (!newFather) return nodes.GetCount();
    const CyLockCaller caller(*engine_, CyLockCaller::EUnknown::Null);
    return editNodes(caller.Get(), nodes, newFather.Get());
}

// Removes or, below a new father, moves.
std::size_t CyDataManager::editNodes(CyLockThread* thread, CyNodeView nodes,
                                     CyNode* newFather) noexcept
{
    std::size_t refused = 0;
    for (std::size_t i = 0; i < nodes.GetCount();) {
        const CyDataTreeMutexLock lock(engine_->mutex);
        const bool mayMove = newFather != nullptr && newFather->GetDataManager() == this;
        auto edit = engine_->StartEdit(thread, mayMove ? &newFather->entry_ : nullptr);
        const std::size_t start = i;
        for (; i < nodes.GetCount() && i - start < std::max(c_portion, edit.longestClimb); ++i) {
            CyNode* const node = nodes[i];
            if (node == nullptr || node->GetDataManager() != this) continue;
            if (newFather != nullptr) {
                refused += !(mayMove && engine_->Move(edit, node->entry_));
            } else if (engine_->Remove(edit, node->entry_, nullptr)) {
                hasLeft(node->entry_);
                // Not the last reference: the caller has one.
                (void)CbSmartPointer<CyNode>::Adopt(node);
            } else {
                ++refused;
            }
        }
        engine_->EndEdit(edit);
    }
    return refused;
}

bool CyDataManager::IsLocked(const CyNode& node, bool forWriting) const noexcept
{
    const CyLockCaller caller(*engine_, CyLockCaller::EUnknown::Null);
    if (caller.Get() == nullptr) return false;
    const CyDataTreeMutexLock lock(engine_->mutex);
    return node.GetDataManager() == this && engine_->Covers(*caller.Get(), node.entry_, forWriting);
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
    const CyLockCaller caller(*engine_, CyLockCaller::EUnknown::Null);
    const std::chrono::milliseconds wait(milliseconds);
    const auto outcome =
        caller.Get() != nullptr ? engine_->Lock(*caller.Get(), wait) : EOutcome::NoQueries;
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
    const CyLockCaller caller(*engine_, CyLockCaller::EUnknown::Make);
    const CyDataTreeMutexLock lock(engine_->mutex);
    if (node.GetDataManager() == this) engine_->Ask(*caller.Get(), node.entry_, write, record);
}

void CyDataManager::hasLeft(CyDataTreeEntry& entry) noexcept
{
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
        const auto& listed = node.entry_.children;
        const auto count = std::distance(listed.begin(), listed.end());
        if (static_cast<std::size_t>(count) > children.capacity()) return false;
        for (const CyDataTreeEntry& child : listed) children.emplace_back(child.owner);
        return true;
    };
    // Room is made outside the mutex, as often as other threads insert meanwhile.
    while (!isFilled()) children.reserve(2 * children.capacity() + 8);
    return children;
}
