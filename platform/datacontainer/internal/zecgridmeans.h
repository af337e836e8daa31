#pragma once

#include "platform/datacontainer/internal/zecgrid.h"
#include "platform/datacontainer/zecquantizednormal.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

/// @file
/// What the surfels of a cell have in common, from their sums.

/// Units of the sums of normals, whose coordinates have 1 added to them.
inline constexpr std::uint32_t c_gridNormalUnits = 1U << 19U;

/// Returns the mean position.
/// @param index of the cell on each axis
/// @param sums of positions from the cell's lower corner, in @p units for its size
/// @param units times the number, or the weight, of the surfels
[[nodiscard]] inline CbVector3f ZeCMeanPosition(const std::array<std::int32_t, 3>& index,
                                                const std::array<double, 3>& sums, double units,
                                                const ZeCGrid& grid) noexcept
{
    const double perUnit = 1.0 / units;
    const auto coordinate = [&](std::size_t axis) {
        return static_cast<float>(grid.offset +
                                  (index[axis] + sums[axis] * perUnit) * grid.cellSize);
    };
    return {coordinate(0), coordinate(1), coordinate(2)};
}

/// Returns the mean normal; where those of opposing sheets nearly cancel, another one.
/// @param sums in c_gridNormalUnits, with 1 added to each coordinate
/// @param weight how many surfels have been added, or their weight
[[nodiscard]] inline ZeCQuantizedNormal ZeCMeanNormal(const std::uint64_t (&sums)[3],
                                                      std::uint64_t weight,
                                                      ZeCQuantizedNormal other) noexcept
{
    constexpr double c_leastLength = 0.1; // of what the weight would give for equal normals
    const std::uint64_t bias = weight * c_gridNormalUnits;
    const auto sum = [&](std::size_t axis) {
        return static_cast<double>(static_cast<std::int64_t>(sums[axis] - bias));
    };
    const double x = sum(0);
    const double y = sum(1);
    const double z = sum(2);
    const double leastLength = c_leastLength * static_cast<double>(bias);
    if (x * x + y * y + z * z < leastLength * leastLength) return other;
    return ZeCQuantizedNormal(
        CbVector3f{static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)});
}

/// Whether there are fewer surfels than wanted, which lowers their quality.
[[nodiscard]] inline bool ZeCAreTooFew(std::uint32_t count, double wanted) noexcept
{
    return count < wanted && std::isfinite(wanted);
}

/// Returns the mean quality of surfels that are too few.
[[nodiscard]] inline std::uint8_t ZeCLoweredQuality(std::uint64_t sum, std::uint64_t weight,
                                                    std::uint32_t count, double wanted) noexcept
{
    // One division of exact products, so that halves are halves.
    const double product = static_cast<double>(sum) * count;
    return static_cast<std::uint8_t>(std::lround(product / (static_cast<double>(weight) * wanted)));
}
