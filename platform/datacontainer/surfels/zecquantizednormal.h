#pragma once

/// @file
/// The normals of surfels.

#include "platform/datacontainer/surfels/zetquantizednormalmultilevel.h"
#include "platform/math3d/cbvector3f.h"

/// The normal of a surfel, in 16 bits.
using ZeCQuantizedNormal =
    ZeTQuantizedNormalMultiLevel<CbVector3f, 7, ZeTQuantizedNormalMultiLevelTraitsFast>;
