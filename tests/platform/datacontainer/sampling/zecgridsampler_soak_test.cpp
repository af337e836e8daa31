#include "tests/platform/datacontainer/sampling/naivesampler.h"
#include "tests/support/rounds.h"

TEST(GridSampler, AddsUpMoreThanTheSumsOfOneCellSeemToHold)
{
    const auto surfels = Neutral(1U << 20U);
    for (auto& position : surfels->GetPositionAccessor()) position = {0.999F, 0.5F, 0.998F};
    ZeCGridSampler sampler(1, 0, 8);
    for (int i = 0; i < Rounds(40); ++i) sampler.AddSurfels(*surfels, nullptr);
    const auto result = ResultOf(sampler);
    ASSERT_EQ(1U, result->GetNrSurfels());
    ZeCGridSampler other(1, 0, 8); // whose sums become too large at other moments
    const auto part = Pick(*surfels, {0, 1, 2});
    other.AddSurfels(*part, nullptr);
    for (int i = 0; i < Rounds(40); ++i) other.AddSurfels(*surfels, nullptr);
    sampler.AddSurfels(*part, nullptr);
    ExpectSameSurfels(*ResultOf(sampler), *ResultOf(other));
    const CbVector3f mean = result->GetPositionAccessor()[0];
    EXPECT_NEAR(0.999F, mean.x, 1e-6);
    EXPECT_NEAR(0.5F, mean.y, 1e-6);
    EXPECT_NEAR(0.998F, mean.z, 1e-6);
}
