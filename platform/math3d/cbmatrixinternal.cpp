#include "platform/math3d/cbmatrixinternal.h"

#include "platform/base/internal/fixedplaces.h"
#include "platform/math3d/cyexceptionnotinvertible.h"

namespace
{

// The 2x2 determinants of the upper and of the lower two groups, by the two columns they take
// (Laplace expansion along two rows).
struct SubDeterminants
{
    explicit SubDeterminants(const CbMatrix4Rd& m) noexcept
        : upper01(Minor(m, 0, 0, 1)),
          upper02(Minor(m, 0, 0, 2)),
          upper03(Minor(m, 0, 0, 3)),
          upper12(Minor(m, 0, 1, 2)),
          upper13(Minor(m, 0, 1, 3)),
          upper23(Minor(m, 0, 2, 3)),
          lower01(Minor(m, 2, 0, 1)),
          lower02(Minor(m, 2, 0, 2)),
          lower03(Minor(m, 2, 0, 3)),
          lower12(Minor(m, 2, 1, 2)),
          lower13(Minor(m, 2, 1, 3)),
          lower23(Minor(m, 2, 2, 3))
    {}

    [[nodiscard]] double Determinant() const noexcept
    {
        return upper01 * lower23 - upper02 * lower13 + upper03 * lower12 + upper12 * lower03 -
               upper13 * lower02 + upper23 * lower01;
    }

    static double Minor(const CbMatrix4Rd& m, int group, int a, int b) noexcept
    {
        return m[group][a] * m[group + 1][b] - m[group][b] * m[group + 1][a];
    }

    double upper01, upper02, upper03, upper12, upper13, upper23;
    double lower01, lower02, lower03, lower12, lower13, lower23;
};

} // namespace

double CbMatrixInternal::Determinant(const CbMatrix4Rd& matrix) noexcept
{
    return SubDeterminants(matrix).Determinant();
}

void CbMatrixInternal::CheckInvertible(double determinant)
{
    if (determinant != 0.0) return;
    throw CyExceptionNotInvertible(c_placeOfSingularMatrix.file, c_placeOfSingularMatrix.line);
}

double CbMatrixInternal::Invert(CbMatrix4Rd& matrix)
{
    const SubDeterminants s(matrix);
    const double determinant = s.Determinant();
    CheckInvertible(determinant);

    // The transposed cofactors, each divided by the determinant.
    const CbMatrix4Rd m = matrix;
    const double cofactors[16] = {+m[1][1] * s.lower23 - m[1][2] * s.lower13 + m[1][3] * s.lower12,
                                  -m[0][1] * s.lower23 + m[0][2] * s.lower13 - m[0][3] * s.lower12,
                                  +m[3][1] * s.upper23 - m[3][2] * s.upper13 + m[3][3] * s.upper12,
                                  -m[2][1] * s.upper23 + m[2][2] * s.upper13 - m[2][3] * s.upper12,
                                  -m[1][0] * s.lower23 + m[1][2] * s.lower03 - m[1][3] * s.lower02,
                                  +m[0][0] * s.lower23 - m[0][2] * s.lower03 + m[0][3] * s.lower02,
                                  -m[3][0] * s.upper23 + m[3][2] * s.upper03 - m[3][3] * s.upper02,
                                  +m[2][0] * s.upper23 - m[2][2] * s.upper03 + m[2][3] * s.upper02,
                                  +m[1][0] * s.lower13 - m[1][1] * s.lower03 + m[1][3] * s.lower01,
                                  -m[0][0] * s.lower13 + m[0][1] * s.lower03 - m[0][3] * s.lower01,
                                  +m[3][0] * s.upper13 - m[3][1] * s.upper03 + m[3][3] * s.upper01,
                                  -m[2][0] * s.upper13 + m[2][1] * s.upper03 - m[2][3] * s.upper01,
                                  -m[1][0] * s.lower12 + m[1][1] * s.lower02 - m[1][2] * s.lower01,
                                  +m[0][0] * s.lower12 - m[0][1] * s.lower02 + m[0][2] * s.lower01,
                                  -m[3][0] * s.upper12 + m[3][1] * s.upper02 - m[3][2] * s.upper01,
                                  +m[2][0] * s.upper12 - m[2][1] * s.upper02 + m[2][2] * s.upper01};
    for (int i = 0; i < 16; ++i) matrix.data()[i] = cofactors[i] / determinant;
    if (IsAffine(m)) { // the cofactor of the 1 is the determinant, but for the order of its sum
        for (int i = 0; i < 4; ++i) matrix[i][3] = c_matIdentityD[i][3];
    }
    return determinant;
}
