#include "platform/datacontainer/surfels/internal/zecsurfeltransformation.h"

#include "platform/datacontainer/surfels/internal/kernelbuilds.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace
{

// Surfels worked on together: the trip count of loops that compilers turn into vector code, and a
// buffer that stays in the nearest cache and overlaps nothing.
constexpr std::size_t c_block = 64;

struct Group
{
    double x, y, z;
};

Group group(const CbMatrix4Rf& m, int i) { return {m[i][0], m[i][1], m[i][2]}; }
double dot(const Group& a, const Group& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
Group cross(const Group& a, const Group& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

bool turnsNothing(const CbMatrix4Rf& m)
{
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            if (m[i][j] != c_matIdentityF[i][j]) return false;
        }
    }
    return true;
}

bool isRigid(const CbMatrix4Rf& m)
{
    constexpr double c_tolerance = 1e-4;
    for (int i = 0; i < 3; ++i) {
        for (int j = i; j < 3; ++j) {
            const double expected = i == j ? 1.0 : 0.0;
            if (!(std::fabs(dot(group(m, i), group(m, j)) - expected) <= c_tolerance)) return false;
        }
    }
    return true;
}

// The cofactors are the inverse transpose times the determinant. Only directions count, so they are
// scaled to a largest value of 1 and given the determinant's sign. False if there is no inverse.
bool inverseTranspose(const CbMatrix4Rf& m, CbMatrix4Rf& result)
{
    const Group a = group(m, 0);
    const Group b = group(m, 1);
    const Group c = group(m, 2);
    const Group cofactors[3] = {cross(b, c), cross(c, a), cross(a, b)};
    const double determinant = dot(a, cofactors[0]);
    double largest = 0.0;
    for (const Group& g : cofactors) {
        largest = std::max({largest, std::fabs(g.x), std::fabs(g.y), std::fabs(g.z)});
    }
    if (determinant == 0.0 || !std::isfinite(determinant) || !std::isfinite(largest)) return false;

    const double scale = determinant < 0.0 ? -largest : largest;
    for (int i = 0; i < 3; ++i) {
        result[i][0] = static_cast<float>(cofactors[i].x / scale);
        result[i][1] = static_cast<float>(cofactors[i].y / scale);
        result[i][2] = static_cast<float>(cofactors[i].z / scale);
    }
    return true;
}

// No matrix: copies.
CB_ALWAYS_INLINE void mapCoordinates(const CbVector3f* from, std::size_t count,
                                     const CbMatrix4Rf* matrix, float* x, float* y,
                                     float* z) noexcept
{
    for (std::size_t i = 0; i < count; ++i) {
        x[i] = from[i].x;
        y[i] = from[i].y;
        z[i] = from[i].z;
    }
    if (matrix == nullptr) return;
    const CbMatrix4Rf m = *matrix;
    for (std::size_t i = 0; i < count; ++i) {
        const CbVector3f p{x[i], y[i], z[i]};
        x[i] = p.x * m[0][0] + p.y * m[1][0] + p.z * m[2][0] + m[3][0];
        y[i] = p.x * m[0][1] + p.y * m[1][1] + p.z * m[2][1] + m[3][1];
        z[i] = p.x * m[0][2] + p.y * m[1][2] + p.z * m[2][2] + m[3][2];
    }
}

// At most c_block positions.
CB_ALWAYS_INLINE void mapPositions(const CbVector3f* from, std::size_t count,
                                   const CbMatrix4Rf& matrix, CbVector3f* to) noexcept
{
    float x[c_block], y[c_block], z[c_block];
    mapCoordinates(from, count, &matrix, x, y, z);
    for (std::size_t i = 0; i < count; ++i) to[i] = {x[i], y[i], z[i]};
}

CB_ALWAYS_INLINE std::uint16_t mapCode(std::uint16_t code, const CbMatrix4Rf& m) noexcept
{
    using Traits = ZeTQuantizedNormalMultiLevelTraitsFast;
    const auto n = Traits::Decode<7>(code);
    return static_cast<std::uint16_t>(
        Traits::Encode<7>(n.x * m[0][0] + n.y * m[1][0] + n.z * m[2][0],
                          n.x * m[0][1] + n.y * m[1][1] + n.z * m[2][1],
                          n.x * m[0][2] + n.y * m[1][2] + n.z * m[2][2], code));
}

CB_ALWAYS_INLINE void mapBlock(std::uint16_t* codes, const CbMatrix4Rf& matrix) noexcept
{
    const CbMatrix4Rf m = matrix; // nothing that is written can be part of it
    for (std::size_t i = 0; i < c_block; ++i) codes[i] = mapCode(codes[i], m);
}

using Directions = ZeCSurfelTransformation::Directions;

// Maps codes, and gives the directions before they become codes again, with length 1. Returns
// whether all of them have a length.
CB_ALWAYS_INLINE bool mapDirections(std::uint16_t* codes, const CbMatrix4Rf& matrix,
                                    float (*axes)[Directions::c_size]) noexcept
{
    using Traits = ZeTQuantizedNormalMultiLevelTraitsFast;
    const CbMatrix4Rf m = matrix;
    // The bits of the smallest and the largest number that has full precision.
    constexpr std::uint32_t c_smallest = 0x00800000;
    constexpr std::uint32_t c_largest = 0x7F7FFFFF;
    std::uint32_t broken = 0; // the highest bit is set if any square is beyond them
    for (std::size_t i = 0; i < Directions::c_size; ++i) {
        const auto n = Traits::Decode<7>(codes[i]);
        const float x = n.x * m[0][0] + n.y * m[1][0] + n.z * m[2][0];
        const float y = n.x * m[0][1] + n.y * m[1][1] + n.z * m[2][1];
        const float z = n.x * m[0][2] + n.y * m[1][2] + n.z * m[2][2];
        codes[i] = static_cast<std::uint16_t>(Traits::Encode<7>(x, y, z, codes[i]));
        const float square = x * x + y * y + z * z;
        const auto bits = std::bit_cast<std::uint32_t>(square);
        broken |= (bits - c_smallest) | (c_largest - bits);
        const float scale = 1.0F / std::sqrt(square);
        axes[0][i] = x * scale;
        axes[1][i] = y * scale;
        axes[2][i] = z * scale;
    }
    return broken >> 31U == 0;
}

} // namespace

