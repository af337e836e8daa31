#pragma once

#include <cmath>

namespace scansession
{

/// A point or a direction in double precision.
struct Vec3
{
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;

    friend constexpr Vec3 operator+(const Vec3& a, const Vec3& b)
    {
        return {a.x + b.x, a.y + b.y, a.z + b.z};
    }
    friend constexpr Vec3 operator-(const Vec3& a, const Vec3& b)
    {
        return {a.x - b.x, a.y - b.y, a.z - b.z};
    }
    friend constexpr Vec3 operator*(const Vec3& a, double s) { return {a.x * s, a.y * s, a.z * s}; }
    friend bool operator==(const Vec3&, const Vec3&) = default;
};

constexpr double Dot(const Vec3& a, const Vec3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

constexpr Vec3 Cross(const Vec3& a, const Vec3& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

inline double Length(const Vec3& a) { return std::sqrt(Dot(a, a)); }

/// The direction of @p a with length 1; @p fallback if @p a has no direction.
inline Vec3 Normalized(const Vec3& a, const Vec3& fallback = {0.0, 0.0, 1.0})
{
    const double length = Length(a);
    return length > 0.0 && std::isfinite(length) ? a * (1.0 / length) : fallback;
}

} // namespace scansession
