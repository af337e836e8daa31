#pragma once

#include "platform/base/cbweakpointer.h"
#include "transformationtree/walks/zenleafnodeiterator.h"

#include <cstdint>

/// Walks the surfels of a subtree: those of each leaf's model, leaf after leaf in pre-order.
///
/// @code
/// for (auto it = scan->BeginSurfel(); it; ++it) {
///     Draw(it.GetContainer()->GetPositionAccessor()[it.GetIndex()], it.GetTransformation());
/// }
/// @endcode
///
/// - Surfels are those of the model's standard collection, in the model's own frame.
///   GetTransformation() leads from there into the traversal root's.
/// - At a leaf without surfels the iterator of an inner node converts to false, although ++ goes on
///   to the next leaf: the loop above ends there. Surfels() passes over such leaves.
///
/// Lifetime: keeps an inner node as traversal root alive, but no container. A container that is
/// gone has no surfels. A change in the structure of the walked subtree, or another model of a
/// leaf, invalidates the iterator. Threads: a read handle on the traversal root. Cost: a step
/// counts no references but for the first surfel of a leaf.
class TRANSFORMATIONTREE_API ZeCTransformationNode::ZeNSurfelIterator
{
public:
    /// What std::weakly_incrementable asks for.
    using difference_type = std::ptrdiff_t;

    /// Has a container, but belongs to no walk: converts to false.
    explicit ZeNSurfelIterator(const CbWeakPointer<const ZeCSurfelContainer>& container)
        : container_(container)
    {}

    /// True if the iterator stands on a surfel.
    explicit operator bool() const noexcept
    {
        return index_ < nrSurfels() && (singleContainer_ || !isAtEnd());
    }

    /// The present container, null if there is none or it is gone.
    [[nodiscard]] const ZeCSurfelContainer* GetContainer() const noexcept
    {
        return container_.Borrow();
    }
    /// The present surfel's index in the container.
    [[nodiscard]] std::uint32_t GetIndex() const noexcept { return index_; }
    /// The transformation from the present container's frame into that of the traversal root, which
    /// for a leaf is the identity. Lifetime: until the next step.
    [[nodiscard]] const CbMatrix4Rd& GetTransformation() const noexcept { return trafo_; }

    /// Goes on to the next surfel, or behind the last one of a container to the next leaf. Behind
    /// the last leaf's the iterator converts to false.
    ZeNSurfelIterator& operator++()
    {
        ++index_;
        if (!singleContainer_ && index_ >= nrSurfels()) enterNextLeaf();
        return *this;
    }
    void operator++(int) { ++*this; }

    /// Equal positions in walks from the same inner node. What walks a leaf alone is told apart by
    /// its index only, whichever leaf it is.
    friend bool operator==(const ZeNSurfelIterator& a, const ZeNSurfelIterator& b) noexcept
    {
        return a.leaf_ == b.leaf_ && a.index_ == b.index_ &&
               a.singleContainer_ == b.singleContainer_;
    }
    /// True if the iterator converts to false.
    friend bool operator==(const ZeNSurfelIterator& it, std::default_sentinel_t) noexcept
    {
        return !it;
    }

private:
    friend class ZeCTransformationNodeInner;
    friend class ZeCTransformationNodeLeaf;

    /// Stands on the first surfel of the leaf that an inner node's walk begins with.
    explicit ZeNSurfelIterator(ZeNLeafNodeIterator first);
    /// Stands on the first surfel of the one container of a leaf.
    explicit ZeNSurfelIterator(const ZeCTransformationNodeLeaf& leaf);

    /// True if the walk of leaves is over. It rests on leaves only, so that there is no need to
    /// look at the node.
    [[nodiscard]] bool isAtEnd() const noexcept
    {
        return !static_cast<const ZeNNodeIterator&>(leaf_);
    }
    [[nodiscard]] std::uint32_t nrSurfels() const noexcept
    {
        const ZeCSurfelContainer* const container = container_.Borrow();
        return container != nullptr ? container->GetNrSurfels() : 0;
    }
    void enterNextLeaf();
    void enterLeaf() noexcept;

    CbMatrix4Rd trafo_;        ///< that of the present leaf, kept beyond the end of the walk
    ZeNLeafNodeIterator leaf_; ///< the end if a container is walked alone
    CbWeakPointer<const ZeCSurfelContainer> container_;
    std::uint32_t index_ = 0;
    bool singleContainer_ = false;
};
