#include "examples/scansession/scans/rangescan.h"
#include "tests/examples/inputerrors.h"

#include <cmath>
#include <functional>
#include <limits>
#include <sstream>

using namespace scansession;

namespace
{

/// Writes a range image as a file: the height of each cell.
class RangeScans : public InputFiles
{
protected:
    static constexpr int c_columns = 21;
    static constexpr int c_rows = 15;
    static constexpr int c_points = c_columns * c_rows;

    using Height = std::function<double(double x, double y)>;

    std::vector<Surfel> ScanOf(const Height& height, double step = 0.1) const
    {
        std::ostringstream points;
        std::ostringstream cells;
        int count = 0;
        for (int row = 0; row < c_rows; ++row) {
            for (int column = 0; column < c_columns; ++column) {
                const double x = column - c_columns / 2;
                const double y = row - c_rows / 2;
                const double z = height(x, y);
                if (std::isinf(z)) { // an empty cell
                    cells << "0\n";
                    continue;
                }
                points << x * step << ' ' << y * step << ' ' << z * step << '\n';
                cells << "1 " << count++ << '\n';
            }
        }
        std::ostringstream file;
        file << "ply\nformat ascii 1.0\nobj_info num_cols " << c_columns << "\nobj_info num_rows "
             << c_rows << "\nelement vertex " << count
             << "\nproperty double x\nproperty double y\nproperty double z\nelement range_grid "
             << c_points << "\nproperty list uchar int vertex_indices\nend_header\n"
             << points.str() << cells.str();
        return ReadRangeScan(Write("range.ply", file.str())).surfels;
    }

    static std::size_t At(int column, int row)
    {
        return static_cast<std::size_t>((row + c_rows / 2) * c_columns + column + c_columns / 2);
    }
};

const std::string c_xyz = "property float x\nproperty float y\nproperty float z\n";

} // namespace

TEST_F(RangeScans, OfASphereHaveItsNormalsAndCurvature)
{
    constexpr double c_radius = 40.0;
    // The unit does not matter; convex and concave.
    for (const auto& [step, sign] : {std::pair(1e-3, 1.0), std::pair(1.0, -1.0)}) {
        SCOPED_TRACE(step);
        const double factor = sign; // lambdas do not capture parts of a pair
        const auto surfels = ScanOf(
            [factor](double x, double y) {
                return factor * std::sqrt(c_radius * c_radius - x * x - y * y);
            },
            step);
        ASSERT_EQ(surfels.size(), std::size_t{c_points});
        for (int i = 0; i < c_points; ++i) {
            const Surfel& surfel = surfels[static_cast<std::size_t>(i)];
            const int row = i / c_columns;
            const int column = i % c_columns;
            const bool isEdge =
                row == 0 || column == 0 || row == c_rows - 1 || column == c_columns - 1;
            ASSERT_EQ(surfel.boundary, isEdge);
            const Vec3 expected = Normalized(surfel.position) * sign;
            ASSERT_GT(Dot(surfel.normal, expected), isEdge ? 0.998 : 0.99999);
            if (isEdge) continue;
            // Ten steps to a radius of 40 steps: a quarter of the code's range.
            ASSERT_NEAR(surfel.curvature, 128.0 + sign * 127.0 / 4.0, 2.0);
            ASSERT_NEAR(surfel.quality, surfel.normal.z, 1e-12);
        }
    }
}

TEST_F(RangeScans, AreNotBridgedAtEdgesInDepthNorWhereAPointIsNotFinite)
{
    const auto surfels = ScanOf([](double x, double y) {
        if (x == 2.0 && y == 1.0) return std::numeric_limits<double>::quiet_NaN();
        if (x == -5.0 && y == -4.0) return std::numeric_limits<double>::infinity();
        return x < 0.0 ? 0.0 : 8.0;
    });
    EXPECT_EQ(surfels.size(), std::size_t{c_points} - 2);
    EXPECT_TRUE(surfels[At(-4, -4) - 1].boundary) << "beside the empty cell";
    for (int column = -3; column <= 3; ++column) {
        const Surfel& surfel = surfels[At(column, 2) - 2]; // two in front of it are left out
        EXPECT_GT(surfel.normal.z, 1.0 - 1e-12) << "leans over the edge";
        EXPECT_EQ(surfel.boundary, column == -1 || column == 0 || column == 2);
        EXPECT_NEAR(surfel.quality, surfel.boundary ? 0.75 : 1.0, 1e-12);
    }
}

TEST_F(RangeScans, ThatCannotBeUsedAreRefusedByName)
{
    const auto grid = [](const std::string& infos, const std::string& cells, int count) {
        return "ply\nformat ascii 1.0\n" + infos + "element vertex 2\n" + c_xyz +
               "element range_grid " + std::to_string(count) +
               "\nproperty list uchar int vertex_indices\nend_header\n0 0 0\n1 0 0\n" + cells;
    };
    const std::string sizes = "obj_info num_cols 2\nobj_info num_rows 1\n";
    const std::pair<std::string, const char*> cases[] = {
        {"ply\nformat ascii 1.0\nend_header\n", "has no vertices"},
        {"ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\nend_header\n1\n",
         "no x, y and z"},
        {grid("obj_info num_cols 2\n", "1 0\n1 1\n", 2), "obj_info num_rows"},
        {grid("obj_info num_cols 2.5\n", "1 0\n1 1\n", 2), "obj_info num_cols"},
        {grid(sizes, "1 0\n", 1), "has 1 cells instead of 2 x 1"},
        {grid(sizes, "1 0\n1 2\n", 2), "cell 1 of the range grid"},
        {grid(sizes, "1 -1\n1 1\n", 2), "cell 0 of the range grid"},
        {grid(sizes, "2 0 1\n0\n", 2), "cell 0 of the range grid"},
    };
    for (const auto& [content, reason] : cases) {
        ExpectRefused(content, reason, [](const auto& path) { (void)ReadRangeScan(path); });
    }
}
