// Merged models on shifted grids, which share most of the work of 125 runs of the sampler.

#include "benchmarks/support/ratiobenchmark.h"
#include "benchmarks/support/syntheticscans.h"
#include "transformationtree/transformationtree.h"

#include <algorithm>
#include <benchmark/benchmark.h>

namespace
{

constexpr auto c_type = ZeCModelQMT::ESurfelCollectionType::Standard;

CbSmartPointer<ZeCTransformationNodeInner> treeOf(const std::vector<SyntheticScan>& scans)
{
    auto& manager = CbSingleton<ZeCTransformationNodeManager>::GetInstance();
    const auto root = manager.CreateInnerNode();
    for (const SyntheticScan& scan : scans) {
        const auto leaf = manager.CreateLeafNode(CbMake<ZeCModelQMT>(scan.surfels, false));
        CbMatrix4Rd trafo;
        std::copy_n(scan.toCommon.data(), 16, trafo.data());
        leaf->SetRelativeTrafo(trafo);
        manager.AppendChild(root, leaf);
        manager.DeleteNode(leaf);
    }
    manager.DeleteNode(root);
    return root;
}

CbMatrix4Rf shiftBy(float x, float y, float z)
{
    CbMatrix4Rf matrix;
    matrix[3][0] = x;
    matrix[3][1] = y;
    matrix[3][2] = z;
    return matrix;
}

// The reference: a run for each grid.
CbSmartPointer<ZeCSurfelCollectionQMT> sampleOneByOne(const ZeCNodeVector& nodes, float cellSize)
{
    auto merged = CbMake<ZeCSurfelCollectionQMT>();
    const float step = cellSize / 5;
    for (float x = step * 0.5F; x < cellSize; x += step) {
        for (float y = step * 0.5F; y < cellSize; y += step) {
            for (float z = step * 0.5F; z < cellSize; z += step) {
                const CbMatrix4Rf shift = shiftBy(x, y, z);
                const auto samples = ZeCTransformationNode::ComputeSubsampling(
                    nodes, c_type, cellSize, 1, true, 0, &shift);
                merged->Append(*samples, shiftBy(-x, -y, -z));
            }
        }
    }
    return merged;
}

RatioBenchmark shiftedBenchmark(const char* name, float cellSize, double goal)
{
    constexpr std::size_t c_size = 2400000;
    const auto prepare = [=] {
        const auto scans = MakeSyntheticScans(c_size);
        const auto root = treeOf(scans);
        const CbSmartPointer<const ZeCTransformationNode> top = root;
        const ZeCNodeVector nodes(top, ZeCNodeVector::itLeaf, c_matIdentityD, 0);
        return RatioBenchmark::Pair{
            [=] { root->CreateModel(false, cellSize, 1, true, 0); },
            [=] { benchmark::DoNotOptimize(sampleOneByOne(nodes, cellSize)); }};
    };
    return {name, c_size, c_size, "125 runs of the sampler", goal, prepare, true};
}

} // namespace

std::vector<RatioBenchmark> ShiftedBenchmarks()
{
    return {shiftedBenchmark("shifted/1", 1.0F, 1.0 / 15),
            shiftedBenchmark("shifted/0.5", 0.5F, 1.0 / 7),
            shiftedBenchmark("shifted/0.25", 0.25F, 1.0 / 2)};
}
