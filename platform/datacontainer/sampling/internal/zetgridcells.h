#pragma once

#include "platform/base/cbprefetch.h"
#include "platform/datacontainer/sampling/internal/zecgridbatch.h"
#include "platform/datacontainer/sampling/internal/zecgridbricks.h"
#include "platform/datacontainer/sampling/internal/zetchunks.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

/// The used cells of a grid.
///
/// @tparam Cell what the surfels of a cell add up to; made all zero by value initialisation
template<class Cell>
class ZeTGridCells
{
public:
    [[nodiscard]] std::uint32_t GetCount() const noexcept { return count_; }

    /// Looks up where the numbers of the cells of a batch's accepted surfels stand, and prefetches
    /// them. Throws: std::bad_alloc.
    void Find(const ZeCGridBatch& batch);
    /// Gives the cells of the surfels of the batch that Find was called with last, in their order,
    /// and makes those that are not used yet.
    void Get(Cell** cells) noexcept;

    /// A cell, and its index on each axis.
    struct Place
    {
        std::array<std::int32_t, 3> index;
        Cell* cell;
    };
    static constexpr std::size_t c_mostVisited = 64;

    /// Calls `visit(places)` for all cells in ascending order of x, y and z, with a span of up to
    /// c_mostVisited of them at a time. Throws: std::bad_alloc, before the first call.
    template<class Visit>
    void VisitInOrder(Visit&& visit) const;

private:
    static void prefetch(Cell* cell) noexcept
    {
        CbPrefetchEarly(cell);
        CbPrefetchEarly(reinterpret_cast<const std::byte*>(cell) + sizeof(Cell) - 1);
    }

    ZeCGridBricks bricks_; ///< knows the cells by number, which counts from 1
    ZeTChunks<Cell> cells_;
    std::uint32_t count_ = 0;
    std::uint32_t* numbers_[ZeCGridBricks::c_batch]; ///< of what was found last
    std::size_t found_ = 0;                          ///< how many
};

template<class Cell>
void ZeTGridCells<Cell>::Find(const ZeCGridBatch& batch)
{
    static_assert(ZeCGridBatch::c_size <= ZeCGridBricks::c_batch);
    found_ = 0;
    bricks_.MakeRoom(count_);
    cells_.MakeRoom(count_ + batch.numberOfAccepted);

    std::int32_t accepted[3][ZeCGridBatch::c_size];
    const auto indices = [&](std::size_t axis) {
        if (batch.numberOfAccepted == batch.count) return batch.indices[axis];
        for (std::size_t a = 0; a < batch.numberOfAccepted; ++a) {
            accepted[axis][a] = batch.indices[axis][batch.accepted[a]];
        }
        return std::as_const(accepted[axis]);
    };
    bricks_.Find(indices(0), indices(1), indices(2), batch.numberOfAccepted, numbers_);
    found_ = batch.numberOfAccepted;
}

template<class Cell>
void ZeTGridCells<Cell>::Get(Cell** cells) noexcept
{
    for (std::size_t a = 0; a < found_; ++a) {
        std::uint32_t& number = *numbers_[a];
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
    bricks_.VisitInOrder(count_, [&](std::span<const ZeCGridBricks::Place> found) {
        // Cells lie in the order of their first surfels, far from each other. They are fetched
        // while those before them are visited.
        Place places[2][c_mostVisited];
        std::size_t block = 0;
        std::size_t count = 0; // of the other block
        while (!found.empty() || count != 0) {
            const std::size_t n = std::min(found.size(), c_mostVisited);
            for (std::size_t i = 0; i < n; ++i) {
                const auto& [x, y, z, number] = found[i];
                places[block][i] = {{x, y, z}, cells_.At(number - 1)};
                prefetch(places[block][i].cell);
            }
            found = found.subspan(n);
            block = 1 - block;
            if (count != 0) visit(std::span<const Place>(places[block], count));
            count = n;
        }
    });
}
