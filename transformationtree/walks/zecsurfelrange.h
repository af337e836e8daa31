#pragma once

#include "transformationtree/walks/zenleafnodeiterator.h"

#include <cstdint>
#include <ranges>

/// A surfel lent out by a walk. Lifetime: until the walk goes on.
struct ZeCBorrowedSurfel
{
    const ZeCSurfelContainer& container; ///< of the leaf's model
    std::uint32_t index;                 ///< in the container
    const CbMatrix4Rd& trafo;            ///< from the container's frame into the traversal root's
};

/// The surfels of a subtree as a range, leaf after leaf in pre-order: those of each model's
/// standard collection. Passes over leaves without surfels, counts no references and works with
/// singular transformations. Holds the node at which the walk begins.
///
/// Lifetime, Threads: as for ZeNSurfelIterator, but the containers have to stay alive.
class ZeCTransformationNode::ZeCSurfelRange : public std::ranges::view_base
{
public:
    /// An input iterator that lends out the surfel it stands on.
    class TRANSFORMATIONTREE_API Cursor
    {
    public:
        /// What std::input_iterator asks for.
        using iterator_concept = std::input_iterator_tag;
        using value_type = ZeCBorrowedSurfel;
        using difference_type = std::ptrdiff_t;

        /// Stands on the first surfel at or behind a leaf.
        explicit Cursor(ZeNLeafNodeIterator leaf) : leaf_(std::move(leaf)) { findSurfels(); }

        /// Lends out the surfel. Not to be called at the end.
        value_type operator*() const noexcept { return {*container_, index_, trafo_}; }
        /// Goes on to the next one.
        Cursor& operator++()
        {
            if (++index_ == nrSurfels_) {
                ++leaf_;
                findSurfels();
            }
            return *this;
        }
        void operator++(int) { ++*this; }
        /// True at the end of the walk.
        friend bool operator==(const Cursor& cursor, std::default_sentinel_t) noexcept
        {
            return cursor.index_ == cursor.nrSurfels_;
        }

    private:
        void findSurfels();

        ZeNLeafNodeIterator leaf_;
        const ZeCSurfelContainer* container_ = nullptr; ///< the present leaf's
        std::uint32_t nrSurfels_ = 0;                   ///< in the container
        std::uint32_t index_ = 0;                       ///< nrSurfels_ at the end of the walk only
        CbMatrix4Rd trafo_;                             ///< the present leaf's
    };

    /// The surfels at or below @p root, which must not be null.
    explicit ZeCSurfelRange(CbSmartPointer<const ZeCTransformationNode> root)
        : root_(std::move(root))
    {}

    /// Each call begins a walk of its own.
    [[nodiscard]] Cursor begin() const { return Cursor(root_->BeginLeaf()); }
    [[nodiscard]] std::default_sentinel_t end() const noexcept { return {}; }

private:
    CbSmartPointer<const ZeCTransformationNode> root_;
};

inline auto ZeCTransformationNode::Surfels() const -> ZeCSurfelRange
{
    return ZeCSurfelRange(CbSmartPointer<const ZeCTransformationNode>(this));
}
