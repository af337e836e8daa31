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

Session::Session()
{
    auto& manager = Manager();
    if (!manager.SetDataManager(dataManager_, dataManager_.GetTopNode())) {
        throw CbException(CB_HERE, "another session uses the node manager");
    }
    root_ = manager.CreateRootNode();
    const auto model = manager.CreateInnerNode();
    model->SetDescription(CB_TEXT("Model"));
    cluster_ = manager.CreateInnerNode();
    cluster_->SetDescription(CB_TEXT("Cluster 0"));

    // A write lock covers the node and all that comes below it.
    const auto lock = manager.GetSingleWriteHandleLocked(root_);
    manager.AppendChild(root_, model, true);
    manager.AppendChild(model, cluster_, true);
}

Session::~Session()
{
    auto& manager = Manager();
    cluster_ = nullptr;
    {
        const auto lock = manager.GetSingleWriteHandleLocked(root_);
        manager.UnsetRootNode();
    }
    (void)manager.UnsetDataManager(); // refuses only while a root is set
}

void Session::Append(const Scan& scan)
{
    auto& manager = Manager();
    const auto image = CbMake<QMT_DepthImage>(PackSurfels(scan.surfels), true);
    image->SetAcquireSequenceNumber(scans_);
    const auto leaf = manager.CreateLeafNode(image);
    leaf->SetDescription(CString::FromUtf8(scan.name));
    leaf->SetRelativeTrafo(scan.sensorToRoot); // cluster, model node and root share one frame

    const auto lock = manager.GetSingleWriteHandleLocked(cluster_);
    manager.AppendChild(cluster_, leaf, true);
    ++scans_;
}

std::uint64_t Session::GetNrSurfels() const
{
    const auto lock = Manager().GetSingleReadHandleLocked(root_);
    std::uint64_t count = 0;
    for (const auto& [leaf, trafo] : root_->Leaves()) {
        count += leaf.GetModel()->BorrowSurfelCollection(c_standard)->GetNrSurfels();
    }
    return count;
}

void Session::PrintTree(std::ostream& out) const
{
    const auto lock = Manager().GetSingleReadHandleLocked(root_);
    for (const auto& [node, trafo] : root_->Nodes()) {
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
    const auto lock = Manager().GetSingleReadHandleLocked(root_);
    Bounds bounds;
    for (const auto& [leaf, leafToRoot] : root_->Leaves()) {
        WriteLeaf(*leaf.GetModel()->BorrowSurfelCollection(c_standard), leafToRoot, writer, bounds);
        leafDone();
    }
    writer.Commit();
    return bounds;
}

} // namespace scansession
