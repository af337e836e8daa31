#pragma once

#include "platform/datacontainer/internal/zecpackedgridcell.h"
#include "platform/datacontainer/internal/zetgridcells.h"

#include <span>

/// The surfels that stand for packed cells, several at a time: what ZeCGridCell::GetMeans gives.
struct ZeCPackedMeans
{
    using Cells = ZeTGridCells<ZeCPackedGridCell>;
    static constexpr std::size_t c_size = Cells::c_mostVisited;

    ZeCPackedMeans(std::span<const Cells::Place> places, const ZeCGrid& grid,
                   float samplingParameter) noexcept;

    ZeCSurfel surfels[c_size]; ///< of the cells, in their order
};
