#pragma once

#include "platform/base/cbcheckreturn.h"
#include "platform/base/cbcriticalsection.h"
#include "platform/base/cbsingleton.h"
#include "platform/datatree/cydatahandlelockonly.h"
#include "platform/datatree/cydatamanager.h"
#include "transformationtree/nodes/zectransformationnodeinner.h"
#include "transformationtree/nodes/zectransformationnodeleaf.h"

#include <functional>
#include <memory>
#include <vector>

class CbStreamWriteASCII;

/// Creates, links and locks tree nodes; nobody else does. A singleton.
///
/// It edits the links between fathers and children, keeps the tree below its root mirrored in the
/// application's data manager, finds nodes by their ids and hands out read and write handles.
///
/// A node is in the data manager exactly while its tree hangs below the manager's root. Created
/// nodes are registered under their ids, and stay alive, until DeleteNode(), DeleteChildren(),
/// ReplaceChild() or unsetting the root above them drops them. The manager posts no messages.
///
/// Edits are all or nothing: what is thrown is thrown before anything has changed.
///
/// Threads: the critical section guards the link to the data manager, the root and the id map.
/// Who edits the structure has been granted write handles, on the nodes themselves or above them:
/// - on the father, to insert, append, remove, replace or exchange a child;
/// - on the new child's present father too, to replace or exchange;
/// - on both fathers, to move a node.
/// Nodes outside the data manager need no lock, but one thread at a time.
///
/// @code
/// auto& manager = CbSingleton<ZeCTransformationNodeManager>::GetInstance();
/// const auto lock = manager.GetSingleWriteHandleLocked(cluster);
/// manager.AppendChild(cluster, manager.CreateLeafNode(model));
/// @endcode
class TRANSFORMATIONTREE_API ZeCTransformationNodeManager
{
public:
    /// As operations take and return them; null only if they say so.
    using Node = CbSmartPointer<ZeCTransformationNode>;
    using Inner = CbSmartPointer<ZeCTransformationNodeInner>;
    using Leaf = CbSmartPointer<ZeCTransformationNodeLeaf>;
    using ConstNode = CbSmartPointer<const ZeCTransformationNode>;
    using ConstInner = CbSmartPointer<const ZeCTransformationNodeInner>;
    /// Handles on nodes in the data manager.
    using ReadHandle = CyDataHandleLockOnly<0>;
    using WriteHandle = CyDataHandleLockOnly<1>;
    /// Whether it was done, or is so; the caller must look at it.
    using CheckReturn = CbCheckReturn<bool, CbCheckReturnPolicyAssert>;

    ZeCTransformationNodeManager(const ZeCTransformationNodeManager&) = delete;
    ZeCTransformationNodeManager& operator=(const ZeCTransformationNodeManager&) = delete;

    /// @name Link to the data manager
    /// @{

    /// Links the manager to a data manager and to the node of it below which the root will hang.
    /// Returns false, and changes nothing, if it is linked already, or if @p node is null or not in
    /// that data manager.
    /// Lifetime: the data manager must stay until it is unset and no thread is in a lock operation.
    [[nodiscard]] bool SetDataManager(CyDataManager& dataManager, CbSmartPointer<CyNode> node);
    /// Takes the link away. Returns false, and changes nothing, while a root is set.
    [[nodiscard]] bool UnsetDataManager();
    /// Returns the data manager that is set. Throws: CbException if none is.
    [[nodiscard]] CyDataManager& GetDataManager() const;
    /// Returns the node itself if it is in the data manager, else null.
    [[nodiscard]] CbSmartPointer<CyNode> GetDataNode(const Node& node) const;
    [[nodiscard]] CbSmartPointer<const CyNode> GetDataNode(const ConstNode& node) const;
    /// True if the node is in the data manager. False for null.
    [[nodiscard]] static bool IsNodeInDataManager(const ConstNode& node) noexcept;
    /// The section that guards this object's own fields.
    [[nodiscard]] CbCriticalSection& GetCriticalSection() const CB_RETURN_CAPABILITY(section_)
    {
        return section_;
    }
    /// @}

    /// @name Creation
    /// New nodes are registered, have no father and are outside the data manager.
    /// @{

    /// Creates a visible leaf for a model, which may be null.
    [[nodiscard]] Leaf CreateLeafNode(CbSmartPointer<const ZeCModelQMT> model);
    /// Creates a leaf for a new model made of the surfels; null gives a model without surfels.
    [[nodiscard]] Leaf
    CreateLeafNodeFromSurfelCollection(CbSmartPointer<ZeCSurfelCollectionQMT> collection);
    /// Creates an inner node without children.
    [[nodiscard]] Inner CreateInnerNode();
    /// Creates an inner node described "Root" and sets it as root. Throws as SetRootNode(), and
    /// leaves no node behind then.
    Inner CreateRootNode();
    /// Drops the node's id. The node itself lives on as long as somebody holds it.
    void DeleteNode(const Node& node);
    /// Returns the node registered under the id, or null.
    [[nodiscard]] Node GetNodeByID(const CyUniqueID& id) const;
    /// @}

