#include "examples/scansession/simulator/dentalarch.h"

#include "examples/scansession/simulator/random.h"

#include <algorithm>
#include <cmath>

namespace scansession
{

namespace
{

constexpr double c_depth = 44.0; // from the front to the ends, along y
constexpr double c_bend = c_depth / (DentalArch::c_halfWidth * DentalArch::c_halfWidth);
constexpr double c_front = 22.0;

constexpr double c_gumBlend = 0.7; // rounding between tooth and gum, mm
constexpr double c_toothBlend = 0.25;
constexpr double c_cuspBlend = 0.8; // the largest: what is farther away does not matter

constexpr double c_probeStep = 0.04; // of the difference quotients, mm

/// A kind of tooth, from the middle of the arch to its end.
struct ToothKind
{
    double width;
    double depth;
    double crown; // height above the gum
    int cusps;
};

constexpr std::array<ToothKind, 7> c_kinds{{
    {8.0, 7.0, 9.0, 0},
    {6.2, 6.2, 8.5, 0},
    {7.0, 7.6, 9.5, 1},
    {6.5, 8.4, 8.0, 2},
    {6.5, 8.6, 7.5, 2},
    {9.5, 10.2, 7.0, 4},
    {9.0, 9.8, 6.5, 4},
}};

/// The smaller of two distances, rounded if they are closer than @p blend.
double SmoothMin(double a, double b, double blend)
{
    const double h = std::max(blend - std::abs(a - b), 0.0);
    return std::min(a, b) - h * h * (0.25 / blend);
}

/// Distance to an ellipsoid in its own axes, exact to first order near the surface. @p inverse
/// holds one over each radius.
double EllipsoidDistance(double x, double y, double z, const std::array<double, 3>& inverse)
{
    const double a = x * inverse[0];
    const double b = y * inverse[1];
    const double c = z * inverse[2];
    const double square = a * a + b * b + c * c;
    const double u = a * inverse[0];
    const double v = b * inverse[1];
    const double w = c * inverse[2];
    // Never 0 / 0: in the very middle the distance only has to be negative.
    const double slopeSquare = u * u + v * v + w * w + 1e-18;
    return (square - std::sqrt(square)) / std::sqrt(slopeSquare);
}

double GumDistance(const Vec3& p)
{
    const double slope = -2.0 * c_bend * p.x;
    const double aside = (p.y - c_front + c_bend * p.x * p.x) / std::sqrt(1.0 + slope * slope);
    return EllipsoidDistance(aside, p.z + 6.0, 0.0, {1.0 / 5.8, 1.0 / 7.0, 0.0});
}

} // namespace

Vec3 DentalArch::MiddleLine(double x) { return {x, c_front - c_bend * x * x, 1.0}; }

Vec3 DentalArch::Along(double x) { return Normalized({1.0, -2.0 * c_bend * x, 0.0}); }

Vec3 DentalArch::Outwards(double x) { return Normalized({2.0 * c_bend * x, 1.0, 0.0}); }

DentalArch::DentalArch(std::uint64_t seed)
{
    Random random(seed);
    constexpr double c_walk = 1.0 / 1024.0;
    double x = 0.0;
    double length = 0.0;
    double nextContact = 0.0;
    for (std::size_t kind = 0; kind < c_kinds.size(); ++kind) {
        const double middle = nextContact + 0.5 * c_kinds[kind].width;
        nextContact += c_kinds[kind].width;
        while (length < middle) {
            const Vec3 step = MiddleLine(x + c_walk) - MiddleLine(x);
            length += Length(step);
            x += c_walk;
        }
        addTooth(x, kind, random);
        addTooth(-x, kind, random);
    }
}

void DentalArch::addTooth(double x, std::size_t kind, Random& random)
{
    const ToothKind& shape = c_kinds[kind];
    Tooth tooth;
    const double size = 1.0 + 0.04 * random.Signed();
    const double crown = shape.crown * size;
    const std::array radii{0.515 * shape.width * size, 0.5 * shape.depth * size, 0.5 * crown + 1.5};
    for (std::size_t i = 0; i < 3; ++i) tooth.inverseRadii[i] = 1.0 / radii[i];
    const double shift = 0.3 * random.Signed();
    const Vec3 up{0.0, 0.0, 1.0};
    const Vec3 outwards = Outwards(x);
    tooth.centre = MiddleLine(x) + outwards * shift + up * (0.5 * crown - 1.5);

    const double tiltAlong = 0.05 * random.Signed();
    const double turn = 0.05 * random.Signed();
    const double tiltOut = 0.05 * random.Signed();
    const Vec3 along = Normalized(Along(x) + up * tiltAlong + outwards * turn);
    const Vec3 roughOut = outwards + up * tiltOut;
    const Vec3 out = Normalized(roughOut - along * Dot(along, roughOut));
    tooth.axes = {along, out, Cross(along, out)};

    const auto cuspAt = [&](double a, double b) {
        const Vec3 local{a * shape.width, b * shape.depth, radii[2] - 1.5};
        tooth.cusps.push_back({tooth.centre + tooth.axes[0] * local.x + tooth.axes[1] * local.y +
                                   tooth.axes[2] * local.z,
                               1.7 * size});
    };
    if (shape.cusps == 1) cuspAt(0.0, 0.05);
    if (shape.cusps == 2) {
        for (const double b : {-0.21, 0.21}) cuspAt(0.0, b);
    }
    if (shape.cusps == 4) {
        for (const double b : {-0.21, 0.21}) {
            for (const double a : {-0.2, 0.2}) cuspAt(a, b);
        }
    }
    tooth.reach = std::max({radii[0], radii[1], radii[2]}) + 1.0;
    const double shade = 8.0 * random.Signed();
    tooth.colour = {232.0 + shade, 222.0 + shade, 198.0 + 1.3 * shade};
    teeth_.push_back(std::move(tooth));
}

double DentalArch::Tooth::Distance(const Vec3& p) const
{
    const Vec3 d = p - centre;
    double distance =
        EllipsoidDistance(Dot(d, axes[0]), Dot(d, axes[1]), Dot(d, axes[2]), inverseRadii);
    for (const auto& cusp : cusps) {
        distance = SmoothMin(distance, Length(p - cusp.centre) - cusp.radius, c_cuspBlend);
    }
    return distance;
}

DentalArch::Probe DentalArch::probe(const Vec3& p) const
{
    const double gum = GumDistance(p);
    double nearest = 1e9;
    std::size_t nearestTooth = 0;
    for (std::size_t i = 0; i < teeth_.size(); ++i) {
        const Tooth& tooth = teeth_[i];
        const Vec3 d = p - tooth.centre;
        const double matters = std::min(nearest, gum) + c_cuspBlend + tooth.reach;
        if (matters <= 0.0 || Dot(d, d) >= matters * matters) continue;
        const double distance = tooth.Distance(p);
        if (distance < nearest) nearestTooth = i;
        nearest = SmoothMin(nearest, distance, c_toothBlend);
    }
    return {SmoothMin(nearest, gum, c_gumBlend), nearest < gum, nearestTooth};
}

DentalArch::Feature DentalArch::FeatureAt(const Vec3& p) const
{
    constexpr double h = c_probeStep;
    const Probe here = probe(p);
    const std::array<Vec3, 3> steps{{{h, 0.0, 0.0}, {0.0, h, 0.0}, {0.0, 0.0, h}}};
    std::array<double, 3> slope{};
    double laplacian = 0.0;
    for (std::size_t i = 0; i < 3; ++i) {
        const double above = Distance(p + steps[i]);
        const double below = Distance(p - steps[i]);
        slope[i] = (above - below) / (2.0 * h);
        laplacian += (above - 2.0 * here.distance + below) / (h * h);
    }
    const Vec3 gradient{slope[0], slope[1], slope[2]};
    Feature feature;
    feature.normal = Normalized(gradient);
    // The mean curvature of a level set is the divergence of its normals, halved.
    const Vec3 step = feature.normal * h;
    const double alongNormal =
        (Distance(p + step) - 2.0 * here.distance + Distance(p - step)) / (h * h);
    feature.meanCurvature = 0.5 * (laplacian - alongNormal) / std::max(Length(gradient), 1e-9);

    if (here.isTooth) {
        feature.tissue = Tissue::Tooth;
        feature.colour = teeth_[here.tooth].colour;
        const double neck = std::clamp((4.0 - p.z) / 4.0, 0.0, 1.0);
        feature.colour[1] -= 14.0 * neck;
        feature.colour[2] -= 36.0 * neck;
    } else {
        const double margin = std::clamp(p.z, 0.0, 1.0);
        feature.colour = {206.0 + 16.0 * margin, 112.0 + 14.0 * margin, 114.0 + 12.0 * margin};
    }
    return feature;
}

} // namespace scansession
