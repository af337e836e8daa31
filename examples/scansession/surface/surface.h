#pragma once

#include "examples/scansession/scans/vec3.h"
#include "transformationtree/nodes/zectransformationnode.h"

#include <array>
#include <cstdint>
#include <vector>

namespace scansession
{

/// A model, and the transformation from its frame into that of the surface.
struct PlacedModel
{
    CbSmartPointer<const ZeCModelQMT> model; ///< not null
    CbMatrix4Rd trafo;

    /// The standard collection, null if there is none. Lifetime: that of the model.
    [[nodiscard]] const ZeCSurfelCollectionQMT* BorrowSurfels() const
    {
        return model->BorrowSurfelCollection(ZeCModelQMT::ESurfelCollectionType::Standard);
    }
};

/// Models in one frame. Models never change, so the surface needs no lock.
using Surface = std::vector<PlacedModel>;

/// The models of all leaves at or below a node, in the frame of that node. Leaves without a model
/// are left out.
[[nodiscard]] Surface LeavesOf(const ZeCTransformationNode& top);

/// Number of surfels of all models.
[[nodiscard]] std::uint64_t CountSurfels(const Surface& surface);

/// A surfel in the frame of a surface.
struct SurfacePoint
{
    Vec3 position;
    Vec3 normal; ///< of length 1
    std::array<std::uint8_t, 3> colour;
};

/// Maps a normal by the inverse transpose of the 3x3 part, which keeps it upright on its surface
/// whatever the transformation; the length becomes 1.
[[nodiscard]] Vec3 MapNormal(const Vec3& normal, const CbMatrix4Rd& matrix);

/// Surfel @p index of a collection, in the frame that @p trafo leads to.
[[nodiscard]] SurfacePoint PointAt(const ZeCSurfelCollectionQMT& surfels, std::size_t index,
                                   const CbMatrix4Rd& trafo);

/// Calls @p visit with each surfel of a model as a SurfacePoint, in order.
template<class Visit>
void VisitPoints(const PlacedModel& placed, const Visit& visit)
{
    const auto* const surfels = placed.BorrowSurfels();
    const std::size_t count = surfels != nullptr ? surfels->GetNrSurfels() : 0;
    for (std::size_t i = 0; i < count; ++i) visit(PointAt(*surfels, i, placed.trafo));
}

/// The smallest box around points, in double precision.
struct Bounds
{
    Vec3 least{1e300, 1e300, 1e300};
    Vec3 largest{-1e300, -1e300, -1e300};

    void Extend(const Vec3& p);
};

} // namespace scansession
