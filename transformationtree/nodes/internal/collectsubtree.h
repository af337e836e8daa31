#pragma once

#include "transformationtree/nodes/zectransformationnode.h"

#include <vector>

/// The nodes at and below @p top in pre-order. Entries whose node has another father by now, with
/// what is below them, belong to that father and are left out.
[[nodiscard]] std::vector<ZeCTransformationNode*> CollectPreOrder(ZeCTransformationNode& top);

/// The same nodes in post-order: children, in order, before their father. They are kept alive.
[[nodiscard]] std::vector<CbSmartPointer<ZeCTransformationNode>>
CollectPostOrder(ZeCTransformationNode& top);
