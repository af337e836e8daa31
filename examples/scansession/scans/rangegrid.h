#pragma once

#include "examples/scansession/scans/ply.h"
#include "examples/scansession/scans/scan.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace scansession
{

/// The raster of a range image: which vertex each cell sampled. Columns run along +x of the scan,
/// rows along +y, the column fastest.
struct RangeGrid
{
    static constexpr std::uint32_t c_noSample = 0xFFFFFFFF;

    std::size_t columns = 0;
    std::size_t rows = 0;
    std::vector<std::uint32_t> cells; ///< columns * rows vertex indices or c_noSample
};

/// Takes the element `range_grid` with the obj_info lines num_cols and num_rows out of a file; none
/// if the file has no such element.
/// Throws: InputError with @p name if sizes or indices do not fit.
[[nodiscard]] std::optional<RangeGrid> ReadRangeGrid(const PlyFile& file, std::size_t vertices,
                                                     const std::string& name);

/// What an estimate overwrites.
struct EstimateOptions
{
    bool normals = true; ///< false: the surfels have normals from elsewhere
};

/// Fills in what a bare range image does not say: normal, boundary flag, curvature and quality of
/// each surfel, from its position and those of its four neighbours in the raster.
///
/// A neighbour counts if it is not farther than three times the median step, whatever the unit;
/// others lie beyond an edge in depth. The normal is the sum of the triangles with neighbours that
/// follow on each other. The boundary flag is set if a neighbour is missing. The curvature is
/// the mean of the normal curvatures towards the neighbours, coded with ten median steps as the
/// smallest radius: an estimate for display, noisy where samples are. Quality is the slant towards
/// the sensor times the share of neighbours. A surfel without two neighbours at a corner keeps the
/// direction to the sensor (+z) as its normal and gets a quality of 0.05.
void EstimateSurface(const RangeGrid& grid, std::vector<Surfel>& surfels,
                     EstimateOptions options = {});

} // namespace scansession
