#pragma once

#include "platform/datacontainer/sampling/internal/zecgridbatch.h"
#include "platform/datacontainer/surfels/zecsurfelcontainer.h"

#include <cstddef>
#include <cstdint>
#include <memory>

/// What the surfels in the cells of a grid add up to.
///
/// All sums are integers, so that they don't depend on the order of the surfels.
class ZeCGridSums
{
public:
    /// @param qualityGain as of ZeCGridSampler
    [[nodiscard]] static std::unique_ptr<ZeCGridSums> Make(float qualityGain);

    ZeCGridSums() = default;
    ZeCGridSums(const ZeCGridSums&) = delete;
    ZeCGridSums& operator=(const ZeCGridSums&) = delete;
    virtual ~ZeCGridSums() = default;

    /// Number of cells with at least one surfel.
    [[nodiscard]] virtual std::uint32_t GetCount() const noexcept = 0;

    /// Finds the cells of the accepted surfels of a batch, whose normals need not be loaded yet:
    /// what is known of cells is fetched meanwhile. Throws: std::bad_alloc; nothing has been added.
    virtual void Find(const ZeCGridBatch& batch) = 0;
    /// Adds the accepted surfels of the batch that Find was called with last.
    /// @param surfels that the batch was loaded from, from the surfel @p first on
    virtual void Add(const ZeCGridBatch& batch, const ZeCSurfelContainer& surfels,
                     std::size_t first) noexcept = 0;
    /// Writes a surfel for each cell, in ascending order of the cells' x, y and z indices.
    /// @param destination has GetCount() surfels
    virtual void Write(ZeCSurfelContainer& destination, const ZeCGrid& grid,
                       float samplingParameter) = 0;
};