    /// @name Root
    /// @{

    /// Makes a node the root: it and its subtree come into the data manager and are registered.
    /// Throws: CbException for null, for a node that has a father or is in a data manager, if a
    /// root is set already, and without data manager.
    void SetRootNode(const Inner& root);
    /// Takes the tree out of the data manager, drops its ids and takes it apart.
    /// Does nothing if no root is set, or if the calling thread holds no write lock on it or above
    /// it. A root that its data manager has given up needs no lock.
    void UnsetRootNode();
    /// Returns the root, or null.
    [[nodiscard]] Inner GetRootNode() const;
    /// @}

    /// @name Structure
    /// Each edit renews both revisions of the fathers whose children it changes.
    ///
    /// Those that link throw CbException for
    /// - a father or child that is null,
    /// - a node that would come to stand below itself,
    /// - the manager's root as a child.
    /// @{

    /// Inserts a child without father at a position of the father's children. If the father is in
    /// the data manager, the child's subtree comes into it.
    /// Does nothing if the child is this father's already.
    /// Throws: CbException if the child has another father.
    void InsertChild(const Inner& father, ZeCTransformationNodeInner::ConstChildIterator position,
                     const Node& child);
    /// Inserts in front of @p before; at the end if that is no child of the father.
    void InsertChild(const Inner& father, const ConstNode& before, const Node& child);
    /// Inserts at the end, or at the front if @p atEnd is false.
    void AppendChild(const Inner& father, const Node& child, bool atEnd = true);
    /// Takes a child from its father, and its subtree out of the data manager. Ids stay registered.
    /// Does nothing for a null father, or one that does not list the child. An entry whose node
    /// belongs to another father by now is erased, and nothing more.
    void RemoveChild(const Inner& father, const Node& child);
    /// Takes everything below a node apart for good, children before their fathers: it leaves the
    /// data manager, its links are cut and its ids dropped. Fathers that had children are renewed.
    /// Does nothing for null. Entries whose node belongs to another father by now are erased, and
    /// nothing more. Cost: linear in the number of nodes.
    /// @param first is called just before the first change, even if there are no children. Nothing
    ///     but this function can fail from then on. It must not edit the tree. If it throws,
    ///     nothing changes.
    void DeleteChildren(const Inner& father, const std::function<void()>& first = {});
    /// Puts a new child in the place of an old one, whose subtree is taken apart and loses its ids.
    /// Does nothing if the father does not list the old child, or if both are the same.
    /// A new child that is in the data manager leaves it first. Its old father keeps listing it,
    /// although it has a new father then.
    /// Throws: CbException also if the new child is this father's, or stands below the old one.
    void ReplaceChild(const Inner& father, const Node& oldChild, const Node& newChild);
    /// Puts a new child in the place of an old one, which survives with its subtree and its ids.
    /// Otherwise as ReplaceChild; the new child may stand below the old one.
    void ExchangeChild(const Inner& father, const Node& oldChild, const Node& newChild);
    /// Moves a node, with its subtree, in front of @p before below a new father; to the end if that
    /// is null or no child of the new father. In front of itself a node keeps its place; below
    /// another father it comes to the end then.
    /// Within the data manager the data nodes move. From outside it the subtree comes in, and to
    /// the outside it goes out.
    /// Threads: any one that has itself been granted write handles on the old and the new father,
    /// or above them, as far as they are in the data manager.
    void MoveNode(const Inner& newFather, const Node& node, const ConstNode& before);
    /// Moves several nodes to the end of a new father's children, in their order, as MoveNode()
    /// would one after the other, but in one pass. The fathers that they leave, each renewed once,
    /// in the order in which the last of their nodes leaves them, also lose null entries and those
    /// whose node belongs to another father by now.
    /// Throws: CbException also for a node that is named twice.
    /// Cost: linear in the numbers of nodes, of children that stay with the fathers they leave, of
    /// nodes that come into the data manager or go out of it, and of levels above the new father,
    /// but for sorting nodes and levels. If a node at or above the new father was exchanged, each
    /// inner node is searched for among the levels, and below it for the new father.
    void MoveNodes(const Inner& newFather, const std::vector<Node>& nodes);
    /// Gives a father these children, and no others: they move there as by MoveNodes(), from
    /// anywhere, and what else stands below the father is taken apart as by DeleteChildren().
    /// Nothing happens if there were no children and are to be none.
    /// Cost: as MoveNodes(), and linear in the number of nodes below the father, each of which is
    /// searched for among the sorted children.
    void ReplaceChildren(const Inner& father, const std::vector<Node>& children);
    /// Registers a subtree. If the father of its top is in the data manager, the subtree comes into
    /// it below that father. Null changes nothing.
    void AddSubtreeToDataManager(const Node& node);
    /// @}

