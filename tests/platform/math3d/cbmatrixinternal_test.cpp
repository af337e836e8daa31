#include "platform/math3d/cbmatrixinternal.h"
#include "platform/math3d/cyexceptionnotinvertible.h"
#include "tests/platform/math3d/randommatrices.h"
#include "tests/support/rounds.h"

#include <array>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <utility>

namespace
{

using Oracle = std::array<std::array<long double, 8>, 4>;

// Gauss-Jordan with row pivoting in the widest type; gives the determinant, right half the inverse.
long double InvertByElimination(Oracle& m)
{
    long double determinant = 1;
    for (std::size_t c = 0; c < 4; ++c) {
        std::size_t pivot = c;
        for (std::size_t r = c; r < 4; ++r) {
            if (std::fabs(m[r][c]) > std::fabs(m[pivot][c])) pivot = r;
        }
        if (pivot != c) {
            std::swap(m[pivot], m[c]);
            determinant = -determinant;
        }
        determinant *= m[c][c];
        for (std::size_t j = 8; j-- > c;) m[c][j] /= m[c][c];
        for (std::size_t r = 0; r < 4; ++r) {
            if (r == c) continue;
            for (std::size_t j = 8; j-- > c;) m[r][j] -= m[r][c] * m[c][j];
        }
    }
    return determinant;
}

Oracle OracleOf(const CbMatrix4Rd& matrix)
{
    Oracle oracle{};
    for (std::size_t i = 0; i < 4; ++i) {
        for (std::size_t j = 0; j < 4; ++j) oracle[i][j] = matrix[i][j];
        oracle[i][4 + i] = 1;
    }
    return oracle;
}

} // namespace

TEST(MatrixInverse, AgreesWithElimination)
{
    std::mt19937 random(5);
    for (int round = 0; round < Rounds(20000); ++round) {
        SCOPED_TRACE(round);
        const auto matrix = RandomMatrix<double>(random, 10.0);
        Oracle oracle = OracleOf(matrix);
        const long double expected = InvertByElimination(oracle);
        if (std::fabs(expected) < 1.0L) continue; // close to singular

        CbMatrix4Rd inverse = matrix;
        const double determinant = CbMatrixInternal::Invert(inverse);
        ASSERT_EQ(CbMatrixInternal::Determinant(matrix), determinant);
        ASSERT_NEAR(1.0, static_cast<double>(determinant / expected), 1e-9);
        for (std::size_t i = 0; i < 4; ++i) {
            for (std::size_t j = 0; j < 4; ++j) {
                ASSERT_NEAR(static_cast<double>(oracle[i][4 + j]), inverse[i][j], 1e-8);
            }
        }
    }
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
        try {
            CbMatrixInternal::Invert(matrix);
            ADD_FAILURE() << "did not throw";
        } catch (const CyExceptionNotInvertible& e) {
            EXPECT_EQ("cbmatrixbasematrixgeomdef", e.GetFile());
            EXPECT_EQ(996U, e.GetLine());
        }
        EXPECT_EQ(0, std::memcmp(matrix.data(), c.values, sizeof c.values));
        EXPECT_EQ(0.0, CbMatrixInternal::Determinant(matrix));
    }
}

TEST(MatrixInverse, OfAMatrixWithNaNDoesNotThrow)
{
    CbMatrix4Rd matrix;
    matrix[1][2] = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(std::isnan(CbMatrixInternal::Invert(matrix)));
    EXPECT_TRUE(std::isnan(matrix[0][0]));
}

TEST(MatrixInverse, AcceptsTheSmallestDeterminant)
{
    CbMatrix4Rd matrix;
    matrix[0][0] = std::numeric_limits<double>::denorm_min();
    EXPECT_EQ(std::numeric_limits<double>::denorm_min(), CbMatrixInternal::Invert(matrix));
}
