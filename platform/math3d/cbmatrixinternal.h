#pragma once

#include "platform/math3d/cbmatrix4.h"

/// Operations on matrices that need determinants.
class PLATFORM_API CbMatrixInternal
{
public:
    /// Inverts @p matrix in place and returns the determinant it had. The inverse of an affine
    /// matrix is exactly affine: its last column is 0 0 0 1. A determinant of NaN is no error and
    /// makes all values NaN, but for that column.
    /// Throws: CyExceptionNotInvertible for a determinant of exactly 0.0; the matrix is unchanged.
    static double Invert(CbMatrix4Rd& matrix);

    /// The determinant, from the same sub-determinants as in Invert: both agree to the bit.
    [[nodiscard]] static double Determinant(const CbMatrix4Rd& matrix) noexcept;

    /// Throws as Invert does if @p determinant is exactly 0.0, for callers that know it already.
    static void CheckInvertible(double determinant);
};
