#include "platform/datacontainer/sampling/internal/zecgrid.h"

#include <algorithm>
#include <cmath>
#include <limits>

ZeCGrid::ZeCGrid(float size, float cellOffset) noexcept
    : cellSize(std::isfinite(size) ? std::fabs(static_cast<double>(size))
                                   : std::numeric_limits<double>::quiet_NaN()),
      offset(cellOffset)
{}

std::array<std::uint16_t, 256> ZeCGridWeights(float gain)
{
    // Integers, so that sums do not depend on the order; 256 for the worst leaves steps of 1/256.
    constexpr double c_least = 256;
    const double clamped = std::isfinite(gain) ? std::clamp<double>(gain, 1, 8) : 1;
    std::array<std::uint16_t, 256> weights;
    for (std::size_t quality = 0; quality < weights.size(); ++quality) {
        const double more = c_least * (clamped - 1.0) * static_cast<double>(quality) / 255.0;
        weights[quality] = static_cast<std::uint16_t>(c_least + std::floor(more + 0.5));
    }
    return weights;
}

bool ZeCAreEqual(const std::array<std::uint16_t, 256>& weights) noexcept
{
    return std::all_of(weights.begin(), weights.end(),
                       [&](std::uint16_t weight) { return weight == weights[0]; });
}
