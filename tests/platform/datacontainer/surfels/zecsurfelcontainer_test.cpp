#include "platform/base/cbexception.h"
#include "platform/datacontainer/surfels/zecsurfelcontainer.h"
#include "tests/platform/datacontainer/surfels.h"
#include "tests/support/rounds.h"

#include <vector>

namespace
{

CbMatrix4Rf Linear(const float (&m)[9])
{
    CbMatrix4Rf matrix;
    for (int i = 0; i < 9; ++i) matrix[i / 3][i % 3] = m[i];
    return matrix;
}

CbMatrix4Rf Turn(float angle)
{
    const float c = std::cos(angle);
    const float s = std::sin(angle);
    return Compose(Linear({c, s, 0, -s, c, 0, 0, 0, 1}), Linear({1, 0, 0, 0, c, s, 0, -s, c}));
}

struct NamedMatrix
{
    const char* name;
    CbMatrix4Rf matrix;
    bool keepsNormals = false;
};

std::vector<NamedMatrix> Matrices()
{
    return {{"identity", {}, true},
            {"shift", ShiftBy(1, -2, 3), true},
            {"turn and shift", Compose(Turn(-2.1F), ShiftBy(4, 5, 6))},
            {"mirror", Linear({-1, 0, 0, 0, 1, 0, 0, 0, 1})},
            {"stretch and turn", Compose(Linear({5, 0, 0, 0, 1, 0, 0, 0, 0.3F}), Turn(1.1F))},
            {"shear", Linear({1, 0.4F, 0, 0, 1, -0.8F, 0.2F, 0, 1})},
            {"stretched mirror", Linear({1, 0, 0, 0, -2, 0.5F, 0, 0, 4})},
            {"flat", Linear({1, 0, 0, 0, 1, 0, 0, 0, 0}), true},
            {"huge", Linear({3e38F, 0, 0, 0, 2e38F, 1e38F, 0, 0, 3e38F})},
            {"tiny", Linear({1e-40F, 0, 0, 0, 2e-40F, 0, 0, 0, 1e-40F})},
            {"not a number", Linear({1, 0, 0, 0, c_nan, 0, 0, 0, 1}), true}};
}

} // namespace

TEST(SurfelQuality, IsStoredInSteps)
{
    const auto surfels = Neutral(2);
    const auto quality = surfels->GetQualityAccessor();
    const std::pair<float, int> cases[] = {{-1.0F, 0},        {2.0F, 255}, {c_nan, 0},
                                           {c_infinity, 255}, {0.5F, 128}, {0.001F, 0},
                                           {-c_infinity, 0}};
    for (const auto& [value, byte] : cases) {
        quality[0] = value;
        EXPECT_EQ(byte, quality.data()[0]) << value;
    }
    quality[0] = 0.2F;
    quality[1] = quality[0];
    EXPECT_EQ(51, quality.data()[1]);
}

TEST(CopyingSurfels, OneByOneAndTogetherGivesTheSameBits)
{
    std::mt19937 random(9);
    for (const NamedMatrix& m : Matrices()) {
        for (const std::uint32_t count : {1U, 3U, 63U, 64U, 65U, 1000U}) {
            for (const bool transformNormals : {false, true}) {
                SCOPED_TRACE(std::string(m.name) + ", " + std::to_string(count));
                const auto source = RandomSurfels(random, count + 5);
                const auto single = Neutral(count + 9);
                const auto together = Neutral(count + 9);
                for (std::uint32_t i = 0; i < count; ++i) {
                    single->CopySurfel(i + 7, *source, i + 2, transformNormals, m.matrix);
                }
                together->CopySurfels(7, *source, 2, count, transformNormals, m.matrix);
                ExpectSameSurfels(*single, *together);
            }
        }
    }
}

