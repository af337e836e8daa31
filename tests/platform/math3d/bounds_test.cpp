#include "platform/math3d/cyboundingbox3d.h"
#include "platform/math3d/cyboundingsphere.h"
#include "tests/platform/math3d/randommatrices.h"
#include "tests/support/rounds.h"

#include <gtest/gtest.h>
#include <limits>

namespace
{

constexpr float c_nan = std::numeric_limits<float>::quiet_NaN();

CbVector3f RandomPoint(std::mt19937& random)
{
    std::uniform_real_distribution<float> value(-50.0F, 50.0F);
    const float x = value(random);
    const float y = value(random);
    return {x, y, value(random)};
}

} // namespace

TEST(BoundingBox, GrowsByPointsAndBoxesThatAreNotEmpty)
{
    CyBoundingBox3D box;
    EXPECT_TRUE(box.IsEmpty());
    CbMatrix4Rf shift;
    shift[3][0] = 1;
    box.Transform(shift);
    EXPECT_EQ(CyBoundingBox3D(), box) << "still as empty as before";
    box.Extend({1, 2, 3});
    EXPECT_FALSE(box.IsEmpty());
    box.Extend({c_nan, 5, c_nan});
    box.Extend(CyBoundingBox3D());
    box.Extend(CyBoundingBox3D({0, 9, 0}, {9, 0, 9})); // upside down in one axis
    EXPECT_EQ(CyBoundingBox3D({1, 2, 3}, {1, 5, 3}), box);
    CyBoundingBox3D empty;
    empty.Extend(box);
    EXPECT_EQ(box, empty);
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

        CyBoundingBox3D expected;
        for (const float x : {box.GetMin().x, box.GetMax().x}) {
            for (const float y : {box.GetMin().y, box.GetMax().y}) {
                for (const float z : {box.GetMin().z, box.GetMax().z}) {
                    expected.Extend({x * m[0][0] + y * m[1][0] + z * m[2][0] + m[3][0],
                                     x * m[0][1] + y * m[1][1] + z * m[2][1] + m[3][1],
                                     x * m[0][2] + y * m[1][2] + z * m[2][2] + m[3][2]});
                }
            }
        }
        box.Transform(m);
        ASSERT_EQ(expected, box);
    }
}

TEST(BoundingSphere, HoldsPointsUpToItsRadius)
{
    const CyBoundingSphere sphere({1, 2, 3}, 5);
    EXPECT_TRUE(sphere.Contains({4, 6, 3}));
    EXPECT_FALSE(sphere.Contains({4, 6, 3.01F}));
    EXPECT_FALSE(sphere.Contains({c_nan, 2, 3}));
    // Squares would overflow in single precision.
    EXPECT_TRUE(CyBoundingSphere({0, 0, 0}, 1e30F).Contains({1e30F, 0, 0}));
    EXPECT_FALSE(CyBoundingSphere({0, 0, 0}, 1e30F).Contains({1e30F, 1e25F, 0}));

    EXPECT_TRUE(CyBoundingSphere({1, 2, 3}, 0).Contains({1, 2, 3}));
    EXPECT_FALSE(CyBoundingSphere({1, 2, 3}, -1).Contains({1, 2, 3}));
    EXPECT_FALSE(CyBoundingSphere({1, 2, 3}, c_nan).Contains({1, 2, 3}));
    EXPECT_FALSE(CyBoundingSphere().Contains({0, 0, 0}));
}
