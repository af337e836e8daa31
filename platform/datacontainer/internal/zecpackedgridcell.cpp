#include "platform/datacontainer/internal/zecpackedgridcell.h"

#include <algorithm>

void ZeCPackedGridCell::AddTo(ZeCGridCell& cell) const noexcept
{
    constexpr std::uint64_t c_finer = ZeCGridCell::c_positionUnits / c_positionUnits;
    cell.weight += GetCount();
    cell.count += GetCount();
    cell.position[0] += GetLower(PositionXY) * c_finer;
    cell.position[1] += GetUpper(PositionXY) * c_finer;
    cell.position[2] += GetLower(PositionZNormalX) * c_finer;
    cell.normal[0] += GetUpper(PositionZNormalX);
    cell.normal[1] += GetLower(NormalYZ);
    cell.normal[2] += GetUpper(NormalYZ);
    cell.color[0] += GetSum(Red);
    cell.color[1] += GetSum(Green);
    cell.color[2] += GetSum(Blue);
    cell.quality += GetSum(Quality);
    cell.curvature += GetSum(Curvature);
    cell.boundary += GetSum(Boundary);
    cell.heaviest = std::max(cell.heaviest, (rank & 0xFFFFU) | 1U << 16U);
}
