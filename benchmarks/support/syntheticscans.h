#pragma once

#include "platform/datacontainer/surfels/zecsurfelcollectionqmt.h"

#include <cstddef>
#include <vector>

/// A scan of a part of a surface, in a frame of its own.
struct SyntheticScan
{
    CbSmartPointer<ZeCSurfelCollectionQMT> surfels; ///< row after row
    CbMatrix4Rf toCommon;
};

/// Returns scans with @p total surfels together, 50000 in each but the last: 20 x 16 mm of a wavy
/// surface with noise, along an arch so that neighbours overlap. The same at each call.
[[nodiscard]] std::vector<SyntheticScan> MakeSyntheticScans(std::size_t total);
