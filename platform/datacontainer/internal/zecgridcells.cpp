#include "platform/datacontainer/internal/zecgridcells.h"

#include <algorithm>

void ZeCGridCells::Find(const ZeCGridBatch& batch, ZeCGridCell** cells)
{
    static_assert(ZeCGridBatch::c_size <= ZeCGridBricks::c_batch);
    makeRoom(batch.numberOfAccepted);

    std::uint32_t* numbers[ZeCGridBatch::c_size];
    for (std::size_t i = 0; i < batch.numberOfAccepted; ++i) {
        const std::int32_t* const index = batch.indices + 3 * std::size_t{batch.accepted[i]};
        numbers[i] = bricks_.Find(index[0], index[1], index[2]);
        CbPrefetch(numbers[i]);
    }
    for (std::size_t i = 0; i < batch.numberOfAccepted; ++i) {
        if (*numbers[i] == 0) *numbers[i] = makeCell();
        cells[i] = &cell(*numbers[i]);
        CbPrefetch(cells[i]);
        CbPrefetch(&cells[i]->color);
    }
}

std::uint8_t ZeCGridCells::GetTissueType(const ZeCGridCell& cell) const noexcept
{
    std::uint8_t best = cell.tissueType;
    if (cell.otherTissues == 0) return best;

    std::uint64_t most = cell.weight;
    for (std::uint32_t i = cell.otherTissues; i != 0; i = otherTissues_[i - 1].next) {
        most -= otherTissues_[i - 1].weight;
    }
    for (std::uint32_t i = cell.otherTissues; i != 0; i = otherTissues_[i - 1].next) {
        const OtherTissue& other = otherTissues_[i - 1];
        if (other.weight < most || (other.weight == most && other.type > best)) continue;
        best = other.type;
        most = other.weight;
    }
    return best;
}

void ZeCGridCells::makeRoom(std::size_t numberOfSurfels)
{
    bricks_.MakeRoom(count_);
    while (chunks_.size() * c_chunk < count_ + numberOfSurfels) {
        chunks_.push_back(std::make_unique_for_overwrite<ZeCGridCell[]>(c_chunk));
    }
    if (otherTissues_.capacity() - otherTissues_.size() < numberOfSurfels) {
        otherTissues_.reserve(
            std::max(2 * otherTissues_.capacity(), otherTissues_.size() + numberOfSurfels));
    }
}

std::uint32_t ZeCGridCells::makeCell() noexcept
{
    ++count_;
    cell(count_) = {};
    return count_;
}

void ZeCGridCells::addOtherTissue(ZeCGridCell& cell, std::uint32_t weight,
                                  std::uint8_t type) noexcept
{
    if (cell.count == 0) {
        cell.tissueType = type;
        return;
    }
    for (std::uint32_t i = cell.otherTissues; i != 0; i = otherTissues_[i - 1].next) {
        OtherTissue& other = otherTissues_[i - 1];
        if (other.type != type) continue;
        other.weight += weight;
        return;
    }
    otherTissues_.push_back({weight, cell.otherTissues, type});
    cell.otherTissues = static_cast<std::uint32_t>(otherTissues_.size());
}
