#include "examples/scansession/simulator/scanner.h"

#include "examples/scansession/scans/poses.h"
#include "examples/scansession/simulator/random.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace scansession
{

namespace
{

constexpr std::ptrdiff_t c_columns = 160;
constexpr std::ptrdiff_t c_rows = 120;
constexpr double c_pixel = 0.1;            // mm at the working distance
constexpr double c_workingDistance = 14.0; // from the sensor to what it looks at, mm
constexpr double c_nearest = 3.0;          // range of depths that the sensor sees, mm
constexpr double c_farthest = 26.0;
constexpr double c_hit = 1e-5;        // mm
constexpr double c_leastSlant = 0.15; // cosine between normal and ray
constexpr double c_depthEdge = 1.0;   // a step in depth beyond this parts neighbours, mm
constexpr double c_noDepth = -1.0;
constexpr double c_smallestRadius = 1.0; // of the curvature code, mm

/// The ray of a pixel in the sensor's frame, length 1.
Vec3 RayOf(std::ptrdiff_t row, std::ptrdiff_t column)
{
    const double x = (static_cast<double>(column - c_columns / 2) + 0.5) * c_pixel;
    const double y = (static_cast<double>(row - c_rows / 2) + 0.5) * c_pixel;
    return Normalized({x, y, -c_workingDistance});
}

/// Distance along the ray to the first surface, or c_noDepth.
double CastRay(const DentalArch& arch, const Vec3& origin, const Vec3& direction)
{
    constexpr int c_steps = 96;
    constexpr double c_caution = 0.75; // the field may overstate distances
    double outside = c_nearest;
    double t = c_nearest;
    for (int i = 0; i < c_steps && t < c_farthest; ++i) {
        const double distance = arch.Distance(origin + direction * t);
        if (distance >= 0.0 && distance < c_hit) return t;
        if (distance < 0.0) {
            if (i == 0) return c_noDepth; // the sensor is too close
            double inside = t;
            while (inside - outside > c_hit) {
                const double middle = 0.5 * (inside + outside);
                (arch.Distance(origin + direction * middle) < 0.0 ? inside : outside) = middle;
            }
            return outside;
        }
        outside = t;
        t += std::max(c_caution * distance, c_hit);
    }
    return c_noDepth;
}

/// Depths of an image, row by row, with a frame of empty pixels around it.
class DepthImage
{
public:
    DepthImage() : depths_((c_columns + 2) * (c_rows + 2), c_noDepth) {}

    double& At(std::ptrdiff_t row, std::ptrdiff_t column)
    {
        return depths_[static_cast<std::size_t>((row + 1) * (c_columns + 2) + column + 1)];
    }

    /// True if one of the four neighbours was not seen or lies beyond an edge in depth.
    bool IsBoundary(std::ptrdiff_t row, std::ptrdiff_t column)
    {
        const double here = At(row, column);
        const std::array neighbours{At(row, column + 1), At(row + 1, column), At(row, column - 1),
                                    At(row - 1, column)};
        return std::any_of(neighbours.begin(), neighbours.end(), [&](double depth) {
            return depth == c_noDepth || std::abs(depth - here) > c_depthEdge;
        });
    }

private:
    std::vector<double> depths_;
};

/// Turns a direction by the transposed 3x3 part.
Vec3 TurnBack(const Vec3& d, const CbMatrix4Rd& m)
{
    return {d.x * m[0][0] + d.y * m[0][1] + d.z * m[0][2],
            d.x * m[1][0] + d.y * m[1][1] + d.z * m[1][2],
            d.x * m[2][0] + d.y * m[2][1] + d.z * m[2][2]};
}

std::uint8_t ToByte(double value)
{
    return static_cast<std::uint8_t>(std::floor(std::clamp(value, 0.0, 255.0)));
}

} // namespace

Scanner::Scanner(std::uint64_t seed, std::size_t frames) : seed_(seed), frames_(frames), arch_(seed)
{}

CbMatrix4Rd Scanner::poseOf(std::size_t index) const
{
    constexpr std::size_t c_passes = 3;
    const std::size_t pass = index * c_passes / frames_;
    const std::size_t begin = (pass * frames_ + c_passes - 1) / c_passes;
    const std::size_t end = ((pass + 1) * frames_ + c_passes - 1) / c_passes;
    const double done =
        end - begin < 2 ? 0.5
                        : static_cast<double>(index - begin) / static_cast<double>(end - begin - 1);
    const double side = (2.0 * done - 1.0) * (pass == 1 ? -1.0 : 1.0);

    Random random(seed_, 2 * index + 1);
    const double x = 25.0 * side;
    const double lift = 3.0 + 0.5 * random.Signed();
    const Vec3 target = DentalArch::MiddleLine(x) + Vec3{0.0, 0.0, lift};
    const std::array<double, c_passes> outwards{0.0, 1.0, -1.0};
    const double sway = 0.1 * random.Signed();
    const double pitch = 0.1 * random.Signed();
    const Vec3 along = DentalArch::Along(x);
    const Vec3 towardsSensor = Normalized(DentalArch::Outwards(x) * (1.2 * outwards[pass] + pitch) +
                                          along * sway + Vec3{0.0, 0.0, 1.0});
    const Vec3 right = Normalized(along - towardsSensor * Dot(towardsSensor, along));
    const Vec3 up = Cross(towardsSensor, right);
    const Vec3 origin = target + towardsSensor * c_workingDistance;
    const double values[16] = {
        right.x,         right.y,         right.z,         0.0, up.x,     up.y,     up.z,     0.0,
        towardsSensor.x, towardsSensor.y, towardsSensor.z, 0.0, origin.x, origin.y, origin.z, 1.0};
    return CbMatrix4Rd(values);
}

Scan Scanner::Take(std::size_t index) const
{
    Scan scan;
    scan.name = "frame " + std::to_string(index);
    scan.sensorToRoot = poseOf(index);
    const Vec3 origin = MapPoint({}, scan.sensorToRoot);

    DepthImage depths;
    for (std::ptrdiff_t row = 0; row < c_rows; ++row) {
        for (std::ptrdiff_t column = 0; column < c_columns; ++column) {
            depths.At(row, column) =
                CastRay(arch_, origin, MapDirection(RayOf(row, column), scan.sensorToRoot));
        }
    }

    Random random(seed_, 2 * index + 2);
    for (std::ptrdiff_t row = 0; row < c_rows; ++row) {
        for (std::ptrdiff_t column = 0; column < c_columns; ++column) {
            const double depth = depths.At(row, column);
            if (depth == c_noDepth) continue;
            const Vec3 ray = RayOf(row, column);
            const auto feature =
                arch_.FeatureAt(origin + MapDirection(ray, scan.sensorToRoot) * depth);
            const Vec3 normal = TurnBack(feature.normal, scan.sensorToRoot);
            const double slant = -Dot(normal, ray);
            if (slant < c_leastSlant) continue;

            Surfel& surfel = scan.surfels.emplace_back();
            surfel.position = ray * (depth + c_depthNoise * random.Bell());
            surfel.normal = normal;
            surfel.tissue = feature.tissue;
            surfel.boundary = depths.IsBoundary(row, column);
            surfel.curvature = CurvatureCode(feature.meanCurvature, c_smallestRadius);
            const double defocus = (depth - c_workingDistance) / c_workingDistance;
            surfel.quality = std::clamp(slant * (1.0 - defocus * defocus), 0.0, 1.0);
            const double light = 0.55 + 0.45 * slant;
            for (std::size_t i = 0; i < 3; ++i) {
                const double grain = 3.0 * random.Bell();
                surfel.colour[i] = ToByte(feature.colour[i] * light + grain);
            }
        }
    }
    return scan;
}

} // namespace scansession
