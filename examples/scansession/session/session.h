#pragma once

#include "examples/scansession/scans/scan.h"
#include "examples/scansession/surface/surface.h"
#include "platform/base/cbsmartpointer.h"
#include "platform/datacontainer/surfels/zecsurfelcollectionqmt.h"
#include "platform/datatree/cydatamanager.h"
#include "sessionfile/loadedsession.h"
#include "sessionfile/sessiontree.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace scansession
{

/// Packs the surfels of a scan, still in the frame of the scan.
[[nodiscard]] CbSmartPointer<ZeCSurfelCollectionQMT>
PackSurfels(const std::vector<Surfel>& surfels);

/// What merging the scans of a cluster came to.
struct MergedCluster
{
    std::string name;
    std::uint64_t scanned; ///< surfels of its leaves
    std::uint64_t merged;  ///< surfels of its model
};

/// A scan session: a data manager with a tree, whose clusters hold a leaf for each scan below their
/// optimizers.
///
/// Edits happen under write handles on the fathers concerned, reading under a read handle on the
/// root. One session at a time: the node manager has one root.
class Session
{
public:
    using Inner = sessionfile::SessionTree::Inner;

    /// Makes root and model node, or takes over the tree of a session that was loaded.
    /// @param maxChildren how many children a node at or below an optimizer may have; at least 2
    /// @param loaded its tree is outside any data manager; null for a new session
    explicit Session(unsigned int maxChildren, sessionfile::LoadedSession loaded = {});
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    /// Takes the tree apart, under a write handle on the root.
    ~Session();

    /// Makes a new cluster, which is the active one from now on. For a session that was made new.
    void StartCluster();
    /// Appends a leaf for the scan, behind all others, below the optimizer of the active cluster.
    /// If nodes are full, the subtree there grows a branch or a level first.
    void Append(const Scan& scan);

    /// Number of leaves.
    [[nodiscard]] std::uint64_t GetNrScans() const;
    [[nodiscard]] std::uint64_t GetNrClusters() const { return clusters().GetCount(); }
    /// Number of surfels of all leaves.
    [[nodiscard]] std::uint64_t GetNrSurfels() const;
    /// Prints a line for each node, children indented below their father.
    void PrintTree(std::ostream& out) const;
    /// Gives every cluster a new cached model of its scans, and the subtree revision with it. Calls
    /// @p clusterDone after each cluster.
    /// @param cellSize as of ZeCTransformationNode::CreateModel()
    /// @param shiftedGrids as well
    std::vector<MergedCluster> MergeClusters(float cellSize, bool shiftedGrids,
                                             const std::function<void()>& clusterDone);
    /// Moves the scans of all clusters below the optimizer of the first cluster that has any there,
    /// and removes the others. One that has scans outside its optimizer stays as it is. This and
    /// the next two are for a session that takes no more scans; they tell what they do by messages.
    void JoinClusters();
    /// Hangs the scans of each optimizer directly below it, in the order of their taking.
    void CollapseClusters();
    /// Builds the subtree below each optimizer anew, with at most @p maxChildren children for each
    /// node; at least 2.
    void NormalizeClusters(int maxChildren);
    /// The surfels of all leaves, in the frame of the root and in the unit of the scans.
    [[nodiscard]] Surface GetScans() const;
    /// The cached models of the clusters, in the same frame.
    [[nodiscard]] Surface GetClusterModels() const;
    /// Writes the whole session to a file, with what was unknown when it was loaded. All or
    /// nothing. Throws: as sessionfile::SaveSession().
    void Save(const std::filesystem::path& path) const;

private:
    /// The children of the model node that have the shape of a cluster.
    [[nodiscard]] sessionfile::SessionTree::Clusters clusters() const;
    /// Under a write handle on the model node.
    void forEachOptimizer(const std::function<void(const Inner&)>& edit);

    CyDataManager dataManager_;
    sessionfile::UnknownRecords unknown_;
    CbSmartPointer<sessionfile::SessionTree> tree_;
    Inner optimizer_; ///< of the active cluster: the top of its subtree of scans
    Inner place_;     ///< the node of that subtree that took the last scan
    unsigned int maxChildren_;
    std::uint64_t scans_ = 0;
};

} // namespace scansession
