#include "platform/base/cbexception.h"
#include "platform/datacontainer/zecgridsampler.h"
#include "tests/platform/datacontainer/surfels.h"
#include "tests/support/rounds.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <numeric>
#include <vector>

namespace
{

using Collection = CbSmartPointer<ZeCSurfelCollectionQMT>;
using Spheres = std::vector<CyBoundingSphere>;

constexpr auto c_attributes = ZeCSurfelContainer::ESurfelAttributeSet::Subsampled;
constexpr float c_infinity = std::numeric_limits<float>::infinity();
constexpr float c_nan = std::numeric_limits<float>::quiet_NaN();

struct Grid
{
    float cellSize = 1.0F;
    float offset = 0.0F;
    float gain = 1.0F;
    float samplingParameter = 1.0F;
};

struct Scan
{
    Collection surfels;
    CbMatrix4Rf toResult;
};

Collection Neutral(std::uint32_t count)
{
    return CbMake<ZeCSurfelCollectionQMT>(count, true, c_attributes, nullptr);
}

Collection ResultOf(ZeCGridSampler& sampler, float samplingParameter = 1.0F)
{
    auto result = Neutral(sampler.GetNrOfUsedCells());
    sampler.GetSubsampled(*result, samplingParameter, c_attributes, false);
    return result;
}

Collection Subsample(const Grid& grid, const std::vector<Scan>& scans)
{
    ZeCGridSampler sampler(grid.cellSize, grid.offset, grid.gain);
    for (const Scan& scan : scans) sampler.AddSurfels(*scan.surfels, &scan.toResult);
    return ResultOf(sampler, grid.samplingParameter);
}

Collection Pick(const ZeCSurfelContainer& from, const std::vector<std::uint32_t>& surfels)
{
    auto picked = Neutral(static_cast<std::uint32_t>(surfels.size()));
    for (std::uint32_t i = 0; i < surfels.size(); ++i) {
        picked->CopySurfel(i, from, surfels[i], false, c_matIdentityF);
    }
    return picked;
}

std::array<double, 3> Coordinates(const CbVector3f& v) { return {v.x, v.y, v.z}; }

// The naive way: a map of cells, sums in double precision.
struct NaiveCell
{
    std::array<double, 3> position{}, normal{}, color{};
    double weight = 0, count = 0, curvature = 0, quality = 0, boundary = 0;
    std::map<int, double> tissueTypes;
    std::pair<double, int> heaviest{0, 0}; // weight and inverted code
};
using NaiveCells = std::map<std::array<double, 3>, NaiveCell>;

NaiveCells NaiveSubsample(const Grid& grid, const std::vector<Scan>& scans)
{
    NaiveCells cells;
    const double gain = std::clamp<double>(grid.gain, 1, 8);
    for (const Scan& scan : scans) {
        const auto mapped = Neutral(0);
        mapped->Append(*scan.surfels, scan.toResult);
        for (std::uint32_t i = 0; i < mapped->GetNrSurfels(); ++i) {
            const auto p = Coordinates(mapped->GetPositionAccessor()[i]);
            std::array<double, 3> index;
            bool accepted = true;
            for (int k = 0; k < 3; ++k) {
                index[k] = std::floor((p[k] - grid.offset) / std::fabs(grid.cellSize));
                accepted = accepted && std::fabs(index[k]) < 1073741824.0;
            }
            if (!accepted) continue;
            NaiveCell& cell = cells[index];
            const double quality = mapped->GetQualityAccessor().data()[i];
            const double w = 256 + std::floor(256 * (gain - 1) * quality / 255 + 0.5);
            const auto n = Coordinates(mapped->GetNormalAccessor()[i].GetNormal());
            const auto c = mapped->GetColorAccessor()[i];
            const std::array<double, 3> color = {double(c.r), double(c.g), double(c.b)};
            for (int k = 0; k < 3; ++k) {
                cell.position[k] += w * p[k];
                cell.normal[k] += w * n[k];
                cell.color[k] += w * color[k];
            }
            cell.weight += w;
            cell.count += 1;
            cell.curvature += w * mapped->GetCurvatureAccessor()[i];
            cell.quality += w * quality;
            cell.boundary += mapped->GetBoundaryFlagAccessor()[i] ? w : 0;
            cell.tissueTypes[mapped->GetTissueTypeAccessor()[i]] += w;
            cell.heaviest = std::max(cell.heaviest,
                                     std::pair(w, -int{mapped->GetNormalAccessor()[i].GetCode()}));
        }
    }
    return cells;
}

void ExpectNormal(const NaiveCell& cell, ZeCQuantizedNormal actual)
{
    const auto n = Coordinates(actual.GetNormal());
    const double length = std::sqrt(
        std::inner_product(cell.normal.begin(), cell.normal.end(), cell.normal.begin(), 0.0));
    const double cosine = std::inner_product(n.begin(), n.end(), cell.normal.begin(), 0.0) / length;
    // The naive way sums quantised normals, which are off by up to a degree each.
    if (length > 0.14 * cell.weight) {
        ASSERT_GT(cosine, std::cos(8 / 57.3));
    }
    if (length < 0.07 * cell.weight) {
        ASSERT_EQ(-cell.heaviest.second, actual.GetCode());
    }
}

void ExpectMeans(const Grid& grid, const std::vector<Scan>& scans)
{
    const auto expected = NaiveSubsample(grid, scans);
    const auto actual = Subsample(grid, scans);
    ASSERT_EQ(expected.size(), actual->GetNrSurfels());
    std::uint32_t i = 0;
    for (const auto& [index, cell] : expected) { // in ascending order of the indices
        SCOPED_TRACE("surfel " + std::to_string(i));
        const double w = cell.weight;
        const auto position = Coordinates(actual->GetPositionAccessor()[i]);
        for (int k = 0; k < 3; ++k) {
            const auto mean = static_cast<float>(cell.position[k] / w);
            const double step = std::fabs(double(std::nextafter(mean, c_infinity)) - mean);
            ASSERT_NEAR(cell.position[k] / w, position[k], 1e-6 * std::fabs(grid.cellSize) + step);
        }
        const auto rounded = [w](double sum) { return static_cast<int>(sum / w + 0.5); };
        const auto color = actual->GetColorAccessor()[i];
        ASSERT_EQ(rounded(cell.color[0]), color.r);
        ASSERT_EQ(rounded(cell.color[1]), color.g);
        ASSERT_EQ(rounded(cell.color[2]), color.b);
        ASSERT_EQ(rounded(cell.curvature), actual->GetCurvatureAccessor()[i]);
        const bool lowers = grid.samplingParameter > 1 && grid.samplingParameter < c_infinity;
        const double factor = lowers ? std::min(1.0, cell.count / grid.samplingParameter) : 1.0;
        ASSERT_EQ(rounded(cell.quality * factor), actual->GetQualityAccessor().data()[i]);
        ASSERT_EQ(2 * cell.boundary > w, actual->GetBoundaryFlagAccessor()[i]);
        const auto tissue =
            std::max_element(cell.tissueTypes.begin(), cell.tissueTypes.end(),
                             [](const auto& a, const auto& b) { return a.second < b.second; });
        ASSERT_EQ(tissue->first, actual->GetTissueTypeAccessor()[i]);
        ASSERT_NO_FATAL_FAILURE(ExpectNormal(cell, actual->GetNormalAccessor()[i]));
        ++i;
    }
}

CbMatrix4Rf TurnAndShift(float angle, float shift)
{
    CbMatrix4Rf m;
    m[0][0] = m[1][1] = std::cos(angle);
    m[0][1] = std::sin(angle);
    m[1][0] = -std::sin(angle);
    m[3][0] = m[3][1] = m[3][2] = shift;
    return m;
}

std::vector<Scan> RandomScans(std::mt19937& random, std::uint32_t count, float size)
{
    CbMatrix4Rf stretch = TurnAndShift(1, size / 2);
    stretch[2][2] = 0.25F;
    std::vector<Scan> scans = {{RandomSurfels(random, count), c_matIdentityF},
                               {RandomSurfels(random, count / 2), TurnAndShift(2, -size / 3)},
                               {RandomSurfels(random, count / 3), stretch}};
    for (const Scan& scan : scans) {
        for (auto& p : scan.surfels->GetPositionAccessor()) {
            p = {p.x * size / 40, p.y * size / 40, p.z * size / 40};
        }
        for (auto& type : scan.surfels->GetTissueTypeAccessor()) type %= 5;
    }
    return scans;
}

} // namespace

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
        for (int round = 0; round < Rounds(10); ++round) {
            ASSERT_NO_FATAL_FAILURE(ExpectMeans(c.grid, RandomScans(random, c.count, c.size)));
        }
    }
}

