#pragma once

#include "platform/datacontainer/sampling/internal/sums/zecgridmeans.h"
#include "platform/datacontainer/sampling/internal/sums/zecsurfelwriter.h"

#include <array>
#include <cstdint>

/// Weighted sums of the surfels of one cell, but for their tissue types, which can't be averaged.
///
/// All sums are integers, so that they don't depend on the order of the surfels. They hold 2^32-1
/// surfels of the largest weight, together 2^43.
///
/// Made all zero by value initialisation; at least one surfel is added before a mean is asked for.
struct alignas(64) ZeCGridCell
{
    /// What is largest for the heaviest of some surfels, of several for the smallest code.
    [[nodiscard]] static std::uint32_t RankOf(std::uint64_t w, ZeCQuantizedNormal code) noexcept
    {
        return ZeCRank(w, code.GetCode());
    }
    /// Adds where a surfel lies and how.
    /// @param w its weight, at most 2048
    /// @param fraction from the cell's lower corner, c_gridPositionUnits for its size
    /// @param direction normal of length 1, with 1 added to each coordinate, in c_gridNormalUnits
    /// @param code of that normal
    void AddGeometry(std::uint64_t w, const std::array<std::uint32_t, 3>& fraction,
                     const std::array<std::uint32_t, 3>& direction,
                     ZeCQuantizedNormal code) noexcept
    {
        weight += w;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            position[axis] += fraction[axis] * w;
            normal[axis] += direction[axis] * w;
        }
        ++count;
        const std::uint32_t rank = RankOf(w, code);
        if (heaviest < rank) heaviest = rank;
        if (((position[0] | position[1] | position[2]) >> 63U) != 0) CarryPositions();
    }
    /// Adds the other attributes of a surfel, but for the tissue type.
    void AddAttributes(std::uint64_t w, ZeCCompressedColor surfelColor,
                       std::uint8_t surfelCurvature, std::uint8_t surfelQuality,
                       bool isBoundary) noexcept
    {
        color[0] += surfelColor.r * w;
        color[1] += surfelColor.g * w;
        color[2] += surfelColor.b * w;
        curvature += surfelCurvature * w;
        quality += surfelQuality * w;
        if (isBoundary) boundary += w;
    }
    /// Moves the upper bits of the sums of positions, the only ones that can become too large.
    void CarryPositions() noexcept;

    /// Returns the surfel that stands for those of the cell: their weighted means. If normals of
    /// opposing sheets nearly cancel, it has that of the heaviest surfel, of equally heavy ones the
    /// one with the smallest code; fewer surfels than @p samplingParameter lower the quality; it
    /// lies on a boundary if surfels with more than half of the weight do.
    /// @param index of the cell on each axis
    [[nodiscard]] ZeCSurfel GetMeans(const std::array<std::int32_t, 3>& index, const ZeCGrid& grid,
                                     float samplingParameter, std::uint8_t meanTissueType) noexcept;

    // The first cache line.
    std::uint64_t weight;
    std::uint64_t position[3]; ///< without what was carried
    std::uint64_t normal[3];
    std::uint32_t count;    ///< number of surfels
    std::uint32_t heaviest; ///< the largest rank
    // The second one.
    std::uint64_t color[3];
    std::uint64_t curvature;
    std::uint64_t quality;
    std::uint64_t boundary;         ///< weight of the surfels on a boundary
    std::uint32_t otherTissues;     ///< kept by the owner of the cells
    std::uint16_t positionCarry[3]; ///< in units of 2^56
    std::uint8_t tissueType;        ///< kept by the owner of the cells

private:
    [[nodiscard]] ZeCQuantizedNormal meanNormal() const noexcept;
    [[nodiscard]] std::uint8_t mean(std::uint64_t sum) const noexcept
    {
        return ZeCRoundedMean(sum, weight);
    }
};

static_assert(sizeof(ZeCGridCell) == 128, "two cache lines");
