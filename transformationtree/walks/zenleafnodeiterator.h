#pragma once

#include "transformationtree/walks/zennodeiterator.h"

/// Walks a subtree in pre-order and stops at its leaves. See ZeNNodeIterator.
class TRANSFORMATIONTREE_API ZeCTransformationNode::ZeNLeafNodeIterator : public ZeNNodeIterator
{
public:
    /// What Borrow() gives.
    using Borrowed = ZeTBorrowedNode<ZeCTransformationNodeLeaf>;

    /// An end iterator of no walk.
    ZeNLeafNodeIterator() noexcept { atRoot_ = false; }

    /// True if the iterator stands on a leaf.
    explicit operator bool() const noexcept
    {
        return leafRoot_ ? atRoot_ : !path_.IsEmpty() && topIsLeaf();
    }

    /// Lends out the node and its transformation until the next step.
    [[nodiscard]] Borrowed Borrow() const noexcept
    {
        if (leafRoot_) return {*rootLeaf_, c_matIdentityD};
        return {static_cast<ZeCTransformationNodeLeaf&>(topNode()), path_.Top().trafo};
    }
    /// Goes on to the next leaf, or to the end.
    ZeNLeafNodeIterator& operator++();
    void operator++(int) { ++*this; }
    /// Goes back to the previous leaf, or to the end.
    ZeNLeafNodeIterator& operator--();

    /// Returns the father within the walk: null for a leaf as traversal root and at the end.
    [[nodiscard]] CbSmartPointer<ZeCTransformationNodeInner> GetFather() const;

    /// True if the iterator converts to false.
    friend bool operator==(const ZeNLeafNodeIterator& it, std::default_sentinel_t) noexcept
    {
        return !it;
    }

protected:
    using ZeNNodeIterator::ZeNNodeIterator;

private:
    friend class ZeCTransformationNodeInner;
    friend class ZeCTransformationNodeLeaf;
};
