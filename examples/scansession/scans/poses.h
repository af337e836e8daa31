#pragma once

#include "examples/scansession/scans/vec3.h"
#include "platform/math3d/cbmatrix4.h"

#include <filesystem>
#include <string>
#include <vector>

namespace scansession
{

/// Where one scan stood.
struct NamedPose
{
    std::string name;       ///< file name of the scan
    CbMatrix4Rd scanToRoot; ///< maps the frame of the scan into the common frame
    bool mayBeMissing;      ///< a `mesh`: data sets name some that they do not hold
};

/// Reads the poses of a set of scans, in the order of the file.
///
/// A line reads `bmesh name tx ty tz qx qy qz qw` (or `mesh ...`), meaning for column vectors
/// `p_common = R(conj(q)) * p_scan + t`: the rotation of the quaternion is transposed, the
/// translation is added as written. The scan of a `mesh` may be missing. The quaternion is
/// normalised first. A `camera` line, empty lines and lines that begin with # are passed over.
/// Throws: InputError naming the file and the line: malformed, a scan named twice, a quaternion
/// without direction (singular pose), or no pose at all.
[[nodiscard]] std::vector<NamedPose> ReadPoseFile(const std::filesystem::path& path);

/// Reads one transformation: 16 numbers, row after row of a 4x4 matrix for column vectors, so that
/// the translation is the last column and the last row is 0 0 0 1.
/// Throws: InputError naming the file: malformed, not finite, or singular.
[[nodiscard]] CbMatrix4Rd ReadMatrixFile(const std::filesystem::path& path);

/// Maps a point in double precision.
[[nodiscard]] Vec3 MapPoint(const Vec3& point, const CbMatrix4Rd& matrix);
/// Turns a direction by the 3x3 part of a rigid transformation.
[[nodiscard]] Vec3 MapDirection(const Vec3& direction, const CbMatrix4Rd& matrix);

} // namespace scansession
