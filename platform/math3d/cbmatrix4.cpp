#include "platform/math3d/cbmatrix4.h"

namespace
{

// All operands are read before anything is written, so that compilers keep the second matrix in
// registers and work on pairs and quads of values, although the result might alias it for all they
// know.
template<class T>
inline void compose(const T* first, const T* second, T* result) noexcept
{
    T columns[16];
    for (int k = 0; k < 16; ++k) columns[k] = second[k];
    for (int i = 0; i < 4; ++i, first += 4, result += 4) {
        const T group[4] = {first[0], first[1], first[2], first[3]};
        for (int j = 0; j < 4; ++j) {
            result[j] = group[0] * columns[j] + group[1] * columns[4 + j] +
                        group[2] * columns[8 + j] + group[3] * columns[12 + j];
        }
    }
}

} // namespace

void Compose(const CbMatrix4Rd& first, const CbMatrix4Rd& second, CbMatrix4Rd& result) noexcept
{
    compose(first.data(), second.data(), result.data());
}

void Compose(const CbMatrix4Rf& first, const CbMatrix4Rf& second, CbMatrix4Rf& result) noexcept
{
    compose(first.data(), second.data(), result.data());
}
