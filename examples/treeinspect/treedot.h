#pragma once

#include "transformationtree/nodes/zectransformationnode.h"

#include <filesystem>

namespace treeinspect
{

/// Writes the nodes at and below @p top as a graph for Graphviz: inner nodes as boxes, leaves as
/// ellipses with their surfels. All or nothing.
/// Throws: std::system_error naming the file if it cannot be written.
void WriteDot(const ZeCTransformationNode& top, const std::filesystem::path& path);

} // namespace treeinspect
