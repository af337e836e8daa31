#pragma once

#include "platform/datacontainer/surfels/zecsurfelcontainer.h"
#include "platform/math3d/cyboundingsphere.h"

#include <cstdint>
#include <memory>
#include <span>

/// Merges surfels on a grid of cubes: one surfel for each cell that has any, with the weighted
/// means of their attributes.
///
/// @code
/// ZeCGridSampler sampler(0.25F, 0.0F, 1.0F);
/// for (const Scan& scan : scans) sampler.AddSurfels(*scan.surfels, &scan.toResult);
/// const auto merged = CbMake<ZeCSurfelCollectionQMT>(sampler.GetNrOfUsedCells(), false,
///                                                    attributeSet, nullptr);
/// sampler.GetSubsampled(*merged, 1.0F, attributeSet, true);
/// @endcode
///
/// - The cell of a surfel has the index `floor((p - offset)/cellSize)` on each axis, in double
///   precision.
/// - A surfel is accepted if its position is finite and all indices are below 2^30 in magnitude.
/// - What comes out is the same to the bit in whatever order surfels were added.
///
/// Threads: for one thread at a time.
class PLATFORM_API ZeCGridSampler
{
public:
    /// The quality gain of grids that are shifted by half a cell, as in merged models.
    static constexpr float c_shiftedGridGain = 6.5F;

    /// @param cellSize side of the cells in mm; its sign does not matter. Nothing is accepted if
    ///     it is zero, NaN or infinite.
    /// @param offset shifts the grid, in mm on each axis
    /// @param qualityGain how many times as much a surfel of quality 1 weighs as one of quality 0:
    ///     1 to 8, else the nearer of them; 1 if it is not finite
    ZeCGridSampler(float cellSize, float offset, float qualityGain);
    ZeCGridSampler(const ZeCGridSampler&) = delete;
    ZeCGridSampler& operator=(const ZeCGridSampler&) = delete;
    ~ZeCGridSampler();

    /// Adds all surfels that are accepted.
    /// @param transformation from the frame of the surfels into that of the result; null is the
    ///     identity. Normals are mapped as by ZeCSurfelContainer::CopySurfel, but not quantised.
    /// Throws:
    /// - CbException if more than 2^32-1 surfels would have been passed in; none is added.
    /// - std::bad_alloc; some of the surfels have been added.
    ///
    /// Cost: linear. Memory is taken for used cells:
    /// - if all surfels weigh the same, 70 to 120 bytes for each of many cells, and another 130 for
    ///   those with several tissue types or more than 255 surfels,
    /// - otherwise 150 to 200,
    /// - for few cells, up to some MiB.
    void AddSurfels(const ZeCSurfelContainer& surfels, const CbMatrix4Rf* transformation);
    /// Adds only those of them that lie inside at least one sphere.
    /// @param spheres in the frame of the result; if there are none, no surfel is added
    void AddSurfels(const ZeCSurfelContainer& surfels, const CbMatrix4Rf* transformation,
                    std::span<const CyBoundingSphere> spheres);

    /// Number of cells with at least one accepted surfel.
    [[nodiscard]] std::uint32_t GetNrOfUsedCells() const noexcept;

    /// Overwrites all surfels of @p destination by those of the used cells, in ascending order of
    /// the cells' x, y and z indices.
    /// @param destination has GetNrOfUsedCells() surfels
    /// @param samplingParameter number of surfels in a cell from which on the quality counts fully;
    ///     n surfels lower it to `n/samplingParameter` of their mean. Not finite: never lowered.
    /// @param attributeSet the attributes to write; both sets hold all seven
    /// @param release whether the cells are given up, as if no surfel had been added
    ///
    /// What a cell gives:
    /// - Position, normal, colour, curvature and quality are weighted means. A mean position is off
    ///   by at most 2^-29 of the cell size, besides its rounding to single precision.
    /// - Normals that nearly cancel, as on the sheets of a thin wall, give that of the heaviest
    ///   surfel.
    /// - The tissue type is the one with most weight, of several the smallest.
    /// - A boundary needs more than half of the weight.
    /// - The spare byte of the colour becomes 0.
    ///
    /// Throws: CbException for a destination of another size, std::bad_alloc; nothing is written or
    /// given up.
    /// Cost: linear in the used cells. Meanwhile those of a slab four cells thick in x, of all
    /// slabs the largest one, take 16 bytes more each, and cells far apart up to 32.
    void GetSubsampled(ZeCSurfelContainer& destination, float samplingParameter,
                       ZeCSurfelContainer::ESurfelAttributeSet attributeSet, bool release);

private:
    struct Sums;

    void addSurfels(const ZeCSurfelContainer& surfels, const CbMatrix4Rf* transformation,
                    const std::span<const CyBoundingSphere>* spheres);

    float cellSize_;
    float offset_;
    float qualityGain_;
    std::uint32_t numberPassedIn_ = 0; ///< surfels, accepted or not
    std::unique_ptr<Sums> sums_;
};
