#include "examples/scansession/surface/surfelexport.h"

#include "examples/scansession/surface/plywriter.h"

namespace scansession
{

namespace
{

std::array<float, 3> ToArray(const Vec3& v)
{
    return {static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z)};
}

} // namespace

Bounds WriteSurfels(const Surface& surface, const std::filesystem::path& path,
                    const std::function<void()>& modelDone)
{
    PlyWriter writer(path, CountSurfels(surface));
    Bounds bounds;
    for (const auto& placed : surface) {
        VisitPoints(placed, [&](const SurfacePoint& point) {
            bounds.Extend(point.position);
            writer.Add(ToArray(point.position), ToArray(point.normal), point.colour);
        });
        modelDone();
    }
    writer.Commit();
    return bounds;
}

Bounds WriteSurfels(const ZeCTransformationNode& top, const std::filesystem::path& path,
                    const std::function<void()>& leafDone)
{
    return WriteSurfels(LeavesOf(top), path, leafDone);
}

} // namespace scansession
