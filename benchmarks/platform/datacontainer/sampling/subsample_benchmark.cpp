// Merging the surfels of overlapping scans on a grid.

#include "benchmarks/peers/peers.h"
#include "benchmarks/support/ratiobenchmark.h"
#include "benchmarks/support/syntheticscans.h"
#include "platform/datacontainer/sampling/zecgridsampler.h"

#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdlib>
#include <string_view>

namespace
{

using Collection = CbSmartPointer<ZeCSurfelCollectionQMT>;

constexpr auto c_attributes = ZeCSurfelContainer::ESurfelAttributeSet::Subsampled;

Collection makeCollection(std::size_t count)
{
    return CbMake<ZeCSurfelCollectionQMT>(static_cast<std::uint32_t>(count), false, c_attributes,
                                          nullptr);
}

Collection subsample(const std::vector<SyntheticScan>& scans, float cellSize)
{
    ZeCGridSampler sampler(cellSize, 0.0F, 1.0F);
    for (const SyntheticScan& scan : scans) sampler.AddSurfels(*scan.surfels, &scan.toCommon);
    auto result = makeCollection(sampler.GetNrOfUsedCells());
    sampler.GetSubsampled(*result, 1.0F, c_attributes, false);
    return result;
}

// The reference: one table of cells, plain sums in single precision, cells in whatever order.
class PlainGrid
{
public:
    explicit PlainGrid(float cellSize) : cellSize_(cellSize), table_(1024) {}

    void Add(const ZeCSurfelContainer& surfels, const CbMatrix4Rf& m)
    {
        const auto positions = surfels.GetPositionAccessor();
        const auto normals = surfels.GetNormalAccessor();
        const auto colors = surfels.GetColorAccessor();
        const auto qualities = surfels.GetQualityAccessor();
        const auto tissueTypes = surfels.GetTissueTypeAccessor();
        const auto boundaryFlags = surfels.GetBoundaryFlagAccessor();
        const auto curvatures = surfels.GetCurvatureAccessor();
        for (std::uint32_t i = 0; i < surfels.GetNrSurfels(); ++i) {
            const CbVector3f p = TransformPoint(positions[i], m);
            const CbVector3f n = normals[i].GetNormal();
            Cell& cell = find(p);
            cell.position.x += p.x;
            cell.position.y += p.y;
            cell.position.z += p.z;
            cell.normal.x += n.x * m[0][0] + n.y * m[1][0] + n.z * m[2][0];
            cell.normal.y += n.x * m[0][1] + n.y * m[1][1] + n.z * m[2][1];
            cell.normal.z += n.x * m[0][2] + n.y * m[1][2] + n.z * m[2][2];
            cell.r += colors[i].r;
            cell.g += colors[i].g;
            cell.b += colors[i].b;
            cell.quality += qualities.data()[i];
            cell.curvature += curvatures[i];
            cell.boundary += boundaryFlags[i] ? 1.0F : 0.0F;
            cell.tissueType = tissueTypes[i];
            cell.count += 1.0F;
        }
    }
    [[nodiscard]] Collection GetResult() const
    {
        auto result = makeCollection(cells_.size());
        const auto byte = [](float value) { return static_cast<std::uint8_t>(value + 0.5F); };
        for (std::size_t i = 0; i < cells_.size(); ++i) {
            const Cell& cell = cells_[i];
            const float f = 1.0F / cell.count;
            result->GetPositionAccessor()[i] = {cell.position.x * f, cell.position.y * f,
                                                cell.position.z * f};
            result->GetNormalAccessor()[i] = ZeCQuantizedNormal(cell.normal);
            result->GetColorAccessor()[i] = {byte(cell.r * f), byte(cell.g * f), byte(cell.b * f)};
            result->GetQualityAccessor().data()[i] = byte(cell.quality * f);
            result->GetTissueTypeAccessor()[i] = cell.tissueType;
            result->GetBoundaryFlagAccessor()[i] = cell.boundary > 0.5F * cell.count;
            result->GetCurvatureAccessor()[i] = byte(cell.curvature * f);
        }
        return result;
    }

private:
    struct Cell
    {
        CbVector3f position, normal;
        float r = 0, g = 0, b = 0, quality = 0, curvature = 0, boundary = 0, count = 0;
        std::uint8_t tissueType = 0;
    };
    struct Slot
    {
        int x, y, z;
        std::uint32_t cell; ///< counts from 1, 0 in a free slot
    };

