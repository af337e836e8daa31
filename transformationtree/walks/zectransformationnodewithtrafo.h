#pragma once

#include "platform/base/cbsmartpointer.h"
#include "platform/math3d/cbmatrix4.h"
#include "transformationtree/nodes/zectransformationnode.h"
#include "transformationtree/transformationtreeapi.h"

/// What a node iterator delivers: a node with its transformation into the traversal root's frame,
/// and the means to place it anew relative to that root.
///
/// A value describes the moment at which it was taken: it does not follow later changes, its own
/// SetTrafoToTraversalRoot() included.
class TRANSFORMATIONTREE_API ZeCTransformationNodeWithTrafo
{
public:
    /// Pairs a node with its transformation. For a null node the getters give null, and it must
    /// not be placed.
    /// @param trafoToRoot from the node's frame into the traversal root's
    /// @param fatherTrafoToRoot from the father's frame into the traversal root's
    /// Throws: CyExceptionNotInvertible if the determinant of @p fatherTrafoToRoot is 0.
    ZeCTransformationNodeWithTrafo(CbSmartPointer<ZeCTransformationNode> node,
                                   const CbMatrix4Rd& trafoToRoot,
                                   const CbMatrix4Rd& fatherTrafoToRoot);
    ZeCTransformationNodeWithTrafo(const ZeCTransformationNodeWithTrafo&) = default;
    ZeCTransformationNodeWithTrafo(ZeCTransformationNodeWithTrafo&&) noexcept = default;
    ZeCTransformationNodeWithTrafo& operator=(const ZeCTransformationNodeWithTrafo&) = default;
    ZeCTransformationNodeWithTrafo& operator=(ZeCTransformationNodeWithTrafo&&) noexcept = default;
    virtual ~ZeCTransformationNodeWithTrafo() = default;

    /// Returns the node.
    [[nodiscard]] CbSmartPointer<ZeCTransformationNode> GetNode() const noexcept { return node_; }
    /// Returns the node if it is a leaf, else null.
    [[nodiscard]] CbSmartPointer<ZeCTransformationNodeLeaf> GetLeafNode() const;
    /// Returns the node if it is an inner node, else null.
    [[nodiscard]] CbSmartPointer<ZeCTransformationNodeInner> GetInnerNode() const;
    /// The transformation from the node's frame into the traversal root's.
    [[nodiscard]] const CbMatrix4Rd& GetTrafo() const noexcept { return trafo_; }

    /// Places the node so that its transformation into the traversal root's frame becomes @p trafo,
    /// and renews its transformation revision. GetTrafo() still gives the old one. Threads: needs a
    /// write handle on the node.
    void SetTrafoToTraversalRoot(const CbMatrix4Rd& trafo) const;

    /// True if both name the same node; the transformations are not compared.
    friend bool operator==(const ZeCTransformationNodeWithTrafo& a,
                           const ZeCTransformationNodeWithTrafo& b) noexcept
    {
        return a.node_ == b.node_;
    }

private:
    friend class ZeCTransformationNode::ZeNNodeIterator;

    /// Says that the father's transformation was already found to be invertible.
    struct Regular
    {};
    ZeCTransformationNodeWithTrafo(Regular, ZeCTransformationNode& node,
                                   const CbMatrix4Rd& trafoToRoot,
                                   const CbMatrix4Rd& fatherTrafoToRoot) noexcept
        : node_(&node), trafo_(trafoToRoot), fatherTrafo_(fatherTrafoToRoot)
    {}

    CbSmartPointer<ZeCTransformationNode> node_;
    CbMatrix4Rd trafo_;
    CbMatrix4Rd fatherTrafo_; ///< invertible; inverted only when a pose is set
};
