#pragma once

#include "transformationtree/walks/zenrandomaccesssurfeliterator.h"

#include <cstddef>
#include <cstdint>
#include <iterator>

/// Visits a number of surfels that are spread over the whole numbering of a subtree.
///
/// @code
/// for (auto it = cluster->BeginRss(10); it; ++it) Draw(it.GetPosition(), it.GetTransformation());
/// @endcode
///
/// The first sample is surfel 0, and each next one lies a fixed prime further on, modulo the number
/// of surfels. Below 3 221 291 010 surfels all are visited before one comes again, unless their
/// number is a multiple of that prime, 1 073 676 287.
class TRANSFORMATIONTREE_API ZeCTransformationNode::ZeNRandomSamplingSurfelIterator
    : public ZeNRandomAccessSurfelIterator
{
public:
    /// What std::weakly_incrementable asks for.
    using difference_type = std::ptrdiff_t;

    /// Begins anew with @p number samples, which may be more than there are surfels.
    void InitByNrSamples(int number) noexcept;
    /// Number of all samples, visited or not.
    [[nodiscard]] std::uint32_t GetNrSamples() const noexcept { return nrSamples_; }

    /// True until all samples were visited.
    explicit operator bool() const noexcept { return sample_ < nrSamples_; }

    /// Goes on to the next sample. Not to be called if there is no surfel: divides by their
    /// number.
    ZeNRandomSamplingSurfelIterator& operator++() noexcept
    {
        ++sample_;
        index_ = (c_stride + index_) % GetNrOfOverallSurfels();
        return *this;
    }
    void operator++(int) noexcept { ++*this; }
    /// True if the iterator converts to false.
    friend bool operator==(const ZeNRandomSamplingSurfelIterator& it,
                           std::default_sentinel_t) noexcept
    {
        return !it;
    }

    /// @name The present surfel
    /// @{

    /// As the base gives it for the surfel's number. Only for iterators that convert to true.
    [[nodiscard]] const CbMatrix4Rd& GetTransformation() const noexcept
    {
        return ZeNRandomAccessSurfelIterator::GetTransformation(index_);
    }
    [[nodiscard]] CbVector3f GetPosition() const noexcept
    {
        return ZeNRandomAccessSurfelIterator::GetPosition(index_);
    }
    [[nodiscard]] ZeCQuantizedNormal GetNormal() const noexcept
    {
        return ZeNRandomAccessSurfelIterator::GetNormal(index_);
    }
    [[nodiscard]] ZeCCompressedColor GetColor() const noexcept
    {
        return ZeNRandomAccessSurfelIterator::GetColor(index_);
    }
    [[nodiscard]] float GetQuality() const noexcept
    {
        return ZeNRandomAccessSurfelIterator::GetQuality(index_);
    }
    [[nodiscard]] std::uint8_t GetTissueType() const noexcept
    {
        return ZeNRandomAccessSurfelIterator::GetTissueType(index_);
    }
    [[nodiscard]] bool GetBoundaryFlag() const noexcept
    {
        return ZeNRandomAccessSurfelIterator::GetBoundaryFlag(index_);
    }
    [[nodiscard]] std::uint8_t GetCurvature() const noexcept
    {
        return ZeNRandomAccessSurfelIterator::GetCurvature(index_);
    }
    /// @}

private:
    friend class ZeCTransformationNodeInner;
    friend class ZeCTransformationNodeLeaf;

    static constexpr std::uint32_t c_stride = 1073676287; // prime

    /// One sample for each @p k surfels, which must be positive.
    ZeNRandomSamplingSurfelIterator(ZeNRandomAccessSurfelIterator surfels, int k) noexcept;

    std::uint32_t sample_ = 0; ///< number of samples that were visited
    std::uint32_t nrSamples_ = 0;
    std::uint32_t index_ = 0; ///< number of the present surfel
};
