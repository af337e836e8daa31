#include "platform/datacontainer/sampling/internal/sums/zecgridtissues.h"

#include <algorithm>

void ZeCGridTissues::MakeRoom(std::size_t numberOfSurfels)
{
    const std::size_t needed = others_.size() + numberOfSurfels;
    if (others_.capacity() < needed) others_.reserve(std::max(2 * others_.capacity(), needed));
}

void ZeCGridTissues::Add(ZeCGridCell& cell, std::uint32_t weight, std::uint8_t type) noexcept
{
    // Lists are linked by index: the array may move while it grows. They are short, mostly of one.
    for (std::uint32_t i = cell.otherTissues; i != 0; i = others_[i - 1].next) {
        OtherTissue& other = others_[i - 1];
        if (other.type != type) continue;
        other.weight += weight;
        return;
    }
    others_.push_back({weight, cell.otherTissues, type});
    cell.otherTissues = static_cast<std::uint32_t>(others_.size());
}

std::uint8_t ZeCGridTissues::GetHeaviest(const ZeCGridCell& cell) const noexcept
{
    std::uint8_t best = cell.tissueType;
    if (cell.otherTissues == 0) return best;

    // Of the first type only the rest of the cell's weight is known.
    std::uint64_t most = cell.weight;
    for (std::uint32_t i = cell.otherTissues; i != 0; i = others_[i - 1].next) {
        most -= others_[i - 1].weight;
    }
    for (std::uint32_t i = cell.otherTissues; i != 0; i = others_[i - 1].next) {
        const OtherTissue& other = others_[i - 1];
        if (!ZeCOutweighs(other.weight, other.type, most, best)) continue;
        best = other.type;
        most = other.weight;
    }
    return best;
}
