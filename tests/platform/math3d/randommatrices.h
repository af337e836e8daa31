#pragma once

#include "platform/math3d/cbmatrix4.h"

#include <algorithm>
#include <cmath>
#include <random>

/// A matrix of values from -range to range in all 16 places.
template<class T>
CbMatrix4<T> RandomMatrix(std::mt19937& random, T range)
{
    std::uniform_real_distribution<T> value(-range, range);
    CbMatrix4<T> matrix;
    for (int i = 0; i < 16; ++i) matrix.data()[i] = value(random);
    return matrix;
}

/// A turn by any angle about any axis, and a shift by up to @p range on each.
inline CbMatrix4Rd RandomRigidMatrix(std::mt19937& random, double range)
{
    std::normal_distribution<double> value;
    double a = value(random), b = value(random), c = value(random), d = value(random);
    const double length = std::sqrt(a * a + b * b + c * c + d * d);
    a /= length, b /= length, c /= length, d /= length; // a unit quaternion
    auto matrix = RandomMatrix<double>(random, range);
    const double turn[3][4] = {{1 - 2 * (c * c + d * d), 2 * (b * c + a * d), 2 * (b * d - a * c)},
                               {2 * (b * c - a * d), 1 - 2 * (b * b + d * d), 2 * (c * d + a * b)},
                               {2 * (b * d + a * c), 2 * (c * d - a * b), 1 - 2 * (b * b + c * c)}};
    std::copy_n(turn[0], 12, matrix.data());
    matrix[3][3] = 1;
    return matrix;
}

/// The product written out: first, then second, summed over k from 0 to 3.
template<class T>
CbMatrix4<T> ProductByHand(const CbMatrix4<T>& first, const CbMatrix4<T>& second)
{
    CbMatrix4<T> result;
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            T sum = first[i][0] * second[0][j];
            for (int k = 1; k < 4; ++k) sum += first[i][k] * second[k][j];
            result[i][j] = sum;
        }
    }
    return result;
}
