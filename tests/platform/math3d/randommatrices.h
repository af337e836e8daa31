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
