#include "examples/scansession/session/session.h"

#include "examples/scansession/scans/poses.h"
#include "platform/base/cbexception.h"
#include "platform/base/cbsingleton.h"
#include "platform/datacontainer/models/qmt_depthimage.h"
#include "sessionfile/sessionfile.h"
#include "transformationtree/transformationtree.h"

#include <ostream>
#include <utility>

namespace scansession
{

namespace
{

/// Deeper levels are not told apart: the lines of a chain would grow without bound.
constexpr int c_deepestIndent = 40;

/// From that many surfels in a cell on the quality of a merged surfel is that of its sources.
constexpr float c_surfelsForFullQuality = 4.0F;

ZeCTransformationNodeManager& Manager()
{
    return CbSingleton<ZeCTransformationNodeManager>::GetInstance();
}

CbVector3f ToVector(const Vec3& v)
{
    return {static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z)};
}

} // namespace

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

Session::Session(unsigned int maxChildren, sessionfile::LoadedSession loaded)
    : unknown_(std::move(loaded.unknown)), maxChildren_(maxChildren)
{
    auto& manager = Manager();
    if (!manager.SetDataManager(dataManager_, dataManager_.GetTopNode())) {
        throw CbException(CB_HERE, "another session uses the node manager");
    }
    try {
        tree_ = loaded.root ? CbMake<sessionfile::SessionTree>(loaded.root)
                            : CbMake<sessionfile::SessionTree>();
    } catch (...) {
        manager.UnsetRootNode();
        (void)manager.UnsetDataManager();
        throw;
    }
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
    optimizer_ = sessionfile::SessionTree::GetOptimizerNode(tree_->NewCluster(true));
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

std::uint64_t Session::GetNrScans() const
{
    const auto root = tree_->GetRoot();
    const auto lock = Manager().GetSingleReadHandleLocked(root);
    return root->GetNrLeafNodes();
}

std::uint64_t Session::GetNrSurfels() const
{
    const auto root = tree_->GetRoot();
    const auto lock = Manager().GetSingleReadHandleLocked(root);
    return CountSurfels(LeavesOf(*root));
}

void Session::PrintTree(std::ostream& out) const
{
    const auto root = tree_->GetRoot();
    const auto lock = Manager().GetSingleReadHandleLocked(root);
    for (const auto& [node, trafo] : root->Nodes()) {
        int levels = c_deepestIndent;
        for (auto father = node.GetFather(); father && levels > 0; father = father->GetFather()) {
            out << "  ";
            --levels;
        }
        out << node.GetDescription().ToUtf8();
        if (node.IsLeaf()) {
            const Vec3 origin = MapPoint({}, trafo);
            out << ": " << CountSurfels(LeavesOf(node)) << " surfels, from (" << origin.x << ", "
                << origin.y << ", " << origin.z << ')';
        }
        out << '\n';
    }
}

sessionfile::SessionTree::Clusters Session::clusters() const
{
    sessionfile::SessionTree::Clusters clusters;
    const auto lock = Manager().GetSingleReadHandleLocked(tree_->GetRoot());
    tree_->GetClusterNodes(tree_->GetModelNode(), clusters);
    return clusters;
}

std::vector<MergedCluster> Session::MergeClusters(float cellSize, bool shiftedGrids,
                                                  const std::function<void()>& clusterDone)
{
    std::vector<MergedCluster> merged;
    for (const auto& cluster : clusters()) {
        const auto lock = Manager().GetSingleWriteHandleLocked(cluster);
        cluster->CreateModel(false, cellSize, c_surfelsForFullQuality, shiftedGrids, 0.0F);
        const auto model = cluster->GetModel();
        constexpr auto all = ZeCTransformationNode::c_allRevisions;
        cluster->SetModel(model, cluster->GetNodeRevisionSubtree(all));
        merged.push_back({cluster->GetDescription().ToUtf8(), CountSurfels(LeavesOf(*cluster)),
                          CountSurfels({{model, {}}})});
        clusterDone();
    }
    return merged;
}

Surface Session::GetScans() const
{
    const auto root = tree_->GetRoot();
    const auto lock = Manager().GetSingleReadHandleLocked(root);
    return LeavesOf(*root);
}

Surface Session::GetClusterModels() const
{
    const auto root = tree_->GetRoot();
    const auto lock = Manager().GetSingleReadHandleLocked(root);
    Surface surface;
    for (const auto& cluster : clusters()) {
        if (auto model = cluster->GetModel()) {
            surface.push_back({std::move(model), cluster->GetRelativeTrafo(root)});
        }
    }
    return surface;
}

void Session::Save(const std::filesystem::path& path) const
{
    const auto root = tree_->GetRoot();
    const auto lock = Manager().GetSingleReadHandleLocked(root);
    sessionfile::SaveSession(path, root, unknown_);
}

} // namespace scansession
