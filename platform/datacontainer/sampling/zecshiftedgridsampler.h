#pragma once

#include "platform/datacontainer/surfels/zecsurfelcontainer.h"

#include <array>
#include <memory>

/// Samples surfels on 125 grids that are shifted against each other, looking at each surfel once.
///
/// What comes out has the bits that 125 runs of ZeCGridSampler give, one for each shift of the
/// surfels, in a fraction of the time. An axis has five shifts of its own; surfels that share the
/// cells of all shifts are added up once, and these sums, integers, are then added up to the cells
/// of each grid.
///
/// Not everything can be shared: AddSurfels() tells, and the runs have to be made one by one.
///
/// Threads: for one thread at a time.
class PLATFORM_API ZeCShiftedGridSampler
{
public:
    /// Shifts on each axis, ascending; each less than a cell away from the first one.
    using Shifts = std::array<float, 5>;

    /// @param cellSize,offset,qualityGain as of ZeCGridSampler
    ZeCShiftedGridSampler(float cellSize, float offset, float qualityGain, const Shifts& shifts);
    ZeCShiftedGridSampler(const ZeCShiftedGridSampler&) = delete;
    ZeCShiftedGridSampler& operator=(const ZeCShiftedGridSampler&) = delete;
    ~ZeCShiftedGridSampler();

    /// Adds all surfels that have a cell.
    /// @param transformation from the frame of the surfels into that of the result
    ///
    /// Returns false if it can't, and the sampler is of no use any more, nor if std::bad_alloc is
    /// thrown:
    /// - the transformation is not affine or not finite,
    /// - surfels lie so far off that single precision does not tell their cells for all shifts,
    /// - there are more than 2^24 surfels in all,
    /// - they all weigh the same because the gain is 1.
    ///
    /// Cost: linear; about 250 bytes for each group of surfels that share all their cells.
    [[nodiscard]] bool AddSurfels(const ZeCSurfelContainer& surfels,
                                  const CbMatrix4Rf& transformation);

    /// Appends the surfels of all grids, shifted back, to @p destination: the first axis has the
    /// outermost of the three loops over the shifts, and each grid gives its used cells in
    /// ascending order of their x, y and z indices.
    /// @param samplingParameter as of ZeCGridSampler::GetSubsampled
    /// Throws: CbException if there would be more than 2^32-1 surfels, std::bad_alloc; those of
    /// some grids have been appended then.
    void AppendSubsampled(ZeCSurfelContainer& destination, float samplingParameter) const;

private:
    class Bins;

    std::unique_ptr<Bins> bins_;
};
