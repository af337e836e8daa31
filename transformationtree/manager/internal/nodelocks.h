#pragma once

#include "logging/log.h"
#include "platform/base/cbalwaysinline.h"
#include "transformationtree/manager/internal/nodemanagernames.h"
#include "transformationtree/manager/internal/treemirror.h"
#include "transformationtree/nodes/internal/loggedcallstack.h"

/// Handles on nodes, and the locks that the calling thread recorded with them.
///
/// Threads: safe; locks belong to the thread that asks. Sections: the data manager's own. Nobody
/// waits here while inside the manager's section.
class NodeLocks
{
public:
    using CheckReturn = CyDataManager::CheckedBool;
    using EStatus = CyDataManager::ELockStatus;
    /// 0 for reading, 1 for writing.
    template<int kind>
    using Handle = CyDataHandleLockOnly<kind>;

    /// @param mirror knows the data manager; outlives this
    explicit NodeLocks(const TreeMirror& mirror) noexcept : mirror_(mirror) {}

    /// Records a lock on a node of the tree, or of the data tree. The handle is empty for null and
    /// for a node outside the data manager.
    template<int kind, class Pointer>
    [[nodiscard]] Handle<kind> GetHandle(const Pointer& node) const
    {
        CyDataManager* const dataManager = mirror_.GetDataManager();
        if (!IsInDataManager(node) || dataManager == nullptr) return {};
        return {*dataManager, node};
    }
    /// Returns a granted handle, however long that takes. Throws CbException.
    ///
    /// This function and Lock() are inlined into those that users call, so that the user's function
    /// comes first in the call stacks that are logged.
    template<int kind, class Pointer>
    [[nodiscard]] CB_ALWAYS_INLINE Handle<kind> GetSingleHandleLocked(const Pointer& node) const
    {
        Handle<kind> handle;
        int waited = 0; // ms
        const EStatus status = waitForHandle(node, handle, waited);
        if (isWorthAWarning(status, waited)) {
            warnOfSingle(kind, node.Get(), status, waited, LoggedCallStack());
        }
        if (status != CyDataManager::eLocked) throwNotLocked(status, true);
        return handle;
    }

    /// Locks all that the thread recorded, waiting for it up to a time, which may be 0.
    CheckReturn TryLockAndWait(unsigned int milliseconds, EStatus& status) const;
    /// Locks all that the thread recorded, waiting up to 10 s. Throws CbException.
    CB_ALWAYS_INLINE void Lock() const
    {
        constexpr unsigned int c_longest = 10000; // ms
        auto status = CyDataManager::eGeneralError;
        if (TryLockAndWait(c_longest, status)) return;
        if (Logging::IsWarningEnabled(c_nodeManagerLogger)) warn(status, LoggedCallStack());
        throwNotLocked(status, false);
    }

    /// True if the node is in the data manager and the thread may read, or edit, it.
    [[nodiscard]] bool IsLocked(const ConstNodePointer& node, bool forWriting) const;
    /// True also for null and for a node outside the data manager.
    [[nodiscard]] bool IsNotManagedOrLocked(const ConstNodePointer& node, bool forWriting) const
    {
        return !IsInDataManager(node) || IsLocked(node, forWriting);
    }

private:
    /// Tries to lock in slices of 100 ms for as long as they time out.
    /// @param waited the slices that timed out, in ms
    template<int kind, class Pointer>
    [[nodiscard]] EStatus waitForHandle(const Pointer& node, Handle<kind>& handle,
                                        int& waited) const;
    [[nodiscard]] static bool isWorthAWarning(EStatus status, int waited);
    static void warnOfSingle(int kind, const ZeCTransformationNode* node, EStatus status,
                             int waited, const CString& callStack);
    static void warn(EStatus status, const CString& callStack);
    [[noreturn]] static void throwNotLocked(EStatus status, bool single);

    const TreeMirror& mirror_;
};
