// Merging the surfels of a node vector.

#include "platform/base/cbexception.h"
#include "platform/datacontainer/sampling/zecgridsampler.h"
#include "transformationtree/models/zecleafnodevector.h"
#include "transformationtree/nodes/zectransformationnode.h"

#include <limits>
#include <string>

namespace
{

using Collection = CbSmartPointer<ZeCSurfelCollectionQMT>;
using EType = ZeCModelQMT::ESurfelCollectionType;

constexpr auto c_attributeSet = ZeCSurfelContainer::ESurfelAttributeSet::Subsampled;

/// What is to be merged: the collections of one type, with their ways into the frame of the result.
struct Sources
{
    const ZeCNodeVector& nodes;
    EType type;
    const CbMatrix4Rf* extra;

    /// Calls `visit(surfels, transformation)` for each collection.
    template<class Visit>
    void ForEach(Visit&& visit) const
    {
        for (const ZeCNodeAccelerated& node : nodes.GetElements()) {
            const ZeCModelQMT* const model = node.GetModel().Get();
            const auto* const surfels = model ? model->BorrowSurfelCollection(type) : nullptr;
            if (surfels == nullptr) continue;
            const CbMatrix4Rf trafo = ToFloat(node.GetTrafo());
            visit(*surfels, extra ? Compose(trafo, *extra) : trafo);
        }
    }
};

Collection makeCollection(std::uint32_t count)
{
    return CbMake<ZeCSurfelCollectionQMT>(count, false, c_attributeSet, nullptr);
}

Collection mergeAll(const Sources& sources)
{
    std::uint64_t count = 0;
    sources.ForEach([&](const auto& surfels, const auto&) { count += surfels.GetNrSurfels(); });
    if (count > std::numeric_limits<std::uint32_t>::max()) {
        throw CbException(CB_HERE, std::to_string(count) + " surfels are too many to be merged");
    }
    // Made at its full size, so that each surfel is written once.
    Collection result = makeCollection(static_cast<std::uint32_t>(count));
    std::uint32_t next = 0;
    sources.ForEach([&](const auto& surfels, const CbMatrix4Rf& transformation) {
        result->CopySurfels(next, surfels, 0, surfels.GetNrSurfels(), true, transformation);
        next += surfels.GetNrSurfels();
    });
    return result;
}

Collection mergeOnGrid(const Sources& sources, const std::vector<CyBoundingSphere>* spheres,
                       float cellSize, float samplingParameter, bool halfOffset)
{
    ZeCGridSampler sampler(cellSize, halfOffset ? cellSize * 0.5F : 0.0F,
                           halfOffset ? ZeCGridSampler::c_shiftedGridGain : 1.0F);
    sources.ForEach([&](const auto& surfels, const CbMatrix4Rf& transformation) {
        if (spheres != nullptr) {
            sampler.AddSurfels(surfels, &transformation, *spheres);
        } else {
            sampler.AddSurfels(surfels, &transformation);
        }
    });
    Collection result = makeCollection(sampler.GetNrOfUsedCells());
    sampler.GetSubsampled(*result, samplingParameter, c_attributeSet, false);
    return result;
}

Collection merge(const Sources& sources, const std::vector<CyBoundingSphere>* spheres,
                 float cellSize, float samplingParameter, bool halfOffset)
{
    // Without a grid all surfels are kept, whatever the spheres.
    if (cellSize == 0.0F) return mergeAll(sources);
    return mergeOnGrid(sources, spheres, cellSize, samplingParameter, halfOffset);
}

} // namespace

Collection ZeCTransformationNode::ComputeSubsampling(const ZeCNodeVector& nodes, EType type,
                                                     float cellSize, float samplingParameter,
                                                     bool halfOffset, float /*ignored*/,
                                                     const CbMatrix4Rf* extra)
{
    const Sources sources{nodes, type, extra};
    return merge(sources, nullptr, cellSize, samplingParameter, halfOffset);
}

Collection ZeCTransformationNode::ComputeSubsampling(const ZeCNodeVector& nodes, EType type,
                                                     const std::vector<CyBoundingSphere>& spheres,
                                                     float cellSize, float samplingParameter,
                                                     bool halfOffset, float /*ignored*/,
                                                     const CbMatrix4Rf* extra)
{
    const Sources sources{nodes, type, extra};
    return merge(sources, &spheres, cellSize, samplingParameter, halfOffset);
}
