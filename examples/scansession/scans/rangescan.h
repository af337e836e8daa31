#pragma once

#include "examples/scansession/scans/scan.h"

#include <filesystem>
#include <vector>

namespace scansession
{

/// What a file holds of a scan.
struct RangeScan
{
    std::vector<Surfel> surfels;
    Unused unused;
};

/// Reads the vertices of a PLY file as surfels, in the order of the file and in its own unit. Those
/// without a finite position are left out, the others are kept.
///
/// Normals come from nx, ny, nz (or normal_x and so on) if the file has them, otherwise from its
/// range grid (see EstimateSurface); a vertex with neither keeps +z, the direction to the sensor,
/// with a low quality. Colours come from red, green, blue (or diffuse_red and so on); without them
/// the surfels are grey, shaded as lit from the sensor.
/// Throws: InputError naming the file: unreadable, or without vertices x, y, z.
[[nodiscard]] RangeScan ReadRangeScan(const std::filesystem::path& path);

} // namespace scansession
