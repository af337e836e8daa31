#pragma once

#include "platform/datacontainer/sampling/internal/sums/zecgridcell.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

/// Sums of the surfels of one tissue type that share a cell in each of 125 shifted grids.
///
/// They are the sums of ZeCGridCell, with the positions from the lower corners of the cells of all
/// shifts: what bins add up to is what their surfels would.
struct ZeCShiftedBin
{
    static constexpr std::size_t c_shifts = 5; ///< on each axis

    void Add(const ZeCShiftedBin& other) noexcept
    {
        for (std::size_t i = 0; i < sums.size(); ++i) sums[i] += other.sums[i];
        heaviest = std::max(heaviest, other.heaviest);
    }

    /// What the sums stand for; from Position on there are c_shifts for each axis.
    enum ESum : std::size_t
    {
        Weight,
        Count,
        Normal,
        Color = Normal + 3,
        Curvature = Color + 3,
        Quality,
        Boundary,
        Position
    };
    std::array<std::uint64_t, Position + 3 * c_shifts> sums;
    std::uint32_t heaviest; ///< as of ZeCGridCell
    std::uint32_t next;     ///< the bin of another tissue type in the same place, kept by the owner
    std::uint8_t tissueType;
};

/// A bin, and a key that tells where it lies among those that are looked at together.
struct ZeCKeyedBin
{
    std::uint64_t key;
    const ZeCShiftedBin* bin;
};
