#pragma once

#include <array>
#include <cstdint>

/// The cells of a grid: cell k of an axis is from `offset + k*cellSize` on.
struct ZeCGrid
{
    /// @param size of the cells; its sign does not matter
    ZeCGrid(float size, float cellOffset) noexcept;

    double cellSize; ///< not negative; NaN for a grid that accepts nothing
    double offset;
};

/// The weights of surfels by their quality: 256 for the worst, and up to @p gain times as much for
/// the best. The gain counts as 1 to 8, and as 1 if it is not finite.
[[nodiscard]] std::array<std::uint16_t, 256> ZeCGridWeights(float gain);

/// Whether surfels weigh the same whatever their quality is.
[[nodiscard]] bool ZeCAreEqual(const std::array<std::uint16_t, 256>& weights) noexcept;
