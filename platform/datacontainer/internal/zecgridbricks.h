#pragma once

#include "platform/datacontainer/internal/zetchunks.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

/// Finds a number for each used cell of an unbounded grid by the cell's three indices.
///
/// Cells lie in bricks of 8x8x8, which a hash table finds: surfels that follow each other mostly
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
    /// Returns the place of a cell's number, which is 0 from the start. Indices are below 2^30 in
    /// magnitude.
    [[nodiscard]] std::uint32_t* Find(std::int32_t x, std::int32_t y, std::int32_t z)
    {
        const std::int32_t brickX = x >> shift_;
        const std::int32_t brickY = y >> shift_;
        const std::int32_t brickZ = z >> shift_;
        if (brickX != last_.x || brickY != last_.y || brickZ != last_.z) {
            findBrick(brickX, brickY, brickZ);
        }
        const std::int32_t mask = (1 << shift_) - 1;
        return lastCells_ + (((x & mask) << shift_ | (y & mask)) << shift_ | (z & mask));
    }
    /// Calls `visit(x, y, z, number)` for all cells whose number is not 0, in ascending order of
    /// x, y and z.
    template<class Visit>
    void VisitInOrder(Visit&& visit) const
    {
        const std::vector<Brick> bricks = sortedBricks();
        const auto isElsewhere = [](std::int32_t Brick::*axis, const Brick& brick) {
            return [=](const Brick& other) { return other.*axis != brick.*axis; };
        };
        for (auto slab = bricks.begin(); slab != bricks.end();) {
            const auto slabEnd = std::find_if(slab, bricks.end(), isElsewhere(&Brick::x, *slab));
            for (std::int32_t x = 0; x < 1 << shift_; ++x) {
                for (auto row = slab; row != slabEnd;) {
                    const auto rowEnd = std::find_if(row, slabEnd, isElsewhere(&Brick::y, *row));
                    for (std::int32_t y = 0; y < 1 << shift_; ++y) {
                        for (auto brick = row; brick != rowEnd; ++brick) {
                            visitRun(*brick, x, y, visit);
                        }
                    }
                    row = rowEnd;
                }
            }
            slab = slabEnd;
        }
    }

private:
    /// Indices are those of the cells in it, without the lowest bits.
    struct Brick
    {
        std::int32_t x, y, z;
        std::uint32_t number; ///< counts from 1; 0 in a slot of the table that is free
    };

    explicit ZeCGridBricks(unsigned shift);

    [[nodiscard]] std::uint32_t* cellsOf(std::uint32_t number) const noexcept
    {
        return numbers_.At(static_cast<std::size_t>(number - 1) << 3 * shift_);
    }
    template<class Visit>
    void visitRun(const Brick& brick, std::int32_t x, std::int32_t y, Visit&& visit) const
    {
        const std::uint32_t* const cells = cellsOf(brick.number) + ((x << shift_ | y) << shift_);
        for (std::int32_t z = 0; z < 1 << shift_; ++z) {
            if (cells[z] == 0) continue;
            visit((brick.x << shift_) + x, (brick.y << shift_) + y, (brick.z << shift_) + z,
                  cells[z]);
        }
    }
    [[nodiscard]] Brick& slotOf(std::int32_t x, std::int32_t y, std::int32_t z) noexcept;
    void findBrick(std::int32_t x, std::int32_t y, std::int32_t z);
    void grow();
    [[nodiscard]] std::vector<Brick> sortedBricks() const;

    unsigned shift_;                   ///< binary logarithm of a brick's side
    std::vector<Brick> table_;         ///< open addressing; at most half of it is used
    unsigned hashShift_ = 0;           ///< 64 less the binary logarithm of the table's size
    ZeTChunks<std::uint32_t> numbers_; ///< of the cells, brick after brick
    std::uint32_t numberOfBricks_ = 0;
    Brick last_{INT32_MAX, 0, 0, 0};     ///< the one found last; from the start, one that can't be
    std::uint32_t* lastCells_ = nullptr; ///< its cells
};
