#pragma once

#include "examples/scansession/scans/scan.h"
#include "examples/scansession/scans/vec3.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace scansession
{

class Random;

/// A made-up lower dental arch as an implicit surface, in millimetres: x to the side, y to the
/// front, z from the gum to the biting edges.
///
/// The gum is a ridge of elliptical section along a parabola; 14 teeth, ellipsoids with cusps,
/// stand on it and blend into it. The seed varies sizes, places, tilts and colours. Only sums,
/// products, quotients and square roots are used, so that all compilers get the same bits.
class DentalArch
{
public:
    explicit DentalArch(std::uint64_t seed);

    /// Signed distance to the surface, negative inside: close to the true one near the surface and
    /// within a third of it farther away.
    [[nodiscard]] double Distance(const Vec3& p) const { return probe(p).distance; }

    /// What the surface is like at a point.
    struct Feature
    {
        Vec3 normal;          ///< outwards, length 1
        double meanCurvature; ///< per mm, convex is positive
        Tissue tissue = Tissue::Gum;
        std::array<double, 3> colour{}; ///< 0 to 255
    };
    [[nodiscard]] Feature FeatureAt(const Vec3& p) const;

    /// The middle line of the ridge at @p x, at the height of the gum.
    [[nodiscard]] static Vec3 MiddleLine(double x);
    /// Direction of the middle line at @p x, towards growing x.
    [[nodiscard]] static Vec3 Along(double x);
    /// Direction away from the arch's inside at @p x, level.
    [[nodiscard]] static Vec3 Outwards(double x);

    static constexpr double c_halfWidth = 27.0; ///< the arch reaches from -x to x

private:
    struct Sphere
    {
        Vec3 centre;
        double radius;
    };

    struct Tooth
    {
        Vec3 centre;
        std::array<Vec3, 3> axes; // along the arch, outwards, up
        std::array<double, 3> inverseRadii;
        std::vector<Sphere> cusps;
        double reach; // radius of a sphere around the centre that holds the tooth with some room
        std::array<double, 3> colour;

        [[nodiscard]] double Distance(const Vec3& p) const;
    };

    /// The field at a point and what it comes from.
    struct Probe
    {
        double distance;
        bool isTooth;
        std::size_t tooth; // the nearest of those looked at
    };

    [[nodiscard]] Probe probe(const Vec3& p) const;
    void addTooth(double x, std::size_t kind, Random& random);

    std::vector<Tooth> teeth_;
};

} // namespace scansession
