#pragma once

#include "platform/datacontainer/sampling/internal/zecgrid.h"
#include "platform/datacontainer/surfels/internal/zecsurfeltransformation.h"
#include "platform/math3d/cyboundingsphere.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

/// Surfels on their way into a grid, so many that their parts stay in the nearest cache.
struct ZeCGridBatch
{
    static constexpr std::size_t c_size = 256;
    static constexpr std::int32_t c_firstOutside = 1 << 30; ///< magnitude of indices without a cell

    /// Maps surfels into the frame of the grid, finds their cells and accepts those that have one.
    /// @param from at most c_size positions
    void LoadPositions(std::span<const CbVector3f> from,
                       const ZeCSurfelTransformation& transformation, const ZeCGrid& grid);
    /// Maps the normals of the same surfels.
    void LoadNormals(std::span<const ZeCQuantizedNormal> from,
                     const ZeCSurfelTransformation& transformation);
    /// Accepts only surfels inside one of the spheres from now on.
    void Restrict(std::span<const CyBoundingSphere> spheres) noexcept;

    std::size_t count;                  ///< surfels
    float positions[3][c_size];         ///< mapped, axis by axis
    std::int32_t indices[3][c_size];    ///< of the cells, likewise
    std::uint32_t fractions[3][c_size]; ///< of the cells, as ZeCGridCell::AddGeometry takes them
    std::uint32_t normals[3][c_size];   ///< mapped, likewise
    ZeCQuantizedNormal codes[c_size];   ///< of the mapped normals
    std::uint16_t accepted[c_size];     ///< ascending numbers of the surfels that have a cell
    std::size_t numberOfAccepted;

private:
    template<class Predicate>
    void removeAccepted(const Predicate& isUnwanted) noexcept
    {
        numberOfAccepted = static_cast<std::size_t>(
            std::remove_if(accepted, accepted + numberOfAccepted, isUnwanted) - accepted);
    }
};
