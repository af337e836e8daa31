#pragma once

#include "platform/datacontainer/sampling/internal/sums/zecgridsums.h"
#include "platform/datacontainer/sampling/internal/sums/zecgridtissues.h"
#include "platform/datacontainer/sampling/internal/sums/zecpackedgridcell.h"
#include "platform/datacontainer/sampling/internal/zetgridcells.h"

/// Sums of surfels that all weigh the same.
class ZeCUnweightedGridSums : public ZeCGridSums
{
public:
    [[nodiscard]] std::uint32_t GetCount() const noexcept override { return cells_.GetCount(); }
    void Find(const ZeCGridBatch& batch) override;
    void Add(const ZeCGridBatch& batch, const ZeCSurfelContainer& surfels,
             std::size_t first) noexcept override;
    void Write(ZeCSurfelContainer& destination, const ZeCGrid& grid,
               float samplingParameter) override;

private:
    // Adds a surfel that its cell can't, or not at once.
    void addElsewhere(ZeCPackedGridCell& cell, const ZeCPackedGridCell& surfel) noexcept;

    ZeTGridCells<ZeCPackedGridCell> cells_;
    /// The surfels that a packed cell has no room for, and those whose tissue type is not that of
    /// its first one.
    ZeTChunks<ZeCGridCell> overflows_;
    std::uint32_t numberOfOverflows_ = 0;
    ZeCGridTissues tissues_;
};
