#include "platform/datacontainer/zecgridsampler.h"

#include "platform/base/cbexception.h"
#include "platform/datacontainer/internal/zecgridcells.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

namespace
{

std::array<std::uint16_t, 256> weightsByQuality(double gain)
{
    constexpr double c_least = 256;
    const double clamped = std::isfinite(gain) ? std::clamp(gain, 1.0, 8.0) : 1.0;
    std::array<std::uint16_t, 256> weights;
    for (std::size_t quality = 0; quality < weights.size(); ++quality) {
        const double more = c_least * (clamped - 1.0) * static_cast<double>(quality) / 255.0;
        weights[quality] = static_cast<std::uint16_t>(c_least + std::floor(more + 0.5));
    }
    return weights;
}

} // namespace

ZeCGridSampler::ZeCGridSampler(float cellSize, float offset, float qualityGain)
    : cellSize_(std::isfinite(cellSize) ? std::fabs(static_cast<double>(cellSize))
                                        : std::numeric_limits<double>::quiet_NaN()),
      offset_(offset),
      weights_(weightsByQuality(qualityGain)),
      cells_(std::make_unique<ZeCGridCells>())
{}

ZeCGridSampler::~ZeCGridSampler() = default;

void ZeCGridSampler::AddSurfels(const ZeCSurfelContainer& surfels,
                                const CbMatrix4Rf* transformation)
{
    addSurfels(surfels, transformation, nullptr);
}

void ZeCGridSampler::AddSurfels(const ZeCSurfelContainer& surfels,
                                const CbMatrix4Rf* transformation,
                                std::span<const CyBoundingSphere> spheres)
{
    addSurfels(surfels, transformation, &spheres);
}

void ZeCGridSampler::addSurfels(const ZeCSurfelContainer& surfels,
                                const CbMatrix4Rf* transformation,
                                const std::span<const CyBoundingSphere>* spheres)
{
    const std::uint32_t added = surfels.GetNrSurfels();
    if (added > std::numeric_limits<std::uint32_t>::max() - numberPassedIn_) {
        throw CbException(CB_HERE, std::to_string(numberPassedIn_) + " + " + std::to_string(added) +
                                       " surfels are too many");
    }
    numberPassedIn_ += added;

    const auto positions = surfels.GetPositionAccessor();
    const auto normals = surfels.GetNormalAccessor();
    const auto colors = surfels.GetColorAccessor();
    const auto qualities = surfels.GetQualityAccessor();
    const auto tissueTypes = surfels.GetTissueTypeAccessor();
    const auto boundaryFlags = surfels.GetBoundaryFlagAccessor();
    const auto curvatures = surfels.GetCurvatureAccessor();
    const ZeCSurfelTransformation map(transformation != nullptr ? *transformation : c_matIdentityF);
    ZeCGridBatch batch;
    ZeCGridCell* cells[ZeCGridBatch::c_size];
    for (std::size_t first = 0, n = 0; first < added; first += n) {
        n = std::min(added - first, ZeCGridBatch::c_size);
        batch.Load(positions.subspan(first, n), normals.data() + first, map, {cellSize_, offset_});
        if (spheres != nullptr) batch.Restrict(*spheres);
        cells_->Find(batch, cells);
        // Two loops, because of the many arrays.
        for (std::size_t a = 0; a < batch.numberOfAccepted; ++a) {
            const std::size_t i = batch.accepted[a];
            const std::uint32_t weight = weights_[qualities.data()[first + i]];
            cells_->AddTissueType(*cells[a], weight, tissueTypes[first + i]);
            cells[a]->AddGeometry(weight, batch.fractions + 3 * i, batch.normals[0][i],
                                  batch.normals[1][i], batch.normals[2][i], batch.codes[i]);
        }
        for (std::size_t a = 0; a < batch.numberOfAccepted; ++a) {
            const std::size_t i = first + batch.accepted[a];
            const std::uint8_t quality = qualities.data()[i];
            cells[a]->AddAttributes(weights_[quality], colors[i], curvatures[i], quality,
                                    boundaryFlags[i]);
        }
    }
}

std::uint32_t ZeCGridSampler::GetNrOfUsedCells() const noexcept { return cells_->GetCount(); }

void ZeCGridSampler::GetSubsampled(ZeCSurfelContainer& destination, float samplingParameter,
                                   ZeCSurfelContainer::ESurfelAttributeSet /*attributeSet*/,
                                   bool release)
{
    if (destination.GetNrSurfels() != GetNrOfUsedCells()) {
        throw CbException(CB_HERE, std::to_string(destination.GetNrSurfels()) + " surfels for " +
                                       std::to_string(GetNrOfUsedCells()) + " used cells");
    }
    const auto positions = destination.GetPositionAccessor();
    const auto normals = destination.GetNormalAccessor();
    const auto colors = destination.GetColorAccessor();
    const auto qualities = destination.GetQualityAccessor();
    const auto tissueTypes = destination.GetTissueTypeAccessor();
    const auto boundaryFlags = destination.GetBoundaryFlagAccessor();
    const auto curvatures = destination.GetCurvatureAccessor();
    std::size_t i = 0;
    cells_->VisitInOrder([&](auto x, auto y, auto z, ZeCGridCell& cell) {
        cell.CarryPositions();
        const auto position = [&](std::int32_t index, int axis) {
            return static_cast<float>(offset_ + (index + cell.GetMeanPosition(axis)) * cellSize_);
        };
        positions[i] = {position(x, 0), position(y, 1), position(z, 2)};
        normals[i] = cell.GetMeanNormal();
        colors[i] = cell.GetMeanColor();
        qualities.data()[i] = cell.GetMeanQuality(samplingParameter);
        tissueTypes[i] = cells_->GetTissueType(cell);
        boundaryFlags[i] = cell.IsBoundary();
        curvatures[i] = cell.GetMeanCurvature();
        ++i;
    });
    if (release) {
        cells_ = std::make_unique<ZeCGridCells>();
        numberPassedIn_ = 0;
    }
}
