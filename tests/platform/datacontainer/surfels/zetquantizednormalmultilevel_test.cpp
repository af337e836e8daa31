#include "platform/datacontainer/surfels/zetquantizednormalmultilevel.h"
#include "tests/platform/datacontainer/surfels.h"
#include "tests/support/rounds.h"

namespace
{

template<unsigned Level>
using NormalOfLevel =
    ZeTQuantizedNormalMultiLevel<CbVector3f, Level, ZeTQuantizedNormalMultiLevelTraitsFast>;

double AngleInDegrees(const CbVector3f& a, const CbVector3f& b)
{
    return std::acos(std::min(1.0, CosineBetween(Coordinates(a), Coordinates(b)))) * 57.29577951;
}

CbVector3f RandomDirection(std::mt19937& random)
{
    std::normal_distribution<float> value;
    const float x = value(random);
    const float y = value(random);
    return {x, y, value(random)};
}

} // namespace

TEST(QuantizedNormal, OfADecodedCodeIsThatCode)
{
    for (unsigned code = 0; code < 65536; ++code) {
        const auto normal = ZeCQuantizedNormal::FromCode(static_cast<std::uint16_t>(code));
        const auto n = Coordinates(normal.GetNormal());
        ASSERT_NEAR(1.0, Dot(n, n), 1e-6) << code;
        ASSERT_EQ(code, ZeCQuantizedNormal(normal.GetNormal()).GetCode());
    }
    for (unsigned code = 0; code < 256; ++code) {
        const auto normal = NormalOfLevel<3>::FromCode(static_cast<std::uint16_t>(code));
        ASSERT_EQ(code, NormalOfLevel<3>(normal.GetNormal()).GetCode());
    }
}

TEST(QuantizedNormal, IsOffByLessThanADegree)
{
    std::mt19937 random(7);
    double worst = 0;
    for (int round = 0; round < Rounds(1000000); ++round) {
        const CbVector3f direction = RandomDirection(random);
        const ZeCQuantizedNormal normal(direction);
        ASSERT_EQ(NormalOfLevel<3>(direction).GetCode(), normal.GetCode(3)) << "the coarser cell";
        const double error = AngleInDegrees(direction, normal.GetNormal());
        ASSERT_LE(error, 0.95) << direction.x << " " << direction.y << " " << direction.z;
        worst = std::max(worst, error);
    }
    EXPECT_GT(worst, 0.3) << "the directions are no test of the limit";
}

TEST(QuantizedNormal, OfNoDirectionIsUp)
{
    const auto up = ZeCQuantizedNormal(CbVector3f{0, 0, 1}).GetCode();
    EXPECT_EQ(up, ZeCQuantizedNormal().GetCode());
    EXPECT_LT(AngleInDegrees({0, 0, 1}, ZeCQuantizedNormal().GetNormal()), 0.95);
    EXPECT_EQ(NormalOfLevel<3>(CbVector3f{0, 0, 1}), NormalOfLevel<3>());

    for (const CbVector3f& direction :
         {CbVector3f{0, 0, 0}, CbVector3f{-0.0F, 0, -0.0F}, CbVector3f{c_infinity, 0, 0},
          CbVector3f{0, -c_infinity, 1}, CbVector3f{0, 0, -c_infinity}, CbVector3f{c_nan, 0, -1},
          CbVector3f{-1, c_nan, 0}, CbVector3f{1, 1, c_nan}}) {
        EXPECT_EQ(up, ZeCQuantizedNormal(direction).GetCode());
    }
}
