#include "platform/math3d/cbmatrix4.h"

namespace
{

// One group of the product. Its four sums are complete before anything is written, so that
// compilers work on pairs and quads of values although the result might alias the operands for all
// they know.
template<class T>
inline void composeGroup(const T* group, const T* second, T* result) noexcept
{
    const auto sum = [&](int j) {
        return group[0] * second[j] + group[1] * second[4 + j] + group[2] * second[8 + j] +
               group[3] * second[12 + j];
    };
    const T sums[4] = {sum(0), sum(1), sum(2), sum(3)};
    for (int j = 0; j < 4; ++j) result[j] = sums[j];
}

template<class T>
inline void compose(const T* first, const T* second, T* result) noexcept
{
    composeGroup(first, second, result);
    composeGroup(first + 4, second, result + 4);
    composeGroup(first + 8, second, result + 8);
    composeGroup(first + 12, second, result + 12);
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
