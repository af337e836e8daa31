#pragma once

#include "platform/base/cbprefetch.h"
#include "platform/datacontainer/internal/zecgridbatch.h"
#include "platform/datacontainer/internal/zecgridbricks.h"
#include "platform/datacontainer/internal/zetchunks.h"

#include <cstddef>
#include <cstdint>

/// The used cells of a grid.
///
/// @tparam Cell what the surfels of a cell add up to; made all zero by value initialisation
template<class Cell>
class ZeTGridCells
{
public:
    [[nodiscard]] std::uint32_t GetCount() const noexcept { return count_; }

    /// Finds the cells of the accepted surfels of a batch, in their order, and makes those that are
    /// not used yet. Throws: std::bad_alloc; no cell has been made.
    void Find(const ZeCGridBatch& batch, Cell** cells);

    /// Calls `visit(x, y, z, cell)` for all cells in ascending order of x, y and z.
    template<class Visit>
    void VisitInOrder(Visit&& visit) const;

private:
    static void prefetch(Cell* cell) noexcept
    {
        CbPrefetch(cell);
        CbPrefetch(reinterpret_cast<const std::byte*>(cell) + sizeof(Cell) - 1);
    }

    ZeCGridBricks bricks_; ///< knows the cells by number, which counts from 1
    ZeTChunks<Cell> cells_;
    std::uint32_t count_ = 0;
};

template<class Cell>
void ZeTGridCells<Cell>::Find(const ZeCGridBatch& batch, Cell** cells)
{
    static_assert(ZeCGridBatch::c_size <= ZeCGridBricks::c_batch);
    bricks_.MakeRoom(count_);
    cells_.MakeRoom(count_ + batch.numberOfAccepted);

    std::uint32_t* numbers[ZeCGridBatch::c_size];
    for (std::size_t a = 0; a < batch.numberOfAccepted; ++a) {
        const std::size_t i = batch.accepted[a];
        numbers[a] = bricks_.Find(batch.indices[0][i], batch.indices[1][i], batch.indices[2][i]);
        CbPrefetch(numbers[a]);
    }
    for (std::size_t a = 0; a < batch.numberOfAccepted; ++a) {
        std::uint32_t& number = *numbers[a];
        const bool isNew = number == 0;
        if (isNew) number = ++count_;
        cells[a] = cells_.At(number - 1);
        if (isNew) *cells[a] = {};
        prefetch(cells[a]);
    }
}

template<class Cell>
template<class Visit>
void ZeTGridCells<Cell>::VisitInOrder(Visit&& visit) const
{
    // Cells lie in the order of their first surfels; fetching one early hides where it lies.
    struct Place
    {
        std::int32_t x, y, z;
        Cell* cell;
    };
    constexpr std::size_t c_ahead = 16;
    Place places[c_ahead];
    std::size_t seen = 0;
    bricks_.VisitInOrder([&](auto x, auto y, auto z, std::uint32_t number) {
        Place& place = places[seen % c_ahead];
        if (seen++ >= c_ahead) visit(place.x, place.y, place.z, *place.cell);
        place = {x, y, z, cells_.At(number - 1)};
        prefetch(place.cell);
    });
    for (std::size_t i = seen < c_ahead ? 0 : seen - c_ahead; i < seen; ++i) {
        const Place& place = places[i % c_ahead];
        visit(place.x, place.y, place.z, *place.cell);
    }
}
