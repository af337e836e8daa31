#include "platform/datacontainer/sampling/internal/sums/zecunweightedgridsums.h"

#include "platform/base/cbprefetch.h"
#include "platform/datacontainer/sampling/internal/sums/zecpackedmeans.h"
#include "platform/datacontainer/sampling/internal/sums/zecsurfelwriter.h"
#include "platform/datacontainer/surfels/internal/kernelbuilds.h"

#include <algorithm>
#include <cstring>

namespace
{

using Cell = ZeCPackedGridCell;

/// The surfels of a batch, as cells take them.
struct PackedSurfels
{
    std::uint64_t firstAxes[ZeCGridBatch::c_size][2];
    std::uint64_t lastAxes[ZeCGridBatch::c_size];
    std::uint64_t attributes[ZeCGridBatch::c_size][2];
    std::uint32_t ranks[ZeCGridBatch::c_size];

    CB_ALWAYS_INLINE void AddTo(Cell& cell, std::size_t i) const noexcept
    {
        cell.Add(firstAxes[i], lastAxes[i], attributes[i], ranks[i]);
    }
};

// In many short loops over the whole batch, each with few arrays: compilers turn those into vector
// code.
CB_ALWAYS_INLINE void pack(const ZeCGridBatch& batch, const ZeCSurfelContainer& surfels,
                           std::size_t first, PackedSurfels& to) noexcept
{
    for (std::size_t i = 0; i < batch.count; ++i) {
        to.firstAxes[i][0] = Cell::PackAxis(batch.fractions[0][i], batch.normals[0][i]);
        to.firstAxes[i][1] = Cell::PackAxis(batch.fractions[1][i], batch.normals[1][i]);
    }
    for (std::size_t i = 0; i < batch.count; ++i) {
        to.lastAxes[i] = Cell::PackAxis(batch.fractions[2][i], batch.normals[2][i]);
    }
    const std::uint8_t* const types = surfels.GetTissueTypeAccessor().data() + first;
    for (std::size_t i = 0; i < batch.count; ++i) {
        to.ranks[i] = Cell::RankOf(types[i], batch.codes[i].GetCode());
    }
    const auto* const colors =
        reinterpret_cast<const std::byte*>(surfels.GetColorAccessor().data() + first);
    const std::uint8_t* const qualities = surfels.GetQualityAccessor().data() + first;
    const std::uint8_t* const curvatures = surfels.GetCurvatureAccessor().data() + first;
    const auto* const boundaryFlags =
        reinterpret_cast<const std::uint8_t*>(surfels.GetBoundaryFlagAccessor().data() + first);
    for (std::size_t i = 0; i < batch.count; ++i) {
        std::uint32_t color;
        std::memcpy(&color, colors + i * sizeof color, sizeof color);
        to.attributes[i][0] = Cell::PackBytes(color);
        to.attributes[i][1] = Cell::PackBytes(qualities[i] | std::uint32_t{curvatures[i]} << 8U |
                                              std::uint32_t{boundaryFlags[i]} << 16U | 1U << 24U);
    }
}

} // namespace

void ZeCUnweightedGridSums::Find(const ZeCGridBatch& batch)
{
    overflows_.MakeRoom(numberOfOverflows_ + batch.numberOfAccepted);
    tissues_.MakeRoom(batch.numberOfAccepted);
    cells_.Find(batch);
}

void ZeCUnweightedGridSums::Add(const ZeCGridBatch& batch, const ZeCSurfelContainer& surfels,
                                std::size_t first) noexcept
{
    Cell* cells[ZeCGridBatch::c_size];
    cells_.Get(cells);
    static const auto packAll = CbFastestBuild<&pack>();
    PackedSurfels packed;
    packAll(batch, surfels, first, packed);
    // Cells have been asked for early, into the second cache; from there they come a few ahead.
    constexpr std::size_t c_ahead = 12;
    for (std::size_t a = 0; a < batch.numberOfAccepted; ++a) {
        const std::size_t i = batch.accepted[a];
        CbPrefetch(cells[std::min(a + c_ahead, batch.numberOfAccepted - 1)]);
        Cell& cell = *cells[a];
        if (cell.CanAdd(packed.ranks[i])) {
            packed.AddTo(cell, i);
        } else {
            Cell surfel{};
            packed.AddTo(surfel, i);
            addElsewhere(cell, surfel);
        }
    }
}

// A cell has a tissue type of its own, and as many surfels as its sums can hold. One of another
// type goes to the overflow cell at once. If the cell is full, all its sums go there and the surfel
// is the first of the next ones, so that cells with very many surfels are mostly added to here.
void ZeCUnweightedGridSums::addElsewhere(Cell& cell, const Cell& surfel) noexcept
{
    if (cell.overflow == 0) {
        cell.overflow = ++numberOfOverflows_;
        *overflows_.At(cell.overflow - 1) = {};
        overflows_.At(cell.overflow - 1)->tissueType = cell.GetTissueType();
    }
    ZeCGridCell& overflow = *overflows_.At(cell.overflow - 1);
    if (surfel.GetTissueType() == cell.GetTissueType()) {
        cell.AddTo(overflow);
        const std::uint32_t number = cell.overflow;
        cell = surfel;
        cell.overflow = number;
    } else {
        surfel.AddTo(overflow);
        tissues_.Add(overflow, 1, surfel.GetTissueType());
    }
}

void ZeCUnweightedGridSums::Write(ZeCSurfelContainer& destination, const ZeCGrid& grid,
                                  float samplingParameter)
{
    const ZeCSurfelWriter writer(destination);
    std::size_t written = 0;
    // All are written as packed cells, several at a time; the few with overflow are written again.
    cells_.VisitInOrder([&](auto places) {
        ZeCWritePackedMeans(places, grid, samplingParameter, destination, written);
        for (const auto& [index, cell] : places) {
            if (cell->overflow != 0) {
                ZeCGridCell sum = *overflows_.At(cell->overflow - 1);
                cell->AddTo(sum);
                const std::uint8_t type = tissues_.GetHeaviest(sum);
                writer.Write(written, sum.GetMeans(index, grid, samplingParameter, type));
            }
            ++written;
        }
    });
}
