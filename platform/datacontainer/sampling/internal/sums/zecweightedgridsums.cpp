#include "platform/datacontainer/sampling/internal/sums/zecweightedgridsums.h"

#include "platform/datacontainer/sampling/internal/sums/zecsurfelwriter.h"
#include "platform/datacontainer/surfels/internal/kernelbuilds.h"

namespace
{

using Weights = std::array<std::uint16_t, 256>;

// Adds the accepted surfels to their cells. In two loops, because of the many arrays.
CB_ALWAYS_INLINE void addBatch(const ZeCGridBatch& batch, const ZeCSurfelContainer& surfels,
                               std::size_t first, const Weights& weights, ZeCGridCell* const* cells,
                               ZeCGridTissues& tissues) noexcept
{
    const std::uint8_t* const qualities = surfels.GetQualityAccessor().data() + first;
    const std::uint8_t* const types = surfels.GetTissueTypeAccessor().data() + first;
    for (std::size_t a = 0; a < batch.numberOfAccepted; ++a) {
        const std::size_t i = batch.accepted[a];
        const std::uint32_t weight = weights[qualities[i]];
        ZeCGridCell& cell = *cells[a];
        if (cell.tissueType != types[i]) {
            if (cell.count == 0) {
                cell.tissueType = types[i];
            } else {
                tissues.Add(cell, weight, types[i]);
            }
        }
        cell.AddGeometry(
            weight, {batch.fractions[0][i], batch.fractions[1][i], batch.fractions[2][i]},
            {batch.normals[0][i], batch.normals[1][i], batch.normals[2][i]}, batch.codes[i]);
    }
    const ZeCCompressedColor* const colors = surfels.GetColorAccessor().data() + first;
    const bool* const boundaryFlags = surfels.GetBoundaryFlagAccessor().data() + first;
    const std::uint8_t* const curvatures = surfels.GetCurvatureAccessor().data() + first;
    for (std::size_t a = 0; a < batch.numberOfAccepted; ++a) {
        const std::size_t i = batch.accepted[a];
        cells[a]->AddAttributes(weights[qualities[i]], colors[i], curvatures[i], qualities[i],
                                boundaryFlags[i]);
    }
}

} // namespace

ZeCWeightedGridSums::ZeCWeightedGridSums(const Weights& weights) : weights_(weights) {}

void ZeCWeightedGridSums::Find(const ZeCGridBatch& batch)
{
    tissues_.MakeRoom(batch.numberOfAccepted);
    cells_.Find(batch);
}

void ZeCWeightedGridSums::Add(const ZeCGridBatch& batch, const ZeCSurfelContainer& surfels,
                              std::size_t first) noexcept
{
    ZeCGridCell* cells[ZeCGridBatch::c_size];
    cells_.Get(cells);
    static const auto add = CbFastestBuild<&addBatch>();
    add(batch, surfels, first, weights_, cells, tissues_);
}

void ZeCWeightedGridSums::Write(ZeCSurfelContainer& destination, const ZeCGrid& grid,
                                float samplingParameter)
{
    const ZeCSurfelWriter writer(destination);
    std::size_t written = 0;
    cells_.VisitInOrder([&](auto places) {
        for (const auto& [index, cell] : places) {
            const std::uint8_t type = tissues_.GetHeaviest(*cell);
            writer.Write(written++, cell->GetMeans(index, grid, samplingParameter, type));
        }
    });
}
