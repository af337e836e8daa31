#pragma once

#include "examples/scansession/scan.h"
#include "examples/scansession/sessiontree.h"
#include "platform/base/cbsmartpointer.h"
#include "platform/datacontainer/zecsurfelcollectionqmt.h"
#include "platform/datatree/cydatamanager.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <iosfwd>

namespace scansession
{

/// The smallest box around points, in double precision.
struct Bounds
{
    Vec3 least{1e300, 1e300, 1e300};
    Vec3 largest{-1e300, -1e300, -1e300};

    void Extend(const Vec3& p);
};

/// Packs the surfels of a scan, still in the frame of the scan.
[[nodiscard]] CbSmartPointer<ZeCSurfelCollectionQMT>
PackSurfels(const std::vector<Surfel>& surfels);

/// Maps a normal by the inverse transpose of the 3x3 part, which keeps it upright on its surface
/// whatever the transformation; the length becomes 1.
[[nodiscard]] Vec3 MapNormal(const Vec3& normal, const CbMatrix4Rd& matrix);

/// A scan session: a data manager with a tree, whose clusters hold a leaf for each scan below their
/// optimizers.
///
/// Edits happen under write handles on the fathers concerned, reading under a read handle on the
/// root. One session at a time: the node manager has one root.
class Session
{
public:
    /// Makes root and model node.
    /// @param maxChildren how many children a node at or below an optimizer may have; at least 2
    explicit Session(unsigned int maxChildren);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    /// Takes the tree apart, under a write handle on the root.
    ~Session();

    /// Makes a new cluster, which is the active one from now on.
    void StartCluster();
    /// Appends a leaf for the scan, behind all others, below the optimizer of the active cluster.
    /// Where nodes are full, the subtree there grows a branch or a level first.
    void Append(const Scan& scan);

    /// Number of surfels of all leaves.
    [[nodiscard]] std::uint64_t GetNrSurfels() const;
    /// Prints a line for each node, children indented below their father.
    void PrintTree(std::ostream& out) const;
    /// Writes the surfels of all leaves, leaf after leaf, in the frame of the root and in the unit
    /// of the scans. Calls @p leafDone after each leaf. All or nothing. Returns the box around
    /// them. Throws: InputError where the file cannot be written.
    Bounds WriteMerged(const std::filesystem::path& path,
                       const std::function<void()>& leafDone) const;

private:
    using Inner = SessionTree::Inner;

    CyDataManager dataManager_;
    CbSmartPointer<SessionTree> tree_;
    Inner optimizer_; ///< of the active cluster: the top of its subtree of scans
    Inner place_;     ///< the node of that subtree that took the last scan
    unsigned int maxChildren_;
    std::uint64_t scans_ = 0;
};

} // namespace scansession
