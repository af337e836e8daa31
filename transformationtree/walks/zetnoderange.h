#pragma once

#include "transformationtree/walks/zencachedleafnodeiterator.h"
#include "transformationtree/walks/zeninnernodeiterator.h"
#include "transformationtree/walks/zenleafnodeiterator.h"
#include "transformationtree/walks/zennodeiterator.h"

#include <ranges>

/// A walk as a range: delivers ZeTBorrowedNode, counts no references and works with singular
/// transformations. Holds the node at which the walk begins.
template<class Iterator>
class ZeCTransformationNode::ZeTNodeRange : public std::ranges::view_base
{
public:
    /// An input iterator that lends out the node it stands on.
    class Cursor
    {
    public:
        /// What std::input_iterator asks for.
        using iterator_concept = std::input_iterator_tag;
        using value_type = typename Iterator::Borrowed;
        using difference_type = std::ptrdiff_t;

        /// Stands where @p position stands.
        explicit Cursor(Iterator position) : position_(std::move(position)) {}

        /// Lends out the node. Not to be called at the end.
        value_type operator*() const noexcept { return position_.Borrow(); }
        /// Goes on to the next one.
        Cursor& operator++()
        {
            ++position_;
            return *this;
        }
        void operator++(int) { ++*this; }
        /// True at the end of the walk.
        friend bool operator==(const Cursor& cursor, std::default_sentinel_t) noexcept
        {
            return !cursor.position_;
        }

    private:
        Iterator position_;
    };

    /// The walk that begins at @p root, which must not be null.
    explicit ZeTNodeRange(CbSmartPointer<const ZeCTransformationNode> root) : root_(std::move(root))
    {}

    /// Each call begins a walk of its own.
    [[nodiscard]] Cursor begin() const
    {
        if constexpr (std::is_same_v<Iterator, ZeNNodeIterator>) {
            return Cursor(root_->BeginNode());
        } else if constexpr (std::is_same_v<Iterator, ZeNLeafNodeIterator>) {
            return Cursor(root_->BeginLeaf());
        } else if constexpr (std::is_same_v<Iterator, ZeNCachedLeafNodeIterator>) {
            return Cursor(root_->BeginCachedLeaf());
        } else {
            return Cursor(root_->BeginInner());
        }
    }
    [[nodiscard]] std::default_sentinel_t end() const noexcept { return {}; }

private:
    CbSmartPointer<const ZeCTransformationNode> root_;
};

inline auto ZeCTransformationNode::Nodes() const -> ZeTNodeRange<ZeNNodeIterator>
{
    return ZeTNodeRange<ZeNNodeIterator>(CbSmartPointer<const ZeCTransformationNode>(this));
}

inline auto ZeCTransformationNode::Leaves() const -> ZeTNodeRange<ZeNLeafNodeIterator>
{
    return ZeTNodeRange<ZeNLeafNodeIterator>(CbSmartPointer<const ZeCTransformationNode>(this));
}

inline auto ZeCTransformationNode::CachedLeaves() const -> ZeTNodeRange<ZeNCachedLeafNodeIterator>
{
    return ZeTNodeRange<ZeNCachedLeafNodeIterator>(
        CbSmartPointer<const ZeCTransformationNode>(this));
}

inline auto ZeCTransformationNode::InnerNodes() const -> ZeTNodeRange<ZeNInnerNodeIterator>
{
    return ZeTNodeRange<ZeNInnerNodeIterator>(CbSmartPointer<const ZeCTransformationNode>(this));
}
