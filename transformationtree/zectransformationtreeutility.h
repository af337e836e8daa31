#pragma once

#include "platform/base/cbsingleton.h"
#include "transformationtree/zectransformationnodeinner.h"
#include "transformationtree/zectransformationnodeleaf.h"

class ZeCTransformationNodeManager;

/// Edits of whole subtrees, made of the node manager's edits; a singleton without a state.
///
/// Where messages are spoken of they are posted to CyMessageDispatcher after the edit.
///
/// Edits are all or nothing: what is thrown is thrown before anything has changed. The one
/// exception is a queue of messages that can't grow for want of memory: the edit is done then and
/// the rest of its messages is lost. Other exceptions are the node manager's.
///
/// Threads: who edits a tree in the data manager holds the write handle that each operation names,
/// from its beginning to its end. Nodes outside the data manager need no lock, but one thread at a
/// time. Nothing recurses over the levels of a tree.
///
/// @code
/// auto& utility = CbSingleton<ZeCTransformationTreeUtility>::GetInstance();
/// father = utility.PrepareForNextChild(father, 16, top);
/// if (father) utility.CreateLeaf(father, model, &modelToFather);
/// @endcode
class TRANSFORMATIONTREE_API ZeCTransformationTreeUtility
{
public:
    using Node = CbSmartPointer<ZeCTransformationNode>;
    using Inner = CbSmartPointer<ZeCTransformationNodeInner>;
    using Leaf = CbSmartPointer<ZeCTransformationNodeLeaf>;
    using Model = CbSmartPointer<const ZeCModelQMT>;

    ZeCTransformationTreeUtility(const ZeCTransformationTreeUtility&) = delete;
    ZeCTransformationTreeUtility& operator=(const ZeCTransformationTreeUtility&) = delete;

    /// @name Building
    /// @{

    /// Appends a new leaf for a model to a father, with the model's description and a
    /// transformation from the leaf's frame into the father's. A null father gives a leaf without
    /// father; a null model gives null, and nothing happens.
    /// Messages: the leaf's transformation, always. Locks: the father.
    /// Throws: CbException for a model without @p trafo; no leaf stays behind.
    Leaf CreateLeaf(const Inner& father, const Model& model, const CbMatrix4Rd* trafo);
    /// Puts a new leaf for a model, which may be null, in the place of an old one, whose id is
    /// dropped. The new leaf has the old one's transformation, description and visibility, but not
    /// its attributes. An old leaf without father gives a new one without.
    /// Messages: none. Locks: the old leaf's father. Throws: CbException for a null leaf.
    Leaf CreateLeafAndReplace(const Leaf& oldLeaf, const Model& model);
    /// Returns a node with room for one more child, where inner nodes have at most @p maxChildren.
    /// That is @p node itself, unless it is full. Else a branch of new nodes, described "Inner", is
    /// appended to the next node above it that has room, and its last one, which is as deep as
    /// @p node, is returned.
    ///
    /// Where all are full up to @p topNode, a new top with the description of the old one comes
    /// between that and its father, and the branch below the new top; @p topNode is set to it.
    ///
    /// Null, and nothing changed, where the top is full and has no father or @p maxChildren is
    /// below 2, where all nodes above a @p node that is not below the top are full, and for a null
    /// node. Messages: nodes added, top inserted and old top moved, always. Locks: the top's
    /// father, or the top where it has none. Without @p topNode no new top is made. Cost: linear in
    /// the depth of @p node.
    [[nodiscard]] Inner PrepareForNextChild(const Inner& node, unsigned int maxChildren,
                                            Inner& topNode);
    /// @}

    /// @name Removing
    /// Removed nodes have neither links nor ids afterwards, and are outside the data manager. Those
    /// on which another thread holds a lock, and those above them, stay in it until somebody takes
    /// them out there. Entries whose node has another father by now are erased, and nothing more.
    /// Cost: linear in the number of removed nodes; the topmost one is searched for among its
    /// siblings.
    /// @{

    /// Removes a node with everything below it. Null changes nothing. A root, which has no father,
    /// only loses its id and what is below it: it stays in the data manager until it is unset.
    /// Messages, if @p postMessages is set: each node removed from the father it had, children in
    /// their order before their father. Locks: the node's father.
    void RemoveSubtree(const Node& node, bool postMessages);
    /// Removes everything below a node. Messages as RemoveSubtree(). Locks: the node.
    /// Throws: CbException for null.
    void RemoveChildren(const Inner& node, bool postMessages);
    /// Removes everything below a node, then resets and removes its own attributes: what may fail
    /// for want of memory comes first.
    /// Messages as RemoveSubtree(). Locks: the node. Throws: CbException for null.
    void ClearAndRemoveChildren(const Inner& node, bool postMessages);
    /// @}

private:
    friend class CbSingleton<ZeCTransformationTreeUtility>;

    ZeCTransformationTreeUtility() = default;
    ~ZeCTransformationTreeUtility() = default;

    [[nodiscard]] static ZeCTransformationNodeManager& getNodeManager();
};

extern template class TRANSFORMATIONTREE_API CbSingleton<ZeCTransformationTreeUtility>;
