#pragma once

#include "platform/base/cbwchar.h"
#include "transformationtree/nodes/internal/fixedplaces.h" // IWYU pragma: export

/// Logger of the node manager, the same in all of its sources.
inline constexpr const CbWChar* c_nodeManagerLogger =
    CB_TEXT("Diagnostics.Registration.TransformationNodeManager");
