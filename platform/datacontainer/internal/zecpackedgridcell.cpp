#include "platform/datacontainer/internal/zecpackedgridcell.h"

#include <algorithm>

void ZeCPackedGridCell::AddTo(ZeCGridCell& cell) const noexcept
{
    constexpr std::uint64_t c_finer = ZeCGridCell::c_positionUnits / c_positionUnits;
    const std::uint32_t count = GetCount();
    cell.weight += count;
    cell.count += count;
    cell.position[0] += sum32(PositionXY, 0) * c_finer;
    cell.position[1] += sum32(PositionXY, 1) * c_finer;
    cell.position[2] += sum32(PositionZNormalX, 0) * c_finer;
    cell.normal[0] += sum32(PositionZNormalX, 1);
    cell.normal[1] += sum32(NormalYZ, 0);
    cell.normal[2] += sum32(NormalYZ, 1);
    for (unsigned i = 0; i < 3; ++i) cell.color[i] += sum16(Color, i);
    cell.quality += sum16(Rest, 0);
    cell.curvature += sum16(Rest, 1);
    cell.boundary += sum16(Rest, 2);
    cell.heaviest = std::max(cell.heaviest, ZeCGridCell::RankOf(1, code()));
}

ZeCSurfel ZeCPackedGridCell::GetMeans(const std::array<std::int32_t, 3>& index, const ZeCGrid& grid,
                                      float samplingParameter) const noexcept
{
    const std::uint32_t count = GetCount();
    // Rounds half up. Before the half is added, no quotient is closer below a whole number than one
    // by 2*255, which is far more than what multiplying by an inverse can lose.
    const float inverse = 0.5F / static_cast<float>(count);
    const auto mean = [&](std::uint32_t sum) {
        const auto doubled = static_cast<float>(2 * sum + count);
        return static_cast<std::uint8_t>(static_cast<std::int32_t>((doubled + 0.5F) * inverse));
    };
    return {ZeCMeanPosition(index,
                            {static_cast<double>(sum32(PositionXY, 0)),
                             static_cast<double>(sum32(PositionXY, 1)),
                             static_cast<double>(sum32(PositionZNormalX, 0))},
                            static_cast<double>(count) * c_positionUnits, grid),
            ZeCMeanNormal({sum32(PositionZNormalX, 1), sum32(NormalYZ, 0), sum32(NormalYZ, 1)},
                          count, code()),
            {mean(sum16(Color, 0)), mean(sum16(Color, 1)), mean(sum16(Color, 2)), 0},
            ZeCAreTooFew(count, samplingParameter)
                ? ZeCLoweredQuality(sum16(Rest, 0), count, count, samplingParameter)
                : mean(sum16(Rest, 0)),
            GetTissueType(),
            2U * sum16(Rest, 2) > count,
            mean(sum16(Rest, 1))};
}
