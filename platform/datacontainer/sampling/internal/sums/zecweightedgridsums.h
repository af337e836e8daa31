#pragma once

#include "platform/datacontainer/sampling/internal/sums/zecgridcell.h"
#include "platform/datacontainer/sampling/internal/sums/zecgridsums.h"
#include "platform/datacontainer/sampling/internal/sums/zecgridtissues.h"
#include "platform/datacontainer/sampling/internal/zetgridcells.h"

#include <array>

/// Sums of surfels that weigh more the better they are.
class ZeCWeightedGridSums : public ZeCGridSums
{
public:
    explicit ZeCWeightedGridSums(const std::array<std::uint16_t, 256>& weights);

    [[nodiscard]] std::uint32_t GetCount() const noexcept override { return cells_.GetCount(); }
    void Find(const ZeCGridBatch& batch) override;
    void Add(const ZeCGridBatch& batch, const ZeCSurfelContainer& surfels,
             std::size_t first) noexcept override;
    void Write(ZeCSurfelContainer& destination, const ZeCGrid& grid,
               float samplingParameter) override;

private:
    std::array<std::uint16_t, 256> weights_; ///< by quality
    ZeTGridCells<ZeCGridCell> cells_;
    ZeCGridTissues tissues_;
};
