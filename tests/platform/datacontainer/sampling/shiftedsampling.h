#pragma once

// Sampling on 125 shifted grids, one after the other and together.

#include "platform/datacontainer/sampling/zecshiftedgridsampler.h"
#include "tests/platform/datacontainer/sampling/naivesampler.h"

#include <optional>

using Shifts = ZeCShiftedGridSampler::Shifts;

inline Shifts ShiftsOf(float cellSize)
{
    Shifts shifts;
    float next = cellSize / 5 * 0.5F;
    for (float& shift : shifts) {
        shift = next;
        next += cellSize / 5;
    }
    return shifts;
}

/// One run after the other.
inline Collection SampleOneByOne(const Grid& grid, const std::vector<Scan>& scans)
{
    auto result = Neutral(0);
    const Shifts shifts = ShiftsOf(grid.cellSize);
    for (int i = 0; i < 125; ++i) {
        const float x = shifts[i / 25], y = shifts[i / 5 % 5], z = shifts[i % 5];
        std::vector<Scan> shifted = scans;
        for (Scan& scan : shifted) scan.toResult = Compose(scan.toResult, ShiftBy(x, y, z));
        result->Append(*Subsample(grid, shifted), ShiftBy(-x, -y, -z));
    }
    return result;
}

/// All runs together; nothing where that can't be done.
inline std::optional<Collection> SampleTogether(const Grid& grid, const std::vector<Scan>& scans)
{
    ZeCShiftedGridSampler sampler(grid.cellSize, grid.offset, grid.gain, ShiftsOf(grid.cellSize));
    for (const Scan& scan : scans) {
        if (!sampler.AddSurfels(*scan.surfels, scan.toResult)) return std::nullopt;
    }
    const auto result = Neutral(0);
    sampler.AppendSubsampled(*result, grid.samplingParameter);
    return result;
}

/// Expects the same bytes from both.
inline void ExpectSameTogether(const Grid& grid, const std::vector<Scan>& scans)
{
    const auto together = SampleTogether(grid, scans);
    ASSERT_TRUE(together);
    ExpectSameSurfels(*SampleOneByOne(grid, scans), **together);
}
