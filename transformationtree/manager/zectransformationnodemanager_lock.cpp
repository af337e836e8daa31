// Handles and locks.

#include "logging/log.h"
#include "platform/base/cbalwaysinline.h"
#include "platform/base/cbexception.h"
#include "transformationtree/manager/internal/nodemanagernames.h"
#include "transformationtree/manager/zectransformationnodemanager.h"
#include "transformationtree/nodes/internal/loggedcallstack.h"

#include <limits>

namespace
{

constexpr unsigned int c_lockWait = 10000; // ms
constexpr int c_singleHandleWait = 100;    // ms, repeated while it times out

// The sum; the largest number from 24.8 days on.
constexpr int longerBy(int more, int waited)
{
    constexpr int c_largest = std::numeric_limits<int>::max();
    return waited < c_largest - more ? waited + more : c_largest;
}
static_assert(longerBy(100, 2'147'483'547) == 2'147'483'647);
static_assert(longerBy(100, 2'147'483'600) == 2'147'483'647);
static_assert(longerBy(100, 2'147'483'647) == 2'147'483'647);
static_assert(longerBy(100, 100) == 200);

const CbWChar* causeText(CyDataManager::ELockStatus status)
{
    switch (static_cast<int>(status)) {
    case 0:
        return CB_TEXT("Cause: Successfully locked! (So why did it fail?)");
    case 1:
        return CB_TEXT("Cause: General locking error!");
    case 2:
        return CB_TEXT("Cause: No locking queries defined!");
    case 3:
        return CB_TEXT("Cause: Still unreleased locks!");
    case 4:
        return CB_TEXT("Cause: Invalid Node (maybe removed from the DataManager?)!");
    case 5:
        return CB_TEXT("Cause: Nodes locked by another thread (only with WaitTime == 0)!");
    case 6:
        return CB_TEXT("Cause: Timeout (nodes not released during WaitTime of 10s!");
    default:
        return CB_TEXT("Cause: Unknown Error!");
    }
}

} // namespace

template<int kind, class NodePointer>
CyDataHandleLockOnly<kind> ZeCTransformationNodeManager::getHandle(const NodePointer& node) const
{
    CyDataManager* const dataManager = dataManager_.load();
    if (!node || node->GetDataManager() == nullptr || dataManager == nullptr) return {};
    return {*dataManager, node};
}

ZeCTransformationNodeManager::ReadHandle
ZeCTransformationNodeManager::GetReadHandle(const ConstNode& node) const
{
    return getHandle<0>(node);
}

ZeCTransformationNodeManager::WriteHandle
ZeCTransformationNodeManager::GetWriteHandle(const Node& node) const
{
    return getHandle<1>(node);
}

void ZeCTransformationNodeManager::GetHandle(const CbSmartPointer<const CyNode>& node,
                                             ReadHandle& handle) const
{
    handle = getHandle<0>(node);
}

void ZeCTransformationNodeManager::GetHandle(const CbSmartPointer<CyNode>& node,
                                             WriteHandle& handle) const
{
    handle = getHandle<1>(node);
}

ZeCTransformationNodeManager::CheckReturn ZeCTransformationNodeManager::TryLock() const
{
    CyDataManager* const dataManager = dataManager_.load();
    if (dataManager == nullptr) return false;
    return dataManager->TryLock();
}

ZeCTransformationNodeManager::CheckReturn
ZeCTransformationNodeManager::TryLockAndWait(unsigned int milliseconds) const
{
    auto status = CyDataManager::eGeneralError;
    return TryLockAndWait(milliseconds, status);
}

ZeCTransformationNodeManager::CheckReturn
ZeCTransformationNodeManager::TryLockAndWait(unsigned int milliseconds,
                                             CyDataManager::ELockStatus& status) const
{
    CyDataManager* const dataManager = dataManager_.load();
    if (dataManager == nullptr) {
        status = CyDataManager::eNoQueries;
        return false;
    }
    return dataManager->TryLockAndWait(milliseconds, status);
}

void ZeCTransformationNodeManager::Lock() const
{
    constexpr const char* function = "ZeCTransformationNodeManager::Lock";
    auto status = CyDataManager::eGeneralError;
    if (TryLockAndWait(c_lockWait, status)) return;
    const CbWChar* const cause = causeText(status);
    if (Logging::IsWarningEnabled(c_nodeManagerLogger)) {
        Logging::LogWarning(c_nodeManagerLogger, c_nodeManagerFile, 1431, function,
                            CB_TEXT("%s\n%s"), cause, LoggedCallStack().GetString());
    }
    throw CbException(c_nodeManagerFile, 1436, function, CString(cause).ToUtf8());
}

// Inlined, so that the caller of the public functions is the first one in the call stacks that are
// logged.
template<int kind, class NodePointer>
CB_ALWAYS_INLINE CyDataHandleLockOnly<kind>
ZeCTransformationNodeManager::getSingleHandleLocked(const NodePointer& node,
                                                    const CbWChar* kindText) const
{
    constexpr const char* function = "ZeCTransformationNodeManager::getSingleHandleLocked";
    const auto description = [&] { return node ? node->getLoggedDescription() : CString(); };
    auto status = CyDataManager::eGeneralError;
    CyDataHandleLockOnly<kind> handle;
    for (int waited = 0;; waited = longerBy(c_singleHandleWait, waited)) {
        // Takes the new query before it gives the old one back: the thread keeps its turn.
        handle = getHandle<kind>(node);
        if (handle.IsEmpty()) {
            // There is no query to lock, whatever else the thread may have recorded.
            status = CyDataManager::eNoQueries;
        } else if (TryLockAndWait(static_cast<unsigned int>(c_singleHandleWait), status)) {
            if (waited > c_singleHandleWait && Logging::IsWarningEnabled(c_nodeManagerLogger)) {
                Logging::LogWarning(c_nodeManagerLogger, c_nodeManagerFile, 1876, function,
                                    CB_TEXT("getSingleHandleLocked<%s>(%s) waited for %dms.\n%s"),
                                    kindText, description().GetString(), waited,
                                    LoggedCallStack().GetString());
            }
            return handle;
        }
        if (status != CyDataManager::eTimeout) break;
        Logging::LogDebug(c_nodeManagerLogger, c_nodeManagerFile, 1834, function,
                          CB_TEXT("getSingleHandleLocked<%s>(%s) 100ms Timeout, retrying."),
                          kindText, description().GetString());
    }
    unsigned int line = 0;
    const CbWChar* format = nullptr; // of outcomes that are logged
    switch (status) {
    case CyDataManager::eNoQueries:
        line = 1863;
        format = CB_TEXT("getSingleHandleLocked<%s>(%s) NoData.\n%s");
        break;
    case CyDataManager::eNotReleased:
        line = 1866;
        format = CB_TEXT("getSingleHandleLocked<%s>(%s) NotAllLocksReleased.\n%s");
        break;
    case CyDataManager::eInvalidNode:
        line = 1860;
        format = CB_TEXT("getSingleHandleLocked<%s>(%s) InvalidNode.\n%s");
        break;
    default:
        break;
    }
    if (format != nullptr && Logging::IsWarningEnabled(c_nodeManagerLogger)) {
        Logging::LogWarning(c_nodeManagerLogger, c_nodeManagerFile, line, function, format,
                            kindText, description().GetString(), LoggedCallStack().GetString());
    }
    throw CbException(c_nodeManagerFile, 1870, function, CString(causeText(status)).ToUtf8());
}

ZeCTransformationNodeManager::ReadHandle
ZeCTransformationNodeManager::GetSingleReadHandleLocked(const ConstNode& node) const
{
    return getSingleHandleLocked<0>(node, CB_TEXT("Read"));
}

ZeCTransformationNodeManager::WriteHandle
ZeCTransformationNodeManager::GetSingleWriteHandleLocked(const Node& node) const
{
    return getSingleHandleLocked<1>(node, CB_TEXT("Write"));
}

// A node that is in no data manager is not asked for: the one that is set may be gone by then.
bool ZeCTransformationNodeManager::isLocked(const ConstNode& node, bool forWriting) const
{
    const CyDataManager* const dataManager = dataManager_.load();
    return IsNodeInDataManager(node) && dataManager != nullptr &&
           dataManager->IsLocked(*node, forWriting);
}

bool ZeCTransformationNodeManager::IsReadLocked(const ConstNode& node) const
{
    return isLocked(node, false);
}

bool ZeCTransformationNodeManager::IsWriteLocked(const Node& node) const
{
    return isLocked(node, true);
}

bool ZeCTransformationNodeManager::IsNotManagedOrReadLocked(const ConstNode& node) const
{
    return !IsNodeInDataManager(node) || IsReadLocked(node);
}

bool ZeCTransformationNodeManager::IsNotManagedOrWriteLocked(const Node& node) const
{
    return !IsNodeInDataManager(node) || IsWriteLocked(node);
}
