#include "platform/base/cbexception.h"
#include "tests/platform/datacontainer/sampling/naivesampler.h"
#include "tests/support/rounds.h"

#include <numeric>

TEST(GridSampler, GivesTheWeightedMeansOfTheUsedCells)
{
    struct Case
    {
        const char* name;
        Grid grid;
        float size = 40; ///< of the cloud
        std::uint32_t count = 3000;
    };
    const Case cases[] = {{"some surfels in each cell", {8, 0, 1, 1}},
                          {"half offset and gain", {8, 4, 6.5F, 20}},
                          {"about one surfel in each cell", {3, 0, 1, 3}},
                          {"one cell", {1000, 500, 6.5F, 1e6F}},
                          {"one cell, equal weights", {1000, 500, 1, 1e6F}},
                          {"hundreds of surfels in each cell", {20, 0, 1, 400}},
                          {"huge cells", {3e38F, 0, 2, 1}},
                          {"huge cells and positions", {1e37F, 0, 1, 1}, 2e38F},
                          {"negative size", {-8, 4, 1, c_infinity}},
                          {"far fewer surfels than cells", {0.01F, 0, 1, 2}, 40, 12000},
                          {"tiny cells", {4e-38F, 0, 1, 1}, 1e-36F},
                          {"cells too small for some", {1e-7F, 0, 1, 1}, 150},
                          {"cells too small for all", {1e-30F, 0, 1, 1}},
                          {"gain below 1", {8, 0, -5, c_nan}},
                          {"gain above 8", {8, 0, 1e9F, -c_infinity}},
                          {"an empty cloud", {1, 0, 1, 1}, 40, 0}};
    std::mt19937 random(20);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        for (int round = 0; round < Rounds(4); ++round) {
            ASSERT_NO_FATAL_FAILURE(ExpectMeans(c.grid, RandomScans(random, c.count, c.size)));
        }
    }
}

TEST(GridSampler, PutsSurfelsOnBordersIntoTheCellsThatExactQuotientsName)
{
    std::mt19937 random(21);
    for (const float cellSize : {0.1F, 0.23F, 0.25F, 1.0F / 3, 7e-5F, 1e30F}) {
        for (const float offset : {0.0F, cellSize * 0.5F}) {
            const auto surfels = RandomSurfels(random, 5000);
            PutOnBorders(random, *surfels, [&](float cell) { return cell * cellSize + offset; });
            ASSERT_NO_FATAL_FAILURE(ExpectMeans({cellSize, offset, 1, 1}, {{surfels, {}}}))
                << cellSize << ", " << offset;
        }
    }
}

TEST(GridSampler, LeavesOutPositionsThatAreNotFiniteOrTooFarAway)
{
    std::mt19937 random(22);
    const auto surfels = RandomSurfels(random, 3000);
    const float bad[] = {c_nan,  c_infinity,    -c_infinity,   3e38F,
                         -3e38F, 1073741824.0F, -1073741888.0F};
    for (auto& position : surfels->GetPositionAccessor()) {
        const float value = bad[random() % std::size(bad)];
        const auto kind = random() % 9;
        if (kind == 0) position.x = value;
        if (kind == 1) position.y = value;
        if (kind == 2) position.z = value;
        if (kind == 3) position = {1073741760.0F, -1073741760.0F, 0}; // far away, but not too far
    }
    ASSERT_NO_FATAL_FAILURE(ExpectMeans({1, 0, 1, 1}, {{surfels, {}}}));
    EXPECT_EQ(0U, Subsample({}, {{surfels, ShiftBy(0, c_nan, 0)}})->GetNrSurfels());

    for (const float none : {0.0F, -0.0F, c_nan, c_infinity, -c_infinity}) {
        EXPECT_EQ(0U, Subsample({none, 0, 1, 1}, {{surfels, {}}})->GetNrSurfels()) << none;
    }
    for (const float none : {c_nan, c_infinity, -c_infinity}) {
        EXPECT_EQ(0U, Subsample({1, none, 1, 1}, {{surfels, {}}})->GetNrSurfels()) << none;
    }
}

TEST(GridSampler, GivesTheSameBytesInWhateverOrderSurfelsCome)
{
    std::mt19937 random(23);
    for (const Grid& grid :
         {Grid{5, 0, 1, 1}, Grid{0.01F, 0, 6.5F, 4}, Grid{20, 10, 6.5F, 1}, Grid{25, 0, 1, 1000}}) {
        auto scans = RandomScans(random, 6000, 40);
        for (auto& type : scans[0].surfels->GetTissueTypeAccessor()) type = type + random() % 200;
        const auto expected = Subsample(grid, scans);
        for (int round = 0; round < Rounds(4); ++round) {
            std::vector<Scan> parts;
            for (const Scan& scan : scans) {
                std::vector<std::uint32_t> order(scan.surfels->GetNrSurfels());
                std::iota(order.begin(), order.end(), 0U);
                std::shuffle(order.begin(), order.end(), random);
                const auto middle =
                    order.begin() + static_cast<std::ptrdiff_t>(random() % order.size());
                parts.push_back({Pick(*scan.surfels, {order.begin(), middle}), scan.toResult});
                parts.push_back({Pick(*scan.surfels, {middle, order.end()}), scan.toResult});
            }
            std::shuffle(parts.begin(), parts.end(), random);
            ASSERT_NO_FATAL_FAILURE(ExpectSameSurfels(*expected, *Subsample(grid, parts)));
        }
    }
}

