#pragma once

#include "examples/scansession/drawing/picture.h"
#include "examples/scansession/surface/surface.h"

namespace scansession
{

/// Draws a surface from above (from +z), from the front (from +y) and from the side (from +x), left
/// to right in parts of equal width and in the same scale, with a bar that tells the scale.
/// Lengths are taken for millimetres. Surfels at no finite place are passed over.
[[nodiscard]] Picture DrawOverview(const Surface& surface);

} // namespace scansession
