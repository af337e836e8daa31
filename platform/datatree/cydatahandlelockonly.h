#pragma once

#include "platform/base/cbsmartpointer.h"
#include "platform/base/platformapi.h"
#include "platform/datatree/cylockrecord.h"

class CyDataManager;
class CyNode;

/// A read handle (kind 0) or write handle (kind 1) on a node of a data manager.
///
/// A handle records a query of the thread that makes it and locks nothing; CyDataManager::TryLock
/// and its kin lock all recorded queries of the calling thread at once. Destroying the handle takes
/// the query or the lock back.
///
/// Threads: may be moved to and destroyed on another thread; it still belongs to the one that made
/// it. One handle object is not to be used by two threads at once. Lifetime: may outlive the
/// manager and the node. Cost: constant; only a thread's first handle on a manager allocates.
/// Asking whether it is valid, and giving a lock back, climb to the top.
///
/// @code
/// CyDataHandleLockOnly<1> handle(manager, node);
/// if (manager.TryLockAndWait(1000)) edit(*node);
/// @endcode
template<int kind>
class PLATFORM_API CyDataHandleLockOnly
{
    static_assert(kind == 0 || kind == 1, "0 reads, 1 writes");

public:
    /// An empty handle: never valid, no query.
    CyDataHandleLockOnly() noexcept = default;
    /// Records a query on @p node. Empty if the node is null or not in @p manager.
    CyDataHandleLockOnly(CyDataManager& manager, const CbSmartPointer<const CyNode>& node);
    CyDataHandleLockOnly(CyDataHandleLockOnly&& other) noexcept;
    /// Takes the other's query over, then gives its own old one back.
    CyDataHandleLockOnly& operator=(CyDataHandleLockOnly&& other) noexcept;
    CyDataHandleLockOnly(const CyDataHandleLockOnly&) = delete;
    CyDataHandleLockOnly& operator=(const CyDataHandleLockOnly&) = delete;
    ~CyDataHandleLockOnly() { Release(); }

    /// True while the access is granted: its own lock, or a lock of its thread on the node or above
    /// it that covers the query. Looked up anew at each call.
    [[nodiscard]] bool IsValid() const noexcept;

    /// True if the handle records no query.
    [[nodiscard]] bool IsEmpty() const noexcept { return record_.thread == nullptr; }

    /// Gives the query or the lock back; the handle is empty then.
    void Release() noexcept;

private:
    friend class CyDataManager;
    friend struct datatreetests::TestAccess;

    CyLockRecord record_;
};

extern template class PLATFORM_API CyDataHandleLockOnly<0>;
extern template class PLATFORM_API CyDataHandleLockOnly<1>;
