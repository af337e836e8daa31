#pragma once

#include "benchmarks/support/syntheticscans.h"

#include <memory>

/// Scans in another library's clouds, merged the way its users write it.
///
/// The scans are converted once, when the peer is made. Clouds have a position, a normal and a
/// colour for each point, and no more of what a surfel has.
class Peer
{
public:
    virtual ~Peer() = default;
    /// Transforms each scan and appends it to one cloud; returns the number of its points.
    [[nodiscard]] virtual std::size_t Merge() const = 0;
    /// Merges, and averages the points in each cell of a grid; returns how many cells have points.
    /// @p cellSize is in mm.
    [[nodiscard]] virtual std::size_t Subsample(float cellSize) const = 0;
};

/// A library that does a part of the work; the benchmarks are built without those not installed.
struct PeerLibrary
{
    const char* name;
    const char* package; ///< of Debian, which brings it
    /// Converts scans; null where the library is missing.
    std::unique_ptr<Peer> (*makePeer)(const std::vector<SyntheticScan>& scans);
};

[[nodiscard]] PeerLibrary Pcl();
[[nodiscard]] PeerLibrary Open3d();
