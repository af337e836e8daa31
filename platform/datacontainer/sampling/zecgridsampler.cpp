#include "platform/datacontainer/sampling/zecgridsampler.h"

#include "platform/base/cbexception.h"
#include "platform/base/cbprefetch.h"
#include "platform/datacontainer/sampling/internal/sums/zecgridsums.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

namespace
{

// Fetches a part of the next batch, which the processor does not foresee in so many short arrays.
template<class T>
void prefetch(std::span<const T> elements, std::size_t first)
{
    const std::size_t last = std::min(elements.size(), first + ZeCGridBatch::c_size);
    for (std::size_t i = first; i < last; i += 64 / sizeof(T)) CbPrefetchEarly(&elements[i]);
}

} // namespace

/// The kind of sums that the gain asks for; never null.
struct ZeCGridSampler::Sums
{
    std::unique_ptr<ZeCGridSums> of;
};

ZeCGridSampler::ZeCGridSampler(float cellSize, float offset, float qualityGain)
    : cellSize_(cellSize),
      offset_(offset),
      qualityGain_(qualityGain),
      sums_(std::make_unique<Sums>(Sums{ZeCGridSums::Make(qualityGain)}))
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
    // Part by part, so that one part's memory is fetched while another part is computed.
    ZeCGridSums& sums = *sums_->of;
    ZeCGridBatch batch;
    for (std::size_t first = 0, n = 0; first < added; first += n) {
        n = std::min(added - first, ZeCGridBatch::c_size);
        batch.LoadPositions(positions.subspan(first, n), map, grid);
        prefetch(positions, first + n);
        if (spheres != nullptr) batch.Restrict(*spheres);
        sums.Find(batch);
        batch.LoadNormals(normals.subspan(first, n), map);
        prefetch(normals, first + n);
        prefetch(surfels.GetColorAccessor(), first + n);
        sums.Add(batch, surfels, first);
        prefetch(surfels.GetTissueTypeAccessor(), first + n);
        prefetch(surfels.GetBoundaryFlagAccessor(), first + n);
        prefetch(surfels.GetCurvatureAccessor(), first + n);
        prefetch(std::span(surfels.GetQualityAccessor().data(), added), first + n);
    }
}

std::uint32_t ZeCGridSampler::GetNrOfUsedCells() const noexcept { return sums_->of->GetCount(); }

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
    // Made first: nothing may fail once surfels are written.
    auto noSums = release ? ZeCGridSums::Make(qualityGain_) : nullptr;
    sums_->of->Write(destination, ZeCGrid(cellSize_, offset_), samplingParameter);
    if (release) {
        sums_->of = std::move(noSums);
        numberPassedIn_ = 0;
    }
}
