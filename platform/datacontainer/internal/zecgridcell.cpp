#include "platform/datacontainer/internal/zecgridcell.h"

#include <cmath>

namespace
{

constexpr unsigned c_carryBits = 56;

} // namespace

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
    const auto sum = [this](std::size_t axis) {
        return std::ldexp(positionCarry[axis], c_carryBits) + static_cast<double>(position[axis]);
    };
    return {ZeCMeanPosition(index, {sum(0), sum(1), sum(2)},
                            static_cast<double>(weight) * c_positionUnits, grid),
            ZeCMeanNormal(normal, weight,
                          ZeCQuantizedNormal::FromCode(static_cast<std::uint16_t>(~heaviest))),
            {mean(color[0]), mean(color[1]), mean(color[2]), 0},
            ZeCAreTooFew(count, samplingParameter)
                ? ZeCLoweredQuality(quality, weight, count, samplingParameter)
                : mean(quality),
            meanTissueType,
            2 * boundary > weight,
            mean(curvature)};
}
