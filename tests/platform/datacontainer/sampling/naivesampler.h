#pragma once

// Sampling on a grid in the naive way: a map of cells, sums in double precision.

#include "platform/datacontainer/sampling/zecgridsampler.h"
#include "tests/platform/datacontainer/surfels.h"

#include <algorithm>
#include <map>
#include <vector>

using Collection = CbSmartPointer<ZeCSurfelCollectionQMT>;

inline constexpr auto c_attributes = ZeCSurfelContainer::ESurfelAttributeSet::Subsampled;

/// Arguments of a sampler.
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

inline Collection ResultOf(ZeCGridSampler& sampler, float samplingParameter = 1.0F)
{
    auto result = Neutral(sampler.GetNrOfUsedCells());
    sampler.GetSubsampled(*result, samplingParameter, c_attributes, false);
    AddToDigest(*result);
    return result;
}

inline Collection Subsample(const Grid& grid, const std::vector<Scan>& scans)
{
    ZeCGridSampler sampler(grid.cellSize, grid.offset, grid.gain);
    for (const Scan& scan : scans) sampler.AddSurfels(*scan.surfels, &scan.toResult);
    return ResultOf(sampler, grid.samplingParameter);
}

inline Collection Pick(const ZeCSurfelContainer& from, const std::vector<std::uint32_t>& surfels)
{
    auto picked = Neutral(static_cast<std::uint32_t>(surfels.size()));
    for (std::uint32_t i = 0; i < surfels.size(); ++i) {
        picked->CopySurfel(i, from, surfels[i], false, c_matIdentityF);
    }
    return picked;
}

struct NaiveCell
{
    std::array<double, 3> position{}, normal{}, color{};
    double weight = 0, count = 0, curvature = 0, quality = 0, boundary = 0;
    std::map<int, double> tissueTypes;
    std::pair<double, int> heaviest{0, 0}; // weight and inverted code
};
using NaiveCells = std::map<std::array<double, 3>, NaiveCell>;

inline NaiveCells NaiveSubsample(const Grid& grid, const std::vector<Scan>& scans)
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
            const auto normal = scan.surfels->GetNormalAccessor()[i].GetNormal();
            const auto n = MappedNormal(normal, scan.toResult); // not quantised again
            const double length = std::sqrt(Dot(n, n));
            const auto c = mapped->GetColorAccessor()[i];
            const std::array<double, 3> color = {double(c.r), double(c.g), double(c.b)};
            for (int k = 0; k < 3; ++k) {
                cell.position[k] += w * p[k];
                cell.normal[k] += w * n[k] / length;
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

inline void ExpectNormal(const NaiveCell& cell, ZeCQuantizedNormal actual)
{
    const double length = std::sqrt(Dot(cell.normal, cell.normal));
    const double cosine = CosineBetween(cell.normal, Coordinates(actual.GetNormal()));
    if (length > 0.101 * cell.weight) {
        ASSERT_GT(cosine, std::cos(1 / 57.3));
    }
    if (length < 0.099 * cell.weight) {
        ASSERT_EQ(-cell.heaviest.second, actual.GetCode());
    }
}

/// Expects the surfels of a sampler to be those that the naive way gives.
inline void ExpectMeans(const Grid& grid, const std::vector<Scan>& scans)
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
            ASSERT_NEAR(cell.position[k] / w, position[k],
                        std::ldexp(std::fabs(grid.cellSize), -28) + step);
        }
        const auto rounded = [w](double sum) { return static_cast<std::uint8_t>(sum / w + 0.5); };
        const auto& [red, green, blue] = cell.color;
        ASSERT_EQ((ZeCCompressedColor{rounded(red), rounded(green), rounded(blue), 0}),
                  actual->GetColorAccessor()[i]);
        ASSERT_EQ(rounded(cell.curvature), actual->GetCurvatureAccessor()[i]);
        const bool lowers = grid.samplingParameter > 1 && grid.samplingParameter < c_infinity;
        const double wanted =
            lowers ? std::max<double>(cell.count, grid.samplingParameter) : cell.count;
        ASSERT_EQ(rounded(cell.quality * cell.count / wanted),
                  actual->GetQualityAccessor().data()[i]);
        ASSERT_EQ(2 * cell.boundary > w, actual->GetBoundaryFlagAccessor()[i]);
        const auto tissue =
            std::max_element(cell.tissueTypes.begin(), cell.tissueTypes.end(),
                             [](const auto& a, const auto& b) { return a.second < b.second; });
        ASSERT_EQ(tissue->first, actual->GetTissueTypeAccessor()[i]);
        ASSERT_NO_FATAL_FAILURE(ExpectNormal(cell, actual->GetNormalAccessor()[i]));
        ++i;
    }
}

inline CbMatrix4Rf TurnAndShift(float angle, float shift)
{
    const float c = std::cos(angle), s = std::sin(angle);
    return CbMatrix4Rf({c, s, 0, 0, -s, c, 0, 0, 0, 0, 1, 0, shift, shift, shift, 1});
}

/// Three overlapping scans in frames of their own; coordinates up to @p size.
inline std::vector<Scan> RandomScans(std::mt19937& random, std::uint32_t count, float size)
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

/// Puts surfels on borders of cells and as close as possible to either side of them.
template<class Border>
void PutOnBorders(std::mt19937& random, ZeCSurfelContainer& surfels, const Border& border)
{
    for (auto& position : surfels.GetPositionAccessor()) {
        for (float CbVector3f::*axis : {&CbVector3f::x, &CbVector3f::y, &CbVector3f::z}) {
            const float at = border(static_cast<float>(static_cast<int>(random() % 9) - 4));
            const float places[] = {at, std::nextafter(at, c_infinity),
                                    std::nextafter(at, -c_infinity)};
            position.*axis = places[random() % 3];
        }
    }
}
