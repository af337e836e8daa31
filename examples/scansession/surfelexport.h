#pragma once

#include "examples/scansession/vec3.h"
#include "transformationtree/zectransformationnode.h"

#include <cstdint>
#include <filesystem>
#include <functional>

namespace scansession
{

/// The smallest box around points, in double precision.
struct Bounds
{
    Vec3 least{1e300, 1e300, 1e300};
    Vec3 largest{-1e300, -1e300, -1e300};

    void Extend(const Vec3& p);
};

/// Maps a normal by the inverse transpose of the 3x3 part, which keeps it upright on its surface
/// whatever the transformation; the length becomes 1.
[[nodiscard]] Vec3 MapNormal(const Vec3& normal, const CbMatrix4Rd& matrix);

/// Number of surfels of all leaves at or below a node. Leaves without a model have none.
[[nodiscard]] std::uint64_t CountSurfels(const ZeCTransformationNode& top);

/// Writes the surfels of all leaves at or below a node to a PLY file, leaf after leaf, in the frame
/// of that node and in the unit of the scans. Calls @p leafDone after each leaf. All or nothing.
/// Returns the box around them.
/// Throws: std::system_error where the file cannot be written.
Bounds WriteSurfels(const ZeCTransformationNode& top, const std::filesystem::path& path,
                    const std::function<void()>& leafDone);

} // namespace scansession
