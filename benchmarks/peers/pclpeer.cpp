// Templates are built here, with the optimisation of the library they are compared with.
#define PCL_NO_PRECOMPILE

#include "benchmarks/peers/pclpeer.h"

#include <pcl/common/transforms.h>
#include <pcl/filters/voxel_grid.h>
#include <pcl/point_cloud.h>
#include <pcl/point_types.h>

namespace
{

using Point = pcl::PointXYZRGBNormal;
using Cloud = pcl::PointCloud<Point>;

Cloud cloudOf(const ZeCSurfelContainer& surfels)
{
    Cloud cloud(surfels.GetNrSurfels(), 1);
    for (std::uint32_t i = 0; i < surfels.GetNrSurfels(); ++i) {
        const CbVector3f position = surfels.GetPositionAccessor()[i];
        const CbVector3f normal = surfels.GetNormalAccessor()[i].GetNormal();
        const auto color = surfels.GetColorAccessor()[i];
        cloud[i] = {position.x, position.y, position.z, color.r, color.g,
                    color.b,    normal.x,   normal.y,   normal.z};
    }
    return cloud;
}

class PclPeer : public Peer
{
public:
    explicit PclPeer(const std::vector<SyntheticScan>& scans)
    {
        for (const SyntheticScan& scan : scans) {
            // A group of ours is a column of theirs.
            const Eigen::Map<const Eigen::Matrix4f> toCommon(scan.toCommon.data());
            scans_.push_back({cloudOf(*scan.surfels), toCommon});
            size_ += scan.surfels->GetNrSurfels();
        }
    }
    [[nodiscard]] std::size_t Merge() const override { return merged()->size(); }
    [[nodiscard]] std::size_t Subsample(float cellSize) const override
    {
        pcl::VoxelGrid<Point> grid;
        grid.setInputCloud(merged());
        grid.setLeafSize(cellSize, cellSize, cellSize);
        grid.setDownsampleAllData(true);
        Cloud averages;
        grid.filter(averages);
        return averages.size();
    }

private:
    struct Scan
    {
        Cloud cloud;
        Eigen::Matrix4f toCommon;
    };

    [[nodiscard]] Cloud::Ptr merged() const
    {
        Cloud::Ptr all(new Cloud);
        all->reserve(size_);
        Cloud transformed;
        for (const Scan& scan : scans_) {
            pcl::transformPointCloudWithNormals(scan.cloud, transformed, scan.toCommon);
            *all += transformed;
        }
        return all;
    }

    std::vector<Scan> scans_;
    std::size_t size_ = 0;
};

} // namespace

std::unique_ptr<Peer> MakePclPeer(const std::vector<SyntheticScan>& scans)
{
    return std::make_unique<PclPeer>(scans);
}
