#include "platform/datacontainer/internal/zecpackedmeans.h"

#include "platform/datacontainer/internal/widebuild.h"

namespace
{

using Cell = ZeCPackedGridCell;

constexpr std::size_t c_size = ZeCPackedMeans::c_size;
constexpr Cell::EAttribute c_averaged[] = {Cell::Red, Cell::Green, Cell::Blue, Cell::Quality,
                                           Cell::Curvature};

/// What cells hold, sum by sum.
struct Sums
{
    std::int32_t indices[3][c_size];
    std::uint32_t positions[3][c_size];
    std::uint32_t normals[3][c_size];
    std::int32_t attributes[std::size(c_averaged)][c_size];
    std::int32_t counts[c_size];
    std::uint32_t ranks[c_size];
};

struct Means
{
    float positions[3][c_size];
    std::uint32_t codes[c_size];
    std::int32_t attributes[std::size(c_averaged)][c_size];
};

CB_ALWAYS_INLINE void average(const Sums& sums, std::size_t count, const ZeCGrid& from,
                              Means& to) noexcept
{
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
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t bias = static_cast<std::uint32_t>(sums.counts[i]) * c_gridNormalUnits;
        const auto sum = [&](int axis) {
            return static_cast<float>(static_cast<std::int32_t>(sums.normals[axis][i] - bias));
        };
        const float x = sum(0);
        const float y = sum(1);
        const float z = sum(2);
        const std::uint32_t other = ~sums.ranks[i] & 0xFFFFU;
        const std::uint32_t code =
            ZeTQuantizedNormalMultiLevelTraitsFast::Encode<7>(x, y, z, other);
        const auto equal = static_cast<float>(static_cast<std::int32_t>(bias));
        to.codes[i] = ZeCDoCancel(x, y, z, equal) ? other : code;
    }
    // Rounds half up: the quotients of twice the sums and twice the counts are multiples of 1/510,
    // so that half of that, which is added, outweighs what multiplying by an inverse can lose.
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

void averagePlain(const Sums& sums, std::size_t count, const ZeCGrid& grid, Means& to) noexcept
{
    average(sums, count, grid, to);
}

CB_WIDE_BUILD void averageWide(const Sums& sums, std::size_t count, const ZeCGrid& grid,
                               Means& to) noexcept
{
    average(sums, count, grid, to);
}

} // namespace

ZeCPackedMeans::ZeCPackedMeans(std::span<const Cells::Place> places, const ZeCGrid& grid,
                               float samplingParameter) noexcept
{
    Sums sums;
    std::size_t i = 0;
    do {
        const Cell& cell = *places[i].cell;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            sums.indices[axis][i] = places[i].index[axis];
        }
        sums.positions[0][i] = cell.GetLower(Cell::PositionXY);
        sums.positions[1][i] = cell.GetUpper(Cell::PositionXY);
        sums.positions[2][i] = cell.GetLower(Cell::PositionZNormalX);
        sums.normals[0][i] = cell.GetUpper(Cell::PositionZNormalX);
        sums.normals[1][i] = cell.GetLower(Cell::NormalYZ);
        sums.normals[2][i] = cell.GetUpper(Cell::NormalYZ);
        for (std::size_t k = 0; k < std::size(c_averaged); ++k) {
            sums.attributes[k][i] = cell.GetSum(c_averaged[k]);
        }
        sums.counts[i] = cell.GetCount();
        sums.ranks[i] = cell.rank;
    } while (++i < places.size());
    static const auto averageAll = CbFastestBuild(&averagePlain, &averageWide);
    Means means;
    averageAll(sums, places.size(), grid, means);
    for (i = 0; i < places.size(); ++i) {
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
