#pragma once

#include "platform/base/cbalwaysinline.h"
#include "platform/datacontainer/sampling/internal/zecgrid.h"

#include <cmath>
#include <cstdint>

/// @file
/// What the surfels of a cell have in common, from their sums: the one rule by which all kinds of
/// sums are averaged, whole cells one by one and packed ones several at a time.
///
///   position, normal    weighted mean; see below if normals nearly cancel
///   colour, curvature   weighted mean, rounded half up
///   quality             the same, but lowered if there are fewer surfels than wanted
///   boundary            if surfels with more than half of the weight lie on one
///   tissue type         the one with most weight, of several the smallest

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
/// tenth of what it would be if they were equal. The normal with the largest rank counts then.
/// @param equal length that it would have then
template<class T>
[[nodiscard]] CB_ALWAYS_INLINE bool ZeCDoCancel(T x, T y, T z, T equal) noexcept
{
    const T least = equal * T{0.1};
    return x * x + y * y + z * z < least * least;
}

/// The rank of a surfel: @p first above 16 bits that are largest for the smallest code of a normal.
/// So the largest rank of some surfels tells, of those with the largest @p first, the smallest
/// code.
[[nodiscard]] CB_ALWAYS_INLINE constexpr std::uint32_t ZeCRank(std::uint64_t first,
                                                               std::uint32_t code) noexcept
{
    return static_cast<std::uint32_t>(first << 16U) | (0xFFFFU - code);
}
/// The code in a rank.
[[nodiscard]] CB_ALWAYS_INLINE constexpr std::uint32_t ZeCCodeOf(std::uint32_t rank) noexcept
{
    return ~rank & 0xFFFFU;
}

/// Returns the mean of bytes, rounded half up: floor(sum/weight + 1/2), in integers.
[[nodiscard]] CB_ALWAYS_INLINE std::uint8_t ZeCRoundedMean(std::uint64_t sum,
                                                           std::uint64_t weight) noexcept
{
    return static_cast<std::uint8_t>((2 * sum + weight) / (2 * weight));
}
/// Returns the same for at most 255 surfels that weigh 1 each, without a division, which no
/// processor does for several integers at a time.
///
/// The exact quotient is a multiple of 1/510 at the least. If it is not a whole number, it is below
/// the next one by that much. A half is added to the dividend, which is half of that distance and
/// more than single precision loses by the inverse, so the whole part is the exact one's: of 2
/// surfels with the sum 5, (2*5 + 2 + 0.5)*0.25 is 3.125, and 3 is 2.5 rounded half up.
/// @param halfInverse 0.5F divided by the number of surfels
[[nodiscard]] CB_ALWAYS_INLINE std::uint8_t ZeCRoundedMean(std::int32_t sum, std::int32_t count,
                                                           float halfInverse) noexcept
{
    const std::int32_t doubled = 2 * sum + count;
    return static_cast<std::uint8_t>(
        static_cast<std::int32_t>((static_cast<float>(doubled) + 0.5F) * halfInverse));
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

/// Whether the mean lies on a boundary.
/// @param boundary weight of the surfels that do
template<class T>
[[nodiscard]] CB_ALWAYS_INLINE bool ZeCIsBoundary(T boundary, T weight) noexcept
{
    return 2 * boundary > weight;
}

/// Whether a tissue type counts for more than another one.
[[nodiscard]] inline bool ZeCOutweighs(std::uint64_t weight, std::uint8_t type,
                                       std::uint64_t otherWeight, std::uint8_t otherType) noexcept
{
    return weight != otherWeight ? weight > otherWeight : type < otherType;
}
