#pragma once

#include "platform/math3d/cbvector3f.h"

/// A ball around a point, millimetres. A negative or NaN radius holds nothing, 0 its centre alone.
class CyBoundingSphere
{
public:
    /// A ball that holds nothing: radius -1 around the origin.
    CyBoundingSphere() = default;
    /// @param radius may be negative or NaN, which is kept
    CyBoundingSphere(const CbVector3f& center, float radius) noexcept
        : center_(center), radius_(radius)
    {}

    /// What the constructor was given.
    [[nodiscard]] const CbVector3f& GetCenter() const noexcept { return center_; }
    [[nodiscard]] float GetRadius() const noexcept { return radius_; }

    /// True if the point's squared distance is at most the squared radius, both in double
    /// precision.
    [[nodiscard]] bool Contains(const CbVector3f& point) const noexcept
    {
        const double dx = static_cast<double>(point.x) - center_.x;
        const double dy = static_cast<double>(point.y) - center_.y;
        const double dz = static_cast<double>(point.z) - center_.z;
        const double radius = radius_;
        return radius >= 0.0 && dx * dx + dy * dy + dz * dz <= radius * radius;
    }

private:
    CbVector3f center_;
    float radius_ = -1.0F;
};
