#pragma once

#include "platform/datacontainer/surfels/zecsurfelcollectionqmt.h"
#include "transformationtree/nodes/zectransformationnode.h"

#include <atomic>
#include <cstdint>
#include <vector>

/// Numbers the surfels of a subtree, leaf after leaf in pre-order, and reads them by number.
///
/// @code
/// const auto surfels = cluster->GetRas();
/// for (std::uint32_t i = 0; i < surfels.GetNrOfOverallSurfels(); ++i) {
///     Draw(surfels.GetPosition(i), surfels.GetTransformation(i));
/// }
/// @endcode
///
/// Surfels are those of the models' standard collections, as far as there are any; positions and
/// normals are in the model's own frame.
/// The getters take numbers below GetNrOfOverallSurfels() and do not check them: what is larger
/// reads behind the last model's surfels.
///
/// Lifetime: keeps the models alive. Goes on with the models and transformations of the moment at
/// which it was made. One whose assignment throws std::bad_alloc is good for nothing but another.
/// Threads: many may read one iterator; each is faster with a copy of its own,
/// since a getter first looks where the last one found its surfel.
/// Cost: constant for a surfel of the same leaf as the last one's, else a binary search among the
/// leaves. References are not counted.
class TRANSFORMATIONTREE_API ZeCTransformationNode::ZeNRandomAccessSurfelIterator
{
public:
    /// Number of surfels. Counts modulo 2^32.
    [[nodiscard]] const std::uint32_t& GetNrOfOverallSurfels() const noexcept
    {
        return nrOfOverallSurfels_;
    }

    /// The transformation from the frame of a surfel's model into that of the node at which the
    /// iterator was made; the identity if that is a leaf.
    [[nodiscard]] const CbMatrix4Rd& GetTransformation(std::uint32_t i) const noexcept
    {
        return images_[surfelBelongsToImageIndex(i)].trafo;
    }
    /// In the frame of the surfel's model.
    [[nodiscard]] CbVector3f GetPosition(std::uint32_t i) const noexcept
    {
        const Surfel surfel = getSurfelCollectionAndIndex(i);
        return surfel.collection.GetPositionAccessor()[surfel.index];
    }
    [[nodiscard]] ZeCQuantizedNormal GetNormal(std::uint32_t i) const noexcept
    {
        const Surfel surfel = getSurfelCollectionAndIndex(i);
        return surfel.collection.GetNormalAccessor()[surfel.index];
    }
    /// As the surfel has it.
    [[nodiscard]] ZeCCompressedColor GetColor(std::uint32_t i) const noexcept
    {
        const Surfel surfel = getSurfelCollectionAndIndex(i);
        return surfel.collection.GetColorAccessor()[surfel.index];
    }
    /// From 0 to 1.
    [[nodiscard]] float GetQuality(std::uint32_t i) const noexcept
    {
        const Surfel surfel = getSurfelCollectionAndIndex(i);
        return surfel.collection.GetQualityAccessor()[surfel.index];
    }
    /// As the surfel has it.
    [[nodiscard]] std::uint8_t GetTissueType(std::uint32_t i) const noexcept
    {
        const Surfel surfel = getSurfelCollectionAndIndex(i);
        return surfel.collection.GetTissueTypeAccessor()[surfel.index];
    }
    [[nodiscard]] bool GetBoundaryFlag(std::uint32_t i) const noexcept
    {
        const Surfel surfel = getSurfelCollectionAndIndex(i);
        return surfel.collection.GetBoundaryFlagAccessor()[surfel.index];
    }
    [[nodiscard]] std::uint8_t GetCurvature(std::uint32_t i) const noexcept
    {
        const Surfel surfel = getSurfelCollectionAndIndex(i);
        return surfel.collection.GetCurvatureAccessor()[surfel.index];
    }

private:
    friend class ZeCTransformationNodeInner;
    friend class ZeCTransformationNodeLeaf;

    struct Image
    {
        CbSmartPointer<const ZeCModelQMT> model; ///< null if the leaf has none
        CbMatrix4Rd trafo;
    };
    struct Surfel
    {
        const ZeCSurfelCollectionQMT& collection;
        std::uint32_t index; ///< in the collection
    };
    /// An index that readers share. Relaxed: each value is that of some image, and so a good guess.
    class Hint
    {
    public:
        Hint() noexcept = default;
        Hint(const Hint& other) noexcept : image_(other.Get()) {}
        Hint& operator=(const Hint& other) noexcept // NOLINT(bugprone-unhandled-self-assignment)
        {
            Set(other.Get());
            return *this;
        }
        ~Hint() = default;
        [[nodiscard]] std::uint32_t Get() const noexcept
        {
            return image_.load(std::memory_order_relaxed);
        }
        void Set(std::uint32_t image) noexcept { image_.store(image, std::memory_order_relaxed); }

    private:
        std::atomic<std::uint32_t> image_{0};
    };

    /// Numbers nothing.
    ZeNRandomAccessSurfelIterator() = default;
    /// Numbers the surfels of a leaf's model behind the present ones.
    void append(const ZeCTransformationNode& leaf, const CbMatrix4Rd& trafo);

    [[nodiscard]] std::uint32_t surfelBelongsToImageIndex(std::uint32_t i) const noexcept
    {
        const std::uint32_t last = lastImage_.Get();
        if (offsets_[last] <= i && i < offsets_[last + 1]) return last;
        return findImage(i);
    }
    [[nodiscard]] Surfel getSurfelCollectionAndIndex(std::uint32_t i) const noexcept
    {
        const std::uint32_t image = surfelBelongsToImageIndex(i);
        return {*images_[image].model->BorrowSurfelCollection(
                    ZeCModelQMT::ESurfelCollectionType::Standard),
                i - offsets_[image]};
    }
    [[nodiscard]] std::uint32_t findImage(std::uint32_t i) const noexcept;

    std::vector<Image> images_;
    std::vector<std::uint32_t> offsets_{0}; ///< number of each image's first surfel, then of all
    std::uint32_t nrOfOverallSurfels_ = 0;
    mutable Hint lastImage_;
};
