#pragma once

#include "transformationtree/nodes/zectransformationnode.h"

#include <cstddef>
#include <string>
#include <vector>

namespace treeinspect
{

/// A node, how far it is below the top, and the place of its father in the list of nodes.
struct SubtreeNode
{
    const ZeCTransformationNode* node;
    std::size_t depth;
    std::size_t father; ///< its own place for the top
};

/// The nodes at and below @p top, fathers before their children. Lifetime: that of the tree.
[[nodiscard]] std::vector<SubtreeNode> ListSubtree(const ZeCTransformationNode& top);

/// Number of surfels of a node's own model, 0 without one.
[[nodiscard]] std::uint32_t CountOwnSurfels(const ZeCTransformationNode& node);

/// The text in quotation marks, so that it fits a line: UTF-8, control characters as '?', and a
/// backslash in front of quotation marks and backslashes.
[[nodiscard]] std::string Quoted(const CString& text);

} // namespace treeinspect
