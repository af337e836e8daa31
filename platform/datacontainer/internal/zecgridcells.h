#pragma once

#include "platform/base/cbprefetch.h"
#include "platform/datacontainer/internal/zecgridbatch.h"
#include "platform/datacontainer/internal/zecgridbricks.h"
#include "platform/datacontainer/internal/zecgridcell.h"

#include <cstddef>
#include <memory>
#include <vector>

/// The used cells of a grid, and what their surfels add up to.
class ZeCGridCells
{
public:
    [[nodiscard]] std::uint32_t GetCount() const noexcept { return count_; }

    /// Finds the cells of the accepted surfels of a batch, in their order, and makes those that are
    /// not used yet, empty. Takes all the memory that adding the batch needs, before it makes any
    /// cell: where std::bad_alloc is thrown, nothing has changed.
    void Find(const ZeCGridBatch& batch, ZeCGridCell** cells);
    /// Adds a surfel's weight to the tissue type it has. Before its geometry is added.
    void AddTissueType(ZeCGridCell& cell, std::uint32_t weight, std::uint8_t type) noexcept
    {
        if (cell.tissueType != type) addOtherTissue(cell, weight, type);
    }

    /// Calls `visit(x, y, z, cell)` for all cells in ascending order of x, y and z.
    template<class Visit>
    void VisitInOrder(Visit&& visit);
    /// The tissue type with most weight in a cell, of several the smallest.
    [[nodiscard]] std::uint8_t GetTissueType(const ZeCGridCell& cell) const noexcept;

private:
    /// The weight of one tissue type in one cell, whose first surfel has another type.
    struct OtherTissue
    {
        std::uint64_t weight;
        std::uint32_t next; ///< of the same cell; counts from 1, 0 for the end
        std::uint8_t type;
    };

    static constexpr std::size_t c_chunk = 4096; ///< cells in one piece of memory

    [[nodiscard]] ZeCGridCell& cell(std::uint32_t number) const noexcept
    {
        return chunks_[(number - 1) / c_chunk][(number - 1) % c_chunk];
    }
    void makeRoom(std::size_t numberOfSurfels);
    [[nodiscard]] std::uint32_t makeCell() noexcept;
    void addOtherTissue(ZeCGridCell& cell, std::uint32_t weight, std::uint8_t type) noexcept;

    ZeCGridBricks bricks_; ///< knows the cells by number, which counts from 1
    std::vector<std::unique_ptr<ZeCGridCell[]>> chunks_;
    std::uint32_t count_ = 0;
    std::vector<OtherTissue> otherTissues_;
};

template<class Visit>
void ZeCGridCells::VisitInOrder(Visit&& visit)
{
    // Cells lie in the order of their first surfels; fetching one early hides where it lies.
    struct Place
    {
        std::int32_t x, y, z;
        ZeCGridCell* cell;
    };
    constexpr std::size_t c_ahead = 16;
    Place places[c_ahead];
    std::size_t seen = 0;
    bricks_.VisitInOrder([&](auto x, auto y, auto z, std::uint32_t number) {
        Place& place = places[seen % c_ahead];
        if (seen++ >= c_ahead) visit(place.x, place.y, place.z, *place.cell);
        place = {x, y, z, &cell(number)};
        CbPrefetch(place.cell);
        CbPrefetch(&place.cell->color);
    });
    for (std::size_t i = seen < c_ahead ? 0 : seen - c_ahead; i < seen; ++i) {
        const Place& place = places[i % c_ahead];
        visit(place.x, place.y, place.z, *place.cell);
    }
}
