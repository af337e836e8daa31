#pragma once

#include "platform/base/cbwchar.h"

/// Logger of the node manager, the same in all of its sources.
inline constexpr const CbWChar* c_nodeManagerLogger =
    CB_TEXT("Diagnostics.Registration.TransformationNodeManager");
