#include "examples/scansession/surfelexport.h"

#include "examples/scansession/plywriter.h"
#include "examples/scansession/poses.h"
#include "transformationtree/transformationtree.h"

#include <algorithm>

namespace scansession
{

namespace
{

Vec3 FromVector(const CbVector3f& v) { return {v.x, v.y, v.z}; }

std::array<float, 3> ToArray(const Vec3& v)
{
    return {static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z)};
}

/// Writes the surfels of one leaf and extends the bounds by them.
void WriteLeaf(const ZeCSurfelCollectionQMT& surfels, const CbMatrix4Rd& leafToRoot,
               PlyWriter& writer, Bounds& bounds)
{
    const auto positions = surfels.GetPositionAccessor();
    const auto normals = surfels.GetNormalAccessor();
    const auto colours = surfels.GetColorAccessor();
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const Vec3 position = MapPoint(FromVector(positions[i]), leafToRoot);
        const Vec3 normal = MapNormal(FromVector(normals[i].GetNormal()), leafToRoot);
        bounds.Extend(position);
        writer.Add(ToArray(position), ToArray(normal), {colours[i].r, colours[i].g, colours[i].b});
    }
}

/// The surfels of a leaf, or null. Lifetime: that of the leaf's model.
const ZeCSurfelCollectionQMT* SurfelsOf(const ZeCTransformationNode& leaf)
{
    const auto model = leaf.GetModel();
    return model ? model->BorrowSurfelCollection(ZeCModelQMT::ESurfelCollectionType::Standard)
                 : nullptr;
}

} // namespace

void Bounds::Extend(const Vec3& p)
{
    least = {std::min(least.x, p.x), std::min(least.y, p.y), std::min(least.z, p.z)};
    largest = {std::max(largest.x, p.x), std::max(largest.y, p.y), std::max(largest.z, p.z)};
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

std::uint64_t CountSurfels(const ZeCTransformationNode& top)
{
    std::uint64_t count = 0;
    for (const auto& [leaf, trafo] : top.Leaves()) {
        if (const auto* const surfels = SurfelsOf(leaf)) count += surfels->GetNrSurfels();
    }
    return count;
}

Bounds WriteSurfels(const ZeCTransformationNode& top, const std::filesystem::path& path,
                    const std::function<void()>& leafDone)
{
    PlyWriter writer(path, CountSurfels(top));
    Bounds bounds;
    for (const auto& [leaf, leafToTop] : top.Leaves()) {
        if (const auto* const surfels = SurfelsOf(leaf)) {
            WriteLeaf(*surfels, leafToTop, writer, bounds);
        }
        leafDone();
    }
    writer.Commit();
    return bounds;
}

} // namespace scansession
