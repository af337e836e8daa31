#include "platform/math3d/cbmatrixinternal.h"
#include "platform/math3d/cyexceptionnotinvertible.h"
#include "tests/platform/math3d/randommatrices.h"
#include "tests/support/rounds.h"
#include "tests/support/storedbytes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>

namespace
{

// The sum over all permutations in the widest type.
double DeterminantBySum(const CbMatrix4Rd& m)
{
    long double sum = 0;
    std::array<int, 4> column = {0, 1, 2, 3};
    do {
        long double product = 1;
        for (int i = 0; i < 4; ++i) {
            const int j = column[static_cast<std::size_t>(i)];
            product *= m[i][j];
            for (int k = 0; k < i; ++k) {
                if (column[static_cast<std::size_t>(k)] > j) product = -product;
            }
        }
        sum += product;
    } while (std::next_permutation(column.begin(), column.end()));
    return static_cast<double>(sum);
}

CbMatrix4Rd InverseOf(CbMatrix4Rd matrix)
{
    CbMatrixInternal::Invert(matrix);
    return matrix;
}

// Both signs of zero differ.
void ExpectExactlyAffine(const CbMatrix4Rd& matrix)
{
    for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(c_matIdentityD[i][3], matrix[i][3]) << i;
        ASSERT_FALSE(std::signbit(matrix[i][3])) << i;
    }
}

void ExpectInverse(const CbMatrix4Rd& matrix, double tolerance)
{
    const double expected = DeterminantBySum(matrix);
    if (std::fabs(expected) < 1.0 - 1e-9) return; // close to singular

    CbMatrix4Rd inverse = matrix;
    const double determinant = CbMatrixInternal::Invert(inverse);
    ASSERT_EQ(CbMatrixInternal::Determinant(matrix), determinant);
    ASSERT_NEAR(1.0, determinant / expected, tolerance);
    const CbMatrix4Rd product = Compose(matrix, inverse);
    for (int i = 0; i < 16; ++i) {
        ASSERT_NEAR(c_matIdentityD.data()[i], product.data()[i], 10 * tolerance);
    }
    if (IsAffine(matrix)) ExpectExactlyAffine(inverse);
}

} // namespace

TEST(MatrixInverse, ComposedWithTheMatrixIsTheIdentityAndAsAffineAsIt)
{
    std::mt19937 random(5);
    for (int round = 0; round < Rounds(20000); ++round) {
        SCOPED_TRACE(round);
        auto matrix = RandomMatrix<double>(random, 10.0);
        ASSERT_NO_FATAL_FAILURE(ExpectInverse(matrix, 1e-9));
        for (int i = 0; i < 3; ++i) matrix[i][3] = round % 2 == 0 ? 0.0 : -0.0;
        matrix[3][3] = 1;
        ASSERT_NO_FATAL_FAILURE(ExpectInverse(matrix, 1e-9));
        ASSERT_NO_FATAL_FAILURE(ExpectInverse(RandomRigidMatrix(random, 100), 2e-14));
    }
    CbMatrix4Rd matrix;
    for (int i = 0; i < 3; ++i) matrix[i][i] = 1e110; // has an infinite determinant
    ExpectExactlyAffine(InverseOf(matrix));
    matrix[1][2] = std::numeric_limits<double>::quiet_NaN();
    ExpectExactlyAffine(InverseOf(matrix));
}

TEST(MatrixInverse, OfASingularMatrixThrowsAndLeavesTheMatrix)
{
    struct Case
    {
        const char* name;
        double values[16];
    };
    const Case cases[] = {
        {"zero", {}},
        {"a flattened axis", {1, 2, 3, 0, 0, 0, 0, 0, 7, 8, 9, 0, 0.1, 0.2, 0.3, 1}},
        {"equal groups", {0.1, 0.7, 0.3, 0, 0.1, 0.7, 0.3, 0, 7, 8, 9, 0, 1, 2, 3, 1}},
        {"integers", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}},
        {"no homogeneous part", {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 6, 7, 0}},
        {"underflow", {1e-120, 0, 0, 0, 0, 1e-120, 0, 0, 0, 0, 1e-120, 0, 0, 0, 0, 1}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        CbMatrix4Rd matrix(c.values);
        ExpectThrowsFrom<CyExceptionNotInvertible>("cbmatrixbasematrixgeomdef", 996,
                                                   [&] { CbMatrixInternal::Invert(matrix); });
        EXPECT_EQ(0, std::memcmp(matrix.data(), c.values, sizeof c.values));
        EXPECT_EQ(0.0, CbMatrixInternal::Determinant(matrix));
    }
}

TEST(MatrixInverse, OfNaNOrTheSmallestDeterminantDoesNotThrow)
{
    CbMatrix4Rd matrix;
    matrix[0][0] = std::numeric_limits<double>::denorm_min();
    EXPECT_EQ(std::numeric_limits<double>::denorm_min(), CbMatrixInternal::Invert(matrix));
    matrix = c_matIdentityD;
    matrix[1][2] = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(std::isnan(CbMatrixInternal::Invert(matrix)));
    EXPECT_TRUE(std::isnan(matrix[0][0]));
}
