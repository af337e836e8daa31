#include "platform/datacontainer/zecgridsampler.h"

#include "platform/base/cbexception.h"
#include "platform/datacontainer/internal/widebuild.h"
#include "platform/datacontainer/internal/zecgridcells.h"
#include "platform/datacontainer/internal/zecsurfelwriter.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

namespace
{

/// Where the attributes of the surfels of a batch stand.
struct Source
{
    const std::uint16_t* weights; ///< by quality
    const ZeCCompressedColor* colors;
    const std::uint8_t* qualities;
    const std::uint8_t* tissueTypes;
    const bool* boundaryFlags;
    const std::uint8_t* curvatures;
};

// Adds the accepted surfels to their cells. In two loops, because of the many arrays.
CB_ALWAYS_INLINE void addBatch(const ZeCGridBatch& batch, const Source& source,
                               ZeCGridCell* const* cells, ZeCGridCells& allCells) noexcept
{
    for (std::size_t a = 0; a < batch.numberOfAccepted; ++a) {
        const std::size_t i = batch.accepted[a];
        const std::uint32_t weight = source.weights[source.qualities[i]];
        allCells.AddTissueType(*cells[a], weight, source.tissueTypes[i]);
        cells[a]->AddGeometry(weight, batch.fractions + 3 * i, batch.normals[0][i],
                              batch.normals[1][i], batch.normals[2][i], batch.codes[i]);
    }
    for (std::size_t a = 0; a < batch.numberOfAccepted; ++a) {
        const std::size_t i = batch.accepted[a];
        const std::uint8_t quality = source.qualities[i];
        cells[a]->AddAttributes(source.weights[quality], source.colors[i], source.curvatures[i],
                                quality, source.boundaryFlags[i]);
    }
}

void addPlain(const ZeCGridBatch& batch, const Source& source, ZeCGridCell* const* cells,
              ZeCGridCells& allCells) noexcept
{
    addBatch(batch, source, cells, allCells);
}

CB_WIDE_BUILD void addWide(const ZeCGridBatch& batch, const Source& source,
                           ZeCGridCell* const* cells, ZeCGridCells& allCells) noexcept
{
    addBatch(batch, source, cells, allCells);
}

} // namespace

ZeCGridSampler::ZeCGridSampler(float cellSize, float offset, float qualityGain)
    : cellSize_(cellSize),
      offset_(offset),
      weights_(ZeCGridWeights(qualityGain)),
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
    const ZeCGrid grid(cellSize_, offset_);
    const ZeCSurfelTransformation map(transformation != nullptr ? *transformation : c_matIdentityF);
    ZeCGridBatch batch;
    ZeCGridCell* cells[ZeCGridBatch::c_size];
    static const auto add = CbFastestBuild(&addPlain, &addWide);
    for (std::size_t first = 0, n = 0; first < added; first += n) {
        n = std::min(added - first, ZeCGridBatch::c_size);
        batch.LoadPositions(positions.subspan(first, n), map, grid);
        batch.LoadNormals(normals.subspan(first, n), map);
        if (spheres != nullptr) batch.Restrict(*spheres);
        cells_->Find(batch, cells);
        const Source source{weights_.data(),
                            colors.data() + first,
                            qualities.data() + first,
                            tissueTypes.data() + first,
                            boundaryFlags.data() + first,
                            curvatures.data() + first};
        add(batch, source, cells, *cells_);
    }
}

std::uint32_t ZeCGridSampler::GetNrOfUsedCells() const noexcept { return cells_->GetCount(); }

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
    auto noCells = release ? std::make_unique<ZeCGridCells>() : nullptr;
    const ZeCGrid grid(cellSize_, offset_);
    const ZeCSurfelWriter writer(destination);
    std::size_t i = 0;
    cells_->VisitInOrder([&](auto x, auto y, auto z, ZeCGridCell& cell) {
        writer.Write(
            i, cell.GetMeans({x, y, z}, grid, samplingParameter, cells_->GetTissueType(cell)));
        ++i;
    });
    if (release) {
        cells_ = std::move(noCells);
        numberPassedIn_ = 0;
    }
}
