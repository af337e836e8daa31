#include "platform/math3d/cbmatrix4.h"
#include "tests/platform/math3d/randommatrices.h"
#include "tests/support/rounds.h"

#include <cstring>
#include <gtest/gtest.h>

namespace
{

template<class T>
void ExpectSameBitsAsByHand(unsigned seed, T range)
{
    std::mt19937 random(seed);
    for (int round = 0; round < Rounds(20000); ++round) {
        const auto first = RandomMatrix<T>(random, range);
        const auto second = RandomMatrix<T>(random, range);
        const auto composed = Compose(first, second);
        const auto expected = ProductByHand(first, second);
        ASSERT_EQ(0, std::memcmp(composed.data(), expected.data(), sizeof composed))
            << "seed " << seed << ", round " << round;
    }
}

} // namespace

TEST(MatrixProduct, GivesTheBitsOfASumOverAscendingK)
{
    ExpectSameBitsAsByHand<double>(1, 1.0);
    ExpectSameBitsAsByHand<double>(2, 1e154); // sums overflow, and differences of them are NaN
    ExpectSameBitsAsByHand<float>(3, 1.0F);
    ExpectSameBitsAsByHand<float>(4, 1e19F);
}
