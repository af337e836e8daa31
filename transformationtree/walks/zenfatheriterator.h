#pragma once

#include "transformationtree/walks/zennodeiterator.h"

/// Climbs from the position of another iterator to its traversal root, which is the last stop.
///
/// It starts on the node of that position itself; each transformation is that of the node stood on
/// into the traversal root's frame.
class TRANSFORMATIONTREE_API ZeCTransformationNode::ZeNFatherIterator : public ZeNNodeIterator
{
public:
    /// Stands on the node of @p position, or is the end if that is at its end.
    explicit ZeNFatherIterator(const ZeNNodeIterator& position) : ZeNNodeIterator(position) {}

    /// Goes on to the father; past the traversal root is the end.
    ZeNFatherIterator& operator++();
    void operator++(int) { ++*this; }

    /// True if the iterator converts to false.
    friend bool operator==(const ZeNFatherIterator& it, std::default_sentinel_t) noexcept
    {
        return !it;
    }
};