    /// @name Locks
    /// A handle records what the calling thread wants to lock and locks nothing yet; Lock() and its
    /// kin lock all that was recorded. A handle is valid while its access is granted. Threads:
    /// locks belong to the thread that asked.
    /// @{

    /// Records a read lock. Empty for null and for a node outside the data manager.
    [[nodiscard]] ReadHandle GetReadHandle(const ConstNode& node) const;
    /// Records a write lock. Empty for null and for a node outside the data manager.
    [[nodiscard]] WriteHandle GetWriteHandle(const Node& node) const;
    /// The same for a node of the data tree, into the caller's handle.
    void GetHandle(const CbSmartPointer<const CyNode>& node, ReadHandle& handle) const;
    void GetHandle(const CbSmartPointer<CyNode>& node, WriteHandle& handle) const;
    /// Returns a granted read handle. Waits as long as others hold the node.
    /// Throws: CbException for null, for a node outside the data manager or one that leaves it
    /// meanwhile, and if the thread holds locks that do not cover the node.
    [[nodiscard]] ReadHandle GetSingleReadHandleLocked(const ConstNode& node) const;
    /// Returns a granted write handle. Waits and throws as GetSingleReadHandleLocked().
    [[nodiscard]] WriteHandle GetSingleWriteHandleLocked(const Node& node) const;

    /// Locks all that the thread recorded, if that is possible at once.
    CheckReturn TryLock() const;
    /// Locks all that the thread recorded, waiting up to @p milliseconds.
    CheckReturn TryLockAndWait(unsigned int milliseconds) const;
    /// The same, and says in @p status why it failed. Without data manager: 2.
    CheckReturn TryLockAndWait(unsigned int milliseconds, CyDataManager::ELockStatus& status) const;
    /// Locks all that the thread recorded, waiting up to 10 s. Throws: CbException on failure.
    void Lock() const;

    /// True if the node is in the data manager and the calling thread may read it.
    [[nodiscard]] bool IsReadLocked(const ConstNode& node) const;
    /// True if the node is in the data manager and the calling thread may edit it.
    [[nodiscard]] bool IsWriteLocked(const Node& node) const;
    /// True for null, a node outside the data manager, and one that the thread may read.
    [[nodiscard]] bool IsNotManagedOrReadLocked(const ConstNode& node) const;
    /// True for null, a node outside the data manager, and one that the thread may edit.
    [[nodiscard]] bool IsNotManagedOrWriteLocked(const Node& node) const;
    /// @}

    /// @name Consistency
    /// The checks change nothing and never throw; if memory runs out they say false.
    ///
    /// A node in the data manager is valid only for a thread that may read it; a read lock on the
    /// root does for a whole tree. Threads: id map and root are read without the section, so no
    /// other thread may create or delete nodes, set or unset the root, or edit trees outside the
    /// data manager meanwhile.
    /// @{

    /// True if
    /// - the node is labelled with its id,
    /// - it, its children and its father are registered under their ids, and readable,
    /// - they are linked to each other, in the tree as in the data manager.
    /// False for null. Cost: linear in its children and siblings.
    CheckReturn IsValid(const ConstNode& node) const noexcept;
    /// True if every registered node is valid, and if the root, if one is set, hangs below the data
    /// manager's node. Cost: linear in the number of registered nodes and their children,
    /// but for sorting each father's children; a map that was larger once takes longer.
    CheckReturn IsValid() const noexcept;
    /// @}

protected:
    /// Writes a head and the root's tree, a line for each node in pre-order: a space for each node
    /// above it, its description and "[leaf]". Threads: needs a read handle on the root, and holds
    /// the section throughout.
    virtual void dump(CbStreamWriteASCII& stream) const;

private:
    friend class CbSingleton<ZeCTransformationNodeManager>;
    friend struct treetests::TestAccess;
    struct Parts;

    ZeCTransformationNodeManager();
    virtual ~ZeCTransformationNodeManager();

    /// True if the nodes of the data tree at and below @p dataNode are readable nodes of trees.
    CheckReturn
    checkRecursivelyNodesInDataManager(CbSmartPointer<const CyNode> dataNode) const noexcept;

    mutable CbCriticalSection section_; ///< guards the fields of the parts
    const std::unique_ptr<Parts> parts_;
};

extern template class TRANSFORMATIONTREE_API CbSingleton<ZeCTransformationNodeManager>;
