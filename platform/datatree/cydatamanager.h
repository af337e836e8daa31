#pragma once

#include "platform/base/cbcheckreturn.h"
#include "platform/base/cbsmartpointer.h"
#include "platform/base/platformapi.h"
#include "platform/datatree/cydatahandlelockonly.h"
#include "platform/datatree/cynode.h"
#include "platform/datatree/cynodeview.h"

#include <cstdint>
#include <vector>

class CyLockEngine;
struct CyLockThread;

/// The application's data tree and the locks on its nodes.
///
/// The manager owns a top node; all other nodes hang below it and are kept alive by it.
///
/// Locks are per thread and cover subtrees. A thread first takes a handle per node, which records a
/// query, and then locks all its queries at once.
/// - A read lock gives reading of its node and of everything below, a write lock writing as well.
/// - Locks of different threads conflict if one of them is a write and one node is the other or
///   above it. Locks of one thread never conflict.
/// - A thread that holds a lock is given more only if the locks that it holds cover it.
/// - Requests that wait and conflict are served in the order of their coming.
/// - A request whose time ran out bars nobody. It is as old as before if its thread tries again
///   within 100 ms, for nothing but the same nodes, and has kept a query on one of them.
///
/// So nobody holds and waits: the locks of one manager never come to a deadlock by themselves. They
/// may with anything else that is waited for. It is required that a thread
/// - does not wait for another one by other means while it holds a lock,
/// - holds no critical section that others enter while it locks,
/// - does not hold a lock of one manager while it waits for one of another.
///
/// Threads: all operations are safe beside each other; destruction is not.
/// Cost: inserting is constant. Removing and moving are constant if nothing is locked, but for
/// moving what has nodes below it; they are linear in the depth otherwise, once for a run of many.
/// Locking and releasing are linear in the depth, and look at who waits. None of them allocates.
class PLATFORM_API CyDataManager
{
public:
    /// Whether it was done; the caller must look at it.
    using CheckedBool = CbCheckReturn<bool, CbCheckReturnPolicyAssert>;

    /// Outcome of an attempt to lock.
    enum ELockStatus : std::int32_t
    {
        eLocked = 0,        ///< all queries are granted
        eGeneralError = 1,  ///< no outcome yet
        eNoQueries = 2,     ///< the thread has recorded no query
        eNotReleased = 3,   ///< the thread holds locks that do not cover the new queries
        eInvalidNode = 4,   ///< a node left the manager after it was asked for
        eLockedByOther = 5, ///< blocked, and no time to wait was given
        eTimeout = 6        ///< still blocked at the end of the time to wait
    };

    /// Makes a tree that consists of the top node.
    CyDataManager();
    CyDataManager(const CyDataManager&) = delete;
    CyDataManager& operator=(const CyDataManager&) = delete;
    /// Takes every node out. Handles may outlive the manager; they are not valid any more.
    ~CyDataManager();

    /// The node above all others, never null. It stays in the manager.
    [[nodiscard]] const CbSmartPointer<CyNode>& GetTopNode() const noexcept { return top_; }

    /// Puts @p node in as the last child of @p father. No lock is needed or looked at.
    /// False, and nothing changed, if one is null, the father is not in this manager or the node is
    /// in any.
    CheckedBool InsertNode(const CbSmartPointer<CyNode>& father,
                           const CbSmartPointer<CyNode>& node);

    /// Takes the node of a handle out. Locks on it become void, queries on it dead; the handle
    /// itself becomes void.
    /// There is access if the handle is valid, or if no other thread holds a lock on the node,
    /// above it or below it. False, and nothing changed, for the top node, a node with data
    /// children, or without access.
    CheckedBool RemoveNode(CyDataHandleLockOnly<1>& handle);

    /// Moves the node of a handle with everything below it to the end of the children of
    /// @p newFather. Locks and queries move along.
    /// False, and nothing changed,
    /// - if the new father is null, not in this manager, the node or below it,
    /// - without access, as for RemoveNode(),
    /// - if locks in the subtree would conflict with another thread's at the new place.
    CheckedBool MoveNode(CyDataHandleLockOnly<1>& handle, const CbSmartPointer<CyNode>& newFather);

    /// Takes nodes out one after the other, each as RemoveNode() by a new handle of the calling
    /// thread: children have to come before their fathers. Those that are null or not in this
    /// manager are passed over.
    /// Returns the number of nodes that were refused; they stay.
    /// Cost: linear in the number of nodes and, if something is locked, in the depth.
    std::size_t RemoveNodes(CyNodeView nodes) noexcept;
    /// Moves nodes one after the other, each as MoveNode() by a new handle of the calling thread.
    /// Returns the number of nodes that were refused: all of them if the new father is null.
    /// Cost: linear in the number of nodes and in the depth. A node adds
    /// - the number of its children,
    /// - the levels that it crosses, if locks move with it,
    /// - one climb, if the call has looked below it before and it comes below other locks.
    std::size_t MoveNodes(CyNodeView nodes, const CbSmartPointer<CyNode>& newFather) noexcept;

    /// True if a lock that the calling thread holds on the node or above it gives reading, or
    /// writing: what a handle made now would say. Records nothing.
    [[nodiscard]] bool IsLocked(const CyNode& node, bool forWriting) const noexcept;

    /// Locks all queries of the calling thread without waiting, or none of them.
    CheckedBool TryLock();
    /// Locks all queries of the calling thread, or none of them, and waits for other threads up to
    /// @p milliseconds. If the thread still holds locks it never waits.
    CheckedBool TryLockAndWait(std::uint32_t milliseconds);
    /// The same; @p status tells the outcome.
    CheckedBool TryLockAndWait(std::uint32_t milliseconds, ELockStatus& status);

private:
    template<int kind>
    friend class CyDataHandleLockOnly;
    friend class CyNode;
    friend struct datatreetests::TestAccess;

    void ask(const CyNode& node, bool write, CyLockRecord& record);
    [[nodiscard]] std::size_t editNodes(CyLockThread* thread, CyNodeView nodes,
                                        CyNode* newFather) noexcept;
    static void hasLeft(CyDataTreeEntry& entry) noexcept;
    [[nodiscard]] CbSmartPointer<CyNode> parentOf(const CyNode& node) const;
    [[nodiscard]] std::vector<CbSmartPointer<CyNode>> childrenOf(const CyNode& node) const;

    CyLockEngine* engine_; ///< shared with the threads that have handles, which may outlive this
    CbSmartPointer<CyNode> top_;
};
