#include "platform/math3d/cbmatrix4.h"

namespace
{

// One group of the product at a time, from a local copy of it: nothing that is written can alias
// what is read later, so that compilers keep `second` in registers and work on whole groups.
template<class T>
inline void compose(const T* first, const T* second, T* result) noexcept
{
    for (int i = 0; i < 4; ++i) {
        const T a = first[4 * i];
        const T b = first[4 * i + 1];
        const T c = first[4 * i + 2];
        const T d = first[4 * i + 3];
        T group[4];
        for (int j = 0; j < 4; ++j) {
            group[j] = a * second[j] + b * second[4 + j] + c * second[8 + j] + d * second[12 + j];
        }
        for (int j = 0; j < 4; ++j) result[4 * i + j] = group[j];
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
