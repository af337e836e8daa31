#include "examples/scansession/surface/surface.h"

#include "examples/scansession/scans/poses.h"
#include "transformationtree/transformationtree.h"

#include <algorithm>

namespace scansession
{

namespace
{

Vec3 FromVector(const CbVector3f& v) { return {v.x, v.y, v.z}; }

} // namespace

Surface LeavesOf(const ZeCTransformationNode& top)
{
    Surface surface;
    for (const auto& [leaf, leafToTop] : top.Leaves()) {
        if (auto model = leaf.GetModel()) surface.push_back({std::move(model), leafToTop});
    }
    return surface;
}

std::uint64_t CountSurfels(const Surface& surface)
{
    std::uint64_t count = 0;
    for (const auto& placed : surface) {
        if (const auto* const surfels = placed.BorrowSurfels()) count += surfels->GetNrSurfels();
    }
    return count;
}

Vec3 MapNormal(const Vec3& n, const CbMatrix4Rd& m)
{
    const auto axis = [&](std::size_t i) { return Vec3{m[i][0], m[i][1], m[i][2]}; };
    const Vec3 yz = Cross(axis(1), axis(2));
    const Vec3 zx = Cross(axis(2), axis(0));
    const Vec3 xy = Cross(axis(0), axis(1));
    const double side = Dot(axis(0), yz) < 0.0 ? -1.0 : 1.0; // a reflection keeps inside inside
    return Normalized((yz * n.x + zx * n.y + xy * n.z) * side, n);
}

SurfacePoint PointAt(const ZeCSurfelCollectionQMT& surfels, std::size_t index,
                     const CbMatrix4Rd& trafo)
{
    const auto colour = surfels.GetColorAccessor()[index];
    return {MapPoint(FromVector(surfels.GetPositionAccessor()[index]), trafo),
            MapNormal(FromVector(surfels.GetNormalAccessor()[index].GetNormal()), trafo),
            {colour.r, colour.g, colour.b}};
}

void Bounds::Extend(const Vec3& p)
{
    least = {std::min(least.x, p.x), std::min(least.y, p.y), std::min(least.z, p.z)};
    largest = {std::max(largest.x, p.x), std::max(largest.y, p.y), std::max(largest.z, p.z)};
}

} // namespace scansession
