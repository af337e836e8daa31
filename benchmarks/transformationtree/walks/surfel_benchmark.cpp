// Reading all surfels of a subtree, each with its transformation.

#include "benchmarks/support/ratiobenchmark.h"
#include "benchmarks/transformationtree/walks/plaintree.h"
#include "transformationtree/transformationtree.h"

#include <benchmark/benchmark.h>
#include <random>
#include <span>

namespace
{

constexpr int c_clusters = 10;
constexpr int c_scansPerCluster = 10;

CbSmartPointer<ZeCSurfelCollectionQMT> scannedSurfels(std::size_t count, std::mt19937& random)
{
    std::uniform_real_distribution<float> coordinate(-10, 10);
    const auto surfels =
        CbMake<ZeCSurfelCollectionQMT>(static_cast<std::uint32_t>(count), true,
                                       ZeCSurfelContainer::ESurfelAttributeSet::Complete, nullptr);
    for (CbVector3f& p : surfels->GetPositionAccessor()) {
        p = {coordinate(random), coordinate(random), coordinate(random)};
    }
    for (ZeCQuantizedNormal& normal : surfels->GetNormalAccessor()) {
        normal = ZeCQuantizedNormal::FromCode(static_cast<std::uint16_t>(random()));
    }
    return surfels;
}

CbSmartPointer<ZeCTransformationNodeInner> buildScans(std::size_t surfels)
{
    auto& manager = CbSingleton<ZeCTransformationNodeManager>::GetInstance();
    std::mt19937 random(1);
    const auto root = manager.CreateInnerNode();
    for (int i = 0; i < c_clusters; ++i) {
        const auto cluster = manager.CreateInnerNode();
        cluster->SetRelativeTrafo(SomeTrafo(static_cast<std::size_t>(i)));
        manager.AppendChild(root, cluster);
        for (int j = 0; j < c_scansPerCluster; ++j) {
            const auto scan = manager.CreateLeafNode(CbMake<ZeCModelQMT>(
                scannedSurfels(surfels / c_clusters / c_scansPerCluster, random), true));
            scan->SetRelativeTrafo(SomeTrafo(static_cast<std::size_t>(j)));
            manager.AppendChild(cluster, scan);
            manager.DeleteNode(scan);
        }
        manager.DeleteNode(cluster);
    }
    manager.DeleteNode(root);
    return root;
}

// What is done with each surfel: its position is brought into the root's frame.
struct Sum
{
    double x = 0;
    double y = 0;
    double z = 0;
    std::uint64_t normals = 0;

    void Add(const CbVector3f& p, ZeCQuantizedNormal normal, const CbMatrix4Rd& m)
    {
        x += p.x * m[0][0] + p.y * m[1][0] + p.z * m[2][0] + m[3][0];
        y += p.x * m[0][1] + p.y * m[1][1] + p.z * m[2][1] + m[3][1];
        z += p.x * m[0][2] + p.y * m[1][2] + p.z * m[2][2] + m[3][2];
        normals += normal.GetCode();
    }
};

struct Scan
{
    std::span<const CbVector3f> positions;
    std::span<const ZeCQuantizedNormal> normals;
    CbMatrix4Rd trafo;
};

Sum readPlain(const std::vector<Scan>& scans)
{
    Sum sum;
    for (const Scan& scan : scans) {
        for (std::size_t i = 0; i < scan.positions.size(); ++i)
            sum.Add(scan.positions[i], scan.normals[i], scan.trafo);
    }
    return sum;
}

RatioBenchmark surfelBenchmark(const char* name, std::size_t size, double goal,
                               Sum (*read)(const ZeCTransformationNode&))
{
    const auto prepare = [=] {
        const auto root = buildScans(size);
        std::vector<Scan> scans;
        for (const auto& [leaf, trafo] : root->Leaves()) {
            const auto& surfels = *leaf.GetModel()->BorrowSurfelCollection(
                ZeCModelQMT::ESurfelCollectionType::Standard);
            scans.push_back({surfels.GetPositionAccessor(), surfels.GetNormalAccessor(), trafo});
        }
        return RatioBenchmark::Pair{[=] { benchmark::DoNotOptimize(read(*root)); },
                                    [=] { benchmark::DoNotOptimize(readPlain(scans)); }};
    };
    return {name, size,   size, "indexed loops over the same arrays, positions transformed",
            goal, prepare};
}

Sum readSequentially(const ZeCTransformationNode& root)
{
    Sum sum;
    for (auto it = root.BeginSurfel(); it; ++it) {
        const ZeCSurfelContainer& container = *it.GetContainer();
        sum.Add(container.GetPositionAccessor()[it.GetIndex()],
                container.GetNormalAccessor()[it.GetIndex()], it.GetTransformation());
    }
    return sum;
}

Sum readRange(const ZeCTransformationNode& root)
{
    Sum sum;
    for (const auto& [container, index, trafo] : root.Surfels())
        sum.Add(container.GetPositionAccessor()[index], container.GetNormalAccessor()[index],
                trafo);
    return sum;
}

Sum readByNumber(const ZeCTransformationNode& root)
{
    Sum sum;
    const auto surfels = root.GetRas();
    for (std::uint32_t i = 0; i < surfels.GetNrOfOverallSurfels(); ++i)
        sum.Add(surfels.GetPosition(i), surfels.GetNormal(i), surfels.GetTransformation(i));
    return sum;
}

} // namespace

std::vector<RatioBenchmark> SurfelIteratorBenchmarks()
{
    std::vector<RatioBenchmark> benchmarks;
    for (const std::size_t size : {100000, 1000000, 5000000}) {
        benchmarks.push_back(surfelBenchmark("surfels/sequential", size, 2, &readSequentially));
        benchmarks.push_back(surfelBenchmark("surfels/range", size, 2, &readRange));
        benchmarks.push_back(surfelBenchmark("surfels/random", size, 4, &readByNumber));
    }
    return benchmarks;
}
