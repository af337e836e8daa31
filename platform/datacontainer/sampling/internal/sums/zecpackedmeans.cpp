#include "platform/datacontainer/sampling/internal/sums/zecpackedmeans.h"

#include "platform/datacontainer/surfels/internal/kernelbuilds.h"

#include <cstring>

namespace
{

using Cell = ZeCPackedGridCell;
using Cells = ZeTGridCells<Cell>;
using Places = std::span<const Cells::Place>;

constexpr std::size_t c_size = Cells::c_mostVisited;
constexpr Cell::EAttribute c_averaged[] = {Cell::Red, Cell::Green, Cell::Blue, Cell::Quality,
                                           Cell::Curvature};

/// What cells hold, sum by sum.
struct Sums
{
    std::int32_t indices[3][c_size];
    double positions[3][c_size];
    std::int32_t normals[3][c_size]; ///< without what was added to the coordinates
    std::int32_t attributes[std::size(c_averaged)][c_size];
    std::int32_t counts[c_size];
    std::int32_t boundaries[c_size];
    std::uint32_t ranks[c_size];

    explicit Sums(Places places) noexcept
    {
        for (std::size_t i = 0; i < places.size(); ++i) {
            const Cell& cell = *places[i].cell;
            const std::uint32_t bias = cell.GetCount() * c_gridNormalUnits;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                indices[axis][i] = places[i].index[axis];
                positions[axis][i] = static_cast<double>(cell.GetPosition(axis));
                normals[axis][i] = static_cast<std::int32_t>(cell.GetNormal(axis) - bias);
            }
            for (std::size_t k = 0; k < std::size(c_averaged); ++k) {
                attributes[k][i] = cell.GetSum(c_averaged[k]);
            }
            counts[i] = cell.GetCount();
            boundaries[i] = cell.GetSum(Cell::Boundary);
            ranks[i] = cell.rank;
        }
    }
};

/// Where surfels are written.
struct Target
{
    Target(ZeCSurfelContainer& surfels, std::size_t first) noexcept
        : positions(surfels.GetPositionAccessor().data() + first),
          normals(surfels.GetNormalAccessor().data() + first),
          colors(surfels.GetColorAccessor().data() + first),
          qualities(surfels.GetQualityAccessor().data() + first),
          tissueTypes(surfels.GetTissueTypeAccessor().data() + first),
          boundaryFlags(surfels.GetBoundaryFlagAccessor().data() + first),
          curvatures(surfels.GetCurvatureAccessor().data() + first)
    {}

    CbVector3f* positions;
    ZeCQuantizedNormal* normals;
    ZeCCompressedColor* colors;
    std::uint8_t* qualities;
    std::uint8_t* tissueTypes;
    bool* boundaryFlags;
    std::uint8_t* curvatures;
};

// One short loop for each attribute, over all cells: vector code, without branches. What a
// condition would choose is chosen by masks, all bits or none.
CB_ALWAYS_INLINE void averagePositions(const Sums& sums, std::size_t count, const ZeCGrid& from,
                                       const Target& to) noexcept
{
    const ZeCGrid grid = from; // nothing that is written can be part of it
    double cellsPerUnit[c_size];
    for (std::size_t i = 0; i < count; ++i) {
        cellsPerUnit[i] = 1.0 / (static_cast<double>(sums.counts[i]) * c_gridPositionUnits);
    }
    float positions[3][c_size];
    for (int axis = 0; axis < 3; ++axis) {
        for (std::size_t i = 0; i < count; ++i) {
            positions[axis][i] = ZeCMeanCoordinate(sums.indices[axis][i],
                                                   sums.positions[axis][i] * cellsPerUnit[i], grid);
        }
    }
    for (std::size_t i = 0; i < count; ++i) {
        to.positions[i] = {positions[0][i], positions[1][i], positions[2][i]};
    }
}

CB_ALWAYS_INLINE void averageNormals(const Sums& sums, std::size_t count, const Target& to) noexcept
{
    std::uint32_t others[c_size];  // codes of the normals that count if all nearly cancel
    std::uint32_t cancels[c_size]; // all bits or none
    for (std::size_t i = 0; i < count; ++i) {
        others[i] = ZeCCodeOf(sums.ranks[i]);
        const bool doCancel =
            ZeCDoCancel<double>(sums.normals[0][i], sums.normals[1][i], sums.normals[2][i],
                                static_cast<double>(sums.counts[i]) * c_gridNormalUnits);
        cancels[i] = doCancel ? ~0U : 0U;
    }
    std::uint16_t codes[c_size];
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t code = ZeTQuantizedNormalMultiLevelTraitsFast::Encode<7>(
            static_cast<float>(sums.normals[0][i]), static_cast<float>(sums.normals[1][i]),
            static_cast<float>(sums.normals[2][i]), others[i]);
        codes[i] = static_cast<std::uint16_t>((code & ~cancels[i]) | (others[i] & cancels[i]));
    }
    std::memcpy(static_cast<void*>(to.normals), codes, count * sizeof *codes);
}

CB_ALWAYS_INLINE void averageAttributes(const Sums& sums, std::size_t count,
                                        const Target& to) noexcept
{
    float halfInverses[c_size];
    for (std::size_t i = 0; i < count; ++i) {
        halfInverses[i] = 0.5F / static_cast<float>(sums.counts[i]);
    }
    std::uint8_t means[std::size(c_averaged)][c_size];
    for (std::size_t k = 0; k < std::size(c_averaged); ++k) {
        for (std::size_t i = 0; i < count; ++i) {
            means[k][i] = ZeCRoundedMean(sums.attributes[k][i], sums.counts[i], halfInverses[i]);
        }
    }
    for (std::size_t i = 0; i < count; ++i) {
        to.colors[i] = {means[0][i], means[1][i], means[2][i], 0};
    }
    std::memcpy(to.qualities, means[3], count);
    std::memcpy(to.curvatures, means[4], count);
    for (std::size_t i = 0; i < count; ++i) {
        to.tissueTypes[i] = static_cast<std::uint8_t>(sums.ranks[i] >> 16U);
    }
    for (std::size_t i = 0; i < count; ++i) {
        to.boundaryFlags[i] = ZeCIsBoundary(sums.boundaries[i], sums.counts[i]);
    }
}

CB_ALWAYS_INLINE void average(Places places, const ZeCGrid& grid, const Target& to) noexcept
{
    const Sums sums(places);
    averagePositions(sums, places.size(), grid, to);
    averageNormals(sums, places.size(), to);
    averageAttributes(sums, places.size(), to);
}

} // namespace

void ZeCWritePackedMeans(Places places, const ZeCGrid& grid, float samplingParameter,
                         ZeCSurfelContainer& destination, std::size_t first) noexcept
{
    // The rule for too few surfels stays out of the loops: up to a parameter of 1, even a single
    // surfel is enough.
    static const auto averageAll = CbFastestBuild<&average>();
    const Target target(destination, first);
    averageAll(places, grid, target);
    if (!ZeCAreTooFew(1, samplingParameter)) return;
    for (std::size_t i = 0; i < places.size(); ++i) {
        const Cell& cell = *places[i].cell;
        if (!ZeCAreTooFew(cell.GetCount(), samplingParameter)) continue;
        target.qualities[i] = ZeCLoweredQuality(cell.GetSum(Cell::Quality), cell.GetCount(),
                                                cell.GetCount(), samplingParameter);
    }
}
