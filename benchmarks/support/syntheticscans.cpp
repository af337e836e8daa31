#include "benchmarks/support/syntheticscans.h"

#include "platform/math3d/cbmatrixinternal.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace
{

constexpr int c_columns = 250;
constexpr int c_rows = 200;
constexpr double c_pitch = 0.08;

struct SurfacePoint
{
    double height;
    CbVector3f normal;
};

SurfacePoint surfaceAt(double x, double y)
{
    const double a = 0.105 * x, b = 0.08 * y, c = 0.33 * x + 0.5, d = 0.29 * y;
    const double e = 4.1 * x + 1.3 * y;
    const double slopeX =
        0.68 * std::cos(a) * std::cos(b) + 0.73 * std::cos(c) * std::sin(d) + 0.6 * std::cos(e);
    const double slopeY =
        -0.52 * std::sin(a) * std::sin(b) + 0.64 * std::sin(c) * std::cos(d) + 0.2 * std::cos(e);
    return {10 + 6.5 * std::sin(a) * std::cos(b) + 2.2 * std::sin(c) * std::sin(d) +
                0.15 * std::sin(e),
            {static_cast<float>(-slopeX), static_cast<float>(-slopeY), 1.0F}};
}

CbMatrix4Rd turn(int axis, double angle)
{
    CbMatrix4Rd matrix;
    const int first = (axis + 1) % 3;
    const int second = (axis + 2) % 3;
    matrix[first][first] = matrix[second][second] = std::cos(angle);
    matrix[first][second] = std::sin(angle);
    matrix[second][first] = -std::sin(angle);
    return matrix;
}

class ScanMaker
{
public:
    SyntheticScan Make(std::uint32_t count, double placeOnArch)
    {
        const double angle = 3.1 * placeOnArch;
        const double centreX = 30 - 19 * std::cos(angle) + uniform(2);
        const double centreY = 10 + 58 * std::sin(angle) + uniform(2);
        const double heading = uniform(3.1);
        CbMatrix4Rd pose = Compose(turn(0, uniform(0.35)), turn(1, uniform(0.35)));
        pose = Compose(pose, turn(2, heading));
        pose[3][0] = centreX;
        pose[3][1] = centreY;
        pose[3][2] = surfaceAt(centreX, centreY).height;
        CbMatrix4Rd fromCommon = pose;
        CbMatrixInternal::Invert(fromCommon);

        const auto surfels = CbMake<ZeCSurfelCollectionQMT>(
            count, true, ZeCSurfelContainer::ESurfelAttributeSet::Complete, nullptr);
        for (std::uint32_t i = 0; i < count; ++i) {
            const double u = (static_cast<int>(i) % c_columns - c_columns / 2) * c_pitch;
            const double v = (static_cast<int>(i) / c_columns - c_rows / 2) * c_pitch;
            const double x =
                centreX + std::cos(heading) * u - std::sin(heading) * v + uniform(0.01);
            const double y =
                centreY + std::sin(heading) * u + std::cos(heading) * v + uniform(0.01);
            const SurfacePoint point = surfaceAt(x, y);
            surfels->GetPositionAccessor()[i] = {static_cast<float>(x), static_cast<float>(y),
                                                 static_cast<float>(point.height + uniform(0.02))};
            surfels->GetNormalAccessor()[i] = ZeCQuantizedNormal(point.normal);
            const auto red = static_cast<std::uint8_t>(128 + 100 * std::sin(0.5 * x));
            surfels->GetColorAccessor()[i] = {red, static_cast<std::uint8_t>(255 - red), 90, 0};
            surfels->GetQualityAccessor()[i] = static_cast<float>(0.6 + uniform(0.4));
            surfels->GetTissueTypeAccessor()[i] = std::sin(0.33 * x) > 0 ? 1 : 0;
        }
        SyntheticScan scan{CbMake<ZeCSurfelCollectionQMT>(), ToFloat(pose)};
        scan.surfels->Append(*surfels, ToFloat(fromCommon));
        return scan;
    }

private:
    double uniform(double amplitude)
    {
        return std::uniform_real_distribution<double>(-amplitude, amplitude)(random_);
    }

    std::mt19937 random_{2024};
};

} // namespace

std::vector<SyntheticScan> MakeSyntheticScans(std::size_t total)
{
    constexpr std::size_t c_perScan = std::size_t{c_columns} * c_rows;
    ScanMaker maker;
    std::vector<SyntheticScan> scans;
    for (std::size_t first = 0; first < total; first += c_perScan) {
        // Three times along the arch.
        const double place =
            std::fmod(3.0 * static_cast<double>(first) / static_cast<double>(total), 1.0);
        scans.push_back(
            maker.Make(static_cast<std::uint32_t>(std::min(c_perScan, total - first)), place));
    }
    return scans;
}
