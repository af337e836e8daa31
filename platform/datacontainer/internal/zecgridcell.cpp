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

double ZeCGridCell::GetMeanPosition(int axis) const noexcept
{
    const double sum =
        std::ldexp(positionCarry[axis], c_carryBits) + static_cast<double>(position[axis]);
    return sum / (static_cast<double>(weight) * c_positionUnits);
}

ZeCQuantizedNormal ZeCGridCell::GetMeanNormal() const noexcept
{
    constexpr double c_leastLength = 0.1; // of what the weight would give for equal normals
    const std::uint64_t bias = weight * c_normalUnits;
    const auto sum = [&](int axis) {
        return static_cast<double>(static_cast<std::int64_t>(normal[axis] - bias));
    };
    const double x = sum(0);
    const double y = sum(1);
    const double z = sum(2);
    if (std::sqrt(x * x + y * y + z * z) < c_leastLength * static_cast<double>(bias)) {
        return ZeCQuantizedNormal::FromCode(static_cast<std::uint16_t>(~heaviest));
    }
    return ZeCQuantizedNormal(
        CbVector3f{static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)});
}

std::uint8_t ZeCGridCell::GetMeanQuality(float samplingParameter) const noexcept
{
    const double wanted = samplingParameter;
    if (!std::isfinite(wanted) || count >= wanted) return mean(quality);
    const double sum = static_cast<double>(quality) / static_cast<double>(weight);
    return static_cast<std::uint8_t>(std::lround(sum * (count / wanted)));
}
