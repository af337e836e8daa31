#include "benchmarks/peers/open3dpeer.h"

#include <open3d/geometry/PointCloud.h>

namespace
{

using Cloud = open3d::geometry::PointCloud;

Cloud cloudOf(const ZeCSurfelContainer& surfels)
{
    Cloud cloud;
    for (std::uint32_t i = 0; i < surfels.GetNrSurfels(); ++i) {
        const CbVector3f position = surfels.GetPositionAccessor()[i];
        const CbVector3f normal = surfels.GetNormalAccessor()[i].GetNormal();
        const auto color = surfels.GetColorAccessor()[i];
        cloud.points_.emplace_back(position.x, position.y, position.z);
        cloud.normals_.emplace_back(normal.x, normal.y, normal.z);
        cloud.colors_.emplace_back(color.r / 255.0, color.g / 255.0, color.b / 255.0);
    }
    return cloud;
}

class Open3dPeer : public Peer
{
public:
    explicit Open3dPeer(const std::vector<SyntheticScan>& scans)
    {
        for (const SyntheticScan& scan : scans) {
            // A group of ours is a column of theirs.
            const Eigen::Map<const Eigen::Matrix4f> toCommon(scan.toCommon.data());
            scans_.push_back({cloudOf(*scan.surfels), toCommon.cast<double>()});
            size_ += scan.surfels->GetNrSurfels();
        }
    }
    [[nodiscard]] std::size_t Merge() const override { return merged().points_.size(); }
    [[nodiscard]] std::size_t Subsample(float cellSize) const override
    {
        return merged().VoxelDownSample(cellSize)->points_.size();
    }

private:
    struct Scan
    {
        Cloud cloud;
        Eigen::Matrix4d toCommon;
    };

    [[nodiscard]] Cloud merged() const
    {
        Cloud all;
        all.points_.reserve(size_);
        all.normals_.reserve(size_);
        all.colors_.reserve(size_);
        for (const Scan& scan : scans_) {
            Cloud transformed = scan.cloud;
            all += transformed.Transform(scan.toCommon);
        }
        return all;
    }

    std::vector<Scan> scans_;
    std::size_t size_ = 0;
};

} // namespace

std::unique_ptr<Peer> MakeOpen3dPeer(const std::vector<SyntheticScan>& scans)
{
    return std::make_unique<Open3dPeer>(scans);
}
