#include "platform/datacontainer/zecgridsampler.h"

#include "platform/base/cbexception.h"
#include "platform/datacontainer/internal/zecgridsums.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

ZeCGridSampler::ZeCGridSampler(float cellSize, float offset, float qualityGain)
    : cellSize_(cellSize),
      offset_(offset),
      qualityGain_(qualityGain),
      sums_(ZeCGridSums::Make(qualityGain))
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
    const ZeCGrid grid(cellSize_, offset_);
    const ZeCSurfelTransformation map(transformation != nullptr ? *transformation : c_matIdentityF);
    ZeCGridBatch batch;
    for (std::size_t first = 0, n = 0; first < added; first += n) {
        n = std::min(added - first, ZeCGridBatch::c_size);
        batch.LoadPositions(positions.subspan(first, n), map, grid, sums_->GetPositionUnits());
        batch.LoadNormals(normals.subspan(first, n), map);
        if (spheres != nullptr) batch.Restrict(*spheres);
        sums_->Add(batch, surfels, first);
    }
}

std::uint32_t ZeCGridSampler::GetNrOfUsedCells() const noexcept { return sums_->GetCount(); }

void ZeCGridSampler::GetSubsampled(ZeCSurfelContainer& destination, float samplingParameter,
                                   ZeCSurfelContainer::ESurfelAttributeSet /*attributeSet*/,
                                   bool release)
{
    if (destination.GetNrSurfels() != GetNrOfUsedCells()) {
        throw CbException(CB_HERE, std::to_string(destination.GetNrSurfels()) +
                                       " surfels in the destination, which needs " +
                                       std::to_string(GetNrOfUsedCells()) +
                                       ", one for each used cell");
    }
    auto noSums = release ? ZeCGridSums::Make(qualityGain_) : nullptr;
    sums_->Write(destination, ZeCGrid(cellSize_, offset_), samplingParameter);
    if (release) {
        sums_ = std::move(noSums);
        numberPassedIn_ = 0;
    }
}
