#pragma once

#include "transformationtree/walks/zennodeiterator.h"

/// Walks a subtree in pre-order and stops at its inner nodes, the traversal root included.
/// See ZeNNodeIterator.
class TRANSFORMATIONTREE_API ZeCTransformationNode::ZeNInnerNodeIterator : public ZeNNodeIterator
{
public:
    /// What Borrow() gives.
    using Borrowed = ZeTBorrowedNode<ZeCTransformationNodeInner>;

    /// Belongs to no walk; converts to true, but is not to be dereferenced or moved.
    ZeNInnerNodeIterator() noexcept = default;

    /// True if the iterator stands on an inner node.
    explicit operator bool() const noexcept
    {
        return atRoot_ || (!path_.IsEmpty() && !topIsLeaf());
    }

    /// Lends out the node and its transformation until the next step.
    [[nodiscard]] Borrowed Borrow() const noexcept
    {
        if (path_.IsEmpty()) return {*root_, c_matIdentityD};
        return {*topNode().AsInner(), path_.Top().trafo};
    }
    /// Goes on to the next inner node, or to the end.
    ZeNInnerNodeIterator& operator++();
    void operator++(int) { ++*this; }
    /// Goes back to the previous inner node, or to the end.
    ZeNInnerNodeIterator& operator--();

    /// True if the iterator converts to false.
    friend bool operator==(const ZeNInnerNodeIterator& it, std::default_sentinel_t) noexcept
    {
        return !it;
    }

private:
    friend class ZeCTransformationNodeInner;
    friend class ZeCTransformationNodeLeaf;

    using ZeNNodeIterator::ZeNNodeIterator;
};
