// Merging the surfels of all scans into one collection, each with its transformation.

#include "benchmarks/peers/peers.h"
#include "benchmarks/support/ratiobenchmark.h"
#include "benchmarks/support/syntheticscans.h"
#include "transformationtree/transformationtree.h"

#include <algorithm>
#include <benchmark/benchmark.h>

namespace
{

using Collection = CbSmartPointer<ZeCSurfelCollectionQMT>;

ZeCNodeVector vectorOf(const std::vector<SyntheticScan>& scans)
{
    ZeCNodeVector vector;
    for (const SyntheticScan& scan : scans) {
        CbMatrix4Rd trafo;
        std::copy_n(scan.toCommon.data(), 16, trafo.data());
        const auto leaf =
            CbMake<ZeCTransformationNodeLeaf>(CbMake<ZeCModelQMT>(scan.surfels, false));
        vector.AddNode(leaf, trafo);
    }
    return vector;
}

// The reference: one loop over the arrays, with what a rigid transformation needs.
Collection mergePlain(const std::vector<SyntheticScan>& scans)
{
    std::uint32_t count = 0;
    for (const SyntheticScan& scan : scans) count += scan.surfels->GetNrSurfels();
    auto merged = CbMake<ZeCSurfelCollectionQMT>(
        count, false, ZeCSurfelContainer::ESurfelAttributeSet::Subsampled, nullptr);
    std::size_t next = 0;
    for (const SyntheticScan& scan : scans) {
        const ZeCSurfelContainer& from = *scan.surfels;
        const CbMatrix4Rf& m = scan.toCommon;
        for (std::size_t i = 0; i < from.GetNrSurfels(); ++i, ++next) {
            merged->GetPositionAccessor()[next] = TransformPoint(from.GetPositionAccessor()[i], m);
            const CbVector3f n = from.GetNormalAccessor()[i].GetNormal();
            merged->GetNormalAccessor()[next] =
                ZeCQuantizedNormal(CbVector3f{n.x * m[0][0] + n.y * m[1][0] + n.z * m[2][0],
                                              n.x * m[0][1] + n.y * m[1][1] + n.z * m[2][1],
                                              n.x * m[0][2] + n.y * m[1][2] + n.z * m[2][2]});
            merged->GetColorAccessor()[next] = from.GetColorAccessor()[i];
            merged->GetQualityAccessor().data()[next] = from.GetQualityAccessor().data()[i];
            merged->GetTissueTypeAccessor()[next] = from.GetTissueTypeAccessor()[i];
            merged->GetBoundaryFlagAccessor()[next] = from.GetBoundaryFlagAccessor()[i];
            merged->GetCurvatureAccessor()[next] = from.GetCurvatureAccessor()[i];
        }
    }
    return merged;
}

Collection merge(const ZeCNodeVector& nodes)
{
    return ZeCTransformationNode::ComputeSubsampling(
        nodes, ZeCModelQMT::ESurfelCollectionType::Standard, 0, 1, false, 0, nullptr);
}

} // namespace

std::vector<RatioBenchmark> MergeBenchmarks()
{
    std::vector<RatioBenchmark> benchmarks;
    for (const std::size_t size : {100000, 1000000, 5000000}) {
        const auto prepare = [size] {
            const auto scans =
                std::make_shared<const std::vector<SyntheticScan>>(MakeSyntheticScans(size));
            const ZeCNodeVector nodes = vectorOf(*scans);
            return RatioBenchmark::Pair{[=] { benchmark::DoNotOptimize(merge(nodes)); },
                                        [=] { benchmark::DoNotOptimize(mergePlain(*scans)); }};
        };
        benchmarks.push_back({"merge/all", size, size, "loop over the same arrays", 1.3, prepare});

        const auto makePeer = Pcl().makePeer;
        if (size < 1000000 || makePeer == nullptr) continue;
        const auto prepareWithPeer = [size, makePeer] {
            const auto scans = MakeSyntheticScans(size);
            const ZeCNodeVector nodes = vectorOf(scans);
            const std::shared_ptr<const Peer> peer = makePeer(scans);
            return RatioBenchmark::Pair{[=] { benchmark::DoNotOptimize(merge(nodes)); },
                                        [=] { benchmark::DoNotOptimize(peer->Merge()); }};
        };
        benchmarks.push_back({"merge/all/pcl", size, size,
                              "PCL transform, concatenate: position, normal, colour only", 0.5,
                              prepareWithPeer});
    }
    return benchmarks;
}
