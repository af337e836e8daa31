#pragma once

#include "examples/scansession/drawing/picture.h"
#include "examples/scansession/surface/surface.h"

#include <array>
#include <cstddef>
#include <vector>

namespace scansession
{

/// A look at a surface from far away, drawn as if lit from the eye.
///
/// Each surfel becomes a disc on its tangent plane. The discs are as large as it takes to close the
/// surface, by the density of the surfels in the picture. A pixel gets the mean of the discs that
/// make up the front, so that the surface looks smooth. Surfels seen from behind are not drawn.
class OrthographicView
{
public:
    /// Where things appear. Right and up have length 1 and stand at a right angle; the eye looks
    /// against their cross product.
    struct Placement
    {
        Vec3 right;
        Vec3 up;
        Vec3 centre;  ///< shown in the middle
        double scale; ///< pixels for each unit of length
        int width;    ///< in pixels
        int height;
    };

    OrthographicView(const Surface& surface, const Placement& placement);

    /// Draws with the upper left corner at a place. Pixels without surface stay as they are.
    void Draw(Picture& picture, int left, int top) const;

private:
    /// A surfel in the picture. Lengths are pixels: x to the right, y down, z towards the eye. The
    /// pixels' middles stand at whole numbers.
    struct Disc
    {
        float x, y, z;
        float normalX, normalY, normalZ;
        std::array<float, 3> colour; ///< as lit
    };
    /// The sums of the weighted colours of what makes up the front.
    struct Blend
    {
        std::array<float, 3> colour{};
        float weight = 0.0F;
    };

    void add(const SurfacePoint& point);
    [[nodiscard]] std::size_t pixelAt(int x, int y) const;
    [[nodiscard]] float discRadius() const;
    template<class Visit>
    void visitPixels(const Disc& disc, float radius, const Visit& visit) const;
    [[nodiscard]] std::vector<float> frontDepths(float radius) const;
    [[nodiscard]] std::vector<Blend> blendFront(float radius) const;

    Placement placement_;
    std::vector<Disc> discs_;
};

} // namespace scansession
