#pragma once

#include "transformationtree/walks/zenleafnodeiterator.h"

/// Walks a subtree in pre-order and stops at its cached leaves: leaves, and inner nodes with a
/// cached model, which stand for their whole subtree.
///
/// The traversal root's own model plays no part. An inner node that gets a model while the walk is
/// below it is stopped at when the walk leaves it. A subtree that was stopped at is never entered,
/// even if its model is gone when the walk goes on. See ZeNNodeIterator.
class TRANSFORMATIONTREE_API ZeCTransformationNode::ZeNCachedLeafNodeIterator
    : public ZeNLeafNodeIterator
{
public:
    /// What Borrow() gives.
    using Borrowed = ZeTBorrowedNode<ZeCTransformationNode>;

    /// An end iterator of no walk.
    ZeNCachedLeafNodeIterator() noexcept = default;

    /// True if the iterator stands on a cached leaf.
    explicit operator bool() const noexcept
    {
        return leafRoot_ ? atRoot_ : !path_.IsEmpty() && topIsCachedLeaf();
    }

    /// Lends out the node and its transformation until the next step.
    [[nodiscard]] Borrowed Borrow() const noexcept { return ZeNNodeIterator::Borrow(); }
    /// Goes on to the next cached leaf, or to the end.
    ZeNCachedLeafNodeIterator& operator++();
    void operator++(int) { ++*this; }
    /// Goes back to the previous cached leaf, or to the end.
    ZeNCachedLeafNodeIterator& operator--();

    /// True if the iterator converts to false.
    friend bool operator==(const ZeNCachedLeafNodeIterator& it, std::default_sentinel_t) noexcept
    {
        return !it;
    }

private:
    friend class ZeCTransformationNodeInner;
    friend class ZeCTransformationNodeLeaf;

    using ZeNLeafNodeIterator::ZeNLeafNodeIterator;

    /// Descends through first children until a cached leaf, or to where nothing is below.
    void descendToFirstCached();
    /// Descends through last children until a cached leaf, or to where nothing is below.
    void descendToLastCached();
};
