#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

/// The used cells of some runs of cells that differ in z alone.
///
/// Whether a cell is used can't be foreseen by processors, so finding out does without conditions.
class ZeCGridRuns
{
public:
    static constexpr std::size_t c_longest = 4; ///< cells of a run
    static constexpr std::size_t c_mostCells = 64;

    /// A used cell: its index on each axis, and its number.
    struct Place
    {
        std::int32_t x, y, z;
        std::uint32_t number;
    };

    /// Whether there may be no room for another run.
    [[nodiscard]] bool IsFull() const noexcept
    {
        return numberOfRuns_ == c_mostRuns || numberOfCells_ + c_longest > c_mostCells;
    }
    /// Adds a run.
    /// @param first indices of its first cell
    /// @param numbers of its cells, 0 for those that are not used
    void Add(const std::array<std::int32_t, 3>& first, const std::uint32_t* numbers,
             std::size_t length) noexcept
    {
        for (std::size_t z = 0; z < length; ++z) {
            cells_[numberOfCells_] = {numbers[z], static_cast<std::uint16_t>(numberOfRuns_),
                                      static_cast<std::uint16_t>(z)};
            numberOfCells_ += numbers[z] != 0 ? 1 : 0;
        }
        firsts_[numberOfRuns_++] = first;
    }
    /// Calls `visit(places)` with a span of the used cells, in the order of the runs, if there are
    /// any, and starts anew.
    template<class Visit>
    void Take(Visit&& visit)
    {
        Place places[c_mostCells];
        for (std::size_t i = 0; i < numberOfCells_; ++i) {
            const auto& [x, y, z] = firsts_[cells_[i].run];
            places[i] = {x, y, z + cells_[i].z, cells_[i].number};
        }
        if (numberOfCells_ != 0) visit(std::span<const Place>(places, numberOfCells_));
        numberOfRuns_ = 0;
        numberOfCells_ = 0;
    }

private:
    struct Cell
    {
        std::uint32_t number;
        std::uint16_t run;
        std::uint16_t z;
    };
    static constexpr std::size_t c_mostRuns = 128;

    std::array<std::int32_t, 3> firsts_[c_mostRuns]; ///< of the runs
    std::size_t numberOfRuns_ = 0;
    Cell cells_[c_mostCells];
    std::size_t numberOfCells_ = 0;
};
