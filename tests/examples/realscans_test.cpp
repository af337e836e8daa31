#include "examples/scansession/scans/poses.h"
#include "examples/scansession/scans/scanfolder.h"
#include "examples/scansession/simulator/random.h"
#include "tests/examples/scandata.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

using namespace scansession;

namespace
{

/// Distance of a point to the nearest of other scans.
double DistanceToOthers(const Vec3& p, std::size_t own, const std::vector<std::vector<Vec3>>& scans)
{
    double nearest = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < scans.size(); ++i) {
        if (i == own) continue;
        for (const Vec3& other : scans[i]) nearest = std::min(nearest, Dot(other - p, other - p));
    }
    return std::sqrt(nearest);
}

} // namespace

TEST(RealScans, LieOnEachOtherInTheCommonFrame)
{
    const auto folder = ScanDataFolder() / "bunny";
    if (!std::filesystem::exists(folder)) GTEST_SKIP() << "no scan data in " << folder;

    const ScanFolder source(folder, folder / "bun.conf");
    ASSERT_EQ(source.Count(), 10U);
    EXPECT_TRUE(source.LeftOut().empty());

    std::vector<std::vector<Vec3>> scans;
    for (std::size_t i = 0; i < source.Count(); ++i) {
        const Scan scan = source.Take(i);
        auto& points = scans.emplace_back();
        double towardsSensor = 0.0;
        double boundary = 0.0;
        for (const auto& surfel : scan.surfels) {
            points.push_back(MapPoint(surfel.position, scan.sensorToRoot));
            towardsSensor += surfel.normal.z > 0.0 ? 1.0 : 0.0;
            boundary += surfel.boundary ? 1.0 : 0.0;
        }
        const auto count = static_cast<double>(points.size());
        EXPECT_GT(towardsSensor / count, 0.9999) << scan.name;
        EXPECT_LT(boundary / count, 0.2) << scan.name;
    }

    std::size_t all = 0;
    for (const auto& points : scans) all += points.size();
    EXPECT_EQ(all, 362272U);

    Random random(11);
    for (std::size_t i = 0; i < scans.size(); ++i) {
        std::vector<double> distances;
        for (int sample = 0; sample < 101; ++sample) {
            const auto& p = scans[i][random.Next() % scans[i].size()];
            distances.push_back(DistanceToOthers(p, i, scans));
        }
        std::nth_element(distances.begin(), distances.begin() + 50, distances.end());
        EXPECT_LE(distances[50], 0.00035) << "median of scan " << i;
    }
}
