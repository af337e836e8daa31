#pragma once

#include "platform/datacontainer/internal/zecsurfeltransformation.h"
#include "platform/math3d/cyboundingsphere.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

/// Surfels on their way into a grid, so many that their parts stay in the nearest cache.
struct ZeCGridBatch
{
    static constexpr std::size_t c_size = 256;

    /// The cells of a grid: cell k of an axis is from `offset + k*cellSize` on.
    struct Grid
    {
        double cellSize; ///< NaN for a grid that accepts nothing
        double offset;
    };

    /// Maps surfels into the frame of the grid and finds their cells.
    /// @param positions at most c_size, which have @p normals
    void Load(std::span<const CbVector3f> positions, const ZeCQuantizedNormal* normals,
              const ZeCSurfelTransformation& transformation, const Grid& grid);
    /// Accepts only surfels inside one of the spheres from now on.
    void Restrict(std::span<const CyBoundingSphere> spheres) noexcept;

    CbVector3f positions[c_size];        ///< mapped
    std::int32_t indices[3 * c_size];    ///< of the cells, three for each surfel
    std::uint32_t fractions[3 * c_size]; ///< as ZeCGridSample::position
    std::uint32_t normals[3][c_size];    ///< as ZeCGridSample::normal, axis by axis
    ZeCQuantizedNormal codes[c_size];    ///< of the mapped normals
    std::uint16_t accepted[c_size];      ///< ascending numbers of the surfels that have a cell
    std::size_t numberOfAccepted;

private:
    template<class Predicate>
    void removeAccepted(const Predicate& isUnwanted) noexcept
    {
        numberOfAccepted = static_cast<std::size_t>(
            std::remove_if(accepted, accepted + numberOfAccepted, isUnwanted) - accepted);
    }
};
