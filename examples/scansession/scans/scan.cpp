#include "examples/scansession/scans/scan.h"

#include <algorithm>
#include <cmath>

namespace scansession
{

std::uint8_t CurvatureCode(double meanCurvature, double smallestRadius)
{
    const double relative = meanCurvature * smallestRadius;
    if (std::isnan(relative)) return 128;
    return static_cast<std::uint8_t>(std::floor(128.5 + 127.0 * std::clamp(relative, -1.0, 1.0)));
}

} // namespace scansession
