// Builds the cached model of an inner node.

#include "transformationtree/zecleafnodevector.h"
#include "transformationtree/zectransformationnodeinner.h"

namespace
{

using Collection = CbSmartPointer<ZeCSurfelCollectionQMT>;

CbMatrix4Rf shiftBy(float x, float y, float z)
{
    CbMatrix4Rf matrix;
    matrix[3][0] = x;
    matrix[3][1] = y;
    matrix[3][2] = z;
    return matrix;
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
        merged = CbMake<ZeCSurfelCollectionQMT>();
        const float step = cellSize / 5;
        const auto forEachShift = [&](auto&& visit) {
            // A step that is rounded to zero would never end.
            for (float shift = step * 0.5F; step > 0 && shift < cellSize; shift += step) {
                visit(shift);
            }
        };
        forEachShift([&](float x) {
            forEachShift([&](float y) {
                forEachShift([&](float z) {
                    const CbMatrix4Rf shift = shiftBy(x, y, z);
                    const auto samples = ComputeSubsampling(
                        leaves, type, cellSize, samplingParameter, true, ignored, &shift);
                    merged->Append(*samples, shiftBy(-x, -y, -z));
                });
            });
        });
    } else {
        constexpr float c_ignored = 6.5F;
        merged = ComputeSubsampling(leaves, type, cellSize, samplingParameter, false, c_ignored,
                                    nullptr);
    }
    SetModel(CbMake<ZeCModelQMT>(merged, true), -1);
}