ZeCSurfelTransformation::ZeCSurfelTransformation(const CbMatrix4Rf& transformation) noexcept
    : positions_(transformation),
      normals_(transformation),
      keepPositions_(transformation == c_matIdentityF),
      keepNormals_(turnsNothing(transformation))
{
    if (isRigid(transformation)) return;
    keepNormals_ = keepNormals_ || !inverseTranspose(transformation, normals_);
    if (keepNormals_) normals_ = c_matIdentityF;
}

void ZeCSurfelTransformation::MapPositions(const CbVector3f* from, CbVector3f* to,
                                           std::size_t count) const noexcept
{
    if (keepPositions_) {
        std::memcpy(to, from, count * sizeof *to);
        return;
    }
    static const auto map = CbFastestBuild<&mapPositions>();
    for (std::size_t n = 0; count > 0; count -= n, from += n, to += n) {
        n = std::min(count, c_block);
        map(from, n, positions_, to);
    }
}

void ZeCSurfelTransformation::MapPositions(const CbVector3f* from, std::size_t count, float* x,
                                           float* y, float* z) const noexcept
{
    static const auto map = CbFastestBuild<&mapCoordinates>();
    map(from, count, keepPositions_ ? nullptr : &positions_, x, y, z);
}

void ZeCSurfelTransformation::MapNormals(const ZeCQuantizedNormal* from, ZeCQuantizedNormal* to,
                                         std::size_t count) const noexcept
{
    if (keepNormals_) {
        std::memcpy(static_cast<void*>(to), from, count * sizeof *to);
        return;
    }
    static const auto mapWhole = CbFastestBuild<&mapBlock>();
    std::uint16_t codes[c_block];
    for (; count >= c_block; count -= c_block, from += c_block, to += c_block) {
        std::memcpy(codes, from, sizeof codes);
        mapWhole(codes, normals_);
        std::memcpy(static_cast<void*>(to), codes, sizeof codes);
    }
    for (std::size_t i = 0; i < count; ++i) {
        to[i] = ZeCQuantizedNormal::FromCode(mapCode(from[i].GetCode(), normals_));
    }
}

void ZeCSurfelTransformation::MapNormals(const ZeCQuantizedNormal* from, std::size_t count,
                                         Directions& to) const noexcept
{
    static const auto map = CbFastestBuild<&mapDirections>();
    std::uint16_t codes[Directions::c_size] = {};
    std::memcpy(codes, from, count * sizeof *from);
    const bool haveLength = map(codes, normals_, to.axes);
    std::memcpy(static_cast<void*>(to.codes), codes, sizeof codes);
    if (haveLength) return;
    constexpr float c_tolerance = 1e-6F; // more than what rounding makes of the others
    // Some became so short that their squares have lost bits.
    for (std::size_t i = 0; i < Directions::c_size; ++i) {
        const float x = to.axes[0][i], y = to.axes[1][i], z = to.axes[2][i];
        const float square = x * x + y * y + z * z;
        if (std::fabs(square - 1.0F) < c_tolerance) continue;
        const CbVector3f direction = to.codes[i].GetNormal();
        to.axes[0][i] = direction.x;
        to.axes[1][i] = direction.y;
        to.axes[2][i] = direction.z;
    }
}
