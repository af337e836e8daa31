#include "platform/datacontainer/sampling/internal/sums/zecgridcell.h"

#include <cmath>

namespace
{

constexpr unsigned c_carryBits = 56;

} // namespace

// Sums of positions have up to 2^43 weights times 2^28 units, 71 bits. What is above 56 bits is
// counted apart; it fits into 16 bits, and the rest has 7 bits to grow before the next carry.
void ZeCGridCell::CarryPositions() noexcept
{
    for (int axis = 0; axis < 3; ++axis) {
        positionCarry[axis] =
            static_cast<std::uint16_t>(positionCarry[axis] + (position[axis] >> c_carryBits));
        position[axis] &= (std::uint64_t{1} << c_carryBits) - 1;
    }
}

ZeCSurfel ZeCGridCell::GetMeans(const std::array<std::int32_t, 3>& index, const ZeCGrid& grid,
                                float samplingParameter, std::uint8_t meanTissueType) noexcept
{
    CarryPositions(); // so that the same sums give the same bits
    const double units = static_cast<double>(weight) * c_gridPositionUnits;
    const auto coordinate = [&](std::size_t axis) {
        const double sum =
            std::ldexp(positionCarry[axis], c_carryBits) + static_cast<double>(position[axis]);
        return ZeCMeanCoordinate(index[axis], sum / units, grid);
    };
    return {{coordinate(0), coordinate(1), coordinate(2)},
            meanNormal(),
            {mean(color[0]), mean(color[1]), mean(color[2]), 0},
            ZeCAreTooFew(count, samplingParameter)
                ? ZeCLoweredQuality(quality, weight, count, samplingParameter)
                : mean(quality),
            meanTissueType,
            ZeCIsBoundary(boundary, weight),
            mean(curvature)};
}

ZeCQuantizedNormal ZeCGridCell::meanNormal() const noexcept
{
    // Each coordinate had 1 added to it, so that sums are not negative.
    const std::uint64_t bias = weight * c_gridNormalUnits;
    const auto sum = [&](int axis) {
        return static_cast<double>(static_cast<std::int64_t>(normal[axis] - bias));
    };
    const double x = sum(0);
    const double y = sum(1);
    const double z = sum(2);
    if (ZeCDoCancel(x, y, z, static_cast<double>(bias))) {
        return ZeCQuantizedNormal::FromCode(static_cast<std::uint16_t>(ZeCCodeOf(heaviest)));
    }
    return ZeCQuantizedNormal(
        CbVector3f{static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)});
}
