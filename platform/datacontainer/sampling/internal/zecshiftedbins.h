#pragma once

#include "platform/datacontainer/sampling/internal/zecgridbatch.h"
#include "platform/datacontainer/sampling/internal/zecgridbricks.h"
#include "platform/datacontainer/sampling/internal/zecshiftedbin.h"

#include <array>
#include <cstdint>

class ZeCSurfelContainer;

/// The bins that surfels on shifted grids fall into.
///
/// The cells that a surfel has on an axis, one for each shift, never descend and differ by at most
/// one. So their sum tells all of them, and is the fine index of the surfel: on shift s, cell k is
/// made of the fine indices 5*k-s to 5*k-s+4, a window of five.
///
/// @code
///   fine index   -5 -4 -3 -2 -1  0  1  2  3  4  5  6  7  8  9
///   shift 0       [     -1     ] [      0     ] [      1     ]
///   shift 1          -1     ] [      0     ] [      1     ] [
///   shift 2       -1     ] [      0     ] [      1     ] [
///   shift 3           ] [      0     ] [      1     ] [      2
///   shift 4        ] [      0     ] [      1     ] [      2
/// @endcode
/// A surfel with the fine index 3 is in the cells 0, 0, 1, 1 and 1 of the shifts, whose sum is 3.
class ZeCShiftedBins
{
public:
    using Shifts = std::array<float, ZeCShiftedBin::c_shifts>;

    ZeCShiftedBins(const ZeCGrid& grid, float qualityGain, const Shifts& shifts);

    [[nodiscard]] const ZeCGrid& GetGrid() const noexcept { return grid_; }
    [[nodiscard]] const Shifts& GetShifts() const noexcept { return shifts_; }

    /// Adds surfels; false if fine indices don't tell all their cells.
    [[nodiscard]] bool Add(const ZeCSurfelContainer& surfels, const CbMatrix4Rf& transformation);

    /// Calls `visit(x, y, z, bin)` for all bins in ascending order of their fine indices and tissue
    /// types.
    template<class Visit>
    void VisitInOrder(Visit&& visit) const
    {
        bricks_.VisitInOrder(count_, [&](auto places) {
            for (auto [x, y, z, number] : places) {
                for (; number != 0; number = bin(number).next) visit(x, y, z, bin(number));
            }
        });
    }
    [[nodiscard]] std::size_t GetCount() const noexcept { return count_; }

    /// Magnitude that no fine index reaches.
    static constexpr std::int32_t c_endOfIndices = 5 << 23;

private:
    struct Batch;

    [[nodiscard]] ZeCShiftedBin& bin(std::uint32_t number) const noexcept
    {
        return *all_.At(number - 1);
    }
    void findBins(Batch& batch, const std::uint8_t* tissueTypes);
    [[nodiscard]] std::uint32_t makeBin(std::uint8_t tissueType, std::uint32_t next);

    ZeCGrid grid_;
    Shifts shifts_;
    std::array<std::uint16_t, 256> weights_; ///< by quality
    ZeCGridBricks bricks_;                   ///< knows the first bin of a place by its number
    ZeTChunks<ZeCShiftedBin> all_;
    std::uint32_t count_ = 0;          ///< of bins, which are numbered from 1
    std::uint32_t numberPassedIn_ = 0; ///< surfels
};
