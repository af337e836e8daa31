#pragma once

#include "examples/scansession/scans/vec3.h"
#include "platform/math3d/cbmatrix4.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace scansession
{

/// What a surfel shows.
enum class Tissue : std::uint8_t
{
    Unknown = 0,
    Tooth = 1,
    Gum = 2,
};

/// An oriented surface point in the frame of its scan, in the unit of its source.
struct Surfel
{
    Vec3 position;
    Vec3 normal{0.0, 0.0, 1.0};
    std::array<std::uint8_t, 3> colour{128, 128, 128};
    double quality = 1.0; ///< 0 to 1
    Tissue tissue = Tissue::Unknown;
    bool boundary = false;        ///< something of the neighbourhood was not seen
    std::uint8_t curvature = 128; ///< 128 is flat, more is convex; see CurvatureCode

    friend bool operator==(const Surfel&, const Surfel&) = default;
};

/// What the source of a scan has and its surfels have not.
struct Unused
{
    std::size_t points = 0;              ///< without a finite position
    std::vector<std::string> properties; ///< by element and name
};

/// One capture: the sensor stands on the +z side and looks along -z.
struct Scan
{
    std::string name;
    CbMatrix4Rd sensorToRoot; ///< maps the frame of the surfels into the root's frame
    std::vector<Surfel> surfels;
    Unused unused;
};

/// Codes a mean curvature (convex is positive) in a byte: 128 for flat, 1 and 255 if the radius
/// is
/// @p smallestRadius or less.
[[nodiscard]] std::uint8_t CurvatureCode(double meanCurvature, double smallestRadius);

} // namespace scansession
