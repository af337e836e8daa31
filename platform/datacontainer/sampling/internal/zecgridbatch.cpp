#include "platform/datacontainer/sampling/internal/zecgridbatch.h"

#include "platform/datacontainer/sampling/internal/sums/zecgridmeans.h"
#include "platform/datacontainer/surfels/internal/kernelbuilds.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <numeric>

namespace
{

// Rounds half up, several elements at a time, which functions of the standard library are not built
// for. Of the values below 2^22 of a float, and 2^31 of a double, the one just below a half is the
// only one that is rounded the wrong way.
template<class T>
CB_ALWAYS_INLINE std::uint32_t rounded(T value) noexcept
{
    // NOLINTNEXTLINE(bugprone-incorrect-roundings)
    return static_cast<std::uint32_t>(static_cast<std::int32_t>(value + T{0.5}));
}

constexpr std::size_t c_size = ZeCGridBatch::c_size;
constexpr std::int32_t c_firstOutside = ZeCGridBatch::c_firstOutside;

// Numbers below 2^29 in magnitude, and no others, don't set the highest bit.
CB_ALWAYS_INLINE std::uint64_t farOffBit(double value) noexcept
{
    // The bits of numbers that are not negative are in the order of the numbers themselves, with
    // infinity and NaN above all (IEEE 754). So one addition compares: the sum reaches the highest
    // bit if the magnitude is not below 2^29. The number just below gives all other bits.
    constexpr std::uint64_t c_first = std::bit_cast<std::uint64_t>(double{1 << 29});
    constexpr std::uint64_t c_magnitude = ~std::uint64_t{0} >> 1U;
    return (std::bit_cast<std::uint64_t>(value) & c_magnitude) + (c_magnitude + 1 - c_first);
}

// Finds cells on one axis after the other, and where in them surfels lie. Returns whether all are
// inside the grid for certain. The quotient is a true one: with a reciprocal, surfels on borders
// would change the cell. Short loops with nothing but arithmetic are worked on several elements at
// a time.
CB_ALWAYS_INLINE bool findCells(ZeCGridBatch& batch, const ZeCGrid& grid) noexcept
{
    const std::size_t count = batch.count;
    const double offset = grid.offset;
    const double cellSize = grid.cellSize;
    std::uint64_t areFarOff = 0; // the highest bit
    for (int axis = 0; axis < 3; ++axis) {
        double quotients[c_size];
        for (std::size_t i = 0; i < count; ++i) {
            const double coordinate = batch.positions[axis][i];
            quotients[i] = (coordinate - offset) / cellSize;
            areFarOff |= farOffBit(quotients[i]);
        }
        if (areFarOff >> 63U != 0) {
            constexpr double c_end = c_firstOutside;
            for (std::size_t i = 0; i < count; ++i) {
                const double notBelow = quotients[i] > -c_end ? quotients[i] : -c_end; // so is NaN
                quotients[i] = notBelow < c_end ? notBelow : c_end;
            }
        }
        double floors[c_size];
        for (std::size_t i = 0; i < count; ++i) {
            const double truncated = static_cast<std::int32_t>(quotients[i]);
            floors[i] = truncated - (quotients[i] < truncated ? 1.0 : 0.0);
        }
        for (std::size_t i = 0; i < count; ++i) {
            batch.indices[axis][i] = static_cast<std::int32_t>(floors[i]);
            batch.fractions[axis][i] = rounded((quotients[i] - floors[i]) * c_gridPositionUnits);
        }
    }
    return areFarOff >> 63U == 0;
}

} // namespace

void ZeCGridBatch::LoadPositions(std::span<const CbVector3f> from,
                                 const ZeCSurfelTransformation& transformation, const ZeCGrid& grid)
{
    count = from.size();
    transformation.MapPositions(from.data(), count, positions[0], positions[1], positions[2]);
    static const auto find = CbFastestBuild<&findCells>();
    const bool areInside = find(*this, grid);

    std::iota(accepted, accepted + count, std::uint16_t{0});
    numberOfAccepted = count;
    if (areInside) return;
    removeAccepted([&](std::uint16_t surfel) {
        return std::any_of(indices, indices + 3, [surfel](const std::int32_t* axis) {
            return std::abs(axis[surfel]) >= c_firstOutside;
        });
    });
}

void ZeCGridBatch::LoadNormals(std::span<const ZeCQuantizedNormal> from,
                               const ZeCSurfelTransformation& transformation)
{
    ZeCSurfelTransformation::Directions mapped;
    static_assert(c_size % mapped.c_size == 0);
    for (std::size_t first = 0; first < from.size(); first += mapped.c_size) {
        const std::size_t n = std::min(from.size() - first, mapped.c_size);
        transformation.MapNormals(from.data() + first, n, mapped);
        std::copy_n(mapped.codes, n, codes + first);
        for (int axis = 0; axis < 3; ++axis) {
            for (std::size_t i = 0; i < mapped.c_size; ++i) {
                normals[axis][first + i] =
                    rounded((mapped.axes[axis][i] + 1.0F) * c_gridNormalUnits);
            }
        }
    }
}

void ZeCGridBatch::Restrict(std::span<const CyBoundingSphere> spheres) noexcept
{
    removeAccepted([&](std::uint16_t surfel) {
        const CbVector3f position{positions[0][surfel], positions[1][surfel], positions[2][surfel]};
        return std::none_of(spheres.begin(), spheres.end(), [&](const CyBoundingSphere& sphere) {
            return sphere.Contains(position);
        });
    });
}
