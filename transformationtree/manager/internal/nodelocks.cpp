#include "transformationtree/manager/internal/nodelocks.h"

#include "platform/base/cbexception.h"
#include "transformationtree/nodes/internal/fixedplaces.h"
#include "transformationtree/nodes/internal/zectransformationnodeaccess.h"

#include <limits>

namespace
{

constexpr int c_slice = 100; // ms

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
    switch (status) {
    case CyDataManager::eLocked:
        return CB_TEXT("Cause: Successfully locked! (So why did it fail?)");
    case CyDataManager::eGeneralError:
        return CB_TEXT("Cause: General locking error!");
    case CyDataManager::eNoQueries:
        return CB_TEXT("Cause: No locking queries defined!");
    case CyDataManager::eNotReleased:
        return CB_TEXT("Cause: Still unreleased locks!");
    case CyDataManager::eInvalidNode:
        return CB_TEXT("Cause: Invalid Node (maybe removed from the DataManager?)!");
    case CyDataManager::eLockedByOther:
        return CB_TEXT("Cause: Nodes locked by another thread (only with WaitTime == 0)!");
    case CyDataManager::eTimeout:
        return CB_TEXT("Cause: Timeout (nodes not released during WaitTime of 10s!");
    }
    return CB_TEXT("Cause: Unknown Error!");
}

const CbWChar* kindText(int kind) { return kind == 0 ? CB_TEXT("Read") : CB_TEXT("Write"); }

CString describe(const ZeCTransformationNode* node)
{
    return node != nullptr ? ZeCTransformationNodeAccess::GetLoggedDescription(*node) : CString();
}

constexpr const char* c_single = "ZeCTransformationNodeManager::getSingleHandleLocked";
constexpr const char* c_lock = "ZeCTransformationNodeManager::Lock";

} // namespace

template<int kind, class Pointer>
CyDataManager::ELockStatus NodeLocks::waitForHandle(const Pointer& node, Handle<kind>& handle,
                                                    int& waited) const
{
    auto status = CyDataManager::eGeneralError;
    for (;; waited = longerBy(c_slice, waited)) {
        // Takes the new query before it gives the old one back: the thread keeps its turn.
        handle = GetHandle<kind>(node);
        // Without a query of its own there is nothing to lock, whatever else the thread recorded.
        if (handle.IsEmpty()) return CyDataManager::eNoQueries;
        if (TryLockAndWait(static_cast<unsigned int>(c_slice), status)) {
            return CyDataManager::eLocked;
        }
        // There is no end to the slices: who waits for one node waits as long as it takes.
        if (status != CyDataManager::eTimeout) return status;
        Logging::LogDebug(c_nodeManagerLogger, FixedPlaces::c_singleHandleRetries.file,
                          FixedPlaces::c_singleHandleRetries.line, c_single,
                          CB_TEXT("getSingleHandleLocked<%s>(%s) 100ms Timeout, retrying."),
                          kindText(kind), describe(node.Get()).GetString());
    }
}

// For those that users may ask for.
template CyDataManager::ELockStatus NodeLocks::waitForHandle(const ConstNodePointer& node,
                                                             Handle<0>& handle, int& waited) const;
template CyDataManager::ELockStatus NodeLocks::waitForHandle(const NodePointer& node,
                                                             Handle<1>& handle, int& waited) const;

// Waiting for one slice is usual, and other outcomes than these can't come from a single handle.
bool NodeLocks::isWorthAWarning(EStatus status, int waited)
{
    switch (status) {
    case CyDataManager::eLocked:
        return waited > c_slice && Logging::IsWarningEnabled(c_nodeManagerLogger);
    case CyDataManager::eNoQueries:
    case CyDataManager::eNotReleased:
    case CyDataManager::eInvalidNode:
        return Logging::IsWarningEnabled(c_nodeManagerLogger);
    case CyDataManager::eGeneralError:
    case CyDataManager::eLockedByOther:
    case CyDataManager::eTimeout:
        break;
    }
    return false;
}

void NodeLocks::warnOfSingle(int kind, const ZeCTransformationNode* node, EStatus status,
                             int waited, const CString& callStack)
{
    const CString description = describe(node);
    const auto warnOf = [&](const FixedPlace& place, const CbWChar* format) {
        Logging::LogWarning(c_nodeManagerLogger, place.file, place.line, c_single, format,
                            kindText(kind), description.GetString(), callStack.GetString());
    };
    switch (status) {
    case CyDataManager::eLocked:
        Logging::LogWarning(c_nodeManagerLogger, FixedPlaces::c_singleHandleWaited.file,
                            FixedPlaces::c_singleHandleWaited.line, c_single,
                            CB_TEXT("getSingleHandleLocked<%s>(%s) waited for %dms.\n%s"),
                            kindText(kind), description.GetString(), waited, callStack.GetString());
        break;
    case CyDataManager::eNoQueries:
        return warnOf(FixedPlaces::c_singleHandleNoData,
                      CB_TEXT("getSingleHandleLocked<%s>(%s) NoData.\n%s"));
    case CyDataManager::eNotReleased:
        return warnOf(FixedPlaces::c_singleHandleNotReleased,
                      CB_TEXT("getSingleHandleLocked<%s>(%s) NotAllLocksReleased.\n%s"));
    case CyDataManager::eInvalidNode:
        return warnOf(FixedPlaces::c_singleHandleInvalidNode,
                      CB_TEXT("getSingleHandleLocked<%s>(%s) InvalidNode.\n%s"));
    case CyDataManager::eGeneralError:
    case CyDataManager::eLockedByOther:
    case CyDataManager::eTimeout:
        break; // told by the exception alone
    }
}

void NodeLocks::warn(EStatus status, const CString& callStack)
{
    Logging::LogWarning(c_nodeManagerLogger, FixedPlaces::c_lockFailedLogged.file,
                        FixedPlaces::c_lockFailedLogged.line, c_lock, CB_TEXT("%s\n%s"),
                        causeText(status), callStack.GetString());
}

void NodeLocks::throwNotLocked(EStatus status, bool single)
{
    const FixedPlace place = single ? FixedPlaces::c_singleHandleFailed : FixedPlaces::c_lockFailed;
    throw CbException(place.file, place.line, single ? c_single : c_lock,
                      CString(causeText(status)).ToUtf8());
}

NodeLocks::CheckReturn NodeLocks::TryLockAndWait(unsigned int milliseconds, EStatus& status) const
{
    CyDataManager* const dataManager = mirror_.GetDataManager();
    if (dataManager == nullptr) {
        status = CyDataManager::eNoQueries;
        return false;
    }
    return dataManager->TryLockAndWait(milliseconds, status);
}

// A node that is in no data manager is not asked for: the one that is set may be gone by then.
bool NodeLocks::IsLocked(const ConstNodePointer& node, bool forWriting) const
{
    const CyDataManager* const dataManager = mirror_.GetDataManager();
    return IsInDataManager(node) && dataManager != nullptr &&
           dataManager->IsLocked(*node, forWriting);
}
