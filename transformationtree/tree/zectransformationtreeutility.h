#pragma once

#include "platform/base/cbmap.h"
#include "platform/base/cbsingleton.h"
#include "transformationtree/nodes/zectransformationnodeinner.h"
#include "transformationtree/nodes/zectransformationnodeleaf.h"

#include <functional>

class ZeCTransformationNodeManager;

/// Edits of whole subtrees, made of the node manager's edits; a singleton without a state.
///
/// What holds for all operations:
/// - An edit is all or nothing: what is thrown is thrown before anything has changed.
/// - Messages go to CyMessageDispatcher after the edit, and none is lost.
/// - "Locks" names the node on which the caller holds a write handle, from the beginning to the end
///   of the operation, if the tree is in the data manager. Nodes outside the data manager need no
///   lock, but one thread at a time.
/// - Exceptions that are not named here are the node manager's.
/// - Nothing recurses over the levels of a tree.
///
/// @code
/// auto& utility = CbSingleton<ZeCTransformationTreeUtility>::GetInstance();
/// father = utility.PrepareForNextChild(father, 16, top);
/// if (father) utility.CreateLeaf(father, model, &modelToFather);
/// @endcode
class TRANSFORMATIONTREE_API ZeCTransformationTreeUtility
{
public:
    /// As operations take and return them. Null only if the operation says so.
    using Node = CbSmartPointer<ZeCTransformationNode>;
    using Inner = CbSmartPointer<ZeCTransformationNodeInner>;
    using Leaf = CbSmartPointer<ZeCTransformationNodeLeaf>;
    using Model = CbSmartPointer<const ZeCModelQMT>;
    using ConstNode = CbSmartPointer<const ZeCTransformationNode>;
    /// From nodes to nodes.
    using NodeMap = CbMap<ConstNode, ConstNode>;

    ZeCTransformationTreeUtility(const ZeCTransformationTreeUtility&) = delete;
    ZeCTransformationTreeUtility& operator=(const ZeCTransformationTreeUtility&) = delete;

    /// @name Building
    /// @{

    /// Appends a new leaf for a model to a father, with the model's description.
    /// @param father null for a leaf without father
    /// @param model for null nothing happens, and null is returned
    /// @param trafo from the leaf's frame into the father's; required if there is a model
    ///
    /// Messages: the leaf's transformation, always. Locks: the father.
    /// Throws: CbException for a model without @p trafo; no leaf stays behind.
    Leaf CreateLeaf(const Inner& father, const Model& model, const CbMatrix4Rd* trafo);
    /// Puts a new leaf for a model in the place of an old one, whose id is dropped.
    /// - The new leaf has the old one's transformation, description and visibility, but not its
    ///   attributes.
    /// - If the old leaf has no father, neither has the new one.
    /// @param model may be null
    ///
    /// Messages: none. Locks: the old leaf's father. Throws: CbException for a null leaf.
    Leaf CreateLeafAndReplace(const Leaf& oldLeaf, const Model& model);
    /// Returns a node with room for one more child, as deep as @p node, when each inner node has at
    /// most @p maxChildren children. It is one of these:
    /// - @p node itself, if it is not full.
    /// - The last node of a new branch. The branch hangs below the next node above @p node that has
    ///   room, and its nodes are described "Inner".
    /// - The same below a new top, if all nodes up to @p topNode are full. The new top has the
    ///   description of the old one, comes between that and its father, and becomes @p topNode.
    ///
    /// Returns null, and changes nothing, if
    /// - @p node is null;
    /// - a new top is needed, but the old one has no father or @p maxChildren is below 2;
    /// - @p node is not at or below @p topNode, and is full as are all nodes above it.
    ///
    /// Messages: nodes added, top inserted and old top moved, always. Locks: the top's father, or
    /// the top if it has none. Cost: linear in the depth of @p node.
    [[nodiscard]] Inner PrepareForNextChild(const Inner& node, unsigned int maxChildren,
                                            Inner& topNode);
    /// @}

    /// @name Removing
    /// - Removed nodes have neither links nor ids afterwards, and are outside the data manager.
    /// - Nodes on which another thread holds a lock, and those above them, stay in the data manager
    ///   until somebody takes them out there.
    /// - If a node has another father by now, its entry is erased and it stays as it is.
    ///
    /// Cost: linear in the number of removed nodes; the topmost one is searched for among its
    /// siblings.
    /// @{

    /// Removes a node with everything below it. Null changes nothing. A root has no father, so it
    /// only loses its id and what is below it; it stays in the data manager until it is unset.
    /// Messages, if @p postMessages is set: each node removed from the father it had, children in
    /// their order before their father. Locks: the node's father.
    void RemoveSubtree(const Node& node, bool postMessages);
    /// Removes everything below a node. Messages as RemoveSubtree(). Locks: the node.
    /// Throws: CbException for null.
    void RemoveChildren(const Inner& node, bool postMessages);
    /// Resets a node's attributes and removes them, then removes everything below it. If the reset
    /// of an attribute throws, nothing is removed.
    /// Messages as RemoveSubtree(). Locks: the node. Throws: CbException for null.
    void ClearAndRemoveChildren(const Inner& node, bool postMessages);
    /// @}