TEST(CopyingSurfels, MapsPositionsAndKeepsWhatHasNoFrame)
{
    std::mt19937 random(10);
    const CbMatrix4Rf m = Compose(Turn(0.3F), ShiftBy(1, 2, 3));
    const auto source = RandomSurfels(random, 100);
    const auto copy = Neutral(100);
    source->GetPositionAccessor()[0] = {-0.0F, c_infinity, c_nan};
    copy->CopySurfels(0, *source, 0, 100, true, c_matIdentityF);
    ExpectSameSurfels(*source, *copy);
    source->GetPositionAccessor()[0] = {};
    copy->CopySurfels(0, *source, 0, 100, false, m);
    for (std::uint32_t i = 0; i < 100; ++i) {
        EXPECT_EQ(TransformPoint(source->GetPositionAccessor()[i], m),
                  copy->GetPositionAccessor()[i]);
    }
    const auto before = SurfelArrays(*source), after = SurfelArrays(*copy);
    EXPECT_TRUE(std::equal(before.begin() + 1, before.end(), after.begin() + 1));
    copy->CopySurfels(0, *source, 0, 100, true, m);
    for (std::uint32_t i = 0; i < 100; ++i) source->CopySurfel(i, *source, i, true, m);
    ExpectSameSurfels(*copy, *source);
}

TEST(CopyingSurfels, TurnsNormalsWithTheSurface)
{
    std::mt19937 random(11);
    const auto source = RandomSurfels(random, 2000);
    for (const NamedMatrix& m : Matrices()) {
        SCOPED_TRACE(m.name);
        const auto copy = Neutral(2000);
        copy->CopySurfels(0, *source, 0, 2000, true, m.matrix);
        for (std::uint32_t i = 0; i < 2000; ++i) {
            const auto before = source->GetNormalAccessor()[i];
            const auto after = copy->GetNormalAccessor()[i];
            if (m.keepsNormals) {
                ASSERT_EQ(before, after);
                continue;
            }
            const auto expected = MappedNormal(before.GetNormal(), m.matrix);
            ASSERT_GT(CosineBetween(expected, Coordinates(after.GetNormal())),
                      std::cos(0.95 / 57.29));
        }
    }
}

TEST(CopyingSurfels, OutsideTheContainersThrowsAndWritesNothing)
{
    std::mt19937 random(12);
    const auto source = RandomSurfels(random, 10);
    const auto target = RandomSurfels(random, 20);
    auto before = Neutral(0);
    before->Append(*target, c_matIdentityF);
    const CbMatrix4Rf turn = Turn(1);
    constexpr std::uint32_t c_most = std::numeric_limits<std::uint32_t>::max();

    EXPECT_THROW(target->CopySurfel(c_most, *source, c_most, true, turn), CbException);
    EXPECT_THROW(target->CopySurfels(0, *source, 1, 10, true, turn), CbException);
    EXPECT_THROW(target->CopySurfels(11, *source, 0, 10, true, turn), CbException);
    EXPECT_THROW(target->CopySurfels(1, *source, 1, c_most, true, turn), CbException);
    EXPECT_THROW(target->CopySurfels(5, *target, 0, 6, true, turn), CbException);
    target->CopySurfels(99, *source, 99, 0, true, turn);
    ExpectSameSurfels(*before, *target);
    target->CopySurfels(6, *target, 0, 6, true, turn);
}

TEST(AppendingSurfels, KeepsWhatIsThereAndAddsTheOthersTransformed)
{
    std::mt19937 random(14);
    const CbMatrix4Rf m = Compose(Turn(2), ShiftBy(1, 2, 3));
    const auto part = RandomSurfels(random, 700);
    const auto merged = Neutral(0);
    merged->Append(*part, m);
    merged->Append(*merged, c_matIdentityF);
    const auto expected = Neutral(1400);
    for (const std::uint32_t at : {0U, 700U}) expected->CopySurfels(at, *part, 0, 700, true, m);
    ExpectSameSurfels(*expected, *merged);
}

TEST(BoxOfSurfels, HoldsThePositionsThatAreFinite)
{
    EXPECT_EQ(CyBoundingBox3D(), Neutral(0)->GetBoundingBox());
    std::mt19937 random(15);
    for (int round = 0; round < Rounds(300); ++round) {
        const auto surfels = RandomSurfels(random, 1 + random() % 1600);
        const unsigned rarity = round % 2 == 0 ? 8 : 4000; // most blocks are all finite
        CyBoundingBox3D expected;
        for (auto& position : surfels->GetPositionAccessor()) {
            const auto kind = random() % rarity;
            if (kind == 0) position.x = c_nan;
            if (kind == 1) position.y = -c_infinity;
            if (kind == 2) position.z = c_infinity;
            if (kind > 2) expected.Extend(position);
        }
        ASSERT_EQ(expected, surfels->GetBoundingBox()) << "round " << round;
    }
}