TEST(GridSampler, AddsOnlyWhatIsInsideOneOfTheSpheres)
{
    std::mt19937 random(24);
    const auto surfels = RandomSurfels(random, 5000);
    const CbMatrix4Rf m = TurnAndShift(1, 10);
    const std::vector<CyBoundingSphere> spheres = {
        {{10, 10, 10}, 20}, {{20, 10, 0}, 15}, {{0, 0, 0}, -5}, {{0, 0, 0}, c_nan}};
    std::vector<std::uint32_t> inside;
    for (std::uint32_t i = 0; i < 5000; ++i) {
        const CbVector3f p = TransformPoint(surfels->GetPositionAccessor()[i], m);
        if (spheres[0].Contains(p) || spheres[1].Contains(p)) inside.push_back(i);
    }
    ZeCGridSampler sampler(3, 0, 1);
    sampler.AddSurfels(*surfels, &m, spheres);
    ExpectSameSurfels(*Subsample({3, 0, 1, 1}, {{Pick(*surfels, inside), m}}), *ResultOf(sampler));
    const auto before = ResultOf(sampler);
    sampler.AddSurfels(*surfels, &m, std::vector<CyBoundingSphere>());
    ExpectSameSurfels(*before, *ResultOf(sampler));
}

TEST(GridSampler, WritesNothingIntoACollectionOfAnotherSize)
{
    std::mt19937 random(25);
    const auto surfels = RandomSurfels(random, 500);
    ZeCGridSampler sampler(10, 0, 1);
    sampler.AddSurfels(*surfels, nullptr);
    const std::uint32_t count = sampler.GetNrOfUsedCells();
    for (const std::uint32_t wrong : {0U, count - 1, count + 1}) {
        const auto target = Neutral(wrong);
        EXPECT_THROW(sampler.GetSubsampled(*target, 1, c_attributes, true), CbException);
        ExpectSameSurfels(*Neutral(wrong), *target);
    }
    const auto kept = ResultOf(sampler);
    const auto released = Neutral(count);
    sampler.GetSubsampled(*released, 1, c_attributes, true);
    ExpectSameSurfels(*kept, *released);
    EXPECT_EQ(0U, sampler.GetNrOfUsedCells());
    sampler.AddSurfels(*surfels, nullptr);
    ExpectSameSurfels(*kept, *ResultOf(sampler));
}

TEST(GridSampler, RoundsHalfUpAndDecidesTiesForEveryNumberOfSurfelsInACell)
{
    std::mt19937 random(26);
    for (std::uint32_t count = 2; count <= 600; ++count) {
        const auto surfels = Neutral(count);
        // Half of the surfels have one of two values, or one less than half, or all of them.
        const std::uint32_t parts[] = {count / 2, count / 2 - 1, count};
        const auto set = [&](const auto& values, auto one, auto other) {
            if (random() % 2 == 0) std::swap(one, other);
            const std::uint32_t part = parts[random() % 3];
            for (std::uint32_t i = 0; i < count; ++i) values[i] = i < part ? one : other;
        };
        using Color = ZeCCompressedColor;
        constexpr float c_almostOne = 0.99999994F;
        set(surfels->GetPositionAccessor(), CbVector3f{-1e-30F, c_almostOne, c_almostOne},
            CbVector3f{-1, 0, c_almostOne});
        set(surfels->GetNormalAccessor(), ZeCQuantizedNormal(CbVector3f{1, 0, 0.2F}),
            ZeCQuantizedNormal(CbVector3f{-1, 0, -0.2F}));
        set(surfels->GetColorAccessor(), Color{1, 255, 255, 7}, Color{0, 254, 254, 7});
        set(surfels->GetQualityAccessor(), 1.0F, 0.99F);
        set(surfels->GetCurvatureAccessor(), std::uint8_t{255}, std::uint8_t{254});
        set(surfels->GetTissueTypeAccessor(), std::uint8_t{9}, std::uint8_t{4});
        set(surfels->GetBoundaryFlagAccessor(), true, false);
        for (const float lowered : {1.0F, 6.0F, 34.0F, 170.0F}) { // halves of 255
            const float wanted = lowered * static_cast<float>(count);
            ASSERT_NO_FATAL_FAILURE(ExpectMeans({1, 0, 1, wanted}, {{surfels, {}}})) << count;
            ASSERT_NO_FATAL_FAILURE(ExpectMeans({1, 0, 1.1F, wanted}, {{surfels, {}}})) << count;
        }
    }
}

TEST(GridSampler, KeepsEveryNormalThatIsAloneInItsCellHoweverShortItBecomes)
{
    const auto surfels = Neutral(65536);
    for (std::uint32_t i = 0; i < 65536; ++i) {
        surfels->GetPositionAccessor()[i] = {static_cast<float>(i), 0.5F, 0};
        surfels->GetNormalAccessor()[i] =
            ZeCQuantizedNormal::FromCode(static_cast<std::uint16_t>(i));
    }
    const auto moved = Neutral(0);
    moved->Append(*surfels, ShiftBy(0, 0.25F, 0));
    ExpectSameSurfels(*moved, *Subsample({}, {{surfels, ShiftBy(0, 0.25F, 0)}}));
    for (const float shortest : {1e-19F, 1e-21F, 5e-22F, 1e-22F, 5e-23F, 1e-30F}) {
        SCOPED_TRACE(shortest);
        const CbMatrix4Rf flatten({1, 0, shortest, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 1});
        ASSERT_NO_FATAL_FAILURE(ExpectMeans({}, {{surfels, flatten}}));
    }
}
