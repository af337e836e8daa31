#pragma once

#include "platform/base/cbprefetch.h"
#include "platform/datacontainer/internal/zecgridruns.h"
#include "platform/datacontainer/internal/zetchunks.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

/// Finds a number for each used cell of an unbounded grid by the cell's three indices.
///
/// Cells lie in bricks of 4x4x4, which a hash table finds: surfels that follow each other mostly
/// stay in one brick, which needs no table then. Where it turns out that few cells of a brick are
/// used, because cells are smaller than the distances between surfels, the bricks shrink to 2x2x2.
class ZeCGridBricks
{
public:
    /// Cells that may be found between two calls of MakeRoom.
    static constexpr std::size_t c_batch = 256;

    ZeCGridBricks();

    /// Makes room for the bricks of the next cells. Pointers to numbers become invalid.
    /// @param numberOfCells how many cells have a number so far
    void MakeRoom(std::size_t numberOfCells);
    /// Finds the places of the numbers of cells, which are 0 from the start, and prefetches them.
    /// Throws: std::bad_alloc.
    /// @param x,y,z indices of the cells, below 2^30 in magnitude
    /// @param count at most c_batch
    void Find(const std::int32_t* x, const std::int32_t* y, const std::int32_t* z,
              std::size_t count, std::uint32_t** numbers);

    using Place = ZeCGridRuns::Place;
    static constexpr std::size_t c_mostVisited = ZeCGridRuns::c_mostCells;

    /// Calls `visit(places)` for all cells whose number is not 0, in ascending order of x, y and z,
    /// with a span of up to c_mostVisited of them at a time.
    template<class Visit>
    void VisitInOrder(Visit&& visit) const
    {
        const std::vector<Brick> bricks = sortedBricks();
        const auto isElsewhere = [](std::int32_t Brick::*axis, const Brick& brick) {
            return [=](const Brick& other) { return other.*axis != brick.*axis; };
        };
        ZeCGridRuns runs;
        for (auto slab = bricks.begin(); slab != bricks.end();) {
            const auto slabEnd = std::find_if(slab, bricks.end(), isElsewhere(&Brick::x, *slab));
            for (std::int32_t x = 0; x < 1 << shift_; ++x) {
                for (auto row = slab; row != slabEnd;) {
                    const auto rowEnd = std::find_if(row, slabEnd, isElsewhere(&Brick::y, *row));
                    for (auto brick = row; brick != rowEnd; ++brick) {
                        prefetchAhead(brick, slabEnd, x);
                    }
                    for (std::int32_t y = 0; y < 1 << shift_; ++y) {
                        for (auto brick = row; brick != rowEnd; ++brick) {
                            if (runs.IsFull()) runs.Take(visit);
                            addRun(*brick, x, y, runs);
                        }
                    }
                    row = rowEnd;
                }
            }
            slab = slabEnd;
        }
        runs.Take(visit);
    }

private:
    /// Indices are those of the cells in it, without the lowest bits.
    struct Brick
    {
        std::int32_t x, y, z;
        std::uint32_t number; ///< counts from 1; 0 in a slot of the table that is free
    };

    static constexpr unsigned c_usualShift = 2;
    static_assert(1U << c_usualShift == ZeCGridRuns::c_longest);

    explicit ZeCGridBricks(unsigned shift);

    [[nodiscard]] std::uint32_t* cellsOf(std::uint32_t number) const noexcept
    {
        return numbers_.At(static_cast<std::size_t>(number - 1) << 3 * shift_);
    }
    [[nodiscard]] const std::uint32_t* planeOf(const Brick& brick, std::int32_t x) const noexcept
    {
        return cellsOf(brick.number) + (static_cast<std::size_t>(x) << 2 * shift_);
    }
    // Fetches the cells with an x of a brick that is visited some bricks later.
    void prefetchAhead(std::vector<Brick>::const_iterator brick,
                       std::vector<Brick>::const_iterator end, std::int32_t x) const noexcept
    {
        constexpr std::ptrdiff_t c_ahead = 12;
        if (end - brick > c_ahead) CbPrefetch(planeOf(brick[c_ahead], x));
    }
    // Adds the cells of a brick with an x and a y.
    void addRun(const Brick& brick, std::int32_t x, std::int32_t y,
                ZeCGridRuns& runs) const noexcept
    {
        const std::uint32_t* const numbers =
            planeOf(brick, x) + (static_cast<std::size_t>(y) << shift_);
        const std::array<std::int32_t, 3> first = {(brick.x << shift_) + x, (brick.y << shift_) + y,
                                                   brick.z << shift_};
        if (shift_ == c_usualShift) { // a loop of known length
            runs.Add(first, numbers, std::size_t{1} << c_usualShift);
        } else {
            runs.Add(first, numbers, std::size_t{1} << shift_);
        }
    }
    [[nodiscard]] Brick& slotOf(std::int32_t x, std::int32_t y, std::int32_t z) noexcept;
    // Returns the cells of a brick, which is made where there is none. Throws: std::bad_alloc.
    [[nodiscard]] std::uint32_t* findBrick(std::int32_t x, std::int32_t y, std::int32_t z);
    void grow();
    [[nodiscard]] std::vector<Brick> sortedBricks() const;

    unsigned shift_;                   ///< binary logarithm of a brick's side
    std::vector<Brick> table_;         ///< open addressing; at most half of it is used
    unsigned hashShift_ = 0;           ///< 64 less the binary logarithm of the table's size
    ZeTChunks<std::uint32_t> numbers_; ///< of the cells, brick after brick
    std::uint32_t numberOfBricks_ = 0;
};
