#include "platform/math3d/cyboundingbox3d.h"

#include <algorithm>

void CyBoundingBox3D::Extend(const CbVector3f& point) noexcept
{
    // In this order of arguments a comparison with NaN keeps what is there.
    minimum_.x = std::min(minimum_.x, point.x);
    minimum_.y = std::min(minimum_.y, point.y);
    minimum_.z = std::min(minimum_.z, point.z);
    maximum_.x = std::max(maximum_.x, point.x);
    maximum_.y = std::max(maximum_.y, point.y);
    maximum_.z = std::max(maximum_.z, point.z);
}

void CyBoundingBox3D::Extend(const CyBoundingBox3D& other) noexcept
{
    if (other.IsEmpty()) return;
    Extend(other.minimum_);
    Extend(other.maximum_);
}

void CyBoundingBox3D::Transform(const CbMatrix4Rf& transformation) noexcept
{
    CyBoundingBox3D result;
    if (!IsEmpty()) {
        for (int corner = 0; corner < 8; ++corner) {
            result.Extend(TransformPoint({(corner & 1) != 0 ? maximum_.x : minimum_.x,
                                          (corner & 2) != 0 ? maximum_.y : minimum_.y,
                                          (corner & 4) != 0 ? maximum_.z : minimum_.z},
                                         transformation));
        }
    }
    *this = result;
}
