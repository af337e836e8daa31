#include "examples/scansession/poses.h"
#include "examples/scansession/random.h"
#include "examples/scansession/scanfolder.h"
#include "tests/examples/scandata.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <map>

using namespace scansession;

namespace
{

constexpr double c_cell = 0.002;

/// Points in cubic cells, for a nearest-neighbour search within the width of a cell.
class PointGrid
{
public:
    void Add(const Vec3& p, std::size_t scan) { cells_[cellOf(p)].push_back({p, scan}); }

    /// Distance to the nearest point of another scan; infinite beyond the width of a cell.
    [[nodiscard]] double DistanceToOthers(const Vec3& p, std::size_t scan) const
    {
        double nearest = std::numeric_limits<double>::infinity();
        const auto centre = cellOf(p);
        for (int i = 0; i < 27; ++i) {
            const auto found = cells_.find(
                {centre[0] + i % 3 - 1, centre[1] + i / 3 % 3 - 1, centre[2] + i / 9 - 1});
            if (found == cells_.end()) continue;
            for (const auto& [other, otherScan] : found->second) {
                if (otherScan != scan) nearest = std::min(nearest, Length(other - p));
            }
        }
        return nearest;
    }

private:
    using Cell = std::array<int, 3>;

    static Cell cellOf(const Vec3& p)
    {
        const auto index = [](double v) { return static_cast<int>(std::floor(v / c_cell)); };
        return {index(p.x), index(p.y), index(p.z)};
    }

    std::map<Cell, std::vector<std::pair<Vec3, std::size_t>>> cells_;
};

} // namespace

TEST(RealScans, LieOnEachOtherInTheCommonFrame)
{
    const auto folder = ScanDataFolder() / "bunny";
    if (!std::filesystem::exists(folder)) GTEST_SKIP() << "no scan data in " << folder;

    const ScanFolder source(folder, folder / "bun.conf");
    ASSERT_EQ(source.Count(), 10U);
    EXPECT_TRUE(source.LeftOut().empty());

    std::vector<std::vector<Vec3>> scans;
    PointGrid grid;
    for (std::size_t i = 0; i < source.Count(); ++i) {
        const Scan scan = source.Take(i);
        auto& points = scans.emplace_back();
        double towardsSensor = 0.0;
        double boundary = 0.0;
        for (const auto& surfel : scan.surfels) {
            points.push_back(MapPoint(surfel.position, scan.sensorToRoot));
            grid.Add(points.back(), i);
            towardsSensor += surfel.normal.z > 0.0 ? 1.0 : 0.0;
            boundary += surfel.boundary ? 1.0 : 0.0;
        }
        const auto count = static_cast<double>(points.size());
        EXPECT_GT(towardsSensor / count, 0.9999) << scan.name;
        EXPECT_LT(boundary / count, 0.2) << scan.name;
    }

    Random random(11);
    for (std::size_t i = 0; i < scans.size(); ++i) {
        std::vector<double> distances;
        for (int sample = 0; sample < 300; ++sample) {
            const auto& p = scans[i][random.Next() % scans[i].size()];
            distances.push_back(grid.DistanceToOthers(p, i));
        }
        std::nth_element(distances.begin(), distances.begin() + 150, distances.end());
        EXPECT_LE(distances[150], 0.00035) << "median of scan " << i;
    }
}
