#include "platform/math3d/cyboundingbox3d.h"
#include "platform/math3d/cyboundingsphere.h"
#include "tests/platform/math3d/randommatrices.h"
#include "tests/support/rounds.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace
{

constexpr float c_infinity = std::numeric_limits<float>::infinity();
constexpr float c_nan = std::numeric_limits<float>::quiet_NaN();

CbVector3f RandomPoint(std::mt19937& random)
{
    std::uniform_real_distribution<float> value(-50.0F, 50.0F);
    const float x = value(random);
    const float y = value(random);
    return {x, y, value(random)};
}

} // namespace

TEST(BoundingBox, IsEmptyFromTheStartAndStaysSoWhenTransformed)
{
    CyBoundingBox3D box;
    EXPECT_TRUE(box.IsEmpty());
    EXPECT_EQ((CbVector3f{c_infinity, c_infinity, c_infinity}), box.GetMin());
    EXPECT_EQ((CbVector3f{-c_infinity, -c_infinity, -c_infinity}), box.GetMax());
    CbMatrix4Rf shift;
    shift[3][0] = 1;
    box.Transform(shift);
    EXPECT_EQ(CyBoundingBox3D(), box);
}

TEST(BoundingBox, IsNotChangedByAnEmptyOne)
{
    CyBoundingBox3D box({1, 2, 3}, {4, 5, 6});
    box.Extend(CyBoundingBox3D());
    box.Extend(CyBoundingBox3D({0, 9, 0}, {9, 0, 9})); // upside down in one axis
    EXPECT_EQ(CyBoundingBox3D({1, 2, 3}, {4, 5, 6}), box);
    CyBoundingBox3D empty;
    empty.Extend(box);
    EXPECT_EQ(box, empty);
}

TEST(BoundingBox, OfOnePointIsNotEmpty)
{
    CyBoundingBox3D box;
    box.Extend({1, 2, 3});
    EXPECT_FALSE(box.IsEmpty());
    EXPECT_EQ(CyBoundingBox3D({1, 2, 3}, {1, 2, 3}), box);
    box.Extend({c_nan, 5, c_nan});
    EXPECT_EQ(CyBoundingBox3D({1, 2, 3}, {1, 5, 3}), box);
}

TEST(BoundingBox, TransformedIsTheBoxOfItsCorners)
{
    std::mt19937 random(6);
    for (int round = 0; round < Rounds(5000); ++round) {
        SCOPED_TRACE(round);
        CyBoundingBox3D box;
        box.Extend(RandomPoint(random));
        box.Extend(RandomPoint(random));
        const auto m = RandomMatrix<float>(random, 2.0F);

        std::vector<float> x;
        std::vector<float> y;
        std::vector<float> z;
        for (const float cx : {box.GetMin().x, box.GetMax().x}) {
            for (const float cy : {box.GetMin().y, box.GetMax().y}) {
                for (const float cz : {box.GetMin().z, box.GetMax().z}) {
                    x.push_back(cx * m[0][0] + cy * m[1][0] + cz * m[2][0] + m[3][0]);
                    y.push_back(cx * m[0][1] + cy * m[1][1] + cz * m[2][1] + m[3][1]);
                    z.push_back(cx * m[0][2] + cy * m[1][2] + cz * m[2][2] + m[3][2]);
                }
            }
        }
        box.Transform(m);
        const auto [minX, maxX] = std::minmax_element(x.begin(), x.end());
        const auto [minY, maxY] = std::minmax_element(y.begin(), y.end());
        const auto [minZ, maxZ] = std::minmax_element(z.begin(), z.end());
        ASSERT_EQ(CyBoundingBox3D({*minX, *minY, *minZ}, {*maxX, *maxY, *maxZ}), box);
    }
}

TEST(BoundingSphere, HoldsPointsUpToItsRadius)
{
    const CyBoundingSphere sphere({1, 2, 3}, 5);
    EXPECT_TRUE(sphere.Contains({1, 2, 3}));
    EXPECT_TRUE(sphere.Contains({4, 6, 3}));
    EXPECT_FALSE(sphere.Contains({4, 6, 3.01F}));
    EXPECT_FALSE(sphere.Contains({c_nan, 2, 3}));
    // Squares would overflow in single precision.
    EXPECT_TRUE(CyBoundingSphere({0, 0, 0}, 1e30F).Contains({1e30F, 0, 0}));
    EXPECT_FALSE(CyBoundingSphere({0, 0, 0}, 1e30F).Contains({1e30F, 1e25F, 0}));
}

TEST(BoundingSphere, WithARadiusThatIsNegativeOrNaNHoldsNothing)
{
    EXPECT_FALSE(CyBoundingSphere({1, 2, 3}, -1).Contains({1, 2, 3}));
    EXPECT_FALSE(CyBoundingSphere({1, 2, 3}, c_nan).Contains({1, 2, 3}));
    EXPECT_FALSE(CyBoundingSphere().Contains({0, 0, 0}));
    EXPECT_TRUE(CyBoundingSphere({1, 2, 3}, 0).Contains({1, 2, 3}));
}
