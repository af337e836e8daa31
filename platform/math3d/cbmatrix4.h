#pragma once

/// @file
/// Matrices, and what combines them and maps points.

#include "platform/base/platformapi.h"
#include "platform/math3d/cbvector3f.h"

#include <cstddef>

/// A 4x4 homogeneous transformation: four groups of four values.
///
/// A point maps to the sum of its coordinates times the groups,
/// `p'[j] = p[0]*m[0][j] + p[1]*m[1][j] + p[2]*m[2][j] + m[3][j]`, so that the translation stands
/// in values 12, 13 and 14. There is no product operator: Compose says in its name what comes
/// first.
///
/// @code
/// CbMatrix4Rd shift;           // the identity
/// shift[3][0] = 2.5;           // 2.5 mm along x
/// const CbMatrix4Rd leafToRoot = Compose(leaf->GetRelativeTrafo(), fatherToRoot);
/// @endcode
template<class T>
class alignas(16) CbMatrix4
{
public:
    /// The type of a value.
    using value_type = T;

    /// The identity.
    constexpr CbMatrix4() noexcept = default;
    /// Takes 16 values, group after group.
    constexpr explicit CbMatrix4(const T (&values)[16]) noexcept
    {
        for (std::size_t i = 0; i < 16; ++i) groups_[i / 4][i % 4] = values[i];
    }

    /// Group @p i, 0 to 3, as four values.
    [[nodiscard]] constexpr T* operator[](std::size_t i) noexcept { return groups_[i]; }
    [[nodiscard]] constexpr const T* operator[](std::size_t i) const noexcept { return groups_[i]; }

    /// All 16 values, group after group.
    [[nodiscard]] const T* data() const noexcept { return groups_[0]; }
    [[nodiscard]] T* data() noexcept { return groups_[0]; }

    /// Compares the values: the zeros of both signs are equal, NaN equals nothing.
    friend constexpr bool operator==(const CbMatrix4&, const CbMatrix4&) noexcept = default;

private:
    T groups_[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
};

/// In double precision, as transformations of nodes are; in single precision, as surfels are
/// mapped.
using CbMatrix4Rd = CbMatrix4<double>;
using CbMatrix4Rf = CbMatrix4<float>;

/// Leaves every point where it is.
inline constexpr CbMatrix4Rd c_matIdentityD;
inline constexpr CbMatrix4Rf c_matIdentityF;

/// Writes the transformation that applies @p first and then @p second into @p result, which must be
/// neither of them. Each value is the sum over k, ascending, of `first[i][k]*second[k][j]`, never
/// fused: the one product of its precision, so that all users get the same bits.
PLATFORM_API void Compose(const CbMatrix4Rd& first, const CbMatrix4Rd& second,
                          CbMatrix4Rd& result) noexcept;
/// The same in single precision.
PLATFORM_API void Compose(const CbMatrix4Rf& first, const CbMatrix4Rf& second,
                          CbMatrix4Rf& result) noexcept;

/// Returns the transformation that applies @p first and then @p second.
template<class T>
[[nodiscard]] CbMatrix4<T> Compose(const CbMatrix4<T>& first, const CbMatrix4<T>& second) noexcept
{
    CbMatrix4<T> result;
    Compose(first, second, result);
    return result;
}

/// Whether the last column, the last value of each group, is 0 0 0 1.
template<class T>
[[nodiscard]] constexpr bool IsAffine(const CbMatrix4<T>& m) noexcept
{
    return m[0][3] == 0 && m[1][3] == 0 && m[2][3] == 0 && m[3][3] == 1;
}

/// Rounds each value to single precision.
[[nodiscard]] inline CbMatrix4Rf ToFloat(const CbMatrix4Rd& matrix) noexcept
{
    CbMatrix4Rf result;
    for (std::size_t i = 0; i < 16; ++i) result.data()[i] = static_cast<float>(matrix.data()[i]);
    return result;
}

/// Maps a point, in single precision and in the order of the class comment.
[[nodiscard]] inline CbVector3f TransformPoint(const CbVector3f& p, const CbMatrix4Rf& m) noexcept
{
    return {p.x * m[0][0] + p.y * m[1][0] + p.z * m[2][0] + m[3][0],
            p.x * m[0][1] + p.y * m[1][1] + p.z * m[2][1] + m[3][1],
            p.x * m[0][2] + p.y * m[1][2] + p.z * m[2][2] + m[3][2]};
}
