#include "examples/scansession/session.h"

#include "examples/scansession/plywriter.h"
#include "examples/scansession/poses.h"
#include "platform/base/cbexception.h"
#include "platform/base/cbsingleton.h"
#include "platform/datacontainer/qmt_depthimage.h"
#include "transformationtree/transformationtree.h"

#include <algorithm>
#include <ostream>

namespace scansession
{

namespace
{

constexpr auto c_standard = ZeCModelQMT::ESurfelCollectionType::Standard;

ZeCTransformationNodeManager& Manager()
{
    return CbSingleton<ZeCTransformationNodeManager>::GetInstance();
}

CbVector3f ToVector(const Vec3& v)
{
    return {static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z)};
}

Vec3 FromVector(const CbVector3f& v) { return {v.x, v.y, v.z}; }

std::array<float, 3> ToArray(const Vec3& v)
{
    return {static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z)};
}

/// Writes the surfels of one leaf and extends the bounds by them.
void WriteLeaf(const ZeCSurfelCollectionQMT& surfels, const CbMatrix4Rd& leafToRoot,
               PlyWriter& writer, Bounds& bounds)
{
    const auto positions = surfels.GetPositionAccessor();
    const auto normals = surfels.GetNormalAccessor();
    const auto colours = surfels.GetColorAccessor();
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const Vec3 position = MapPoint(FromVector(positions[i]), leafToRoot);
        const Vec3 normal = MapNormal(FromVector(normals[i].GetNormal()), leafToRoot);
        bounds.Extend(position);
        writer.Add(ToArray(position), ToArray(normal), {colours[i].r, colours[i].g, colours[i].b});
    }
}

} // namespace

void Bounds::Extend(const Vec3& p)
{
    least = {std::min(least.x, p.x), std::min(least.y, p.y), std::min(least.z, p.z)};
    largest = {std::max(largest.x, p.x), std::max(largest.y, p.y), std::max(largest.z, p.z)};
}

CbSmartPointer<ZeCSurfelCollectionQMT> PackSurfels(const std::vector<Surfel>& surfels)
{
    auto packed =
        CbMake<ZeCSurfelCollectionQMT>(static_cast<std::uint32_t>(surfels.size()), false,
                                       ZeCSurfelContainer::ESurfelAttributeSet::Complete, nullptr);
    const auto positions = packed->GetPositionAccessor();
    const auto normals = packed->GetNormalAccessor();
    const auto colours = packed->GetColorAccessor();
    const auto qualities = packed->GetQualityAccessor();
    const auto tissues = packed->GetTissueTypeAccessor();
    const auto boundaries = packed->GetBoundaryFlagAccessor();
    const auto curvatures = packed->GetCurvatureAccessor();
    for (std::size_t i = 0; i < surfels.size(); ++i) {
        const Surfel& surfel = surfels[i];
        positions[i] = ToVector(surfel.position);
        normals[i] = ZeCQuantizedNormal(ToVector(surfel.normal));
        colours[i] = {surfel.colour[0], surfel.colour[1], surfel.colour[2]};
        qualities[i] = static_cast<float>(surfel.quality);
        tissues[i] = static_cast<std::uint8_t>(surfel.tissue);
        boundaries[i] = surfel.boundary;
        curvatures[i] = surfel.curvature;
    }
    return packed;
}

Vec3 MapNormal(const Vec3& n, const CbMatrix4Rd& m)
{
    const auto axis = [&](std::size_t i) { return Vec3{m[i][0], m[i][1], m[i][2]}; };
    const Vec3 yz = Cross(axis(1), axis(2));
    const Vec3 zx = Cross(axis(2), axis(0));
    const Vec3 xy = Cross(axis(0), axis(1));
    const double side = Dot(axis(0), yz) < 0.0 ? -1.0 : 1.0; // a reflection keeps inside inside
    return Normalized((yz * n.x + zx * n.y + xy * n.z) * side, n);
}

Session::Session(unsigned int maxChildren) : maxChildren_(maxChildren)
{
    auto& manager = Manager();
    if (!manager.SetDataManager(dataManager_, dataManager_.GetTopNode())) {
        throw CbException(CB_HERE, "another session uses the node manager");
    }
    tree_ = CbMake<SessionTree>();
}

Session::~Session()
{
    auto& manager = Manager();
    {
        const auto lock = manager.GetSingleWriteHandleLocked(tree_->GetRoot());
        tree_ = nullptr; // removes what is below the root
        manager.UnsetRootNode();
    }
    (void)manager.UnsetDataManager(); // refuses only while a root is set
}

void Session::StartCluster()
{
    const auto lock = Manager().GetSingleWriteHandleLocked(tree_->GetModelNode());
    optimizer_ = SessionTree::GetOptimizerNode(tree_->NewCluster(true));
    place_ = optimizer_;
}

void Session::Append(const Scan& scan)
{
    auto& utility = CbSingleton<ZeCTransformationTreeUtility>::GetInstance();
    const auto image = CbMake<QMT_DepthImage>(PackSurfels(scan.surfels), true);
    image->SetAcquireSequenceNumber(scans_);
    image->SetDescription(CString::FromUtf8(scan.name));

    // A new level changes the children of the cluster, so the lock has to cover that.
    const auto lock = Manager().GetSingleWriteHandleLocked(tree_->GetActiveCluster());
    place_ = utility.PrepareForNextChild(place_, maxChildren_, optimizer_);
    if (!place_) throw CbException(CB_HERE, "no room for the scan below the optimizer");
    // All inner nodes share the frame of the root.
    utility.CreateLeaf(place_, image, &scan.sensorToRoot);
    ++scans_;
}

std::uint64_t Session::GetNrSurfels() const
{
    const auto root = tree_->GetRoot();
    const auto lock = Manager().GetSingleReadHandleLocked(root);
    std::uint64_t count = 0;
    for (const auto& [leaf, trafo] : root->Leaves()) {
        count += leaf.GetModel()->BorrowSurfelCollection(c_standard)->GetNrSurfels();
    }
    return count;
}

void Session::PrintTree(std::ostream& out) const
{
    const auto root = tree_->GetRoot();
    const auto lock = Manager().GetSingleReadHandleLocked(root);
    for (const auto& [node, trafo] : root->Nodes()) {
        for (auto father = node.GetFather(); father; father = father->GetFather()) out << "  ";
        out << node.GetDescription().ToUtf8();
        if (const auto model = node.IsLeaf() ? node.GetModel() : nullptr) {
            const Vec3 origin = MapPoint({}, trafo);
            out << ": " << model->BorrowSurfelCollection(c_standard)->GetNrSurfels()
                << " surfels, from (" << origin.x << ", " << origin.y << ", " << origin.z << ')';
        }
        out << '\n';
    }
}

Bounds Session::WriteMerged(const std::filesystem::path& path,
                            const std::function<void()>& leafDone) const
{
    PlyWriter writer(path, GetNrSurfels());
    const auto root = tree_->GetRoot();
    const auto lock = Manager().GetSingleReadHandleLocked(root);
    Bounds bounds;
    for (const auto& [leaf, leafToRoot] : root->Leaves()) {
        WriteLeaf(*leaf.GetModel()->BorrowSurfelCollection(c_standard), leafToRoot, writer, bounds);
        leafDone();
    }
    writer.Commit();
    return bounds;
}

} // namespace scansession
