#pragma once

#include "examples/scansession/scan.h"

#include <filesystem>
#include <vector>

namespace scansession
{

/// Reads the vertices of a PLY file as surfels, in the order of the file and in its own unit; every
/// vertex is kept.
///
/// Normals come from nx, ny, nz where the file has them, otherwise from its range grid (see
/// EstimateSurface); a vertex with neither keeps +z, the direction to the sensor, with a low
/// quality. Colours come from red, green, blue; without them the surfels are grey, shaded as lit
/// from the sensor. Throws: InputError naming the file: unreadable, without vertices x, y, z, or
/// with a position that is not finite.
[[nodiscard]] std::vector<Surfel> ReadRangeScan(const std::filesystem::path& path);

} // namespace scansession
