#pragma once

#include "platform/datacontainer/sampling/internal/sums/zecgridcell.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// The tissue types of cells that have several: a list for each, of all but the first one.
class ZeCGridTissues
{
public:
    /// Makes room for so many calls of Add. Throws: std::bad_alloc; nothing has changed.
    void MakeRoom(std::size_t numberOfSurfels);
    /// Adds a surfel's weight to a type that is not the first one of its cell.
    void Add(ZeCGridCell& cell, std::uint32_t weight, std::uint8_t type) noexcept;
    /// The type with most of the cell's weight, of several the smallest.
    [[nodiscard]] std::uint8_t GetHeaviest(const ZeCGridCell& cell) const noexcept;

private:
    struct OtherTissue
    {
        std::uint64_t weight;
        std::uint32_t next; ///< of the same cell; counts from 1, 0 for the end
        std::uint8_t type;
    };

    std::vector<OtherTissue> others_;
};
