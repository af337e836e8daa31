#pragma once

#include "platform/base/platformapi.h"
#include "platform/datacontainer/surfels/zecquantizednormal.h"
#include "platform/math3d/cbvector3f.h"

#include <array>
#include <cstdint>
#include <vector>

class CbStreamReadBinary;
class CbStreamWriteBinary;

/// A histogram of directions over the unit sphere: how many normals lie in each of 256 cells, and
/// their sum.
///
/// Sums are integers, so that they do not depend on the order of the normals. Only cells that hold
/// normals take memory.
///
/// @code
/// ZeCQuantizedNormalBinning binning;
/// for (const auto normal : normals) binning.Add(normal);
/// const CbVector3f up = binning.ComputeMeanDirectionAboveThresholdCount(1);
/// @endcode
///
/// Threads: not locked.
class PLATFORM_API ZeCQuantizedNormalBinning
{
public:
    static constexpr unsigned c_level = 3;        ///< of the normals' codes that number the cells
    static constexpr std::uint32_t c_cells = 256; ///< number of codes of that level
    static constexpr std::int64_t c_units = 1 << 20; ///< stands for a length of 1 in the sums

    /// A cell that holds normals.
    struct Bin
    {
        std::uint32_t code = 0;            ///< of the cell, below c_cells
        std::uint32_t count = 0;           ///< of its normals
        std::array<std::int64_t, 3> sum{}; ///< of its normals: x, y and z in c_units
    };

    /// Counts a normal. A cell that holds 2^32-1 normals takes no more.
    /// Cost: a search among the cells in use.
    void Add(ZeCQuantizedNormal normal);
    /// Forgets all normals.
    void Clear() noexcept { bins_.clear(); }

    /// The cells that hold normals, by ascending codes.
    [[nodiscard]] const std::vector<Bin>& GetBins() const noexcept { return bins_; }

    /// Returns the mean direction of the normals in all cells that hold more than @p threshold,
    /// with length 1; exactly (0, 0, 0) if there is no such cell or the normals cancel out, that
    /// is, their sum is shorter than 1/64 of their number.
    [[nodiscard]] CbVector3f
    ComputeMeanDirectionAboveThresholdCount(std::uint32_t threshold) const noexcept;

    /// Writes version 1: version and number of cells in use, then code, count and sum of each.
    void Serialize(CbStreamWriteBinary& stream) const;
    /// Becomes the histogram that was written.
    /// Throws: CbExceptionWrongFileVersion for an unknown version, CbExceptionStream for a stream
    /// that ends early or holds no histogram; this one stays as it was.
    void Serialize(CbStreamReadBinary& stream);

private:
    std::vector<Bin> bins_; ///< by ascending codes; counts are not 0
};