    /// @name Restructuring
    /// - Leaves keep their poses relative to the top of what is restructured.
    /// - Null entries, and those whose node has another father by now, take no part and go with the
    ///   lists they stand in. CopySubtree() differs.
    /// @{

    /// Moves the children of a node to the end of another's, in their order, and removes the node.
    /// - A child's transformation R becomes R followed by @p sourceToTarget. The identity leaves it
    ///   as it is, bit by bit.
    /// - The target's cached model is dropped; those of the nodes above it are not.
    /// - The target's revisions become newer than the children's.
    /// @param sourceToTarget from the source's frame into the target's
    ///
    /// Nothing happens if
    /// - either node is null (a leaf casts to null), or has no leaf below it;
    /// - one is in the data manager and the other is not;
    /// - the target is the source or below it.
    ///
    /// Messages, if @p postMessages is set: each child moved, the source removed, and the target's
    /// model outdated if there was one. Locks: target, source and the source's father.
    /// Cost: linear in the numbers of the source's children and siblings and of levels above the
    /// target, over many merges into one target, too; and finding a leaf below either.
    void MergeInnerNodes(const Inner& source, const Inner& target,
                         const CbMatrix4Rd& sourceToTarget, bool postMessages);
    /// Returns a copy of a node with everything below it: new nodes with new ids, registered until
    /// they are deleted, without father and outside the data manager. Null gives null.
    ///
    /// - Copies have the transformation, description and visibility of their originals, but neither
    ///   attributes nor a leaf's new-entry-scan flag.
    /// - Leaves share their originals' models. With @p cloneModels they have clones instead, if the
    ///   model's class has a clone function that gives one.
    /// - With PropertiesAndModel inner nodes share the cached models, so that a new description of
    ///   one node shows in both.
    /// - Entries whose node has another father by now are copied like others, since walks enter
    ///   them. Null entries are left out.
    /// @param copyToSource receives, for each copy, the node it was made from; may be null
    ///
    /// Messages: none. Locks: a read handle on @p node suffices. Cost: linear in the number of
    /// nodes.
    [[nodiscard]] Node CopySubtree(const ConstNode& node,
                                   ZeCTransformationNode::EAttributesToCopy attributesToCopy,
                                   NodeMap* copyToSource, bool cloneModels);
    /// Builds the subtree below a node anew, with at most @p maxChildren children for each inner
    /// node, all leaves at the same depth and in the order of a walk. An inner node is filled
    /// before the next one is opened.
    ///
    /// - Leaves are new ones with new ids, for the same models. They have the descriptions and
    ///   visibilities of the old ones and clones of their attributes, but not the new-entry-scan
    ///   flag.
    /// - Inner nodes are new ones, described "Inner". Those that were the top for a time are
    ///   described "ClusterDummy".
    /// - All that was below @p root is removed. It keeps its own properties, attributes and cached
    ///   model.
    ///
    /// Messages: those of PrepareForNextChild(), always. If @p postMessages is set, also each old
    /// node removed as by RemoveChildren(), and the top of the new subtree, "ClusterDummy", removed
    /// from a "ModelDummy" when its children have come to @p root. Locks: @p root.
    /// Throws: CbException for null, for @p maxChildren below 1, and for 1 if there is more than
    /// one leaf; CyExceptionNotInvertible if the accumulated transformation of a leaf's father is
    /// singular.
    /// Cost: linear in the number of nodes below @p root, but for sorting its new children.
    void NormalizeTreeStructure(const Inner& root, int maxChildren, bool postMessages);
    /// Makes all leaves below a node its children.
    /// - They stand in the order in which their models were scanned, by acquisition sequence
    ///   number. Leaves without model come last, equal ones by their ids.
    /// - All inner nodes below @p root are removed; its own cached model stays.
    /// - Its revisions become newer than the leaves'.
    ///
    /// Messages, if @p postMessages is set: each leaf moved; then, for each inner node in the order
    /// of a walk, those of RemoveSubtree(). A node that has gone with one above it is told again by
    /// itself, without father. Locks: @p root.
    /// Throws: CbException for null; CyExceptionNotInvertible as NormalizeTreeStructure().
    /// Cost: linear in the number of nodes below @p root, but for sorting the leaves, among which
    /// the nodes are searched for.
    void CollapseAll(const Inner& root, bool postMessages);
    /// @}

private:
    friend class CbSingleton<ZeCTransformationTreeUtility>;

    ZeCTransformationTreeUtility() = default;
    ~ZeCTransformationTreeUtility() = default;

    [[nodiscard]] static ZeCTransformationNodeManager& getNodeManager();
    /// @param first see ZeCTransformationNodeManager::DeleteChildren()
    static void removeChildren(const Inner& node, bool postMessages,
                               const std::function<void()>& first);
};

extern template class TRANSFORMATIONTREE_API CbSingleton<ZeCTransformationTreeUtility>;
