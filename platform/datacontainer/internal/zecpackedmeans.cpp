#include "platform/datacontainer/internal/zecpackedmeans.h"

#include "platform/datacontainer/internal/kernelbuilds.h"

namespace
{

using Cell = ZeCPackedGridCell;
using Places = std::span<const ZeCPackedMeans::Cells::Place>;

constexpr std::size_t c_size = ZeCPackedMeans::c_size;
constexpr Cell::EAttribute c_averaged[] = {Cell::Red, Cell::Green, Cell::Blue, Cell::Quality,
                                           Cell::Curvature};

/// What cells hold, sum by sum.
struct Sums
{
    std::int32_t indices[3][c_size];
    std::uint32_t positions[3][c_size];
    std::int32_t normals[3][c_size]; ///< without what was added to the coordinates
    std::int32_t attributes[std::size(c_averaged)][c_size];
    std::int32_t counts[c_size];
    std::uint32_t others[c_size]; ///< codes of the normals that count where all nearly cancel

    explicit Sums(Places places) noexcept
    {
        for (std::size_t i = 0; i < places.size(); ++i) {
            const Cell& cell = *places[i].cell;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                indices[axis][i] = places[i].index[axis];
            }
            positions[0][i] = cell.GetLower(Cell::PositionXY);
            positions[1][i] = cell.GetUpper(Cell::PositionXY);
            positions[2][i] = cell.GetLower(Cell::PositionZNormalX);
            const std::uint32_t bias = cell.GetCount() * c_gridNormalUnits;
            normals[0][i] = static_cast<std::int32_t>(cell.GetUpper(Cell::PositionZNormalX) - bias);
            normals[1][i] = static_cast<std::int32_t>(cell.GetLower(Cell::NormalYZ) - bias);
            normals[2][i] = static_cast<std::int32_t>(cell.GetUpper(Cell::NormalYZ) - bias);
            for (std::size_t k = 0; k < std::size(c_averaged); ++k) {
                attributes[k][i] = cell.GetSum(c_averaged[k]);
            }
            counts[i] = cell.GetCount();
            others[i] = ~cell.rank & 0xFFFFU;
        }
    }
};

struct Means
{
    float positions[3][c_size];
    std::uint32_t codes[c_size];
    std::int32_t attributes[std::size(c_averaged)][c_size];
};

CB_ALWAYS_INLINE void average(Places places, const ZeCGrid& from, Means& to) noexcept
{
    const Sums sums(places);
    const std::size_t count = places.size();
    const ZeCGrid grid = from; // nothing that is written can be part of it
    double cellsPerUnit[c_size];
    for (std::size_t i = 0; i < count; ++i) {
        cellsPerUnit[i] = 1.0 / (static_cast<double>(sums.counts[i]) * Cell::c_positionUnits);
    }
    for (int axis = 0; axis < 3; ++axis) {
        for (std::size_t i = 0; i < count; ++i) {
            to.positions[axis][i] = ZeCMeanCoordinate(
                sums.indices[axis][i], sums.positions[axis][i] * cellsPerUnit[i], grid);
        }
    }
    std::uint32_t cancels[c_size]; // all bits or none
    for (std::size_t i = 0; i < count; ++i) {
        const bool doCancel =
            ZeCDoCancel<double>(sums.normals[0][i], sums.normals[1][i], sums.normals[2][i],
                                static_cast<double>(sums.counts[i]) * c_gridNormalUnits);
        cancels[i] = doCancel ? ~0U : 0U;
    }
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t code = ZeTQuantizedNormalMultiLevelTraitsFast::Encode<7>(
            static_cast<float>(sums.normals[0][i]), static_cast<float>(sums.normals[1][i]),
            static_cast<float>(sums.normals[2][i]), sums.others[i]);
        to.codes[i] = (code & ~cancels[i]) | (sums.others[i] & cancels[i]);
    }
    // Rounds half up. Quotients of a number by twice the count that are below a whole one are so by
    // 1/510 at least: half of it, which is added, outweighs what multiplying by an inverse loses.
    float inverses[c_size];
    for (std::size_t i = 0; i < count; ++i) {
        inverses[i] = 0.5F / static_cast<float>(sums.counts[i]);
    }
    for (std::size_t k = 0; k < std::size(c_averaged); ++k) {
        for (std::size_t i = 0; i < count; ++i) {
            const std::int32_t doubled = 2 * sums.attributes[k][i] + sums.counts[i];
            to.attributes[k][i] =
                static_cast<std::int32_t>((static_cast<float>(doubled) + 0.5F) * inverses[i]);
        }
    }
}

} // namespace

ZeCPackedMeans::ZeCPackedMeans(std::span<const Cells::Place> places, const ZeCGrid& grid,
                               float samplingParameter) noexcept
{
    static const auto averageAll = CbGetBuild<&average>();
    Means means;
    averageAll(places, grid, means);
    for (std::size_t i = 0; i < places.size(); ++i) {
        const Cell& cell = *places[i].cell;
        const auto attribute = [&](std::size_t k) {
            return static_cast<std::uint8_t>(means.attributes[k][i]);
        };
        surfels[i] = {{means.positions[0][i], means.positions[1][i], means.positions[2][i]},
                      ZeCQuantizedNormal::FromCode(static_cast<std::uint16_t>(means.codes[i])),
                      {attribute(0), attribute(1), attribute(2), 0},
                      ZeCAreTooFew(cell.GetCount(), samplingParameter)
                          ? ZeCLoweredQuality(cell.GetSum(Cell::Quality), cell.GetCount(),
                                              cell.GetCount(), samplingParameter)
                          : attribute(3),
                      cell.GetTissueType(),
                      2U * cell.GetSum(Cell::Boundary) > cell.GetCount(),
                      attribute(4)};
    }
}