TEST(GridSampler, PutsSurfelsOnBordersIntoTheCellsThatExactQuotientsName)
{
    std::mt19937 random(21);
    for (const float cellSize : {0.1F, 0.25F, 0.3F, 1.0F / 3, 7e-5F, 1e30F}) {
        for (const float offset : {0.0F, cellSize * 0.5F}) {
            const auto surfels = RandomSurfels(random, 5000);
            for (auto& position : surfels->GetPositionAccessor()) {
                for (float CbVector3f::*axis : {&CbVector3f::x, &CbVector3f::y, &CbVector3f::z}) {
                    float border =
                        static_cast<float>(static_cast<int>(random() % 9) - 4) * cellSize + offset;
                    const auto kind = random() % 3;
                    if (kind == 1) border = std::nextafter(border, c_infinity);
                    if (kind == 2) border = std::nextafter(border, -c_infinity);
                    position.*axis = border;
                }
            }
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
    CbMatrix4Rf broken;
    broken[3][1] = c_nan;
    EXPECT_EQ(0U, Subsample({}, {{surfels, broken}})->GetNrSurfels());

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
    for (const Grid& grid : {Grid{5, 0, 1, 1}, Grid{0.01F, 0, 6.5F, 4}, Grid{20, 10, 6.5F, 1}}) {
        auto scans = RandomScans(random, 6000, 40);
        for (auto& type : scans[0].surfels->GetTissueTypeAccessor()) type = type + random() % 200;
        const auto expected = Subsample(grid, scans);
        for (int round = 0; round < Rounds(10); ++round) {
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
    const Spheres spheres = {
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
    sampler.AddSurfels(*surfels, &m, Spheres());
    ExpectSameSurfels(*before, *ResultOf(sampler));

    ZeCGridSampler all(3, 0, 1);
    all.AddSurfels(*surfels, nullptr);
    ExpectSameSurfels(*Subsample({3, 0, 1, 1}, {{surfels, {}}}), *ResultOf(all));
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

TEST(GridSampler, DecidesTies)
{
    const auto pair = Neutral(2);
    pair->GetTissueTypeAccessor()[0] = 9;
    pair->GetTissueTypeAccessor()[1] = 4;
    pair->GetColorAccessor()[0] = {1, 10, 255, 7};
    pair->GetColorAccessor()[1] = {2, 11, 254, 7};
    pair->GetBoundaryFlagAccessor()[1] = true;
    pair->GetNormalAccessor()[0] = ZeCQuantizedNormal(CbVector3f{1, 0, 0.2F});
    pair->GetNormalAccessor()[1] = ZeCQuantizedNormal(CbVector3f{-1, 0, -0.2F});
    for (const bool swapped : {false, true}) {
        const auto surfels = swapped ? Pick(*pair, {1, 0}) : pair;
        const auto even = Subsample({}, {{surfels, {}}});
        ASSERT_EQ(1U, even->GetNrSurfels());
        EXPECT_EQ(4, even->GetTissueTypeAccessor()[0]) << "the smaller type";
        EXPECT_EQ((ZeCCompressedColor{2, 11, 255, 0}), even->GetColorAccessor()[0]) << "half up";
        EXPECT_FALSE(even->GetBoundaryFlagAccessor()[0]) << "not more than half";
        EXPECT_EQ(std::min(pair->GetNormalAccessor()[0].GetCode(),
                           pair->GetNormalAccessor()[1].GetCode()),
                  even->GetNormalAccessor()[0].GetCode());

        surfels->GetQualityAccessor()[0] = 0.99F; // both sheets of a thin wall, one scanned better
        const auto uneven = Subsample({1, 0, 1.1F, 1}, {{surfels, {}}});
        EXPECT_EQ(surfels->GetNormalAccessor()[1], uneven->GetNormalAccessor()[0]);
        EXPECT_EQ(surfels->GetTissueTypeAccessor()[1], uneven->GetTissueTypeAccessor()[0]);
        EXPECT_EQ(surfels->GetBoundaryFlagAccessor()[1], uneven->GetBoundaryFlagAccessor()[0]);
        surfels->GetQualityAccessor()[0] = 1;
    }
}

TEST(GridSampler, KeepsEveryNormalThatIsAloneInItsCell)
{
    const auto surfels = Neutral(65536);
    for (std::uint32_t i = 0; i < 65536; ++i) {
        surfels->GetPositionAccessor()[i] = {static_cast<float>(i), 0.5F, 0};
        surfels->GetNormalAccessor()[i] =
            ZeCQuantizedNormal::FromCode(static_cast<std::uint16_t>(i));
    }
    CbMatrix4Rf shift;
    shift[3][1] = 0.25F;
    const auto moved = Neutral(0);
    moved->Append(*surfels, shift);
    ExpectSameSurfels(*moved, *Subsample({}, {{surfels, shift}}));

    // Some normals become as short as 1e-30.
    const CbMatrix4Rf flatten({1, 0, 1e-30F, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 1});
    const auto expected = Neutral(0);
    expected->Append(*surfels, flatten);
    const auto actual = Subsample({}, {{surfels, flatten}});
    ASSERT_EQ(65536U, actual->GetNrSurfels());
    for (std::uint32_t i = 0; i < 65536; ++i) {
        const auto a = Coordinates(expected->GetNormalAccessor()[i].GetNormal());
        const auto b = Coordinates(actual->GetNormalAccessor()[i].GetNormal());
        ASSERT_GT(std::inner_product(a.begin(), a.end(), b.begin(), 0.0), std::cos(1 / 57.3)) << i;
    }
}

TEST(GridSampler, AddsUpMoreThanTheSumsOfOneCellSeemToHold)
{
    const auto surfels = Neutral(1U << 20U);
    for (auto& position : surfels->GetPositionAccessor()) position = {0.999F, 0.5F, 0.998F};
    ZeCGridSampler sampler(1, 0, 8);
    for (int i = 0; i < Rounds(40); ++i) sampler.AddSurfels(*surfels, nullptr);
    const auto result = ResultOf(sampler);
    ASSERT_EQ(1U, result->GetNrSurfels());
    const CbVector3f mean = result->GetPositionAccessor()[0];
    EXPECT_NEAR(0.999F, mean.x, 1e-6);
    EXPECT_NEAR(0.5F, mean.y, 1e-6);
    EXPECT_NEAR(0.998F, mean.z, 1e-6);
}
