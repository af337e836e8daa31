#pragma once

#include "platform/datacontainer/sampling/internal/sums/zecpackedgridcell.h"
#include "platform/datacontainer/sampling/internal/zetgridcells.h"

#include <cstddef>
#include <span>

/// Writes the surfels that stand for packed cells, several at a time: what ZeCGridCell::GetMeans
/// gives for the surfels in the packed cells themselves.
/// @param destination has surfels for all of them from the surfel @p first on
void ZeCWritePackedMeans(std::span<const ZeTGridCells<ZeCPackedGridCell>::Place> places,
                         const ZeCGrid& grid, float samplingParameter,
                         ZeCSurfelContainer& destination, std::size_t first) noexcept;
