#pragma once

#include "examples/scansession/surface/surface.h"

#include <filesystem>
#include <functional>

namespace scansession
{

/// Writes the surfels of a surface to a PLY file, model after model, in its frame and in the unit
/// of the scans. Calls @p modelDone after each model. All or nothing. Returns the box around them.
/// Throws: std::system_error if the file cannot be written.
Bounds WriteSurfels(const Surface& surface, const std::filesystem::path& path,
                    const std::function<void()>& modelDone);

/// The same for the leaves at or below a node.
Bounds WriteSurfels(const ZeCTransformationNode& top, const std::filesystem::path& path,
                    const std::function<void()>& leafDone);

} // namespace scansession
