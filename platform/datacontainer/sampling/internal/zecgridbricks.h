#pragma once

#include "platform/datacontainer/sampling/internal/zetchunks.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

/// Finds a number for each used cell of an unbounded grid by the cell's three indices.
///
/// Cells lie in bricks of 4x4x4, which a hash table finds: surfels that follow each other mostly
/// stay in one brick, which needs no table then. If it turns out that few cells of a brick are
/// used, because cells are smaller than the distances between surfels, the bricks shrink to 2x2x2.
///
/// A cell's index on an axis is that of its brick above two bits that tell the place in the brick:
/// @code
///   x = -3 = ...11111 01    brick -1, cell 1       number of a cell in its brick: xxyyzz
///   y =  6 = ...00001 10    brick  1, cell 2                                    = 01 10 00 = 24
///   z =  8 = ...00010 00    brick  2, cell 0
/// @endcode
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

    /// A cell: its index on each axis, and its number.
    struct Place
    {
        std::int32_t x, y, z;
        std::uint32_t number;
    };
    /// Calls `visit(places)` with spans of all cells whose number is not 0, in ascending order of
    /// x, y and z. Throws: std::bad_alloc, before the first call.
    /// @param numberOfCells at least as many as there are
    template<class Visit>
    void VisitInOrder(std::size_t numberOfCells, Visit&& visit) const
    {
        Slabs slabs(*this, numberOfCells);
        while (slabs.Next()) visit(slabs.GetPlaces());
    }

private:
    /// Indices are those of the cells in it, without the lowest bits.
    struct Brick
    {
        std::int32_t x, y, z;
        std::uint32_t number; ///< counts from 1; 0 in a slot of the table that is free
    };

    static constexpr unsigned c_usualShift = 2;

    /// The cells of bricks with the same x, and then of those with the next one.
    ///
    /// What bricks are parted into, so that cells come out in ascending order of x, y and z:
    /// @code
    ///   slab  bricks with the same x     |  y ^  [brick] [brick]         [brick]   <- row
    ///   row   those with the same y too  |    |  [brick]         [brick]           <- row
    ///   run   cells of a row that differ |    +-------------------------------> z
    ///         in z alone                 |
    ///
    ///   one row, seen along x at x = 0:      y = 3   . . . .   5 . . .   run 3: 1 cell
    ///   (numbers tell the order of cells     y = 2   1 . 2 .   . 3 4 .   run 2: 4 cells
    ///   in the slab; . is not used)          y = 1   . . . .   . . . .   run 1: none
    ///                                        y = 0   . 0 . .   . . . .   run 0: 1 cell
    /// @endcode
    /// A counting sort by runs: cells are counted run by run, the sums of the counts before a run
    /// are where it starts, and each cell goes where its run goes on. The bricks of a row come in
    /// ascending z, so no run needs sorting.
    class Slabs
    {
    public:
        /// Throws: std::bad_alloc.
        Slabs(const ZeCGridBricks& bricks, std::size_t numberOfCells);

        /// Goes to the next bricks; false if there are none.
        [[nodiscard]] bool Next() noexcept;
        /// Their cells whose number is not 0, in ascending order of x, y and z.
        [[nodiscard]] std::span<const Place> GetPlaces() const noexcept
        {
            return {places_.get(), numberOfPlaces_};
        }

    private:
        /// A number for each run of a row, by the x and y in its bricks: first how many cells
        /// there are, then where the next one goes.
        using Row = std::array<std::uint32_t, std::size_t{1} << 2 * c_usualShift>;

        [[nodiscard]] bool startsRow(std::size_t brick) const noexcept
        {
            return brick == first_ || bricks_[brick].y != bricks_[brick - 1].y;
        }
        // Keeps the order of bricks that are equal there. Throws: std::bad_alloc.
        void sortBy(std::int32_t Brick::*axis);
        // The three steps of the counting sort.
        void countCells() noexcept;
        void startsFromCounts() noexcept;
        void placeCells() noexcept;

        const ZeCGridBricks& owner_;
        std::vector<Brick> bricks_; ///< all, in ascending order of x, y and z
        std::size_t first_ = 0;     ///< brick of this slab
        std::size_t end_ = 0;
        std::vector<std::uint64_t> masks_; ///< of its bricks: a bit for each cell
        std::vector<Row> rows_;            ///< counts, then starts
        std::size_t numberOfRows_ = 0;
        std::unique_ptr<Place[]> places_;
        std::size_t numberOfPlaces_ = 0;
    };

    explicit ZeCGridBricks(unsigned shift);

    [[nodiscard]] std::uint32_t* cellsOf(std::uint32_t number) const noexcept
    {
        return numbers_.At(static_cast<std::size_t>(number - 1) << 3 * shift_);
    }
    // Returns a bit for each cell of a brick, in ascending order of x, y and z: set if the
    // number is not 0.
    [[nodiscard]] std::uint64_t maskOf(const Brick& brick) const noexcept;
    // Where a brick is in the table, or behind it, before free slots.
    [[nodiscard]] std::size_t firstSlotOf(std::int32_t x, std::int32_t y,
                                          std::int32_t z) const noexcept;
    // Returns the slot of a brick, or the free one that it has to go to.
    [[nodiscard]] Brick& slotOf(std::size_t firstSlot, std::int32_t x, std::int32_t y,
                                std::int32_t z) noexcept;
    // Makes a brick in a free slot. Throws: std::bad_alloc.
    void makeBrick(Brick& slot, std::int32_t x, std::int32_t y, std::int32_t z);
    void grow();

    unsigned shift_;                   ///< binary logarithm of a brick's side
    std::vector<Brick> table_;         ///< open addressing; at most half of it is used
    unsigned hashShift_ = 0;           ///< 64 less the binary logarithm of the table's size
    ZeTChunks<std::uint32_t> numbers_; ///< of the cells, brick after brick
    std::uint32_t numberOfBricks_ = 0;
};
