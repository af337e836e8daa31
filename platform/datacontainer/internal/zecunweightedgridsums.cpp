#include "platform/datacontainer/internal/zecunweightedgridsums.h"

#include "platform/datacontainer/internal/widebuild.h"
#include "platform/datacontainer/internal/zecsurfelwriter.h"

#include <cstring>

namespace
{

using Cell = ZeCPackedGridCell;

/// The surfels of a batch, as cells that hold one each; word by word.
struct PackedSurfels
{
    std::uint64_t words[Cell::NumberOfWords][ZeCGridBatch::c_size];
    std::uint32_t ranks[ZeCGridBatch::c_size];

    [[nodiscard]] Cell Get(std::size_t i) const noexcept
    {
        Cell cell;
        for (int word = 0; word < Cell::NumberOfWords; ++word) cell.words[word] = words[word][i];
        cell.rank = ranks[i];
        cell.overflow = 0;
        return cell;
    }
};

/// The attributes of the surfels of a batch: a copy, which overlaps nothing that is written, of
/// plain numbers, so that loops are worked on several elements at a time.
struct Attributes
{
    std::uint32_t colors[ZeCGridBatch::c_size];
    std::uint8_t qualities[ZeCGridBatch::c_size];
    std::uint8_t types[ZeCGridBatch::c_size];
    std::uint8_t curvatures[ZeCGridBatch::c_size];
    std::uint8_t boundaryFlags[ZeCGridBatch::c_size];

    Attributes(const ZeCSurfelContainer& surfels, std::size_t first, std::size_t count) noexcept
    {
        const auto copy = [=](const auto* from, auto* to) {
            static_assert(sizeof *from == sizeof *to);
            std::memcpy(to, from + first, count * sizeof *to);
        };
        copy(surfels.GetColorAccessor().data(), colors);
        copy(surfels.GetQualityAccessor().data(), qualities);
        copy(surfels.GetTissueTypeAccessor().data(), types);
        copy(surfels.GetCurvatureAccessor().data(), curvatures);
        copy(surfels.GetBoundaryFlagAccessor().data(), boundaryFlags);
    }
};

CB_ALWAYS_INLINE void pack(const ZeCGridBatch& batch, const ZeCSurfelContainer& surfels,
                           std::size_t first, PackedSurfels& to) noexcept
{
    const Attributes from(surfels, first, batch.count);
    for (std::size_t i = 0; i < batch.count; ++i) {
        to.words[Cell::PositionXY][i] =
            Cell::PackPair(batch.fractions[0][i], batch.fractions[1][i]);
        to.words[Cell::PositionZNormalX][i] =
            Cell::PackPair(batch.fractions[2][i], batch.normals[0][i]);
        to.words[Cell::NormalYZ][i] = Cell::PackPair(batch.normals[1][i], batch.normals[2][i]);
    }
    for (std::size_t i = 0; i < batch.count; ++i) {
        to.words[Cell::Color][i] = Cell::PackColor(from.colors[i]);
    }
    for (std::size_t i = 0; i < batch.count; ++i) {
        to.words[Cell::Rest][i] =
            Cell::PackRest(from.qualities[i], from.curvatures[i], from.boundaryFlags[i]);
    }
    for (std::size_t i = 0; i < batch.count; ++i) {
        to.ranks[i] = Cell::RankOf(from.types[i], batch.codes[i].GetCode());
    }
}

void packPlain(const ZeCGridBatch& batch, const ZeCSurfelContainer& surfels, std::size_t first,
               PackedSurfels& to) noexcept
{
    pack(batch, surfels, first, to);
}

CB_WIDE_BUILD void packWide(const ZeCGridBatch& batch, const ZeCSurfelContainer& surfels,
                            std::size_t first, PackedSurfels& to) noexcept
{
    pack(batch, surfels, first, to);
}

} // namespace

void ZeCUnweightedGridSums::Add(const ZeCGridBatch& batch, const ZeCSurfelContainer& surfels,
                                std::size_t first)
{
    overflows_.MakeRoom(numberOfOverflows_ + batch.numberOfAccepted);
    tissues_.MakeRoom(batch.numberOfAccepted);
    Cell* cells[ZeCGridBatch::c_size];
    cells_.Find(batch, cells);
    static const auto packAll = CbFastestBuild(&packPlain, &packWide);
    PackedSurfels packed;
    packAll(batch, surfels, first, packed);
    for (std::size_t a = 0; a < batch.numberOfAccepted; ++a) {
        const Cell surfel = packed.Get(batch.accepted[a]);
        Cell& cell = *cells[a];
        if (cell.CanAdd(surfel.rank)) {
            cell.Add(surfel);
        } else {
            addElsewhere(cell, surfel);
        }
    }
}

void ZeCUnweightedGridSums::addElsewhere(Cell& cell, const Cell& surfel) noexcept
{
    if (cell.GetCount() == 0) {
        cell = surfel;
        return;
    }
    if (cell.overflow == 0) {
        cell.overflow = ++numberOfOverflows_;
        *overflows_.At(cell.overflow - 1) = {};
        overflows_.At(cell.overflow - 1)->tissueType = cell.GetTissueType();
    }
    ZeCGridCell& overflow = *overflows_.At(cell.overflow - 1);
    if (surfel.GetTissueType() == cell.GetTissueType()) {
        cell.AddTo(overflow);
        for (std::uint64_t& word : cell.words) word = 0;
        cell.Add(surfel);
    } else {
        surfel.AddTo(overflow);
        tissues_.Add(overflow, 1, surfel.GetTissueType());
    }
}

void ZeCUnweightedGridSums::Write(ZeCSurfelContainer& destination, const ZeCGrid& grid,
                                  float samplingParameter)
{
    const ZeCSurfelWriter writer(destination);
    std::size_t i = 0;
    cells_.VisitInOrder([&](auto x, auto y, auto z, const Cell& cell) {
        if (cell.overflow == 0) {
            writer.Write(i++, cell.GetMeans({x, y, z}, grid, samplingParameter));
            return;
        }
        ZeCGridCell sum = *overflows_.At(cell.overflow - 1);
        cell.AddTo(sum);
        const std::uint8_t type = tissues_.GetHeaviest(sum);
        writer.Write(i++, sum.GetMeans({x, y, z}, grid, samplingParameter, type));
    });
}
