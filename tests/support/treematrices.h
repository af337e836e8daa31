#pragma once

#include "tests/platform/math3d/randommatrices.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <gmock/gmock.h>
#include <limits>
#include <random>

inline bool HasNaN(const CbMatrix4Rd& matrix) { return matrix != matrix; }

/// The same values bit by bit, so that zeros have the same sign. All NaN count as the same.
inline bool SameBits(const CbMatrix4Rd& a, const CbMatrix4Rd& b)
{
    for (int i = 0; i < 16; ++i) {
        const double x = a.data()[i];
        const double y = b.data()[i];
        if (std::isnan(x) && std::isnan(y)) continue;
        if (std::bit_cast<std::uint64_t>(x) != std::bit_cast<std::uint64_t>(y)) return false;
    }
    return true;
}

MATCHER_P(HasBitsOf, expected, "has the bits of the other matrix")
{
    for (int i = 0; i < 16; ++i) *result_listener << (i ? ", " : "") << arg.data()[i];
    return SameBits(arg, expected);
}

MATCHER_P2(IsNear, expected, tolerance, "is near the other matrix")
{
    for (int i = 0; i < 16; ++i) {
        const double off = std::abs(arg.data()[i] - expected.data()[i]);
        if (off <= tolerance) continue; // not so for NaN
        *result_listener << "value " << i << " is off by " << off;
        return false;
    }
    return true;
}

inline CbMatrix4Rd Shift(double x, double y, double z)
{
    CbMatrix4Rd matrix;
    matrix[3][0] = x;
    matrix[3][1] = y;
    matrix[3][2] = z;
    return matrix;
}

/// A transformation that does not commute with others of its kind and is far from singular.
inline CbMatrix4Rd RandomPose(std::mt19937& random)
{
    std::uniform_real_distribution<double> value(-0.3, 0.3);
    CbMatrix4Rd matrix;
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 3; ++j) matrix[i][j] += value(random) * (i == 3 ? 100.0 : 1.0);
    }
    return matrix;
}

/// A matrix of few values: zeros of both signs, and often singular.
inline CbMatrix4Rd RandomSparse(std::mt19937& random)
{
    constexpr double c_values[] = {-0.0, 0.0, 1.0, -1.0, 0.5, -2.0};
    CbMatrix4Rd matrix;
    for (int i = 0; i < 16; ++i) matrix.data()[i] = c_values[random() % std::size(c_values)];
    return matrix;
}

/// A pose with a NaN in it.
inline CbMatrix4Rd RandomWithNaN(std::mt19937& random)
{
    CbMatrix4Rd matrix = RandomPose(random);
    matrix.data()[random() % 16] = std::numeric_limits<double>::quiet_NaN();
    return matrix;
}
