#pragma once

#include "platform/math3d/cbmatrix4.h"

#include <limits>

/// An axis-parallel box in single precision, millimetres; empty from the start.
class PLATFORM_API CyBoundingBox3D
{
public:
    /// The empty box: its minimum is +infinity, its maximum -infinity.
    CyBoundingBox3D() = default;
    /// The box between two corners, both inside. Empty if a minimum is above its maximum.
    CyBoundingBox3D(const CbVector3f& minimum, const CbVector3f& maximum) noexcept
        : minimum_(minimum), maximum_(maximum)
    {}

    /// The corners with the smallest and with the largest coordinates.
    [[nodiscard]] const CbVector3f& GetMin() const noexcept { return minimum_; }
    [[nodiscard]] const CbVector3f& GetMax() const noexcept { return maximum_; }
    /// True if some axis has no extent, not even that of one point.
    [[nodiscard]] bool IsEmpty() const noexcept
    {
        return !(minimum_.x <= maximum_.x && minimum_.y <= maximum_.y && minimum_.z <= maximum_.z);
    }

    /// Grows the box so that it holds a point. Coordinates that are NaN are ignored.
    void Extend(const CbVector3f& point) noexcept;
    /// Grows the box so that it holds another one. An empty one changes nothing.
    void Extend(const CyBoundingBox3D& other) noexcept;
    /// Becomes the box of its eight corners in the frame that @p transformation maps to. An empty
    /// box stays empty.
    void Transform(const CbMatrix4Rf& transformation) noexcept;

    friend bool operator==(const CyBoundingBox3D&, const CyBoundingBox3D&) = default;

private:
    static constexpr float c_infinity = std::numeric_limits<float>::infinity();

    CbVector3f minimum_{c_infinity, c_infinity, c_infinity};
    CbVector3f maximum_{-c_infinity, -c_infinity, -c_infinity};
};
