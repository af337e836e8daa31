#include "examples/scansession/drawing/orthographicview.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace scansession
{

namespace
{

constexpr double c_ambient = 0.2;
/// Normals that are nearly at a right angle to the line of sight are left out: their discs would be
/// lines.
constexpr double c_leastNormalZ = 0.05;

/// In pixels; single precision tells depths apart well up to there.
constexpr double c_farthest = 1e5;

constexpr int c_blockSide = 16;   // of the blocks that the density is measured in, in pixels
constexpr float c_overlap = 1.5F; // radius of the discs, in distances between surfels
constexpr float c_leastRadius = 1.5F;

std::uint8_t ToByte(float value)
{
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0F, 255.0F)));
}

} // namespace

OrthographicView::OrthographicView(const Surface& surface, const Placement& placement)
    : placement_(placement)
{
    for (const auto& placed : surface) {
        VisitPoints(placed, [&](const SurfacePoint& point) { add(point); });
    }
}

void OrthographicView::add(const SurfacePoint& point)
{
    const Placement& p = placement_;
    const Vec3 towardsEye = Cross(p.right, p.up);
    const double normalZ = Dot(point.normal, towardsEye);
    const Vec3 offset = (point.position - p.centre) * p.scale;
    const double x = 0.5 * (p.width - 1) + Dot(offset, p.right);
    const double y = 0.5 * (p.height - 1) - Dot(offset, p.up);
    const double z = Dot(offset, towardsEye);
    // Asked so that what is no number is left out too.
    const bool isInside =
        x >= 0.0 && x <= p.width - 1 && y >= 0.0 && y <= p.height - 1 && std::abs(z) <= c_farthest;
    if (!isInside || !(normalZ >= c_leastNormalZ)) return;
    const double light = c_ambient + (1.0 - c_ambient) * normalZ;
    const auto lit = [&](std::uint8_t value) { return static_cast<float>(light * value); };
    discs_.push_back({static_cast<float>(x),
                      static_cast<float>(y),
                      static_cast<float>(z),
                      static_cast<float>(Dot(point.normal, p.right)),
                      static_cast<float>(-Dot(point.normal, p.up)),
                      static_cast<float>(normalZ),
                      {lit(point.colour[0]), lit(point.colour[1]), lit(point.colour[2])}});
}

std::size_t OrthographicView::pixelAt(int x, int y) const
{
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(placement_.width) +
           static_cast<std::size_t>(x);
}

float OrthographicView::discRadius() const
{
    std::vector<unsigned> counts(pixelAt(0, placement_.height)); // each at its block's corner
    const auto cornerOf = [](float place) {
        return static_cast<int>(place) / c_blockSide * c_blockSide;
    };
    for (const Disc& disc : discs_) ++counts[pixelAt(cornerOf(disc.x), cornerOf(disc.y))];
    counts.erase(std::remove(counts.begin(), counts.end(), 0U), counts.end());
    if (counts.empty()) return c_leastRadius;
    const auto median = counts.begin() + static_cast<std::ptrdiff_t>(counts.size() / 2);
    std::nth_element(counts.begin(), median, counts.end());
    const float distance = c_blockSide / std::sqrt(static_cast<float>(*median));
    return std::max(c_overlap * distance, c_leastRadius);
}

/// Calls @p visit(pixel, depth, weight) for what a disc covers; the weight falls from 1 in the
/// middle to 0 at the rim.
template<class Visit>
void OrthographicView::visitPixels(const Disc& disc, float radius, const Visit& visit) const
{
    const int left = std::max(static_cast<int>(std::ceil(disc.x - radius)), 0);
    const int right = std::min(static_cast<int>(std::floor(disc.x + radius)), placement_.width - 1);
    const int top = std::max(static_cast<int>(std::ceil(disc.y - radius)), 0);
    const int bottom =
        std::min(static_cast<int>(std::floor(disc.y + radius)), placement_.height - 1);
    for (int y = top; y <= bottom; ++y) {
        for (int x = left; x <= right; ++x) {
            const float dx = static_cast<float>(x) - disc.x;
            const float dy = static_cast<float>(y) - disc.y;
            const float dz = -(disc.normalX * dx + disc.normalY * dy) / disc.normalZ;
            const float weight = 1.0F - (dx * dx + dy * dy + dz * dz) / (radius * radius);
            if (weight <= 0.0F) continue;
            visit(pixelAt(x, y), disc.z + dz, weight);
        }
    }
}

std::vector<float> OrthographicView::frontDepths(float radius) const
{
    std::vector<float> depths(pixelAt(0, placement_.height),
                              -std::numeric_limits<float>::infinity());
    for (const Disc& disc : discs_) {
        visitPixels(disc, radius, [&](std::size_t pixel, float depth, float /*weight*/) {
            depths[pixel] = std::max(depths[pixel], depth);
        });
    }
    return depths;
}

std::vector<OrthographicView::Blend> OrthographicView::blendFront(float radius) const
{
    const auto depths = frontDepths(radius);
    std::vector<Blend> blends(depths.size());
    for (const Disc& disc : discs_) {
        visitPixels(disc, radius, [&](std::size_t pixel, float depth, float weight) {
            if (depth < depths[pixel] - radius) return; // hidden
            Blend& blend = blends[pixel];
            for (std::size_t i = 0; i < 3; ++i) blend.colour[i] += weight * disc.colour[i];
            blend.weight += weight;
        });
    }
    return blends;
}

void OrthographicView::Draw(Picture& picture, int left, int top) const
{
    const auto blends = blendFront(discRadius());
    for (int y = 0; y < placement_.height; ++y) {
        for (int x = 0; x < placement_.width; ++x) {
            const Blend& blend = blends[pixelAt(x, y)];
            if (blend.weight <= 0.0F) continue;
            const auto mean = [&](std::size_t i) { return ToByte(blend.colour[i] / blend.weight); };
            picture.Set(left + x, top + y, {mean(0), mean(1), mean(2)});
        }
    }
}

} // namespace scansession
