// Builds the cached model of an inner node.

#include "platform/datacontainer/sampling/zecgridsampler.h"
#include "platform/datacontainer/sampling/zecshiftedgridsampler.h"
#include "transformationtree/models/zecleafnodevector.h"
#include "transformationtree/nodes/zectransformationnodeinner.h"

#include <algorithm>

namespace
{

using Collection = CbSmartPointer<ZeCSurfelCollectionQMT>;

/// What is sampled on shifted grids, and how.
struct Sampling
{
    const ZeCNodeVector& nodes;
    ZeCModelQMT::ESurfelCollectionType type;
    float cellSize;
    float samplingParameter;
    float ignored;
};

CbMatrix4Rf shiftBy(float x, float y, float z)
{
    CbMatrix4Rf matrix;
    matrix[3][0] = x;
    matrix[3][1] = y;
    matrix[3][2] = z;
    return matrix;
}

// The shifts on each axis: five, but for cells that are too small to be divided.
std::vector<float> shiftsOf(float cellSize)
{
    std::vector<float> shifts;
    const float step = cellSize / 5;
    // A step that is rounded to zero would never end.
    for (float shift = step * 0.5F; step > 0 && shift < cellSize; shift += step) {
        shifts.push_back(shift);
    }
    return shifts;
}

Collection sampleOneByOne(const Sampling& sampling, const std::vector<float>& shifts)
{
    Collection merged = CbMake<ZeCSurfelCollectionQMT>();
    for (const float x : shifts) {
        for (const float y : shifts) {
            for (const float z : shifts) {
                const CbMatrix4Rf shift = shiftBy(x, y, z);
                const auto samples = ZeCTransformationNode::ComputeSubsampling(
                    sampling.nodes, sampling.type, sampling.cellSize, sampling.samplingParameter,
                    true, sampling.ignored, &shift);
                // Back from the shifted grid to where the surfels are.
                merged->Append(*samples, shiftBy(-x, -y, -z));
            }
        }
    }
    return merged;
}

// The same, faster; null if it has to be done one by one.
Collection sampleTogether(const Sampling& sampling, const std::vector<float>& shifts)
{
    ZeCShiftedGridSampler::Shifts all;
    // Cells that are too small to be divided have other shifts than five.
    if (shifts.size() != all.size()) return nullptr;
    std::copy(shifts.begin(), shifts.end(), all.begin());
    ZeCShiftedGridSampler sampler(sampling.cellSize, sampling.cellSize * 0.5F,
                                  ZeCGridSampler::c_shiftedGridGain, all);
    for (const ZeCNodeAccelerated& node : sampling.nodes.GetElements()) {
        const ZeCModelQMT* const model = node.GetModel().Get();
        const auto* const surfels =
            model != nullptr ? model->BorrowSurfelCollection(sampling.type) : nullptr;
        if (surfels == nullptr) continue;
        if (!sampler.AddSurfels(*surfels, ToFloat(node.GetTrafo()))) return nullptr;
    }
    Collection merged = CbMake<ZeCSurfelCollectionQMT>();
    sampler.AppendSubsampled(*merged, sampling.samplingParameter);
    return merged;
}

} // namespace

void ZeCTransformationNodeInner::CreateModel(bool accurateCollection, float cellSize,
                                             float samplingParameter, bool shiftedGrids,
                                             float ignored)
{
    using EType = ZeCModelQMT::ESurfelCollectionType;
    const EType type = accurateCollection ? EType::Accurate : EType::Standard;
    const CbSmartPointer<const ZeCTransformationNode> self(this);
    const ZeCNodeVector leaves(self, ZeCNodeVector::itLeaf, c_matIdentityD, 0);
    Collection merged;
    if (shiftedGrids) {
        const Sampling sampling{leaves, type, cellSize, samplingParameter, ignored};
        const std::vector<float> shifts = shiftsOf(cellSize);
        merged = sampleTogether(sampling, shifts);
        if (!merged) merged = sampleOneByOne(sampling, shifts);
    } else {
        constexpr float c_ignored = ZeCGridSampler::c_shiftedGridGain;
        merged = ComputeSubsampling(leaves, type, cellSize, samplingParameter, false, c_ignored,
                                    nullptr);
    }
    // Which revision the model stands for is the caller's to say, by SetModel().
    SetModel(CbMake<ZeCModelQMT>(merged, true), -1);
}
