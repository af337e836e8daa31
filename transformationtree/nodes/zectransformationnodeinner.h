#pragma once

#include "platform/base/cbclonableobject.h"
#include "transformationtree/nodes/zecchildlist.h"

#include <new>

/// An inner node: groups child nodes and may hold a cached merged model of its subtree.
///
/// - The children are edited by ZeCTransformationNodeManager only.
/// - A copy is shallow: it shares the child objects, whose father stays the node that was copied.
///   It is good for a moment's use.
class TRANSFORMATIONTREE_API ZeCTransformationNodeInner final
    : public CbClonableObject<ZeCTransformationNodeInner, ZeCTransformationNode>
{
public:
    /// The children in their order, and positions among them.
    using Children = ZeCChildList::Children;
    using ChildIterator = Children::iterator;
    using ConstChildIterator = Children::const_iterator;

    /// The class's type record.
    static const CbRTTI RTTI;

    /// An invisible node without children and without model.
    ZeCTransformationNodeInner();
    /// A detached twin that lists the other's children.
    ZeCTransformationNodeInner(const ZeCTransformationNodeInner& other);
    ZeCTransformationNodeInner& operator=(const ZeCTransformationNodeInner&) = delete;

    /// Frees the node, its children after each other and their subtrees without recursion, so that
    /// chains of any depth can go.
    static void operator delete(ZeCTransformationNodeInner* node, std::destroying_delete_t);

    /// @name Children, in order
    /// Nobody but the node manager assigns entries; a reader that gives up what it has read may set
    /// them to null. Lifetime: an edit of the children invalidates the iterators.
    /// @{

    /// The positions of the first child and behind the last one.
    [[nodiscard]] ChildIterator BeginChild() noexcept { return children_.begin(); }
    [[nodiscard]] ConstChildIterator BeginChild() const noexcept { return children_->begin(); }
    [[nodiscard]] ChildIterator EndChild() noexcept { return children_.end(); }
    [[nodiscard]] ConstChildIterator EndChild() const noexcept { return children_->end(); }
    /// The position of the last child, EndChild() if there is none.
    [[nodiscard]] ChildIterator LastChild() noexcept;
    [[nodiscard]] ConstChildIterator LastChild() const noexcept;
    /// The first position that holds this very node, else EndChild(). Cost: linear.
    [[nodiscard]] ChildIterator
    FindChild(const CbSmartPointer<const ZeCTransformationNode>& child) noexcept;
    [[nodiscard]] ConstChildIterator
    FindChild(const CbSmartPointer<const ZeCTransformationNode>& child) const noexcept;
    /// The first child, null if there is none.
    [[nodiscard]] CbSmartPointer<ZeCTransformationNode> FrontChild() noexcept;
    [[nodiscard]] CbSmartPointer<const ZeCTransformationNode> FrontChild() const noexcept;
    /// The last child, null if there is none.
    [[nodiscard]] CbSmartPointer<ZeCTransformationNode> BackChild() noexcept;
    [[nodiscard]] CbSmartPointer<const ZeCTransformationNode> BackChild() const noexcept;
    /// Number of children. Cost: constant.
    [[nodiscard]] unsigned long long GetNrChildren() const noexcept { return children_->size(); }
    /// Makes room for @p number children. Throws: std::length_error, std::bad_alloc.
    void ReserveChildren(unsigned long long number);
    /// @}

    /// @name Cached model
    /// @{

    /// Stores a merged model and the subtree revision that it stands for, -1 if unknown.
    void SetModel(CbSmartPointer<const ZeCModelQMT> model, ZeTNodeRevision revision);
    /// Drops the model; its revision becomes -1.
    void DeleteModel();
    void CreateModel(bool accurateCollection, float cellSize, float samplingParameter,
                     bool shiftedGrids, float ignored) override;
    [[nodiscard]] ZeTNodeRevision GetModelRevision() const override { return modelRevision_; }
    /// @}

    [[nodiscard]] bool IsLeaf() const override { return false; }
    [[nodiscard]] bool EmptyLeafs() const override;
    /// Returns the box around the surfels of all leaves below: around the leaves' own boxes, each
    /// mapped by its eight corners. Empty if no leaf has surfels. Computed in single precision.
    /// @param trafo from this node's frame into that of the result
    ///
    /// Cost: linear in the number of surfels.
    [[nodiscard]] CyBoundingBox3D GetBoundingBox(const CbMatrix4Rd& trafo) const override;

    /// Takes over transformation, description and visibility of another inner node. With
    /// PropertiesAndModel also its cached model (shared) and the model's revision, if both have the
    /// same number of children. A leaf or null changes nothing.
    void AssumeAttributes(const CbSmartPointer<const ZeCTransformationNode>& other,
                          EAttributesToCopy what) override;

    [[nodiscard]] ZeTNodeRevision GetNodeRevisionSubtree(unsigned int mask) const override;
    void UpdateNodeRevisionSubtree(ZeTNodeRevision* out) override;

    void SerializeStructure(CbStreamReadBinary& stream) override;
    void SerializeStructure(CbStreamWriteBinary& stream) const override;

    [[nodiscard]] ZeNNodeIterator BeginNode() const override;
    [[nodiscard]] ZeNNodeIterator LastNode() const override;
    [[nodiscard]] ZeNNodeIterator EndNode() const override;
    [[nodiscard]] CbSmartPointer<ZeCTransformationNode> BackNode() const override;
    [[nodiscard]] ZeNLeafNodeIterator BeginLeaf() const override;
    [[nodiscard]] ZeNLeafNodeIterator LastLeaf() const override;
    [[nodiscard]] ZeNLeafNodeIterator EndLeaf() const override;
    [[nodiscard]] CbSmartPointer<ZeCTransformationNodeLeaf> FrontLeaf() const override;
    [[nodiscard]] CbSmartPointer<ZeCTransformationNodeLeaf> BackLeaf() const override;
    [[nodiscard]] unsigned long long GetNrLeafNodes() const override;
    [[nodiscard]] ZeNCachedLeafNodeIterator BeginCachedLeaf() const override;
    [[nodiscard]] ZeNCachedLeafNodeIterator LastCachedLeaf() const override;
    [[nodiscard]] ZeNCachedLeafNodeIterator EndCachedLeaf() const override;
    [[nodiscard]] CbSmartPointer<ZeCTransformationNode> FrontCachedLeaf() const override;
    [[nodiscard]] CbSmartPointer<ZeCTransformationNode> BackCachedLeaf() const override;
    [[nodiscard]] unsigned long long GetNrCachedLeafNodes() const override;
    [[nodiscard]] ZeNSurfelIterator BeginSurfel() const override;
    [[nodiscard]] ZeNRandomAccessSurfelIterator GetRas() const override;
    [[nodiscard]] ZeNRandomSamplingSurfelIterator BeginRss(int k) const override;
    [[nodiscard]] ZeNInnerNodeIterator BeginInner() const override;
    [[nodiscard]] ZeNInnerNodeIterator LastInner() const override;
    [[nodiscard]] ZeNInnerNodeIterator EndInner() const override;

    /// Returns a node iterator of this node that stands on @p node, with the same transformations
    /// as a walk would deliver. It is the end if @p node is null or not at or below this one, or if
    /// a father on the way does not list its child.
    ///
    /// Cost: the number of children along the path; a climb to the top if the node is elsewhere.
    [[nodiscard]] ZeNNodeIterator Find(const CbSmartPointer<ZeCTransformationNode>& node) const;
    /// The same as a leaf iterator.
    [[nodiscard]] ZeNLeafNodeIterator
    Find(const CbSmartPointer<ZeCTransformationNodeLeaf>& leaf) const;

protected:
    ~ZeCTransformationNodeInner() override;

private:
    friend class ZeCTransformationNode::ZeNNodeIterator;
    friend class ZeCTransformationNodeAccess;
    friend struct treetests::TestAccess;

    ZeCChildList children_;
    ZeTNodeRevision modelRevision_ = -1;              ///< subtree revision of the cached model
    ZeCTransformationNodeInner* nextDying_ = nullptr; ///< see operator delete
};

inline ZeCTransformationNodeInner* ZeCTransformationNode::AsInner() noexcept
{
    return leaf_ ? nullptr : static_cast<ZeCTransformationNodeInner*>(this);
}

inline const ZeCTransformationNodeInner* ZeCTransformationNode::AsInner() const noexcept
{
    return leaf_ ? nullptr : static_cast<const ZeCTransformationNodeInner*>(this);
}
