#pragma once

#include "platform/base/cbalwaysinline.h"
#include "platform/datacontainer/sampling/internal/zecgrid.h"

#include <cmath>
#include <cstdint>

/// @file
/// What the surfels of a cell have in common, from their sums.

/// Units of the sums of positions, which are counted from the lower corner of the cell, for the
/// size of the cell.
inline constexpr std::uint32_t c_gridPositionUnits = 1U << 28U;
/// Units of the sums of normals, whose coordinates have 1 added to them.
inline constexpr std::uint32_t c_gridNormalUnits = 1U << 19U;

/// Returns a coordinate of the mean position.
/// @param index of the cell on the axis
/// @param part mean distance from its lower border, in cells
[[nodiscard]] CB_ALWAYS_INLINE float ZeCMeanCoordinate(std::int32_t index, double part,
                                                       const ZeCGrid& grid) noexcept
{
    return static_cast<float>(grid.offset + (index + part) * grid.cellSize);
}

/// Whether normals, as on the sheets of a thin wall, nearly cancel: their sum is shorter than a
/// tenth of what it would be if they were equal.
/// @param equal length that it would have then
template<class T>
[[nodiscard]] CB_ALWAYS_INLINE bool ZeCDoCancel(T x, T y, T z, T equal) noexcept
{
    const T least = equal * T{0.1};
    return x * x + y * y + z * z < least * least;
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
