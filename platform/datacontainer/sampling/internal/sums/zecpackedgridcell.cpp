#include "platform/datacontainer/sampling/internal/sums/zecpackedgridcell.h"

#include <algorithm>

void ZeCPackedGridCell::AddTo(ZeCGridCell& cell) const noexcept
{
    cell.weight += GetCount();
    cell.count += GetCount();
    for (std::size_t axis = 0; axis < 3; ++axis) {
        cell.position[axis] += GetPosition(axis);
        cell.normal[axis] += GetNormal(axis);
    }
    cell.color[0] += GetSum(Red);
    cell.color[1] += GetSum(Green);
    cell.color[2] += GetSum(Blue);
    cell.quality += GetSum(Quality);
    cell.curvature += GetSum(Curvature);
    cell.boundary += GetSum(Boundary);
    cell.heaviest = std::max(cell.heaviest, (rank & 0xFFFFU) | 1U << 16U);
}
