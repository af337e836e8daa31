#pragma once

#include "transformationtree/nodes/zectransformationnodeinner.h"

#include <vector>

// Nodes as the parts of the node manager pass them.
using NodePointer = CbSmartPointer<ZeCTransformationNode>;
using ConstNodePointer = CbSmartPointer<const ZeCTransformationNode>;
using InnerPointer = CbSmartPointer<ZeCTransformationNodeInner>;
/// Nodes that somebody else keeps alive.
using BorrowedNodes = std::vector<ZeCTransformationNode*>;

/// True if the node is in a data manager. False for null.
template<class Pointer>
[[nodiscard]] bool IsInDataManager(const Pointer& node) noexcept
{
    return node && node->GetDataManager() != nullptr;
}
