#pragma once

#include "platform/math3d/cbmatrix4.h"

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