    Cell& find(const CbVector3f& p)
    {
        const int x = static_cast<int>(std::floor(p.x / cellSize_));
        const int y = static_cast<int>(std::floor(p.y / cellSize_));
        const int z = static_cast<int>(std::floor(p.z / cellSize_));
        Slot& slot = slotOf(x, y, z);
        if (slot.cell != 0) return cells_[slot.cell - 1];
        cells_.emplace_back();
        slot = {x, y, z, static_cast<std::uint32_t>(cells_.size())};
        if (cells_.size() > table_.size() / 2) grow();
        return cells_.back();
    }
    Slot& slotOf(int x, int y, int z)
    {
        const std::uint64_t hash = (static_cast<std::uint64_t>(x) * 73856093U) ^
                                   (static_cast<std::uint64_t>(y) * 19349663U) ^
                                   (static_cast<std::uint64_t>(z) * 83492791U);
        for (std::size_t i = hash;; ++i) {
            Slot& slot = table_[i & (table_.size() - 1)];
            if (slot.cell == 0 || (slot.x == x && slot.y == y && slot.z == z)) return slot;
        }
    }
    void grow()
    {
        std::vector<Slot> old(2 * table_.size());
        old.swap(table_);
        for (const Slot& slot : old) {
            if (slot.cell != 0) slotOf(slot.x, slot.y, slot.z) = slot;
        }
    }

    float cellSize_;
    std::vector<Slot> table_;
    std::vector<Cell> cells_;
};

RatioBenchmark subsampleBenchmark(const char* name, std::size_t size, float cellSize)
{
    return {name,
            size,
            size,
            "plain one-pass hash",
            size < 1000000 ? 0.0 : 1.0, // what is fixed counts in small clouds
            [=] {
                const auto scans =
                    std::make_shared<const std::vector<SyntheticScan>>(MakeSyntheticScans(size));
                return RatioBenchmark::Pair{
                    [=] { benchmark::DoNotOptimize(subsample(*scans, cellSize)); },
                    [=] {
                        PlainGrid grid(cellSize);
                        for (const auto& scan : *scans) grid.Add(*scan.surfels, scan.toCommon);
                        benchmark::DoNotOptimize(grid.GetResult());
                    }};
            },
            true};
}

struct PeerWork
{
    const char* name;
    float cellSize;
    PeerLibrary library;
    const char* reference;
    double goal;
    double memoryGoal;
};

// Ours averages the other attributes as well.
std::vector<PeerWork> peerWorks()
{
    const char* const kernels = std::getenv("TREE_KERNELS");
    const bool arePlain = kernels != nullptr && std::string_view(kernels) == "plain";
    const double goal = arePlain ? 1.0 / 3 : 1.0 / 4;
    const char* pcl = "PCL VoxelGrid: position, normal, colour only";
    const char* open3d = "Open3D VoxelDownSample: position, normal, colour only";
    return {{"subsample/0.1/pcl", 0.1F, Pcl(), pcl, goal, 0.5},
            {"subsample/0.25/pcl", 0.25F, Pcl(), pcl, goal, 0.5},
            {"subsample/1/pcl", 1.0F, Pcl(), pcl, 0, 0.5},
            {"subsample/0.1/open3d", 0.1F, Open3d(), open3d, 0, 0},
            {"subsample/0.25/open3d", 0.25F, Open3d(), open3d, 0, 0},
            {"subsample/1/open3d", 1.0F, Open3d(), open3d, 1.0 / 3, 0}};
}

RatioBenchmark peerBenchmark(const PeerWork& work, std::size_t size)
{
    const auto prepare = [size, cellSize = work.cellSize, makePeer = work.library.makePeer] {
        const auto scans =
            std::make_shared<const std::vector<SyntheticScan>>(MakeSyntheticScans(size));
        const std::shared_ptr<const Peer> peer = makePeer(*scans);
        return RatioBenchmark::Pair{[=] { benchmark::DoNotOptimize(subsample(*scans, cellSize)); },
                                    [=] { benchmark::DoNotOptimize(peer->Subsample(cellSize)); }};
    };
    return {work.name, size, size, work.reference, work.goal, prepare, true, work.memoryGoal};
}

} // namespace

std::vector<RatioBenchmark> SubsampleBenchmarks()
{
    std::vector<RatioBenchmark> benchmarks;
    for (const std::size_t size : {100000, 1000000, 5000000}) {
        benchmarks.push_back(subsampleBenchmark("subsample/0.1", size, 0.1F));
        benchmarks.push_back(subsampleBenchmark("subsample/0.25", size, 0.25F));
        benchmarks.push_back(subsampleBenchmark("subsample/1", size, 1.0F));
        for (const PeerWork& work : peerWorks()) {
            if (size < 1000000 || work.library.makePeer == nullptr) continue;
            benchmarks.push_back(peerBenchmark(work, size));
        }
    }
    return benchmarks;
}
